#!/usr/bin/env bash
# Fuzzes with libFuzzer, one driver after the other, at low priority:
#   tests/fuzz/run.sh MINUTES [OPTION...] [DRIVER...]
#   tests/fuzz/run.sh --inputs N [OPTION...] [DRIVER...]
# The limit is for each driver; without names all of them run. Options:
#   --seed S      begin with this seed, to continue a run on another machine; default 1
#   --quick       with the undefined behavior sanitizer alone (preset fuzz-undefined)
#   --corpus DIR  keep the corpus that grows in DIR; default build/fuzz/corpus. A new one
#                 begins with what earlier runs have found, tests/fuzz/grown
#   --save        write what is worth keeping of the corpus to tests/fuzz/grown
# Findings are in the folder findings of the build. The last lines, one for each driver,
# are for sums.py, which adds them to docs/reliability.md.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

all_drivers=(readers searches decode document image release report config commands)
preset=fuzz
corpus=$root/build/fuzz/corpus
seed=1
saves=false
limit=()
drivers=()

wrong_use() {
    die "usage: tests/fuzz/run.sh MINUTES|--inputs N [--seed S] [--quick] [--corpus DIR] [--save] [${all_drivers[*]}]"
}

is_number() {
    [[ ${1:-} =~ ^[0-9]+$ ]]
}

while [[ $# -gt 0 ]]; do
    case $1 in
    --inputs) is_number "${2:-}" || wrong_use; limit=("-runs=$2"); shift ;;
    --seed) is_number "${2:-}" || wrong_use; seed=$2; shift ;;
    --quick) preset=fuzz-undefined ;;
    --save) saves=true ;;
    --corpus) [[ -n ${2:-} ]] || wrong_use; mkdir -p "$2"; corpus=$(cd "$2" && pwd); shift ;;
    *)
        if is_number "$1"; then
            limit=("-max_total_time=$(($1 * 60))")
        elif [[ " ${all_drivers[*]} " == *" $1 "* ]]; then
            drivers+=("$1")
        else
            wrong_use
        fi
        ;;
    esac
    shift
done
[[ ${#limit[@]} -gt 0 ]] || wrong_use
[[ ${#drivers[@]} -gt 0 ]] || drivers=("${all_drivers[@]}")
build_folder=$root/build/$preset
findings=$build_folder/findings
grown=$root/tests/fuzz/grown

max_input_size() {
    case $1 in
    image | decode) echo 16384 ;;
    document) echo 8192 ;;
    searches | readers) echo 1024 ;;
    commands) echo 256 ;;
    *) echo 4096 ;;
    esac
}

# The folders of tests/fuzz/corpus with the seeds of a driver.
seeds_of() {
    case $1 in
    decode | document) echo image ;;
    readers) echo readers release report ;;
    *) echo "$1" ;;
    esac
}

# The limits of libFuzzer are above what one input needs by design; an image may
# request more memory than there is, and must then be rejected. Freed memory is kept
# from reuse only up to 1 MB, which stays in the caches of the processor and is more
# than most inputs need, and of each allocation only the caller is known; to run a
# finding again shows the whole stack.
run_fuzzer() {
    local kind=$1 little_quarantine=quarantine_size_mb=1:thread_local_quarantine_size_kb=64
    QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES='*=false' LANG=C.UTF-8 \
        ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1:malloc_context_size=1:$little_quarantine \
        UBSAN_OPTIONS=print_stacktrace=1 \
        LSAN_OPTIONS=suppressions=$root/tests/fuzz/leaks.txt:print_suppressions=0 \
        nice -n 15 "$build_folder/tests/fuzz/fuzz_$kind.dir/fuzz_$kind" \
        -max_len="$(max_input_size "$kind")" -timeout=60 -report_slow_units=2 \
        -rss_limit_mb=6000 -malloc_limit_mb=100000000 -artifact_prefix="$findings/$kind/" "${@:2}"
}

fuzz() {
    local kind=$1
    local -a seeds
    read -r -a seeds <<<"$(seeds_of "$kind")"
    mkdir -p "$corpus/$kind" "$findings/$kind"
    say "Fuzzing $kind: ${limit[*]}, seed $seed"
    run_fuzzer "$kind" "${limit[@]}" -seed="$seed" -print_final_stats=1 \
        "$corpus/$kind" "${seeds[@]/#/$root/tests/fuzz/corpus/}" >"$build_folder/fuzz_$kind.log" 2>&1
}

# Unpacks the inputs that earlier runs have found, unless the corpus has some.
begin_corpus() {
    if [[ ! -d $corpus/$1 && -f $grown/$1.tar.gz ]]; then
        mkdir -p "$corpus/$1"
        tar -xzf "$grown/$1.tar.gz" -C "$corpus/$1"
    fi
}

# Packs the fewest inputs of the corpus that reach all that it reaches.
save_corpus() {
    local folder
    folder=$(mktemp -d)
    run_fuzzer "$1" -merge=1 "$folder" "$corpus/$1" >"$build_folder/merge_$1.log" 2>&1
    mkdir -p "$grown"
    tar -C "$folder" --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner -czf "$grown/$1.tar.gz" .
    rm -rf "$folder"
}

commit=$(git -C "$root" describe --always --dirty=+ 2>/dev/null || echo unknown)

# The line for sums.py: driver, preset, commit, date, seed, inputs, seconds of processor
# time, findings.
result_of() {
    local inputs
    inputs=$(awk '/^stat::number_of_executed_units:/ { print $2 }' "$build_folder/fuzz_$1.log")
    printf 'run\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n' \
        "$1" "$preset" "$commit" "$(date -u +%F)" "$seed" "${inputs:-0}" "$2" "$3"
}

install_packages build run test fuzz
build "$preset" "${drivers[@]/#/fuzz_}"
results=()
failed=()
TIMEFORMAT='%1U %1S'
for kind in "${drivers[@]}"; do
    found=0
    begin_corpus "$kind"
    { used=$({ time fuzz "$kind" >&3; } 2>&1) || found=1; } 3>&1
    used=$(awk '{ seconds = $1 + $2 } END { print seconds }' <<<"$used")
    [[ $found -eq 0 ]] || failed+=("$kind")
    grep -aE "DONE .*cov:|ERROR|Requirement not met" "$build_folder/fuzz_$kind.log" | tail -n 4 || true
    results+=("$(result_of "$kind" "$used" "$found")")
done
printf '%s\n' "${results[@]}"
for kind in "${drivers[@]}"; do
    ! $saves || save_corpus "$kind"
done
if [[ ${#failed[@]} -gt 0 ]]; then
    die "failed: ${failed[*]}; inputs are in $findings, logs in $build_folder/fuzz_*.log"
fi
