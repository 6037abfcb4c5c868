#!/usr/bin/env bash
# Compares what a library exports with the checked-in list, so that every change to the
# exported surface shows as a diff. Refresh the list with scripts/update-abi-baseline.sh.
# Usage: exported-symbols-test.sh SOURCE_DIR LIBRARY LIST
set -euo pipefail
source_dir="$1" library="$2" list="$3"
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
bash "$source_dir/scripts/exported-symbols.sh" "$library" >"$actual"
if ! diff -u "$list" "$actual"; then
    echo "exported-symbols-test: $(basename "$library") exports other symbols than $list" \
        "(lines with - are gone, lines with + are new)." >&2
    echo "If the change is meant, run scripts/update-abi-baseline.sh and commit the lists." >&2
    exit 1
fi
echo "exported-symbols-test: $(basename "$library") exports exactly the $(wc -l <"$list") listed symbols"
