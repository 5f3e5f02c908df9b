#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. `--asan` does the same with
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=dev
[ "${1:-}" = "--asan" ] && preset=asan
bash scripts/deps.sh
bash scripts/build.sh "$preset"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=0
ctest --preset "$preset" -j2 --timeout 300
