#!/usr/bin/env bash
# Runs the tests of strips and pages under valgrind; fails on an invalid access,
# on a branch that depends on nothing, and on memory that is definitely lost.
# Takes names of tests, tst_pageitem and such, instead of those.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# With debug information, and little optimised; shared with coverage.sh.
preset=coverage
build_folder=$root/build/$preset
tests=("$@")
if [[ ${#tests[@]} -eq 0 ]]; then
    tests=(tst_pageitem tst_cutdrag tst_cuthandle tst_handlelooks tst_drawband tst_pagelayout tst_previewitem)
fi

program_of() {
    find "$build_folder/tests" -type f -path "*/$1.dir/$1" -print -quit
}

check() {
    local program
    program=$(program_of "$1")
    [[ -n $program ]] || die "there is no test $1"
    say "$1"
    QT_QPA_PLATFORM=offscreen LANG=C.UTF-8 QTEST_FUNCTION_TIMEOUT=3600000 \
        valgrind --quiet --error-exitcode=9 --leak-check=full --show-leak-kinds=definite \
        --errors-for-leak-kinds=definite \
        --num-callers=30 "$program" -silent
}

install_packages build run test check
for name in "${tests[@]}"; do
    build "$preset" "$name"
done
failed=()
for name in "${tests[@]}"; do
    check "$name" || failed+=("$name")
done
if [[ ${#failed[@]} -gt 0 ]]; then
    die "errors in ${failed[*]}"
fi
say "No errors in ${#tests[@]} tests"
