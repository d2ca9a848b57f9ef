#!/usr/bin/env bash
# Installs the missing packages of the given groups in scripts/packages.txt:
#
#   scripts/packages.sh build run
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

for group in "$@"; do
    [[ -n $(packages_of "$group") ]] || die "$group: no such group in scripts/packages.txt"
done
[[ $# -gt 0 ]] || die "usage: scripts/packages.sh GROUP..."
install_packages "$@"
