#!/usr/bin/env bash
# Installs what is missing of the given groups of scripts/packages.txt:
#
#   scripts/packages.sh build run
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

for group in "$@"; do
    [[ -n $(packages_of "$group") ]] || die "there is no group $group in scripts/packages.txt"
done
[[ $# -gt 0 ]] || die "usage: scripts/packages.sh GROUP..."
install_packages "$@"
