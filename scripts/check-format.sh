#!/usr/bin/env bash
# Fails when a tracked C++ file differs from the layout .clang-format gives it, naming each file
# and the first lines clang-format would change. Fix with: clang-format-14 -i FILE...
# Exits 77 (skipped) where there is no clang-format 14 or the tree is not a git checkout.
# Usage: scripts/check-format.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

formatter=""
for candidate in clang-format-14 clang-format; do
    if command -v "$candidate" >/dev/null && "$candidate" --version | grep -q 'version 14\.'; then
        formatter=$candidate
        break
    fi
done
if [ -z "$formatter" ]; then
    echo "check-format: skipped, no clang-format 14 (Debian's clang-format-14 package)"
    exit 77
fi
if ! git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    echo "check-format: skipped, $(pwd) is not a git checkout"
    exit 77
fi

mapfile -d '' files < <(git ls-files -z -- '*.cpp' '*.h' '*.hpp' '*.cc')
unformatted=()
for file in "${files[@]}"; do
    [ -f "$file" ] || continue  # deleted in the work tree, not yet in the index
    if ! "$formatter" "$file" | cmp -s - "$file"; then unformatted+=("$file"); fi
done
if [ ${#unformatted[@]} -ne 0 ]; then
    for file in "${unformatted[@]}"; do
        echo "check-format: $file differs from its clang-format layout:"
        "$formatter" "$file" | diff -u "$file" - | sed -n '3,14p'
    done
    echo "check-format: ${#unformatted[@]} of ${#files[@]} files; fix with: $formatter -i FILE..."
    exit 1
fi
echo "check-format: all ${#files[@]} tracked C++ files are laid out as .clang-format says"
