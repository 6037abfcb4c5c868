#!/usr/bin/env bash
# Projects that build OstranaAudioEffects as part of themselves (embedding/): one with
# add_subdirectory and static libraries (BUILD_SHARED_LIBS off), one with FetchContent from the
# source folder and shared ones. Each builds the libraries alone, with the front ends switched
# off, so that neither a JDK, GTest nor Python is looked for; each links a program to
# Ostrana::AudioEffects that creates every node type by name. The static tree is then installed
# and passes the linking consumers' check.
# Usage: embedding-test.sh SOURCE_DIR
set -euo pipefail
source_dir="$1"
here="$(cd "$(dirname "$0")" && pwd)"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "embedding-test: $*" >&2
    exit 1
}

library_only=(-DOSTRANA_BUILD_PYTHON=OFF -DOSTRANA_BUILD_LV2=OFF -DOSTRANA_BUILD_CLI=OFF
              -DOSTRANA_BUILD_JNI=OFF -DCMAKE_BUILD_TYPE=Release)

# PARENT BUILD_SHARED_LIBS: configures and builds the parent project, runs its program.
embed() {
    local parent="$1" shared="$2"
    local build="$work/$parent"
    echo "=== $parent, BUILD_SHARED_LIBS=$shared"
    cmake -S "$here/embedding/$parent" -B "$build" -G Ninja -DOSTRANA_SOURCE_DIR="$source_dir" \
        -DBUILD_SHARED_LIBS="$shared" "${library_only[@]}" >"$build.configure.log" 2>&1 ||
        { cat "$build.configure.log"; fail "$parent does not configure"; }
    for looked_for in JNI_INCLUDE_DIRS GTest_DIR Python_EXECUTABLE pybind11_DIR; do
        ! grep -q "^$looked_for:" "$build/CMakeCache.txt" || fail "$parent looked for $looked_for"
    done
    [ ! -e "$build/CPackConfig.cmake" ] || fail "$parent got a CPackConfig.cmake"
    nice cmake --build "$build" >"$build.build.log" 2>&1 ||
        { tail -30 "$build.build.log"; fail "$parent does not build"; }
    local output
    output=$("$build/by-name")
    echo "$output"
    [ "$(grep -c '^created AudioEffects\.' <<<"$output")" = 5 ] || fail "$parent: not every type created"
}

embed subdirectory OFF
[ -e "$work/subdirectory/ostrana/lib/libOstranaAudioEffects.a" ] || fail "no static library built"
embed fetchcontent ON

echo "=== the static libraries, installed"
cmake --install "$work/subdirectory" --prefix "$work/static-prefix" >"$work/install.log"
bash "$here/linking-consumers.sh" "$work/static-prefix" "$work/linking"
echo "embedding-test: passed"
