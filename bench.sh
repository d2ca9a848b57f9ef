#!/usr/bin/env bash
# Installs missing packages, builds the benchmark and prints its table. Progress
# goes to standard error. Options are passed to the benchmark: --quick, --large,
# --only PATTERN. See docs/performance.md. A second table compares decoding with
# QImageReader; --decode first prints only that: --quick, --repetitions N, --only TEXT.
# With --cuts first it counts the cuts through content instead: --seeds N,
# --widths LIST, --only TEXT, or with --speed measures the time of calm cuts. See
# docs/cuts.md. With --pdf first it measures only how PDF files are written: --large,
# --only TEXT, --repetitions N.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

# Starts a virtual screen for the programs whose start is measured, unless there is
# a display; stops it when this script exits.
provide_screen() {
    if [[ -n ${DISPLAY:-} ]]; then
        return
    fi
    local number
    number=$(mktemp)
    Xvfb -screen 0 1600x900x24 -displayfd 3 3>"$number" 2>/dev/null &
    screen=$!
    trap 'kill "$screen"; wait "$screen" || true' EXIT
    until [[ -s $number ]]; do
        kill -0 "$screen" || die "Xvfb does not start"
        sleep 0.1
    done
    DISPLAY=:$(<"$number")
    export DISPLAY
    rm "$number"
}

if [[ ${1:-} == --cuts ]]; then
    {
        install_packages build run test bench
        build "$preset" bench-cutquality
        say "Counting"
    } >&2
    exec "$build_folder/bench/cutquality/bench-cutquality" "${@:2}"
fi

if [[ ${1:-} == --decode ]]; then
    {
        install_packages build run test bench
        build "$preset" bench-decode
        say "Measuring"
    } >&2
    exec "$build_folder/bench/bench-decode" "${@:2}"
fi

if [[ ${1:-} == --pdf ]]; then
    {
        install_packages build run test bench
        build "$preset" bench-pdf
        say "Measuring"
    } >&2
    exec "$build_folder/bench/bench-pdf" "${@:2}"
fi

{
    install_packages build run test bench
    build "$preset" quillmarch-bench bench-decode
    provide_screen
    say "Measuring"
} >&2
"$build_folder/bench/quillmarch-bench" "$@"
case " $* " in
*" --only"*) ;;
*" --quick "*) "$build_folder/bench/bench-decode" --quick ;;
*) "$build_folder/bench/bench-decode" ;;
esac
