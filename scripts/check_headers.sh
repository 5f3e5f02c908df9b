#!/usr/bin/env bash
# Compiles every header of src/ and hosts/ alone, so that each one includes what it uses and a
# source may include it first. The Windows-only headers are left to the Windows build.
set -euo pipefail
cd "$(dirname "$0")/.."
flags="-std=c++20 -fsyntax-only -fPIC -Werror -I src -I . $(pkg-config --cflags Qt6Widgets)"
export flags
git ls-files -- 'src/*.h' 'hosts/*.h' | grep -v -e win32 -e winsock -e '^src/automation/com' \
    -e '^hosts/com/' |
    xargs -P 2 -I{} sh -c 'echo "#include \"{}\"" | g++ $flags -x c++ - 2>/dev/null ||
        { echo "does not compile alone: {}"; exit 1; }'
