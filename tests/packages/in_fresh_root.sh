#!/usr/bin/env bash
# Installs the packages into fresh Debian systems and uses them there:
#
#     sudo tests/packages/in_fresh_root.sh [FOLDER]
#
# In one, apt installs the Debian package; in the other, which has a desktop's
# libraries but no Qt, the portable archive is unpacked. In both an unprivileged
# user steps a margin, starts the program again and finds it. Then the Debian
# package is purged, and no file of it may be left. Needs debootstrap, a network
# and the packages (cpack); FOLDER keeps the systems for another run.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

# What the portable archive takes for granted on a desktop.
desktop=(libx11-xcb1 libgl1 libegl1 libopengl0 libfontconfig1 libfreetype6 libharfbuzz0b libglib2.0-0
    libdbus-1-3 libwayland-client0 libwayland-egl1 libgbm1 libdrm2 fonts-dejavu-core)
# What the tests work with.
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

# A user, and the tests and the packages where that user can read them.
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

# Every file that is there for all users; the rest is kept by apt and dpkg.
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
    # What the package depends on comes first, so that the lists differ by the package alone.
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
    diff "$folder/before" "$folder/after" || die "the package has left the files above"
}

try_portable_archive() {
    local system=$folder/portable
    make_root "$system"
    mount_system "$system"
    prepare "$system"
    inside "$system" apt-get update -q
    inside "$system" apt-get install -q -y --no-install-recommends "${tools[@]}" "${desktop[@]}"
    if inside "$system" dpkg-query -W 'libqt6*' 2>/dev/null | grep -q .; then
        die "there is a Qt in $system"
    fi
    say "Using the portable program"
    run_as_user "$system" PortableSettings
}

[[ $(id -u) -eq 0 ]] || die "start it as root"
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
say "Both packages work, and nothing is left of the Debian package"
