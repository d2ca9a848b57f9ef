#!/usr/bin/env bash
# Makes the pictures of the README anew, from the program with the sample.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build run test
build quillmarch
QUILLMARCH_PROGRAM=$build_folder/src/app/quillmarch QUILLMARCH_SAMPLE=$root/samples/long-chat.png \
    python3 -B "$root/tests/e2e/readme_pictures.py" "$root/docs/images"
