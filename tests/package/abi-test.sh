#!/usr/bin/env bash
# Compares a library's ABI with the checked-in baseline (abidw's description of the released
# library). An incompatible change fails, naming what changed: anything removed, and any change
# to what existing functions and variables use (a type that grows, a member that moves, a
# virtual table that shifts). A compatible change, an addition, passes and is reported. Refresh the
# baseline with scripts/update-abi-baseline.sh, when the SOVERSION changes on purpose or an
# addition is accepted.
#
# The comparison needs the library's debug information (abidw and abidiff read the types from
# it; without, only symbol names would be compared, and a type that grows would pass): either in
# the library itself, or, for a stripped one, in DEBUG_DIR as a .build-id/xx/rest.debug file
# (as a -dbgsym package installs it below /usr/lib/debug). A library without it is refused.
# Usage: abi-test.sh [--debug-dir DEBUG_DIR] LIBRARY BASELINE HEADER_DIR...
set -euo pipefail
debug_dir=""
if [ "${1:-}" = --debug-dir ]; then
    debug_dir="$2"
    shift 2
fi
library="$1" baseline="$2"
shift 2
headers=()
for dir in "$@"; do headers+=(--hd2 "$dir"); done

has_debug_info() { grep -q '\.debug_info' <<<"$(readelf -S "$1" 2>/dev/null)"; }
debug_options=()
if ! has_debug_info "$library"; then
    build_id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
    debug_file="$debug_dir/.build-id/${build_id:0:2}/${build_id:2}.debug"
    if [ -z "$debug_dir" ] || [ -z "$build_id" ] || ! has_debug_info "$debug_file"; then
        echo "abi-test: $(basename "$library") has no debug information${debug_dir:+, nor has $debug_dir a debug file for it}:" \
             "its types cannot be compared (give the -dbgsym files' folder with --debug-dir)" >&2
        exit 1
    fi
    debug_options=(--d2 "$debug_dir")
fi

report=$(mktemp)
trap 'rm -f "$report"' EXIT
status=0
abidiff --drop-private-types "${headers[@]}" "${debug_options[@]}" "$baseline" "$library" \
    >"$report" || status=$?
cat "$report"
# abidiff's status is a bit set: 1 error, 2 usage error, 4 an ABI change, 8 a change it knows
# to be incompatible (a removal). Its summaries count the rest: "N Removed, M Changed, K Added".
if (( status & 3 )); then
    echo "abi-test: abidiff could not compare $(basename "$library") with $baseline" >&2
    exit 1
fi
if (( status & 8 )) || grep -Eq '(^|[^0-9])[1-9][0-9]* (Removed|Changed)' "$report"; then
    echo "abi-test: $(basename "$library") breaks the ABI of $baseline (see above)." >&2
    exit 1
fi
if (( status & 4 )); then
    echo "abi-test: $(basename "$library") adds to the ABI of $baseline (compatible; see above)."
else
    echo "abi-test: $(basename "$library") has the ABI of $baseline"
fi
