#!/usr/bin/env bash
# Speed of the Python package against the same work in C++, in one run (python_speed.py says
# what is measured). Installs what is missing, builds the module and the C++ benchmark in the
# release build, installs the package into a fresh virtual environment under build/, and runs
# the comparison there. Fails when the speed target does not hold.
#
# Usage: bench/python/compare.sh [--no-build] [python_speed.py options: --rounds N --seconds S]
set -euo pipefail
cd "$(dirname "$0")/../.."

build=1
if [ "${1:-}" = "--no-build" ]; then build=0; shift; fi

scripts/install-deps.sh
if [ "$build" -eq 1 ]; then
    cmake --preset release >/dev/null
    cmake --build --preset release --target _ostrana catalogue_block_benchmark
fi

venv=build/bench-venv
rm -rf "$venv"
/usr/bin/python3 -m venv --system-site-packages "$venv"
PYTHONDONTWRITEBYTECODE=1 OSTRANA_BUILD_DIR="$PWD/build" "$venv/bin/python" -m pip install \
    --quiet --no-build-isolation --no-index --disable-pip-version-check python/
cd build
exec bench-venv/bin/python ../bench/python/python_speed.py --bin bin "$@"
