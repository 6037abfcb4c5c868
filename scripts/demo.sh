#!/usr/bin/env bash
# Installs what is missing, builds the release build and runs the demo: a built-in test
# signal rendered through every effect of the catalogue, written as WAV files to demo-out/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/build.sh release
if [ -x build/bin/ostrana-fx ]; then
    build/bin/ostrana-fx demo "${1:-demo-out}"
else
    echo "Built:"
    ls -1 build/lib/*.so build/bin/
fi
