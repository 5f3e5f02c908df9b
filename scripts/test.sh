#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. `--asan` does the same with
# AddressSanitizer and UndefinedBehaviorSanitizer, and with LeakSanitizer checking every test
# program and every host or command-line program a test starts when it exits; what Qt and the
# system libraries keep until the end of a process is listed, with the reason, in
# scripts/lsan.supp.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=dev
[ "${1:-}" = "--asan" ] && preset=asan
bash scripts/deps.sh
bash scripts/build.sh "$preset"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=0
# The sanitizers slow a program about threefold: the fault loops over real sockets need more
# than the 300 s that serve the plain build on a busy machine.
timeout=300
if [ "$preset" = asan ]; then
    timeout=900
    export ASAN_OPTIONS=detect_leaks=1
    export LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp"
fi
ctest --preset "$preset" -j2 --timeout "$timeout"
