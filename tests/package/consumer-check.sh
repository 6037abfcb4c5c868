#!/usr/bin/env bash
# Builds the two example consumers (examples/find-package with CMake, examples/pkg-config with
# make) against an installed OstranaAudioEffects tree and runs them. Fails if a compile or link
# line names the project's source or build tree, if a program loads a library from anywhere but
# the installed tree, or if a program does not list every node type of the catalogue and process
# its blocks.
#
# Usage: consumer-check.sh PREFIX SOURCE_DIR BUILD_DIR WORK_DIR [SYSROOT]
set -euo pipefail
prefix="$1" source_dir="$2" build_dir="$3" work="$4" sysroot="${5:-}"
mkdir -p "$work"

fail() {
    echo "consumer-check: $*" >&2
    exit 1
}

# A log of build commands must not reach into the project's own trees for headers or
# libraries (the consumers' own sources live in examples/, which is allowed).
check_commands() {
    local log="$1"
    for forbidden in "$source_dir/sdk" "$source_dir/audioeffects" "$build_dir"; do
        if grep -qF -- "$forbidden" "$log"; then
            grep -F -- "$forbidden" "$log" | head -3 >&2
            fail "$(basename "$log"): a build command uses $forbidden"
        fi
    done
}

# Every node type of the catalogue, as the build's ostrana-fx lists it: AudioEffects.Delay ...
catalogue_types=$("$build_dir/bin/ostrana-fx" list | sed -nE 's/^  (AudioEffects\.[A-Za-z]+) .*/\1/p')
[ -n "$catalogue_types" ] || fail "ostrana-fx list names no node type"

# The program takes its libraries from the installed tree and does its job. With a second
# argument, the folder of the libraries, it is run with LD_LIBRARY_PATH set to it (a program
# with no run path, as a user builds it with pkg-config); without, with no help from the
# environment.
check_program() {
    local program="$1" library_path="${2:-}"
    local run=(env -u LD_LIBRARY_PATH)
    [ -z "$library_path" ] || run=(env LD_LIBRARY_PATH="$library_path")
    local libraries
    libraries=$("${run[@]}" ldd "$program" | grep -E 'libOstrana(SDK|AudioEffects)')
    echo "$libraries"
    while read -r line; do
        case "$line" in
            *"=> $prefix/"*) ;;
            *) fail "$program loads a library from outside $prefix: $line" ;;
        esac
    done <<<"$libraries"
    local output
    output=$("${run[@]}" "$program")
    echo "$output"
    for type in $catalogue_types; do
        grep -qF "$type " <<<"$output" || fail "$program does not list $type"
    done
    grep -q "^processed 8 blocks of 512 stereo frames" <<<"$output" || fail "$program processed nothing"
}

echo "=== find_package consumer against $prefix"
cmake -S "$source_dir/examples/find-package" -B "$work/find-package" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >"$work/find-package.configure.log"
cmake --build "$work/find-package" --verbose >"$work/find-package.build.log" 2>&1 ||
    { cat "$work/find-package.build.log"; fail "the find_package consumer does not build"; }
check_commands "$work/find-package.build.log"
check_program "$work/find-package/chorus-host"
delay_output=$(env -u LD_LIBRARY_PATH "$work/find-package/delay-host")
echo "$delay_output"
[ "$delay_output" = "delayMs 10, wetMix 0.5; echo 0.5 at frame 480" ] ||
    fail "delay-host did not set, process and read back as the README says"
# The README shows delay-host.cpp whole, as it is built here.
diff <(sed -n '/^    \/\/ The shortest complete host/,/^    }$/p' "$source_dir/README.md" | sed 's/^    //') \
    "$source_dir/examples/delay-host.cpp" || fail "the README's host differs from examples/delay-host.cpp"

echo "=== pkg-config consumer against $prefix"
# Unpacked packages say /usr: pkg-config is told where that lies (see pkg-config-of-tree.sh).
checker=consumer-check
# shellcheck source=pkg-config-of-tree.sh
source "$(dirname "$0")/pkg-config-of-tree.sh" "$prefix" "$work" "${sysroot:-}"
env "${pc_env[@]}" make -f "$source_dir/examples/pkg-config/Makefile" \
    OUT="$work/pkg-config-host" >"$work/pkg-config.build.log" 2>&1 ||
    { cat "$work/pkg-config.build.log"; fail "the pkg-config consumer does not build"; }
check_commands "$work/pkg-config.build.log"
if readelf -d "$work/pkg-config-host" | grep -qE 'RPATH|RUNPATH'; then
    fail "the example Makefile wrote a run path into the program"
fi
check_program "$work/pkg-config-host" "$libdir"
echo "consumer-check: both consumers built and ran against $prefix"
