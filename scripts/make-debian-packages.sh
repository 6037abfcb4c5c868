#!/usr/bin/env bash
# Builds the Debian packages (debian/, dpkg-buildpackage) from a copy of the source tree, with
# a changelog entry written now for the project's version and Debian revision 1, and puts the
# .deb files (the -dbgsym ones among them) and the .buildinfo/.changes into OUT_DIR. The copy and
# its build stay in OUT_DIR/build-tree, so that building again into the same OUT_DIR rebuilds
# only what changed.
# Usage: scripts/make-debian-packages.sh OUT_DIR
set -euo pipefail
source_dir="$(cd "$(dirname "$0")/.." && pwd)"
out_dir="$(mkdir -p "$1" && cd "$1" && pwd)"
work="$out_dir/build-tree"
rm -f "$work"/*.deb "$work"/*.buildinfo "$work"/*.changes "$out_dir"/*.deb

version=$(sed -nE 's/^project\(OstranaAudioEffects VERSION ([0-9.]+).*/\1/p' "$source_dir/CMakeLists.txt")
[ -n "$version" ] || { echo "make-debian-packages: no project version in CMakeLists.txt" >&2; exit 1; }

# The files git knows of (committed or not), without build trees, with their times.
tree="$work/ostrana-audioeffects-$version"
mkdir -p "$tree"
(cd "$source_dir" && git ls-files -z --cached --others --exclude-standard |
    xargs -0 tar -cf - --no-recursion) | tar -xf - -C "$tree"

cat >"$tree/debian/changelog" <<CHANGELOG
ostrana-audioeffects ($version-1) unstable; urgency=medium

  * Release $version.

 -- OstranaAudioEffects developers <maintainers@dravolt.com>  $(date -R)
CHANGELOG

(cd "$tree" && dpkg-buildpackage -b -nc -us -uc -j"$(nproc)") >"$work/build.log" 2>&1 ||
    { tail -60 "$work/build.log"; echo "make-debian-packages: dpkg-buildpackage failed" >&2; exit 1; }
mv "$work"/*.deb "$work"/*.buildinfo "$work"/*.changes "$out_dir"/
ls "$out_dir"
