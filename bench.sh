#!/bin/sh
# Builds the benchmark and measures each step next to its least work; tells
# what it does on the error output and prints one table. Options go to the
# program: --quick, --large, --only PATTERN. See docs/performance.md.
set -eu
root=$(cd "$(dirname "$0")" && pwd)
cmake -S "$root" --preset release -DQUILLMARCH_BENCH=ON >&2
cmake --build "$root/build/release" --target quillmarch-bench >&2
exec "$root/build/release/bench/quillmarch-bench" "$@"
