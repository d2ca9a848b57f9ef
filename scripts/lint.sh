#!/usr/bin/env bash
# Checks the sources with clang-tidy (.clang-tidy) and the scripts with shellcheck.
# With arguments, clang-tidy checks only the sources in these folders or files:
# scripts/lint.sh src/page tests/page/tst_pageitem.cpp
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The .cpp files that belong to git and to the build, in the given folders.
sources() {
    git ls-files -z -- "$@" | tr '\0' '\n' | grep '\.cpp$' | while read -r file; do
        if grep -qF "\"file\": \"$root/$file\"" "$build_folder/compile_commands.json"; then
            printf '%s\n' "$file"
        fi
    done
}

# The scripts for bash and sh, by their first lines.
shell_scripts() {
    git grep -lE '^#!.*[/ ](ba)?sh$|^# shellcheck shell=' -- ':!*.md' | while read -r file; do
        if head -n 1 "$file" | grep -qE '^#!.*[/ ](ba)?sh$|^# shellcheck shell='; then
            printf '%s\n' "$file"
        fi
    done
}

# clang-tidy needs the headers that the build generates, those of moc among them.
generate_headers() {
    local -a targets
    configure release
    mapfile -t targets < <(ninja -C "$build_folder" -t targets all | sed -n 's/^\([^/ ][^ ]*_autogen\): phony$/\1/p' | grep -v CMakeFiles)
    say "Generating headers"
    cmake --build "$build_folder" --parallel "$(nproc)" --target "${targets[@]}"
}

cd "$root"
install_packages build run test bench check
generate_headers
failed=0
say "shellcheck"
shell_scripts | xargs -d '\n' shellcheck || failed=1
say "clang-tidy"
if [[ $# -eq 0 ]]; then
    set -- src tests bench tools
fi
# Each call gets one source, so that all cores are busy to the end.
sources "$@" | xargs -d '\n' -P "$(nproc)" -n 1 clang-tidy -p "$build_folder" --quiet 2> >(grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed ' >&2) || failed=1
if [[ $failed -ne 0 ]]; then
    die "there are findings"
fi
say "No findings"
