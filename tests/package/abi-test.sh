#!/usr/bin/env bash
# Compares a library's ABI with the checked-in baseline (abidw's description of the released
# library). An incompatible change fails, naming what changed: anything removed, and any change
# to what existing functions and variables use (a type that grows, a member that moves, a
# virtual table that shifts). A compatible change, an addition, passes and is reported. Refresh the baseline with scripts/update-abi-baseline.sh, when the
# SOVERSION changes on purpose or an addition is accepted.
# Usage: abi-test.sh LIBRARY BASELINE HEADER_DIR...
set -euo pipefail
library="$1" baseline="$2"
shift 2
headers=()
for dir in "$@"; do headers+=(--hd2 "$dir"); done

report=$(mktemp)
trap 'rm -f "$report"' EXIT
status=0
abidiff --drop-private-types "${headers[@]}" "$baseline" "$library" >"$report" || status=$?
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
