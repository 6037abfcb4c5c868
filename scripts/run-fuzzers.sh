#!/usr/bin/env bash
# Builds the libFuzzer targets (the "fuzz" preset: clang with AddressSanitizer and UBSan) and
# runs each for a fixed time on a temporary copy of its seed corpus, so the committed corpus is
# never rewritten. The inputs in fuzz/regressions/ are run first. Prints what libFuzzer reports
# at the end of each run (executions, coverage) and fails if any fuzzer finds a crash, a leak,
# a sanitizer report or a broken invariant; the failing input is kept in build-fuzz/findings/.
#
# OSTRANA_FUZZ_SECONDS sets the time per fuzzer (default 60).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${OSTRANA_FUZZ_SECONDS:-60}"
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [ "$seconds" -lt 1 ]; then
    echo "run-fuzzers: OSTRANA_FUZZ_SECONDS must be a positive whole number of seconds" >&2
    exit 2
fi

echo "run-fuzzers: building the fuzz preset"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

bin_dir="build-fuzz/bin"
findings_dir="build-fuzz/findings"
work_dir="$(mktemp -d)"
trap 'rm -rf "$work_dir"' EXIT

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

# run_fuzzer NAME INPUTS MAX_LEN
run_fuzzer() {
    local name="$1" inputs="$2" max_len="$3"
    local corpus="$work_dir/$name-corpus" artifacts="$work_dir/$name-artifacts/" log="$work_dir/$name.log"
    mkdir -p "$corpus" "$artifacts"
    cp -R "fuzz/corpus/$inputs/." "$corpus/"

    echo "=== $name: ${seconds} s, -max_len=$max_len"
    local status=0
    "$bin_dir/$name" "$corpus" "fuzz/regressions/$inputs" \
        -max_total_time="$seconds" -max_len="$max_len" -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$artifacts" >"$log" 2>&1 || status=$?

    # The last status line (executions, coverage, features, corpus) and the final statistics.
    grep -E '^#[0-9]+[[:space:]]+(DONE|pulse|NEW|REDUCE|INITED)' "$log" | tail -n 1 || true
    grep -E '^(Done [0-9]+ runs|stat::)' "$log" || true

    if [ "$status" -ne 0 ] || grep -qE '^==[0-9]+==ERROR|runtime error:|invariant broken' "$log"; then
        echo "run-fuzzers: $name FAILED (exit status $status); the end of its log:"
        tail -n 60 "$log"
        mkdir -p "$findings_dir/$name"
        cp -R "$artifacts/." "$findings_dir/$name/" 2>/dev/null || true
        echo "run-fuzzers: failing inputs kept in $findings_dir/$name/;" \
            "add each to fuzz/regressions/$inputs/ once it is fixed"
        return 1
    fi
}

failed=()
run_fuzzer node_fuzzer node 4096 || failed+=(node_fuzzer)
run_fuzzer property_fuzzer property 1024 || failed+=(property_fuzzer)

if [ ${#failed[@]} -ne 0 ]; then
    echo "run-fuzzers: FAILED: ${failed[*]}"
    exit 1
fi
echo "run-fuzzers: no fuzzer found anything"
