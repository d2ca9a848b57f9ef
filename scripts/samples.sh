#!/usr/bin/env bash
# Regenerates the images in samples/ with the fonts of this machine.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

paint() {
    local name=$1
    shift
    "$build_folder/tools/samples/make-sample" "$@" "$root/samples/$name.png"
}

install_packages build run test bench
build "$preset" make-sample
paint long-chat --kind chat --size 1080x12000 --seed 1
paint english-chat --kind chat --english --size 540x4800 --seed 1 --indexed
paint article --kind web --size 540x4000 --seed 3 --indexed
paint dark-chat --kind dark --size 540x4800 --seed 2 --indexed
paint scan --kind gray --size 480x2800 --seed 5 --indexed
paint borders --kind gray --size 400x2300 --seed 6 --rim 100 --indexed
paint table --kind table --size 720x2400 --indexed
