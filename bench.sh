#!/usr/bin/env bash
# Installs what is missing, builds the benchmark and prints its table; what it
# is at goes to the error output. Options go to the program: --quick, --large,
# --only PATTERN. See docs/performance.md.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

{
    install_packages build run
    build quillmarch-bench
    say "Measuring"
} >&2
exec "$build_folder/bench/quillmarch-bench" "$@"
