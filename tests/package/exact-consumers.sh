#!/usr/bin/env bash
# A consumer that runs the building blocks' inline sample steps (exactness/) gets the same bits
# as a plain x86-64 build when it is compiled with -O2 -march=x86-64-v3, where fused
# multiply-adds are there to be used, through pkg-config and through the CMake package, with
# g++ and clang++: both carry -ffp-contract=off. The same program built with neither (the
# plain include path only) must differ, or this check could not tell.
#
# Usage: exact-consumers.sh PREFIX WORK_DIR [SYSROOT]
set -euo pipefail
checker=exact-consumers
# shellcheck source=pkg-config-of-tree.sh
source "$(dirname "$0")/pkg-config-of-tree.sh" "$@"
source="$(cd "$(dirname "$0")" && pwd)/exactness"
if ! grep -qw fma /proc/cpuinfo || ! grep -qw avx2 /proc/cpuinfo; then
    echo "exact-consumers: skipped, this processor cannot run x86-64-v3 code"
    exit 0
fi
cflags=$(env "${pc_env[@]}" pkg-config --cflags ostrana-audioeffects)
libs=$(env "${pc_env[@]}" pkg-config --libs --static ostrana-audioeffects)

run() { env LD_LIBRARY_PATH="$libdir" "$@"; }

for compiler in g++ clang++; do
    # shellcheck disable=SC2086 # the flags are lists of words
    {
        "$compiler" -std=c++20 -O2 $cflags "$source/InlineStepsChecksum.cpp" -o "$work/plain-$compiler" $libs
        "$compiler" -std=c++20 -O2 -march=x86-64-v3 $cflags "$source/InlineStepsChecksum.cpp" \
            -o "$work/v3-$compiler" $libs
        "$compiler" -std=c++20 -O2 -march=x86-64-v3 -I"$prefix/include" \
            "$source/InlineStepsChecksum.cpp" -o "$work/v3-unflagged-$compiler" $libs
    } >"$work/$compiler.log" 2>&1 || { cat "$work/$compiler.log"; fail "the checksum program does not build"; }
    cmake -S "$source" -B "$work/cmake-$compiler" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=None \
        -DCMAKE_CXX_FLAGS="-O2 -march=x86-64-v3" >"$work/cmake-$compiler.log" 2>&1 &&
        cmake --build "$work/cmake-$compiler" >>"$work/cmake-$compiler.log" 2>&1 ||
        { cat "$work/cmake-$compiler.log"; fail "the CMake checksum program does not build"; }

    plain=$(run "$work/plain-$compiler")
    pkg_config=$(run "$work/v3-$compiler")
    cmake_package=$(run "$work/cmake-$compiler/inline-steps-checksum")
    unflagged=$(run "$work/v3-unflagged-$compiler")
    echo "$compiler x86-64:                   $plain"
    echo "$compiler x86-64-v3, pkg-config:    $pkg_config"
    echo "$compiler x86-64-v3, CMake package: $cmake_package"
    echo "$compiler x86-64-v3, neither:       $unflagged"
    [ "$pkg_config" = "$plain" ] || fail "$compiler: the pkg-config build's steps differ at x86-64-v3"
    [ "$cmake_package" = "$plain" ] || fail "$compiler: the CMake build's steps differ at x86-64-v3"
    [ "$unflagged" != "$plain" ] ||
        fail "$compiler: without the flag the steps do not differ either; this check cannot tell"
done
echo "exact-consumers: the inline steps give the same bits at x86-64-v3"
