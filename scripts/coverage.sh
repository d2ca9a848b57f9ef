#!/usr/bin/env bash
# Runs every test with the library counted, and fails if too few lines or
# branches of src run. The report is build/coverage/report/index.html.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

least_lines=95
least_branches=85 # without those that only an exception takes

preset=coverage
build_folder=$root/build/$preset

install_packages build run test check
build "$preset" all
find "$build_folder" -name '*.gcda' -delete
say "Testing"
run_tests --timeout 900 || die "not all tests passed"
mkdir -p "$build_folder/report"
say "Counting"
(cd "$root" && gcovr --root . --filter src/ --object-directory "$build_folder" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --html-details "$build_folder/report/index.html" --txt "$build_folder/report/lines.txt" \
    --print-summary --fail-under-line "$least_lines" --fail-under-branch "$least_branches" "$build_folder/src") \
    || die "below $least_lines % of the lines or $least_branches % of the branches: $build_folder/report/index.html"
