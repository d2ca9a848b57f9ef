#!/usr/bin/env bash
# Installs the packages into fresh Debian systems and uses them there:
#
#     sudo tests/packages/in_fresh_root.sh [FOLDER [TEST...]]
#
# The tests are debian, portable, repository and upgrade; by default, all but the last.
# In one, apt installs the Debian package. In the other, which has the libraries of
# a desktop but no Qt, the portable archive is unpacked. In both, an unprivileged
# user changes the margin, and finds it stored when the program starts again. Then
# the Debian package is purged and must not leave any files. In a third system, both
# Debian packages come from an apt repository (file://): the command for servers is
# installed alone, then the window, then both are upgraded and removed. Needs debootstrap,
# apt-utils, gpg, a network and the packages (cpack). With FOLDER the systems are kept
# for later runs. The test "upgrade" installs the Debian packages of an earlier version
# from the folder QUILLMARCH_EARLIER in the environment, stores settings, and upgrades.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

# The libraries of a desktop that the portable archive requires.
desktop=(libx11-xcb1 libgl1 libegl1 libopengl0 libfontconfig1 libfreetype6 libharfbuzz0b libglib2.0-0
    libgnutls30 libgssapi-krb5-2 libdbus-1-3 libwayland-client0 libwayland-egl1 libgbm1 libdrm2 fonts-dejavu-core)
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

# Makes the package "$1" once more as the version "$2", in the folder "$3".
raise_version() {
    local content
    content=$(mktemp -d "$folder/content.XXXXXX")
    dpkg-deb --raw-extract "$1" "$content"
    sed -i -E -e "s/^Version: .*/Version: $2/" -e "s/\(<< [^)]*\)/(<< $2)/" "$content/DEBIAN/control"
    dpkg-deb --root-owner-group --build "$content" "$3" >/dev/null
    rm -rf "$content"
}

installed_version() {
    # shellcheck disable=SC2016  # fields of dpkg-query
    inside "$1" dpkg-query --show --showformat '${Version}' "$2"
}

# Prints how many packages and how many bytes apt would fetch for the package "$2".
say_size() {
    say "Without recommended packages, apt installs for $2:"
    inside "$1" apt-get install --no-install-recommends --assume-no "$2" 2>&1 \
        | grep -E 'newly installed|Need to get|disk space' || true
}

