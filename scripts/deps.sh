#!/usr/bin/env bash
# Installs the Debian 12 packages that Corvansil builds and tests with, when any is missing.
# `--windows` installs the set for the Windows build instead: mingw-w64 (posix threads), Wine
# to run its programs, and the GoogleTest sources it builds.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config clang-format ccache
    qt6-base-dev libgl-dev
    libpugixml-dev libsqlite3-dev libsodium-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    xvfb xauth fonts-dejavu-core fonts-liberation
)
if [ "${1:-}" = "--windows" ]; then
    packages=(
        cmake ninja-build ccache
        g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
        wine wine64 googletest
    )
fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi
echo "installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
