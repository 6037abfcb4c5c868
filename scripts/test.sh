#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: the release build (and its
# installed tree, run with the build tree moved away), then the whole suite under
# AddressSanitizer with UBSan, then under ThreadSanitizer, then the browser package's tests, then
# the fuzzers. Fails if any fails.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

failed=()
failed_tests=()

# The names of the tests that failed in a preset's last run (at most 20), as CTest recorded them.
failed_test_names() {
    local log
    case "$1" in
        release) log=build ;;
        *) log="build-$1" ;;
    esac
    log="$log/Testing/Temporary/LastTestsFailed.log"
    if [ -f "$log" ]; then cut -d: -f2- "$log" | head -n 20; else echo "(no record of them)"; fi
}

for preset in release asan tsan; do
    echo "=== $preset: build"
    if ! scripts/build.sh "$preset"; then
        failed+=("$preset build")
        continue
    fi
    echo "=== $preset: tests"
    if ! ctest --preset "$preset"; then
        failed+=("$preset tests")
        failed_tests+=("$preset" "$(failed_test_names "$preset")")
    fi
    if [ "$preset" = release ]; then
        echo "=== release: the installed tree without the build tree"
        scripts/check-installed-tree.sh || failed+=("installed tree")
    fi
done

echo "=== web: the WebAssembly build and the browser tests"
scripts/test-web.sh || failed+=("web")

if [ -x scripts/run-fuzzers.sh ]; then
    echo "=== fuzzers"
    scripts/run-fuzzers.sh || failed+=("fuzzers")
fi

if [ ${#failed[@]} -ne 0 ]; then
    # Named again at the end, where a log's last lines show them.
    for ((i = 0; i < ${#failed_tests[@]}; i += 2)); do
        echo "=== ${failed_tests[i]}: failed tests"
        echo "${failed_tests[i + 1]}"
    done
    echo "FAILED: ${failed[*]}"
    exit 1
fi
echo "All builds and tests passed."
