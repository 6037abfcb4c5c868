#!/usr/bin/env bash
# Makes the Debian packages with cpack, checks them with lintian (no errors), unpacks them into
# a new root with dpkg-deb -x, and builds and runs the example consumers and ostrana-fx there.
# Usage: debian-packages-test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir="$1" build_dir="$2"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$build_dir" && cpack -G DEB -B "$work/debs" >"$work/cpack.log") ||
    { cat "$work/cpack.log"; exit 1; }
for deb in "$work"/debs/*.deb; do
    echo "=== $(basename "$deb")"
    dpkg-deb --field "$deb" Package Version Depends
done

echo "=== lintian"
lintian --tag-display-limit 0 "$work"/debs/*.deb 2>&1 | grep -v 'running with root privileges' |
    tee "$work/lintian.log" || true
if grep -q '^E:' "$work/lintian.log"; then
    echo "debian-packages-test: lintian reports errors" >&2
    exit 1
fi

mkdir -p "$work/root"
for deb in "$work"/debs/*.deb; do dpkg-deb -x "$deb" "$work/root"; done
bash "$source_dir/tests/package/consumer-check.sh" "$work/root/usr" "$source_dir" "$build_dir" "$work/consumers"

echo "=== ostrana-fx from the unpacked packages"
env -u LD_LIBRARY_PATH "$work/root/usr/bin/ostrana-fx" demo "$work/demo" >/dev/null
ls "$work/demo"/*.wav >/dev/null
echo "debian-packages-test: passed"
