#!/usr/bin/env bash
# Runs all tests with coverage, and fails if they reach too few lines or branches of
# src. The report is build/coverage/report/index.html.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

least_lines=99
least_branches=94 # not counting branches that only exceptions take

preset=coverage
build_folder=$root/build/$preset

install_packages build run test check
build "$preset" all
find "$build_folder" -name '*.gcda' -delete
say "Testing"
run_tests --timeout 900 || die "not all tests passed"
mkdir -p "$build_folder/report"
say "Measuring coverage"
(cd "$root" && gcovr --root . --filter src/ --object-directory "$build_folder" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --html-details "$build_folder/report/index.html" --txt "$build_folder/report/lines.txt" \
    --print-summary --fail-under-line "$least_lines" --fail-under-branch "$least_branches" "$build_folder/src") \
    || die "less than $least_lines % of the lines or $least_branches % of the branches: see $build_folder/report/index.html"
