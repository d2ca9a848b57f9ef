#!/usr/bin/env bash
# Installs what is missing, builds the programs and starts the one with the window. Without a display
# it makes a PDF file of the sample image instead.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

has_display() {
    [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]
}

# A server shows no window, but it can make the same pages.
convert_sample() {
    local pdf=$build_folder/long-chat.pdf
    build program quillmarch-batch
    say "There is no display to show the window on (neither DISPLAY nor WAYLAND_DISPLAY is set)."
    say "Turning samples/long-chat.png into pages without it"
    "$build_folder/src/batch/quillmarch-batch" "$root/samples/long-chat.png" -o "$pdf"
    say "The PDF file is $pdf"
    cat <<END
For images of your own: $build_folder/src/batch/quillmarch-batch --help
To see the window, call ./run.sh on a desktop, log in with "ssh -X", or use a virtual screen:
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
