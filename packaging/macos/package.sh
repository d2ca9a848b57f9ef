#!/usr/bin/env bash
# Creates Quillmarch_v<version>_macOS.dmg. NOT TESTED: the project is developed on
# Debian, and nobody has run this script yet.
#
# With the command line tools of Xcode, CMake, Ninja and Qt 6.4 or later:
#
#     packaging/macos/package.sh ~/Qt/6.4.3/macos
#
# Pass the image to tools/release as --package macos=FILE. It is neither signed nor
# notarized. The program keeps its settings beside its executable, in
# Quillmarch.app/Contents/MacOS: they are lost when the application is replaced, and
# writing them would invalidate a signature.
set -euo pipefail

qt=${1:?usage: package.sh FOLDER_OF_QT, such as ~/Qt/6.4.3/macos}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$root/build/macos
version=$(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$root/CMakeLists.txt")
package=$build/packages/Quillmarch_v${version}_macOS.dmg

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$qt" \
    -DQUILLMARCH_TESTS=OFF -DQUILLMARCH_BENCH=OFF -DQUILLMARCH_TOOLS=OFF
cmake --build "$build"
rm -rf "$build/stage"
cmake --install "$build" --component portable --prefix "$build/stage"
"$qt/bin/macdeployqt" "$build/stage/quillmarch.app"

mkdir -p "$build/packages"
hdiutil create -volname "Quillmarch $version" -srcfolder "$build/stage" -ov -format UDZO "$package"
echo "==> $package"
