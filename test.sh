#!/usr/bin/env bash
# Installs missing packages, builds everything and runs all tests but the slow one, which
# compiles the programs once more: ./test.sh -L slow. Options are passed to ctest:
# ./test.sh -R views runs the tests whose names contain "views".
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

install_packages build run test bench
build "$preset" all
say "Testing"
if ! run_tests "$@"; then
    say "FAILED: not all tests passed. Logs and screenshots: build/$preset/Testing, build/$preset/screenshots"
    exit 1
fi
if [[ $# -eq 0 ]]; then
    say "All tests passed; not run: ./test.sh -L slow"
fi
