#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test. Options go to
# ctest: ./test.sh -R views runs the tests with that word in their names.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

install_packages build run test bench
build "$preset" all
say "Testing"
if ! run_tests "$@"; then
    say "FAILED: not all tests passed. Logs and pictures: build/$preset/Testing, build/$preset/screenshots"
    exit 1
fi
if [[ $# -eq 0 ]]; then
    say "All tests passed"
fi
