#!/usr/bin/env bash
# Installs, from Debian's packages, whatever of the build and test dependencies is missing.
# Usage: scripts/install-deps.sh [extra-package...]
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config binutils
    clang libclang-rt-14-dev llvm clang-format-14
    libgtest-dev libgmock-dev libbenchmark-dev
    libcli11-dev nlohmann-json3-dev libsndfile1-dev
    openjdk-17-jdk-headless
    dpkg-dev debhelper fakeroot file lintian abigail-tools
    lv2-dev liblilv-dev lilv-utils sordi jalv jackd2 libjack-jackd2-dev
    python3-dev python3-venv pybind11-dev python3-numpy python3-pytest python3-soundfile
    python3-dask python3-distributed mypy python3-jedi
    help2man sox flac acl
    ffmpeg
    "$@"
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: everything needed is installed"
    exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
