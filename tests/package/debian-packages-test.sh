#!/usr/bin/env bash
# Builds the Debian packages (scripts/make-debian-packages.sh) and checks them as a packager and
# a user would: lintian --pedantic reports no error and no warning; the runtime libraries are in
# the multiarch folder, stripped, each in the package named after its SONAME, with their debug
# information in the -dbgsym packages; no binary in /usr has a run path; no maintainer script
# calls ldconfig; the development package holds the README, the LICENSE and the examples. Then,
# unpacked into a new root, the example consumers, the linking and exactness consumers and
# ostrana-fx run from it; apt would upgrade the runtime packages to a later 0.1.x without
# removing anything; and the ABI check passes on the packaged library with its debug file.
# Usage: debian-packages-test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir="$1" build_dir="$2"
here="$(cd "$(dirname "$0")" && pwd)"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "debian-packages-test: $*" >&2
    exit 1
}

# OSTRANA_DEBS_DIR names a folder to build into (and rebuild in) rather than a new one.
build_into="${OSTRANA_DEBS_DIR:-$work/debs}"
start=$(date +%s)
bash "$source_dir/scripts/make-debian-packages.sh" "$build_into" >"$work/make.log" 2>&1 ||
    { cat "$work/make.log"; fail "the packages do not build"; }
if [ "$build_into" != "$work/debs" ]; then
    mkdir -p "$work/debs"
    cp "$build_into"/*.deb "$build_into"/*.changes "$build_into"/*.buildinfo "$work/debs/"
fi
echo "=== packages (built in $(($(date +%s) - start)) s)"
for deb in "$work"/debs/*.deb; do
    dpkg-deb --field "$deb" Package Version Multi-Arch Depends | tr '\n' ' '
    echo
done

echo "=== lintian --pedantic"
lintian --pedantic --display-info --tag-display-limit 0 "$work"/debs/*.changes 2>&1 |
    grep -v 'running with root privileges' | tee "$work/lintian.log" || true
if grep -qE '^(E|W):' "$work/lintian.log"; then fail "lintian reports errors or warnings"; fi

mkdir -p "$work/root" "$work/debug-root"
mkdir -p "$work/packages" "$work/debug-packages"
mv "$work"/debs/*-dbgsym_*.deb "$work/debug-packages/"
mv "$work"/debs/*.deb "$work/packages/"
for deb in "$work"/packages/*.deb; do dpkg-deb -x "$deb" "$work/root"; done
for deb in "$work"/debug-packages/*.deb; do dpkg-deb -x "$deb" "$work/debug-root"; done
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir="$work/root/usr/lib/$triplet"

echo "=== layout"
for soname in libOstranaSDK.so.0 libOstranaAudioEffects.so.0; do
    owner=$(for deb in "$work"/packages/*.deb; do
        if grep -q "/usr/lib/$triplet/$soname" <<<"$(dpkg-deb -c "$deb")"; then
            dpkg-deb --field "$deb" Package
        fi
    done)
    expected=$(tr '[:upper:]' '[:lower:]' <<<"${soname%.so.0}0")
    [ "$owner" = "$expected" ] || fail "$soname is in '$owner', not $expected"
    library=$(readlink -f "$libdir/$soname")
    ! grep -q '\.debug_info' <<<"$(readelf -S "$library")" || fail "$soname is not stripped"
    build_id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
    [ -f "$work/debug-root/usr/lib/debug/.build-id/${build_id:0:2}/${build_id:2}.debug" ] ||
        fail "no debug file for $soname in the -dbgsym packages"
    echo "$soname: in $owner, stripped, debug file in ${owner}-dbgsym"
done
while IFS= read -r -d '' file; do
    if [[ "$(file -b "$file")" == ELF* ]] && grep -qE 'RPATH|RUNPATH' <<<"$(readelf -d "$file")"; then
        fail "$file has a run path"
    fi
done < <(find "$work/root/usr" -type f -print0)
echo "no run path in /usr"
for deb in "$work"/packages/*.deb; do
    rm -rf "$work/control" && dpkg-deb -e "$deb" "$work/control"
    if grep -qs ldconfig "$work"/control/{preinst,postinst,prerm,postrm}; then
        fail "$(basename "$deb") calls ldconfig from a maintainer script"
    fi
done
echo "no maintainer script calls ldconfig"
doc="$work/root/usr/share/doc/libostrana-audioeffects-dev"
for file in README.md LICENSE examples/delay-host.cpp examples/find-package/CMakeLists.txt; do
    [ -e "$doc/$file" ] || [ -e "$doc/$file.gz" ] || fail "no $file in $doc"
done
echo "README, LICENSE and examples in $doc"

echo "=== consumers of the unpacked packages"
bash "$here/consumer-check.sh" "$work/root/usr" "$source_dir" "$build_dir" "$work/consumers" "$work/root"
bash "$here/linking-consumers.sh" "$work/root/usr" "$work/linking" "$work/root"
bash "$here/exact-consumers.sh" "$work/root/usr" "$work/exact" "$work/root"
env LD_LIBRARY_PATH="$libdir" "$work/root/usr/bin/ostrana-fx" demo "$work/demo" >/dev/null
ls "$work/demo"/*.wav >/dev/null

echo "=== upgrade to a later 0.1.x"
bash "$here/upgrade-simulation.sh" "$work/packages" "$work/upgrade"

echo "=== ABI of the packaged libraries, with their debug files"
bash "$here/abi-test.sh" --debug-dir "$work/debug-root/usr/lib/debug" \
    "$libdir/libOstranaSDK.so.0" "$source_dir/sdk/OstranaSDK.abi" "$work/root/usr/include"
bash "$here/abi-test.sh" --debug-dir "$work/debug-root/usr/lib/debug" \
    "$libdir/libOstranaAudioEffects.so.0" "$source_dir/audioeffects/OstranaAudioEffects.abi" \
    "$work/root/usr/include"
echo "debian-packages-test: passed"
