#!/usr/bin/env bash
# Installs what is missing, builds the program and starts it.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

require_display() {
    if [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]; then
        return
    fi
    die "there is no display to show the window on (neither DISPLAY nor WAYLAND_DISPLAY is set).
Start it on a desktop, log in with \"ssh -X\", or use a virtual screen:
    apt-get install xvfb && xvfb-run $root/run.sh"
}

install_packages build run
build quillmarch
require_display
say "Starting Quillmarch"
exec "$build_folder/src/app/quillmarch"
