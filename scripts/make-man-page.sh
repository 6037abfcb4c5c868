#!/usr/bin/env bash
# Writes ostrana-fx's manual page from its own --help texts with help2man: the program's
# --help and --version, and a section for each subcommand's --help, kept as printed.
# Usage: scripts/make-man-page.sh OSTRANA_FX OUTPUT
set -euo pipefail
program="$1" output="$2"
include=$(mktemp)
trap 'rm -f "$include"' EXIT

# A subcommand's --help as a no-fill roff block, its backslashes and leading dots escaped.
section() {
    local title="$1" command="$2"
    printf '[%s]\n.nf\n' "$title"
    "$program" "$command" --help | sed -e 's/\\/\\e/g' -e "s/^\([.']\)/\\\\\&\1/"
    printf '.fi\n\n'
}

{
    section "RENDER" render
    section "PARAMS" params
    section "PRESETS" presets
    section "LIST" list
    section "DESCRIBE" describe
    section "DEMO" demo
    section "FORMATS" formats
    section "STATS" stats
    printf '[EXIT STATUS]\n0 success; 1 a failure while running (a file that cannot be read or written, a full disk, any failed input of a batch); 2 a usage error (anything known before audio is read: options, nodes, values, formats, a write-protected output, colliding batch outputs, an impossible sample rate).\n\n'
    printf '[SEE ALSO]\nThe README of OstranaAudioEffects.\n'
} >"$include"

help2man --no-info --no-discard-stderr --section 1 \
    --name "run audio effect nodes on sound files" \
    --include "$include" --output "$output" "$program"
