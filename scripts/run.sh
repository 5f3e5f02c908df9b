#!/usr/bin/env bash
# The main job, without a display: installs what is missing, builds, installs the add-in into a
# temporary directory, serves a fresh Tavro data directory and the shop model of examples/,
# exports every class, imports them into a new empty model served by a second rose-host, saves
# that model, prints both logs and a summary, and stops everything it started, also when a step
# fails. CORVANSIL_BUILD_DIR=DIR uses an existing build instead of installing and building.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$(pwd)
started=$SECONDS

if [ -n "${CORVANSIL_BUILD_DIR:-}" ]; then
    build=$(cd "$CORVANSIL_BUILD_DIR" && pwd)
else
    bash scripts/deps.sh
    bash scripts/build.sh dev
    build=$repo/build/dev
fi
rose_host=$build/hosts/rose/host/rose-host
tavro_host=$build/hosts/tavro/tavro-host
cli=$build/src/cli/corvansil-cli

work=$(mktemp -d "${TMPDIR:-/tmp}/corvansil-run.XXXXXX")
tavro_pid=""
source_socket=$work/source-rose.sock
target_socket=$work/target-rose.sock

# Stops whatever was started, in reverse order, whether the job got through or not.
cleanup() {
    local status=$?
    trap - EXIT INT TERM
    for socket in "$target_socket" "$source_socket"; do
        [ -S "$socket" ] && CORVANSIL_ROSE_SOCKET=$socket "$rose_host" stop >/dev/null 2>&1 || true
    done
    if [ -n "$tavro_pid" ]; then
        kill "$tavro_pid" 2>/dev/null || true
        wait "$tavro_pid" 2>/dev/null || true
    fi
    if [ "$status" -ne 0 ]; then
        echo "main job failed (exit status $status); everything it started is stopped; files in $work" >&2
    fi
    exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

step() { printf '\n== %s\n' "$*"; }

# A TCP port on 127.0.0.1 that nothing answers on.
free_port() {
    local port
    for _ in $(seq 1 50); do
        port=$((20000 + RANDOM % 40000))
        if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            echo "$port"
            return 0
        fi
    done
    echo "no free port found" >&2
    return 1
}

wait_for_port() {
    for _ in $(seq 1 100); do
        (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null && return 0
        kill -0 "$tavro_pid" 2>/dev/null || { echo "tavro-host ended" >&2; return 1; }
        sleep 0.1
    done
    echo "tavro-host does not answer on port $1" >&2
    return 1
}

export QT_QPA_PLATFORM=offscreen
export CORVANSIL_REGISTRY=$work/registry.reg

step "corvansil INSTALL into $work/addin"
mkdir -p "$work/addin"
cp "$build/src/run/corvansil" "$work/addin/"
"$work/addin/corvansil" INSTALL
ls "$work/addin"

step "tavro-host: a fresh data directory, served on a free port"
printf 'shop-secret\n' > "$work/password"
chmod 600 "$work/password"
"$tavro_host" init "$work/tavro" --user dev --password-file "$work/password"
port=$(free_port)
"$tavro_host" serve "$work/tavro" --port "$port" >"$work/tavro.log" 2>&1 &
tavro_pid=$!
wait_for_port "$port"
echo "serving on 127.0.0.1:$port (pid $tavro_pid)"
server=(--server "127.0.0.1:$port:USER" --user dev --password-file "$work/password")

step "rose-host: examples/shop.mdl"
CORVANSIL_ROSE_SOCKET=$source_socket "$rose_host" open "$repo/examples/shop.mdl" --detach >/dev/null
CORVANSIL_ROSE_SOCKET=$source_socket "$rose_host" status

step "corvansil-cli export --all"
export_status=0
"$cli" export --all "${server[@]}" --rose-socket "$source_socket" \
    --report "$work/export.json" >"$work/export.log" || export_status=$?

step "rose-host: a new empty model"
CORVANSIL_ROSE_SOCKET=$target_socket "$rose_host" new --detach >/dev/null

step "corvansil-cli import --all"
import_status=0
"$cli" import --all "${server[@]}" --rose-socket "$target_socket" \
    --report "$work/import.json" >"$work/import.log" || import_status=$?

step "rose-host: save the imported model"
CORVANSIL_ROSE_SOCKET=$target_socket "$rose_host" save "$work/imported.mdl"
CORVANSIL_ROSE_SOCKET=$target_socket "$rose_host" status

step "export log"
cat "$work/export.log"
step "import log"
cat "$work/import.log"

count() { grep -c "$1" "$2" || true; }
step "summary"
printf 'export: %d classes (%d failed), %d members exported, exit status %d\n' \
    "$(grep -c '^    {"name"' "$work/export.json" || true)" \
    "$(count '"outcome": "Failed"' "$work/export.json")" \
    "$(count '"outcome": "exported"' "$work/export.json")" "$export_status"
printf 'import: %d classes (%d failed), %d members imported, exit status %d\n' \
    "$(grep -c '^    {"name"' "$work/import.json" || true)" \
    "$(count '"outcome": "Failed"' "$work/import.json")" \
    "$(count '"outcome": "imported"' "$work/import.json")" "$import_status"
echo "imported model: $work/imported.mdl ($(wc -l <"$work/imported.mdl") lines)"
echo "reports: $work/export.json $work/import.json"
echo "time: $((SECONDS - started)) s"
[ "$export_status" -eq 0 ] && [ "$import_status" -eq 0 ]
