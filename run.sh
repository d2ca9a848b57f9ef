#!/usr/bin/env bash
# Installs missing packages, builds the programs and starts Quillmarch. Without a display it converts the
# sample image to a PDF file instead.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

has_display() {
    [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]
}

# Makes the same pages without a window, as on a server.
convert_sample() {
    local pdf=$build_folder/long-chat.pdf
    build program quillmarch-batch
    say "There is no display for the window: neither DISPLAY nor WAYLAND_DISPLAY is set."
    say "Converting samples/long-chat.png without a window instead"
    "$build_folder/src/batch/quillmarch-batch" "$root/samples/long-chat.png" -o "$pdf"
    say "The PDF file is $pdf"
    cat <<END
To convert your own images: $build_folder/src/batch/quillmarch-batch --help
To see the window, run ./run.sh on a desktop, log in with "ssh -X", or use a virtual screen:
    apt-get install xvfb && xvfb-run $root/run.sh
END
}

install_packages build run
if ! has_display; then
    convert_sample
    exit
fi
build program quillmarch quillmarch-batch
say "Starting Quillmarch"
exec "$build_folder/src/app/quillmarch"
