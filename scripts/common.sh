# shellcheck shell=bash
# Shared functions of run.sh, test.sh, bench.sh and the scripts in this folder. To be
# sourced, not run.

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

# Prints the packages of the given groups, one per line.
packages_of() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' "$root/scripts/packages.txt"
    done
}

# Prints those of the given packages that are not installed, one per line.
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
    # sudo clears the environment, so env sets the variable.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 "$@" </dev/null
}

# Installs the missing packages of the given groups.
install_packages() {
    local -a wanted missing
    mapfile -t wanted < <(packages_of "$@")
    if ! command -v dpkg-query >/dev/null; then
        say "Not a Debian system: the packages in scripts/packages.txt must already be installed."
        return
    fi
    mapfile -t missing < <(missing_of "${wanted[@]}")
    if [[ ${#missing[@]} -eq 0 ]]; then
        return
    fi
    if [[ $(id -u) -ne 0 ]] && ! command -v sudo >/dev/null; then
        die "missing packages, and no sudo to install them; as root, run: apt-get install ${missing[*]}"
    fi
    say "Installing ${missing[*]}"
    apt update -q
    apt install -q -y --no-install-recommends "${missing[@]}"
}

# Whether the CMake cache of the build folder has the line "$1".
is_cached() {
    grep -qxF "$1" "$build_folder/CMakeCache.txt" 2>/dev/null
}

# Whether all packages are installed that a build folder with tests needs.
can_build_tests() {
    local -a wanted
    mapfile -t wanted < <(packages_of test bench)
    ! command -v dpkg-query >/dev/null || [[ -z $(missing_of "${wanted[@]}") ]]
}

# Whether the build folder is configured for what the preset "$1" builds. A folder
# for everything can also build only the programs, as long as the packages for the
# tests stay installed: CMake searches for them again whenever it reconfigures.
is_configured_for() {
    [[ -e $build_folder/build.ninja ]] || return 1
    if is_cached QUILLMARCH_TESTS:BOOL=ON; then
        [[ $1 != program ]] || can_build_tests
    else
        [[ $1 == program ]]
    fi
}

# Configures the build folder by the preset "$1", unless that has been done.
configure() {
    local -a options=()
    if [[ -e $build_folder && ! -w $build_folder ]]; then
        die "$build_folder belongs to another user; remove it and try again"
    fi
    # The CMake cache is unusable after the source folder has been moved.
    if [[ -e $build_folder/CMakeCache.txt ]] && ! is_cached "CMAKE_HOME_DIRECTORY:INTERNAL=$root"; then
        options=(--fresh)
    elif is_configured_for "$1"; then
        return
    fi
    (cd "$root" && cmake --preset "$1" "${options[@]}")
}

# Builds the given targets of the preset "$1"; "all" means everything.
build() {
    say "Building in ${build_folder#"$root"/}"
    configure "$1"
    cmake --build "$build_folder" --parallel "$(nproc)" --target "${@:2}"
}

# Runs the tests of the build folder; options are passed to ctest. Tests with the
# label "clock" measure times or drive a real window, which a busy machine can
# disturb, so each may fail once; all others must pass the first time. Those with the
# label "slow" take minutes each and run only if options choose them.
run_tests() {
    local -a options=(--test-dir "$build_folder" --output-on-failure --parallel "$(nproc)" "$@")
    local failed=0 later='^clock$'
    [[ $# -gt 0 ]] || later='^(clock|slow)$'
    if ctest "${options[@]}" --show-only | grep -qx 'Total Tests: 0'; then
        die "no test matches these options"
    fi
    ctest "${options[@]}" --label-exclude "$later" || failed=1
    # The first run has already set up the package fixture.
    ctest "${options[@]}" --label-regex '^clock$' --fixture-exclude-any packages --repeat until-pass:2 || failed=1
    return "$failed"
}
