#!/usr/bin/env bash
# The main job: installs what is missing, builds, installs the add-in silently into a fresh
# temporary directory and shows what the installation wrote.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
bash scripts/build.sh dev

work=$(mktemp -d "${TMPDIR:-/tmp}/corvansil-run.XXXXXX")
trap 'rm -rf "$work"' EXIT
install_dir="$work/addin"
mkdir -p "$install_dir"
cp build/dev/src/run/corvansil "$install_dir/"
export CORVANSIL_REGISTRY="$work/registry.reg"

echo "== corvansil INSTALL into $install_dir"
"$install_dir/corvansil" INSTALL
echo
echo "== registry file $CORVANSIL_REGISTRY"
cat "$CORVANSIL_REGISTRY"
echo
echo "== installed files (lines, bytes)"
for f in Corvansil.mnu Corvansil.pty; do
    printf '%-15s %5d lines %6d bytes\n' "$f" "$(wc -l < "$install_dir/$f")" "$(wc -c < "$install_dir/$f")"
done
