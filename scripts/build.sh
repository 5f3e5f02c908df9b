#!/usr/bin/env bash
# Configures and builds one preset (dev by default, or asan) with Ninja, incrementally.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"
if [ ! -f "build/$preset/build.ninja" ]; then
    cmake --preset "$preset" >/dev/null
fi
cmake --build --preset "$preset"
