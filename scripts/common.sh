# shellcheck shell=bash
# Shared by run.sh, test.sh and the scripts of this folder; source it, do not run it.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
preset=release
build_folder=$root/build/$preset

say() {
    printf '==> %s\n' "$*"
}

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# The packages of the given groups, one a line.
packages_of() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' "$root/scripts/packages.txt"
    done
}

# Those of the given packages that are not installed, one a line.
missing_of() {
    local -A installed=()
    local name
    while read -r name; do
        installed[$name]=1
    done < <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null | awk '$1 == "installed" { print $2 }')
    for name in "$@"; do
        [[ -v installed[$name] ]] || printf '%s\n' "$name"
    done
}

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        sudo "$@"
    fi
}

apt() {
    # sudo drops the environment, so the variable goes by env.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 "$@" </dev/null
}

# Installs what is missing of the packages of the given groups.
install_packages() {
    local -a wanted missing
    mapfile -t wanted < <(packages_of "$@")
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian system: what scripts/packages.txt lists must be there already."
        return
    fi
    mapfile -t missing < <(missing_of "${wanted[@]}")
    if [[ ${#missing[@]} -eq 0 ]]; then
        return
    fi
    if [[ $(id -u) -ne 0 ]] && ! command -v sudo >/dev/null; then
        die "not installed: ${missing[*]}. There is no sudo; as root, run: apt-get install ${missing[*]}"
    fi
    say "Installing ${missing[*]}"
    apt update -q
    apt install -q -y --no-install-recommends "${missing[@]}"
}

# Whether the cache of the build folder holds the line "$1".
is_cached() {
    grep -qxF "$1" "$build_folder/CMakeCache.txt" 2>/dev/null
}

# Whether nothing is missing for a build folder that is configured with tests.
can_build_tests() {
    local -a wanted
    mapfile -t wanted < <(packages_of test bench)
    ! command -v dpkg-query >/dev/null || [[ -z $(missing_of "${wanted[@]}") ]]
}

# Whether the build folder is configured for what the preset "$1" builds. A
# folder for everything also does for the programs alone, as long as what the
# tests need stays installed: CMake looks for it again at each change.
is_configured_for() {
    [[ -e $build_folder/build.ninja ]] || return 1
    if is_cached QUILLMARCH_TESTS:BOOL=ON; then
        [[ $1 != program ]] || can_build_tests
    else
        [[ $1 == program ]]
    fi
}

# Configures the build folder by the preset "$1", unless it is.
configure() {
    local -a options=()
    if [[ -e $build_folder && ! -w $build_folder ]]; then
        die "$build_folder belongs to another user; remove it and try again"
    fi
    # A moved source folder makes the cache of the build unusable.
    if [[ -e $build_folder/CMakeCache.txt ]] && ! is_cached "CMAKE_HOME_DIRECTORY:INTERNAL=$root"; then
        options=(--fresh)
    elif is_configured_for "$1"; then
        return
    fi
    (cd "$root" && cmake --preset "$1" "${options[@]}")
}

# Builds the given targets of the preset "$1"; "all" is everything.
build() {
    say "Building in ${build_folder#"$root"/}"
    configure "$1"
    cmake --build "$build_folder" --parallel "$(nproc)" --target "${@:2}"
}

# Runs the tests of the build folder; options go to ctest. A busy machine can
# spoil what a test of the label "clock" measures, or sees in a real window, so
# one of these may fail once; all others must pass at once.
run_tests() {
    local -a options=(--test-dir "$build_folder" --output-on-failure --parallel "$(nproc)" "$@")
    local failed=0
    if ctest "${options[@]}" --show-only | grep -qx 'Total Tests: 0'; then
        die "there is no such test"
    fi
    ctest "${options[@]}" --label-exclude '^clock$' || failed=1
    # What the packages are tested with has been made by the first run.
    ctest "${options[@]}" --label-regex '^clock$' --fixture-exclude-any packages --repeat until-pass:2 || failed=1
    return "$failed"
}
