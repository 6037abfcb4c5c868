#!/usr/bin/env bash
# The manual page made at build time holds the program's version and what people look up:
# the render options (tails, formats, ranges, presets) and the params and presets commands.
# Usage: man-page-test.sh MAN_PAGE VERSION
set -euo pipefail
page="$1" version="$2"
failed=0
expect() {
    if ! grep -qF -- "$1" "$page"; then
        echo "man-page-test: '$1' is not in $page" >&2
        failed=1
    fi
}
expect ".TH OSTRANA-FX \"1\""
expect "ostrana-fx $version"
for text in "--tail" "--format" "--allow-out-of-range" "--output-dir" "--upmix" "--strict" \
    "--preset" ".SH PARAMS" ".SH PRESETS" ".SH RENDER" ".SH \"EXIT STATUS\""; do
    expect "$text"
done
[ "$failed" -eq 0 ] && echo "man-page-test: $page has every expected part"
exit "$failed"
