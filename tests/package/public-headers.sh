#!/usr/bin/env bash
# The installed public headers, as a user's code includes them (-I, not a system folder): all of
# them together compile without a warning under -Wall -Wextra -Wpedantic -Wconversion
# -Wsign-conversion with g++ and clang++, and each alone, in C++17, stops at once with an error
# that names C++20 (all but the generated Export.h files, which hold macros only).
# Usage: public-headers.sh INCLUDE_DIR WORK_DIR
set -euo pipefail
include_dir="$1" work="$2"
mkdir -p "$work"

fail() {
    echo "public-headers: $*" >&2
    exit 1
}

mapfile -t headers < <(cd "$include_dir" && find ostrana -name '*.h' | LC_ALL=C sort)
[ "${#headers[@]}" -gt 30 ] || fail "only ${#headers[@]} headers below $include_dir"
for header in "${headers[@]}"; do echo "#include <$header>"; done >"$work/all.cpp"

for compiler in g++ clang++; do
    "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion \
        -Werror -I"$include_dir" "$work/all.cpp" ||
        fail "$compiler warns about the public headers (see above)"
done
echo "public-headers: ${#headers[@]} headers, no warning with -Wconversion -Wsign-conversion"

for header in "${headers[@]}"; do
    [[ "$header" != */Export.h ]] || continue
    echo "#include <$header>" >"$work/one.cpp"
    if g++ -std=c++17 -fsyntax-only -Wfatal-errors -I"$include_dir" "$work/one.cpp" 2>"$work/one.log"; then
        fail "$header compiles in C++17"
    fi
    grep -q "needs C++20" "$work/one.log" || { cat "$work/one.log"; fail "$header does not say it needs C++20"; }
done
echo "public-headers: each refuses C++17 with \"needs C++20\""
