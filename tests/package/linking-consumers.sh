#!/usr/bin/env bash
# Builds programs and a shared library that link the effects library but call nothing of it
# (tests/package/consumers: every node type is made by name through the host's manager) with
# Debian's default compiler and linker flags and --as-needed, with g++ and clang++, through the
# CMake package and through pkg-config, and runs them: linking must be enough for the extension
# to be registered.
#
# Usage: linking-consumers.sh PREFIX WORK_DIR [SYSROOT]
#   PREFIX   where the tree is installed (holds include/ and the library folder)
#   SYSROOT  for unpacked packages: the folder that stands for / (the .pc files say /usr)
set -euo pipefail
checker=linking-consumers
# shellcheck source=pkg-config-of-tree.sh
source "$(dirname "$0")/pkg-config-of-tree.sh" "$@"
consumers="$(cd "$(dirname "$0")" && pwd)/consumers"
static=no
[ -e "$libdir/libOstranaAudioEffects.so" ] || static=yes

cxxflags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
ldflags="$(dpkg-buildflags --get LDFLAGS) -Wl,--as-needed"

# The program prints one "created" line per node type, the libraries come from PREFIX, and a
# shared build keeps the effects library as a dependency of what linked it.
check() {
    local program="$1" linked="$2"
    local output
    output=$(env LD_LIBRARY_PATH="$libdir" "$program") || { echo "$output"; fail "$program failed"; }
    [ "$(grep -c '^created AudioEffects\.' <<<"$output")" = 5 ] ||
        { echo "$output"; fail "$program did not create the five node types"; }
    if [ "$static" = no ]; then
        local dynamic loaded
        dynamic=$(readelf -d "$linked")
        grep -q 'NEEDED.*\[libOstranaAudioEffects\.so\.0\]' <<<"$dynamic" ||
            fail "$linked does not keep libOstranaAudioEffects.so.0 as a dependency"
        loaded=$(env LD_LIBRARY_PATH="$libdir" ldd "$program")
        grep -q "libOstranaAudioEffects.so.0 => $libdir/" <<<"$loaded" ||
            fail "$program does not load the effects library from $libdir"
    fi
    echo "  $(basename "$program"): five node types created by name"
}

for compiler in g++ clang++; do
    echo "=== CMake package, $compiler ($static static)"
    build="$work/cmake-$compiler"
    rm -rf "$build"
    cmake -S "$consumers" -B "$build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=None \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$cxxflags" \
        -DCMAKE_EXE_LINKER_FLAGS="$ldflags" -DCMAKE_SHARED_LINKER_FLAGS="$ldflags" \
        >"$build.configure.log" 2>&1 || { cat "$build.configure.log"; fail "configure failed"; }
    cmake --build "$build" --verbose >"$build.build.log" 2>&1 ||
        { cat "$build.build.log"; fail "the CMake consumers do not build"; }
    grep -q -- '--as-needed' "$build.build.log" || fail "the CMake link lines lack --as-needed"
    check "$build/by-name-program" "$build/by-name-program"
    check "$build/by-name-user" "$build/libby-name-library.so"

    echo "=== pkg-config, $compiler"
    build="$work/pkg-config-$compiler"
    mkdir -p "$build"
    static_option=()
    [ "$static" = yes ] && static_option=(--static)
    cflags=$(env "${pc_env[@]}" pkg-config --cflags ostrana-audioeffects)
    libs=$(env "${pc_env[@]}" pkg-config --libs "${static_option[@]}" ostrana-audioeffects)
    # shellcheck disable=SC2086 # the flags are lists of words
    {
        "$compiler" -std=c++20 $cxxflags $cflags "$consumers/main.cpp" "$consumers/CreateByName.cpp" \
            -o "$build/by-name-program" $ldflags $libs
        "$compiler" -std=c++20 $cxxflags $cflags -fPIC -fvisibility=hidden -DBUILDING_CREATE_BY_NAME \
            -shared "$consumers/CreateByName.cpp" -o "$build/libby-name-library.so" $ldflags $libs
        "$compiler" -std=c++20 $cxxflags "$consumers/main.cpp" -o "$build/by-name-user" \
            $ldflags -L"$build" -lby-name-library -Wl,-rpath,"$build" -Wl,-rpath-link,"$libdir"
    } >"$build.log" 2>&1 || { cat "$build.log"; fail "the pkg-config consumers do not build"; }
    check "$build/by-name-program" "$build/by-name-program"
    check "$build/by-name-user" "$build/libby-name-library.so"
done
echo "linking-consumers: every consumer created every node type by name"
