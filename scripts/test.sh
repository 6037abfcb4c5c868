#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: the release build (and its
# installed tree, run with the build tree moved away), then the whole suite under
# AddressSanitizer with UBSan, then under ThreadSanitizer, then the fuzzers. Fails if any fails.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

failed=()
for preset in release asan tsan; do
    echo "=== $preset: build"
    if ! scripts/build.sh "$preset"; then
        failed+=("$preset build")
        continue
    fi
    echo "=== $preset: tests"
    ctest --preset "$preset" || failed+=("$preset tests")
    if [ "$preset" = release ]; then
        echo "=== release: the installed tree without the build tree"
        scripts/check-installed-tree.sh || failed+=("installed tree")
    fi
done

if [ -x scripts/run-fuzzers.sh ]; then
    echo "=== fuzzers"
    scripts/run-fuzzers.sh || failed+=("fuzzers")
fi

if [ ${#failed[@]} -ne 0 ]; then
    echo "FAILED: ${failed[*]}"
    exit 1
fi
echo "All builds and tests passed."
