#!/usr/bin/env bash
# Installs the release build into a new prefix, moves the build tree out of the way, and runs
# `ostrana-fx demo` from the installed tree: nothing installed may need the build tree.
# The build tree is put back whatever happens.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir="$PWD/build"
moved_dir="$PWD/build.moved-away"
work=$(mktemp -d)
restore() {
    if [ -d "$moved_dir" ]; then mv "$moved_dir" "$build_dir"; fi
    rm -rf "$work"
}
trap restore EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
mv "$build_dir" "$moved_dir"
env -u LD_LIBRARY_PATH "$work/prefix/bin/ostrana-fx" demo "$work/demo"
ls "$work/demo"/*.wav >/dev/null
echo "check-installed-tree: ostrana-fx ran from $work/prefix with the build tree moved away"
