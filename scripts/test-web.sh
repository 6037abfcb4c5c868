#!/usr/bin/env bash
# The browser package's tests: builds the WebAssembly module (the wasm preset, Debian's
# emscripten), installs the package's pinned development tools (npm ci) and builds web/dist,
# then runs web/test/browser-test.mjs in headless Chromium against the release build's
# ostrana-fx (build it first: scripts/build.sh release). Writes the screenshot and the
# rendered files to build/web-tests/. Fails if any browser test fails.
set -euo pipefail
cd "$(dirname "$0")/.."

# Debian's emscripten and chromium; Node.js and npm unless a Node.js with its npm is there.
missing=()
command -v emcc >/dev/null || missing+=(emscripten)
[ -x /usr/bin/chromium ] || missing+=(chromium)
command -v node >/dev/null || missing+=(nodejs)
command -v npm >/dev/null || missing+=(npm)
if [ ${#missing[@]} -ne 0 ]; then scripts/install-deps.sh "${missing[@]}"; fi

native=build/bin/ostrana-fx
if [ ! -x "$native" ]; then
    echo "test-web: $native is missing; build the release preset first (scripts/build.sh release)" >&2
    exit 1
fi

started=$SECONDS
echo "--- web: the WebAssembly module"
cmake --preset wasm >/dev/null
nice cmake --build --preset wasm
echo "--- web: the package"
(cd web && npm ci --no-audit --no-fund && npm run build)
echo "--- web: the type declarations against their use"
(cd web && npm run --silent check-types)
echo "--- web: the browser tests"
node web/test/browser-test.mjs --native "$native" --out build/web-tests
echo "test-web: done in $((SECONDS - started)) s"
