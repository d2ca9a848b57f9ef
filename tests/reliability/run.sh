#!/usr/bin/env bash
# The long runs: SEQUENCES (default 10000) sequences of 50 steps of the random
# user under the sanitizers, starting with the seed FIRST (default 1), and then
# 1000 opened files. See docs/reliability.md.
#
#     tests/reliability/run.sh [SEQUENCES [FIRST]]
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

sequences=${1:-10000}
first=${2:-1}
portion=100 # sequences per process, which limits what the program never frees
export QT_QPA_PLATFORM=offscreen LANG=C.UTF-8
export QTEST_FUNCTION_TIMEOUT=36000000 # milliseconds; all sequences of a process are one function

# Writing settings safely takes most of the time unless the disk is in memory.
work=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work

# Settings are next to the program, so parallel runs need separate copies.
take_program() {
    preset=$1
    build_folder=$root/build/$preset
    build "$preset" "$2"
    cp "$build_folder/tests/reliability/$2.dir/$2" "$work/"
}

run_sequences() {
    local done=0 count
    while ((done < sequences)); do
        count=$((sequences - done < portion ? sequences - done : portion))
        if ! "$work/tst_randomuser" --seed $((first + done)) --sequences "$count" >"$work/log" 2>&1; then
            grep -v '^PASS' "$work/log" | tail -n 60 >&2
            tail -n 1 < <(grep '^PASS' "$work/log") >&2
            die "failed; a row of the log is what replays it: tst_randomuser --seed N"
        fi
        done=$((done + count))
        say "$done of $sequences sequences passed ($((SECONDS / 60)) min)"
    done
}

install_packages build run test bench
take_program asan tst_randomuser
run_sequences
if [[ -z ${QUILLMARCH_SEQUENCES_ONLY:-} ]]; then
    take_program release tst_endurance
    "$work/tst_endurance" --times 1000
fi
say "All passed"
