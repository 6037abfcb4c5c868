#!/usr/bin/env bash
# `cmake --install` into a new prefix, then the example consumers and ostrana-fx from there.
# Usage: installed-tree-test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir="$1" build_dir="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >"$work/install.log"
bash "$source_dir/tests/package/consumer-check.sh" "$work/prefix" "$source_dir" "$build_dir" "$work/consumers"
bash "$source_dir/tests/package/linking-consumers.sh" "$work/prefix" "$work/linking"
bash "$source_dir/tests/package/exact-consumers.sh" "$work/prefix" "$work/exact"
bash "$source_dir/tests/package/public-headers.sh" "$work/prefix/include" "$work/headers"

echo "=== ostrana-fx from $work/prefix"
libraries=$(env -u LD_LIBRARY_PATH ldd "$work/prefix/bin/ostrana-fx" | grep libOstrana)
echo "$libraries"
if grep -v "=> $work/prefix/" <<<"$libraries"; then
    echo "installed-tree-test: ostrana-fx loads a library from outside the installed tree" >&2
    exit 1
fi
env -u LD_LIBRARY_PATH "$work/prefix/bin/ostrana-fx" demo "$work/demo" >/dev/null
ls "$work/demo"/*.wav >/dev/null
echo "installed-tree-test: passed"
