#!/usr/bin/env bash
# Makes the pictures of docs/cuts.md anew: cuts by both rules, in every kind of
# picture that is counted there and in a sample.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_packages build run test bench
build "$preset" bench-cutquality
cut=$build_folder/bench/cutquality/bench-cutquality
"$cut" --pictures "$root/docs/images"
"$cut" --pictures "$root/docs/images" --file "$root/samples/dark-chat.png"
