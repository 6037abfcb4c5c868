#!/usr/bin/env bash
# Writes the checked-in record of what the two libraries export, from the release build: for
# each library its exported symbols (<Library>.symbols) and its ABI as abidw describes it
# (<Library>.abi), beside its sources. Run it when the exported surface changes on purpose:
# an addition (then the tests report it until the record is refreshed), or an incompatible
# change that comes with a new SOVERSION.
# Usage: scripts/update-abi-baseline.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir="${1:-build}"

# library  folder  public header folders
record() {
    local library="$1" folder="$2"
    shift 2
    local headers=()
    for dir in "$@"; do headers+=(--headers-dir "$dir"); done
    scripts/exported-symbols.sh "$build_dir/lib/lib$library.so" >"$folder/$library.symbols"
    abidw --no-corpus-path --drop-private-types "${headers[@]}" \
        "$build_dir/lib/lib$library.so" >"$folder/$library.abi"
    echo "update-abi-baseline: $folder/$library.symbols ($(wc -l <"$folder/$library.symbols") symbols), $folder/$library.abi"
}

record OstranaSDK sdk sdk/include "$build_dir/sdk/include"
record OstranaAudioEffects audioeffects audioeffects/include sdk/include "$build_dir/sdk/include" \
    "$build_dir/audioeffects/include"
