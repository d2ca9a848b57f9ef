#!/usr/bin/env bash
# Fuzzes with libFuzzer: tests/fuzz/run.sh MINUTES [DRIVER...]
# MINUTES is the time for each driver; without names all seven run in turn.
# Findings are in build/fuzz/findings, the extended corpus in build/fuzz/corpus.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

if [[ ! ${1:-} =~ ^[0-9]+$ ]]; then
    die "usage: tests/fuzz/run.sh MINUTES [image|decode|readers|release|report|config|commands...]"
fi
seconds=$(($1 * 60))
shift
drivers=("$@")
if [[ ${#drivers[@]} -eq 0 ]]; then
    drivers=(image decode readers release report config commands)
fi
preset=fuzz
build_folder=$root/build/$preset
findings=$build_folder/findings

max_input_size() {
    case $1 in
    image | decode) echo 16384 ;;
    commands) echo 256 ;;
    *) echo 4096 ;;
    esac
}

# The folders of tests/fuzz/corpus with the seeds of a driver.
seeds_of() {
    case $1 in
    decode) echo image ;;
    readers) echo readers release report ;;
    *) echo "$1" ;;
    esac
}

# The limits of libFuzzer are above what one input needs by design; an image may
# request more memory than there is, and must then be rejected.
fuzz() {
    local kind=$1
    local grown=$build_folder/corpus/$kind
    local -a seeds
    read -r -a seeds <<<"$(seeds_of "$kind")"
    mkdir -p "$grown" "$findings/$kind"
    say "Fuzzing $kind for $((seconds / 60)) minutes"
    QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES='*=false' LANG=C.UTF-8 \
        ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        LSAN_OPTIONS=suppressions=$root/tests/fuzz/leaks.txt:print_suppressions=0 \
        nice -n 15 "$build_folder/tests/fuzz/fuzz_$kind.dir/fuzz_$kind" \
        -max_total_time="$seconds" -max_len="$(max_input_size "$kind")" -timeout=60 \
        -rss_limit_mb=6000 -malloc_limit_mb=100000000 -print_final_stats=1 \
        -artifact_prefix="$findings/$kind/" "$grown" "${seeds[@]/#/$root/tests/fuzz/corpus/}" \
        >"$build_folder/fuzz_$kind.log" 2>&1
}

install_packages build run test fuzz
for kind in "${drivers[@]}"; do
    build "$preset" "fuzz_$kind"
done
failed=()
for kind in "${drivers[@]}"; do
    fuzz "$kind" || failed+=("$kind")
    grep -E "stat::number_of_executed_units|cov: .*DONE|ERROR|Requirement not met" "$build_folder/fuzz_$kind.log" | tail -n 4 || true
done
if [[ ${#failed[@]} -gt 0 ]]; then
    die "failed: ${failed[*]}; inputs are in $findings, logs in $build_folder/fuzz_*.log"
fi
say "No failures"
