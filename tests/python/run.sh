#!/usr/bin/env bash
# Installs the package ostrana into a fresh virtual environment under the build tree (never in
# the source tree) with pip, from the build given, and runs its pytest suite there.
# Usage: tests/python/run.sh BUILD_DIR PYTHON
set -euo pipefail
build="$(cd "$1" && pwd)"
python="$2"
root="$(cd "$(dirname "$0")/../.." && pwd)"
venv="$build/python-venv"

# Nothing is written into the source tree: no byte-code caches either.
export PYTHONDONTWRITEBYTECODE=1

rm -rf "$venv"
"$python" -m venv --system-site-packages "$venv"
OSTRANA_BUILD_DIR="$build" "$venv/bin/python" -m pip install --quiet --no-build-isolation \
    --no-index --disable-pip-version-check "$root/python"

export OSTRANA_FX="$build/bin/ostrana-fx"
export OSTRANA_README="$root/README.md"
# From the build tree, so that the installed package is the one imported.
cd "$build"
exec "$venv/bin/python" -m pytest -p no:cacheprovider -q "$root/tests/python"
