#!/usr/bin/env bash
# UNTRIED: makes an AppImage from the portable archive. Needs the program appimagetool,
# which Debian does not have:
#
#     packaging/appimage/make.sh build/release/packages/quillmarch-VERSION-linux-x86_64.tar.gz
#
# The folder of an AppImage is read-only, so the program cannot keep user.ini there.
set -euo pipefail

[[ $# -eq 1 && -f $1 ]] || {
    echo "usage: packaging/appimage/make.sh ARCHIVE" >&2
    exit 1
}
icons=$(cd "$(dirname "${BASH_SOURCE[0]}")/../icons" && pwd)
archive=$(realpath "$1")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mkdir "$scratch/AppDir"
tar -xzf "$archive" -C "$scratch/AppDir" --strip-components=1
ln -s quillmarch "$scratch/AppDir/AppRun"
cp "$icons/quillmarch-256.png" "$scratch/AppDir/quillmarch.png"
cat >"$scratch/AppDir/quillmarch.desktop" <<'END'
[Desktop Entry]
Type=Application
Name=Quillmarch
Exec=quillmarch
Icon=quillmarch
Categories=Graphics;
END
appimagetool "$scratch/AppDir" "${archive%.tar.gz}.AppImage"
