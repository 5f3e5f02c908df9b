#!/usr/bin/env bash
# Formats every C++ source with clang-format; `--check` changes nothing and fails on a diff.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" = "--check" ] && mode=(--dry-run --Werror)
git ls-files -- '*.cpp' '*.h' | xargs clang-format "${mode[@]}"