try_repository() {
    local system=$folder/repository site=/srv/repository higher=999.0.10
    make_root "$system"
    mount_system "$system"
    rm -rf "${system:?}$site" "$folder/higher"
    mkdir -p "$folder/higher" "$folder/keys"
    chmod 700 "$folder/keys"
    export GNUPGHOME=$folder/keys
    gpg --batch --list-secret-keys test@quillmarch.test >/dev/null 2>&1 \
        || gpg --batch --passphrase '' --quick-generate-key test@quillmarch.test ed25519 sign never
    "$root/tools/apt-repository" "$system$site" test@quillmarch.test "$package" "$batch_package"
    echo "deb [signed-by=$site/quillmarch.gpg] file://$site stable main" \
        >"$system/etc/apt/sources.list.d/quillmarch.list"
    inside "$system" apt-get update -q
    say_size "$system" quillmarch-batch
    say_size "$system" quillmarch
    inside "$system" apt-get install -q -y --no-install-recommends quillmarch-batch
    inside "$system" quillmarch-batch --version
    # shellcheck disable=SC2016  # fields of dpkg-query
    if inside "$system" dpkg-query -W -f '${Package} ${db:Status-Status}\n' \
        | grep -E '^(fonts-noto|fonts-liberation|qt6-wayland|quillmarch ).* installed$'; then
        die "quillmarch-batch brought the packages above"
    fi
    cp "$root/samples/table.png" "$system/tmp/"
    inside "$system" quillmarch-batch --page-numbers /tmp/table.png -o /tmp/table.pdf
    [[ $(head -c 5 "$system/tmp/table.pdf") == %PDF- ]] || die "quillmarch-batch wrote no PDF file"
    inside "$system" apt-get install -q -y --no-install-recommends quillmarch
    raise_version "$package" "$higher" "$folder/higher/quillmarch_${higher}_amd64.deb"
    raise_version "$batch_package" "$higher" "$folder/higher/quillmarch-batch_${higher}_amd64.deb"
    "$root/tools/apt-repository" "$system$site" test@quillmarch.test "$folder/higher"/*.deb
    inside "$system" apt-get update -q
    inside "$system" apt-get upgrade -q -y --no-install-recommends
    [[ $(installed_version "$system" quillmarch) == "$higher" ]] || die "quillmarch was not upgraded"
    [[ $(installed_version "$system" quillmarch-batch) == "$higher" ]] || die "quillmarch-batch was not upgraded"
    inside "$system" apt-get purge -q -y quillmarch quillmarch-batch
    if find "$system/usr" -name '*quillmarch*' | grep .; then
        die "the packages left the files above"
    fi
    gpgconf --kill all
}

# Starts the installed program as a user, without a display, for as long as it takes to
# copy itself to the user's folder.
start_as_user() {
    inside "$1" su tester -c "QT_QPA_PLATFORM=offscreen timeout 5 quillmarch" || [[ $? -eq 124 ]]
}

# Installs the packages "$2" and "$3" in "$1", which must leave one version.
install_both() {
    cp "$2" "$3" "$1/srv/"
    inside "$1" apt-get install -q -y --no-install-recommends "/srv/$(basename "$2")" "/srv/$(basename "$3")"
    [[ $(installed_version "$1" quillmarch) == $(installed_version "$1" quillmarch-batch) ]] \
        || die "the versions of the packages differ"
}

try_upgrade() {
    local system=$folder/upgrade
    local installed=$system/usr/libexec/quillmarch/quillmarch
    local own=$system/home/tester/.local/share/quillmarch
    [[ -n ${QUILLMARCH_EARLIER:-} ]] || die "QUILLMARCH_EARLIER names no folder with earlier packages"
    make_root "$system"
    mount_system "$system"
    prepare "$system"
    inside "$system" apt-get update -q
    install_both "$system" "$QUILLMARCH_EARLIER"/quillmarch_*.deb "$QUILLMARCH_EARLIER"/quillmarch-batch_*.deb
    start_as_user "$system"
    cmp "$installed" "$own/quillmarch"
    printf '[config]\nlanguage=en\nmarginsc=5\n' | inside "$system" su tester -c 'cat >~/.local/share/quillmarch/user.ini'
    cp "$own/user.ini" "$folder/settings"
    cp "$installed" "$folder/earlier"
    install_both "$system" "$package" "$batch_package"
    [[ $(installed_version "$system" quillmarch) == "$version" ]] || die "quillmarch was not upgraded"
    cmp -s "$installed" "$folder/earlier" && die "both versions contain the same program"
    start_as_user "$system"
    cmp "$installed" "$own/quillmarch"
    cmp "$own/user.ini" "$folder/settings"
}

[[ $(id -u) -eq 0 ]] || die "must be run as root"
command -v debootstrap >/dev/null || die "install debootstrap"
keep=${1:-}
folder=${keep:-$(mktemp -d)}
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$root/CMakeLists.txt")
package=$(ls "$build_folder/packages/quillmarch_${version}_"*.deb)
batch_package=$(ls "$build_folder/packages/quillmarch-batch_${version}_"*.deb)
mounted=()
mkdir -p "$folder"
trap unmount_all EXIT

tests=("${@:2}")
[[ ${#tests[@]} -gt 0 ]] || tests=(debian portable repository)
for test in "${tests[@]}"; do
    case $test in
    debian) try_debian_package ;;
    portable) try_portable_archive ;;
    repository) try_repository ;;
    upgrade) try_upgrade ;;
    *) die "no such test: $test" ;;
    esac
done
say "Works: ${tests[*]}"
