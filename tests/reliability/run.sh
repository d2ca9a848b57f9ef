#!/usr/bin/env bash
# The long runs: SEQUENCES sequences of 50 steps of the random user under the
# sanitizers (10000 if none are given), from the seed FIRST on (1), and then a
# thousand opened files. See docs/reliability.md.
#
#     tests/reliability/run.sh [SEQUENCES [FIRST]]
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

sequences=${1:-10000}
first=${2:-1}
portion=100 # a process; what the program keeps for its life does not add up over more
export QT_QPA_PLATFORM=offscreen LANG=C.UTF-8

# Most of the time goes into writing settings safely, unless the disk is memory.
work=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work

# Settings lie beside a program, so a copy of its own lets runs go side by side.
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
