#!/usr/bin/env bash
# Takes the screenshots of the README and the guides anew: the program with the
# sample images, and a written PDF file in a viewer.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build run test bench pictures
build "$preset" quillmarch make-sample

# The samples, and English ones that only the pictures show.
samples=$(mktemp -d)
trap 'rm -rf "$samples"' EXIT
cp "$root"/samples/*.png "$samples"
make_sample=$build_folder/tools/samples/make-sample
"$make_sample" --english --kind dark --size 540x4800 --seed 2 --indexed "$samples/english-dark-chat.png"
"$make_sample" --english --kind gray --size 400x2300 --seed 6 --rim 100 --indexed "$samples/english-borders.png"

QUILLMARCH_PROGRAM=$build_folder/src/app/quillmarch QUILLMARCH_SAMPLES=$samples \
    python3 -B "$root/tests/e2e/guide_pictures.py" "$root/docs/images"
