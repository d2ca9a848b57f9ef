#!/usr/bin/env bash
# Makes the pictures of the README and of the guides anew, from the program with
# the samples.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build run test bench pictures
build "$preset" quillmarch
QUILLMARCH_PROGRAM=$build_folder/src/app/quillmarch QUILLMARCH_SAMPLES=$root/samples \
    python3 -B "$root/tests/e2e/guide_pictures.py" "$root/docs/images"
