#!/usr/bin/env bash
# Prints the symbols a shared library exports, one per line and sorted: the symbol's type
# letter, its demangled name and its version node, e.g.
#     T ostrana::XVAny::kindName(ostrana::XVAny::Kind)@@OSTRANA_SDK_0
# Usage: exported-symbols.sh LIBRARY
set -euo pipefail
nm --dynamic --defined-only --demangle --format=posix "$1" |
    sed -E 's/^(.*) ([A-Za-z]) [0-9a-f]+( [0-9a-f]+)?$/\2 \1/' |
    LC_ALL=C sort
