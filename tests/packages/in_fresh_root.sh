#!/usr/bin/env bash
# Installs the packages into fresh Debian systems and uses them there:
#
#     sudo tests/packages/in_fresh_root.sh [FOLDER]
#
# In one, apt installs the Debian package. In the other, which has the libraries of
# a desktop but no Qt, the portable archive is unpacked. In both, an unprivileged
# user changes the margin, and finds it stored when the program starts again. Then
# the Debian package is purged and must not leave any files. Needs debootstrap, a
# network and the packages (cpack). With FOLDER the systems are kept for later runs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

# The libraries of a desktop that the portable archive requires.
desktop=(libx11-xcb1 libgl1 libegl1 libopengl0 libfontconfig1 libfreetype6 libharfbuzz0b libglib2.0-0
    libdbus-1-3 libwayland-client0 libwayland-egl1 libgbm1 libdrm2 fonts-dejavu-core)
# The tools of the tests.
tools=(python3 xvfb openbox xdotool x11-utils)
suite=bookworm

make_root() {
    local folder=$1
    if [[ ! -e $folder/etc/debian_version ]]; then
        say "Making $folder"
        debootstrap --variant=minbase "$suite" "$folder" >"$folder.log"
    fi
}

inside() {
    local folder=$1
    shift
    chroot "$folder" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

mount_system() {
    mount -t proc proc "$1/proc"
    mounted+=("$1/proc")
    mkdir -p "$1/dev/shm"
    mount -t tmpfs tmpfs "$1/dev/shm"
    mounted+=("$1/dev/shm")
}

unmount_all() {
    local i
    for ((i = ${#mounted[@]} - 1; i >= 0; i--)); do
        umount "${mounted[i]}"
    done
    [[ -n $keep ]] || rm -rf --one-file-system "$folder"
}

# Creates a user, and copies tests and packages to where that user can read them.
prepare() {
    inside "$1" id tester >/dev/null 2>&1 || inside "$1" useradd --create-home tester
    rm -rf "$1/srv/quillmarch"
    mkdir -p "$1/srv/quillmarch/tests"
    cp -r "$root/tests/e2e" "$root/tests/packages" "$1/srv/quillmarch/tests"
    cp -r "$build_folder/packages" "$1/srv/quillmarch/packages"
    chmod -R a+rX "$1/srv/quillmarch"
}

run_as_user() {
    local folder=$1
    shift
    inside "$folder" su tester -c "cd && env QUILLMARCH_PACKAGES=/srv/quillmarch/packages QUILLMARCH_VERSION=$version \
        QUILLMARCH_SOURCE=/srv/quillmarch QUILLMARCH_SCREENSHOTS=/tmp/screenshots \
        PYTHONPATH=/srv/quillmarch/tests/e2e python3 -B /srv/quillmarch/tests/packages/test_settings.py $*"
}

# Lists all files except those that apt, dpkg and users keep.
list_files() {
    (cd "$1" && find . -xdev \( -path ./var/cache -o -path ./var/lib/apt -o -path ./var/lib/dpkg -o -path ./var/log \
        -o -path ./home -o -path ./tmp -o -path ./srv \) -prune -o -print | sort)
}

try_debian_package() {
    local system=$folder/debian
    make_root "$system"
    mount_system "$system"
    prepare "$system"
    inside "$system" apt-get update -q
    inside "$system" apt-get install -q -y --no-install-recommends "${tools[@]}" desktop-file-utils hicolor-icon-theme
    # Installs the dependencies first, so that the lists differ only by the package.
    inside "$system" apt-get install -q -y --no-install-recommends "/srv/quillmarch/packages/$(basename "$package")"
    inside "$system" apt-get purge -q -y quillmarch
    list_files "$system" >"$folder/before"
    inside "$system" apt-get install -q -y --no-install-recommends "/srv/quillmarch/packages/$(basename "$package")"
    list_files "$system" >"$folder/installed"
    say "Using the installed program"
    run_as_user "$system" SystemSettings
    inside "$system" apt-get purge -q -y quillmarch
    list_files "$system" >"$folder/after"
    if cmp -s "$folder/before" "$folder/installed"; then
        die "nothing was installed"
    fi
    diff "$folder/before" "$folder/after" || die "the package left the files above"
}

try_portable_archive() {
    local system=$folder/portable
    make_root "$system"
    mount_system "$system"
    prepare "$system"
    inside "$system" apt-get update -q
    inside "$system" apt-get install -q -y --no-install-recommends "${tools[@]}" "${desktop[@]}"
    if inside "$system" dpkg-query -W 'libqt6*' 2>/dev/null | grep -q .; then
        die "$system contains Qt"
    fi
    say "Using the portable program"
    run_as_user "$system" PortableSettings
}

[[ $(id -u) -eq 0 ]] || die "must be run as root"
command -v debootstrap >/dev/null || die "install debootstrap"
keep=${1:-}
folder=${keep:-$(mktemp -d)}
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$root/CMakeLists.txt")
package=$(ls "$build_folder/packages/quillmarch_${version}_"*.deb)
mounted=()
mkdir -p "$folder"
trap unmount_all EXIT

try_debian_package
try_portable_archive
say "Both packages work, and the Debian package was removed completely"
