#!/usr/bin/env bash
# The ABI check cannot pass blind. With libOstranaSDK from the build split as a package splits it
# (stripped library, debug file by build ID): it refuses the stripped library alone; it passes
# with the debug file; and a library built from sources where AudioBusFormat has grown by one
# member, split the same way, fails with its debug file.
# Usage: abi-check-test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir="$1" build_dir="$2"
abi_test="$(cd "$(dirname "$0")" && pwd)/abi-test.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
baseline="$source_dir/sdk/OstranaSDK.abi"
headers=("$source_dir/sdk/include" "$build_dir/sdk/include")

fail() {
    echo "abi-check-test: $*" >&2
    exit 1
}

# LIBRARY OUT_DIR: OUT_DIR/libOstranaSDK.so.0 stripped, OUT_DIR/debug/.build-id/xx/rest.debug.
split() {
    local library="$1" out="$2"
    mkdir -p "$out"
    local build_id
    build_id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
    [ -n "$build_id" ] || fail "$library has no build ID"
    mkdir -p "$out/debug/.build-id/${build_id:0:2}"
    objcopy --only-keep-debug "$library" "$out/debug/.build-id/${build_id:0:2}/${build_id:2}.debug"
    objcopy --strip-debug --strip-unneeded "$library" "$out/libOstranaSDK.so.0"
}

split "$build_dir/lib/libOstranaSDK.so.0" "$work/built"
echo "=== the stripped library alone"
if bash "$abi_test" "$work/built/libOstranaSDK.so.0" "$baseline" "${headers[@]}" 2>"$work/refusal.log"; then
    fail "the check passed a stripped library without its debug file"
fi
cat "$work/refusal.log"
grep -q "has no debug information" "$work/refusal.log" || fail "the refusal does not say why"

echo "=== the stripped library with its debug file"
bash "$abi_test" --debug-dir "$work/built/debug" "$work/built/libOstranaSDK.so.0" "$baseline" \
    "${headers[@]}" || fail "the unchanged library fails the check"

echo "=== AudioBusFormat with one member more"
cp -r "$source_dir/sdk" "$work/sdk"
sed -i 's/^    unsigned int numberOfFrames = 0;$/&\n    unsigned int grown = 0;/' \
    "$work/sdk/include/ostrana/sdk/AudioBusFormat.h"
grep -q 'unsigned int grown' "$work/sdk/include/ostrana/sdk/AudioBusFormat.h" ||
    fail "could not grow AudioBusFormat"
g++ -std=c++20 -O1 -g -fPIC -shared -fvisibility=hidden -fvisibility-inlines-hidden \
    -I"$work/sdk/include" -I"$build_dir/sdk/include" -Wl,--version-script="$work/sdk/OstranaSDK.map" \
    -Wl,-soname,libOstranaSDK.so.0 "$work"/sdk/*.cpp -o "$work/grown.so" -ldl
split "$work/grown.so" "$work/grown"
if bash "$abi_test" --debug-dir "$work/grown/debug" "$work/grown/libOstranaSDK.so.0" "$baseline" \
    "${headers[@]}" >"$work/grown.log" 2>&1; then
    cat "$work/grown.log"
    fail "the check passed a library whose AudioBusFormat grew"
fi
grep -E 'AudioBusFormat|size' "$work/grown.log" | head -5
grep -q "breaks the ABI" "$work/grown.log" || { cat "$work/grown.log"; fail "the failure is not the ABI's"; }
echo "abi-check-test: passed"
