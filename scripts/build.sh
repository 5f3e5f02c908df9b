#!/usr/bin/env bash
# Configures and builds one preset (dev by default, or asan) with Ninja, incrementally. Where
# ccache is installed, compilations go through it, so that a fresh clone on a machine that
# built before compiles only what changed.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"
if command -v ccache >/dev/null; then
    export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CMAKE_C_COMPILER_LAUNCHER=ccache
fi
if [ ! -f "build/$preset/build.ninja" ]; then
    cmake --preset "$preset" >/dev/null
fi
cmake --build --preset "$preset"
