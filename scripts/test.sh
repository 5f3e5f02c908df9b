#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. `--asan` does the same with
# AddressSanitizer and UndefinedBehaviorSanitizer, and with LeakSanitizer checking every test
# program and every host or command-line program a test starts when it exits; what Qt and the
# system libraries keep until the end of a process is listed, with the reason, in
# scripts/lsan.supp. `--windows` cross-compiles the Windows build with mingw-w64 and runs its
# tests under Wine, in a Wine prefix of its own inside build/windows.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=dev
case "${1:-}" in
--asan) preset=asan ;;
--windows) preset=windows ;;
esac

if [ "$preset" = windows ]; then
    bash scripts/deps.sh --windows
    bash scripts/build.sh windows
    # Wine never touches the user's own prefix, and makes no menu entries or file associations.
    export WINEPREFIX="$PWD/build/windows/wineprefix" WINEDEBUG=-all
    export WINEDLLOVERRIDES=winemenubuilder.exe=d
    if [ ! -f "$WINEPREFIX/system.reg" ]; then
        wineboot -i >/dev/null 2>&1
        wineserver -w
    fi
    ctest --preset windows -j2 --timeout 300
    exit
fi

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
