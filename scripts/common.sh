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

# Builds the given targets; "all" is everything.
build() {
    local cache=$build_folder/CMakeCache.txt
    local -a configure=(cmake --preset "$preset")
    if [[ -e $build_folder && ! -w $build_folder ]]; then
        die "$build_folder belongs to another user; remove it and try again"
    fi
    # A moved source folder makes the cache of the build unusable.
    if [[ -e $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        configure+=(--fresh)
    fi
    say "Building in build/$preset"
    if [[ ! -e $build_folder/build.ninja || ${#configure[@]} -gt 3 ]]; then
        (cd "$root" && "${configure[@]}")
    fi
    cmake --build "$build_folder" --parallel "$(nproc)" --target "$@"
}
