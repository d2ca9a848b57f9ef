#!/usr/bin/env bash
# Installs missing packages, builds quillmarch-batch and make-sample, and compares
# quillmarch-batch with other programs: bench/peers/run.sh [--runs N] [--kinds LIST]. See docs/batch.md.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

{
    install_packages build run bench
    build "$preset" quillmarch-batch make-sample
} >&2
exec python3 "$root/bench/peers/peers.py" --batch "$build_folder/src/batch/quillmarch-batch" \
    --make-sample "$build_folder/tools/samples/make-sample" "$@"
