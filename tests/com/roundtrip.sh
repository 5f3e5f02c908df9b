#!/usr/bin/env bash
# The classes of examples/shop.mdl exported to tavro-host and imported back into an empty model,
# once by the Linux corvansil-cli over our sockets and once by corvansil-cli.exe under Wine
# through COM (the modelling tool as rose-bridge.exe in front of a native rose-host, the server's
# factory as tavro-factory.exe): both runs must leave the same class definitions on the server,
# the same saved model and the same log rows and status texts.
#
#   roundtrip.sh NATIVE_BUILD WINDOWS_BUILD
#
# Exit status 77 (skipped) when the native build lacks a program. Everything runs in a new
# temporary folder, which stays on failure; WINEPREFIX must be set.
set -euo pipefail
repo=$(cd "$(dirname "$0")/../.." && pwd)
native=$(cd "$1" && pwd)
windows=$(cd "$2" && pwd)
rose_host=$native/hosts/rose/host/rose-host
tavro_host=$native/hosts/tavro/tavro-host
cli=$native/src/cli/corvansil-cli
addin=$native/src/run/corvansil
rose_pipe=$native/hosts/com/rose-pipe
for program in "$rose_host" "$tavro_host" "$cli" "$addin" "$rose_pipe"; do
    [ -x "$program" ] || { echo "skipped: no $program (build the native build first)"; exit 77; }
done
cli_exe=$windows/src/cli/corvansil-cli.exe
bridge_exe=$windows/hosts/com/rose-bridge.exe
factory_exe=$windows/hosts/com/tavro-factory.exe
: "${WINEPREFIX:?set WINEPREFIX}"
export WINEDEBUG=-all WINEDLLOVERRIDES=winemenubuilder.exe=d

work=$(mktemp -d "${TMPDIR:-/tmp}/corvansil-com.XXXXXX")
chmod 700 "$work"
pids=()
sockets=()
cleanup() {
    local status=$?
    for socket in "${sockets[@]}"; do
        CORVANSIL_ROSE_SOCKET=$socket "$rose_host" stop >/dev/null 2>&1 || true
    done
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    if [ "$status" -eq 0 ]; then rm -rf "$work"; else echo "files in $work" >&2; fi
    exit "$status"
}
trap cleanup EXIT

wait_for() {  # wait_for FILE TEXT: until FILE holds TEXT (30 s)
    for _ in $(seq 1 300); do
        grep -q "$2" "$1" 2>/dev/null && return 0
        sleep 0.1
    done
    echo "no '$2' in $1:" >&2
    cat "$1" >&2 || true
    return 1
}

# The add-in's model properties, for rose-host to give their defaults.
export CORVANSIL_REGISTRY=$work/registry.reg
mkdir -p "$work/addin"
cp "$addin" "$work/addin/"
QT_QPA_PLATFORM=offscreen "$work/addin/corvansil" INSTALL

printf 'shop-secret\n' > "$work/password"
chmod 600 "$work/password"
export TAVRO_USER=dev TAVRO_PASSWORD=shop-secret

serve_tavro() {  # serve_tavro NAME: a fresh server; its port in $port
    "$tavro_host" init "$work/$1" --user dev --password-file "$work/password" >/dev/null
    "$tavro_host" serve "$work/$1" --port 0 >"$work/$1.log" 2>&1 &
    pids+=($!)
    wait_for "$work/$1.log" "serving"
    port=$(sed -n 's/.*127\.0\.0\.1:\([0-9]*\).*/\1/p' "$work/$1.log" | head -1)
}

open_rose() {  # open_rose SOCKET [FILE]: rose-host with FILE, or a new model
    sockets+=("$1")
    if [ $# -eq 2 ]; then
        CORVANSIL_ROSE_SOCKET=$1 "$rose_host" open "$2" --detach >/dev/null
    else
        CORVANSIL_ROSE_SOCKET=$1 "$rose_host" new --detach >/dev/null
    fi
}

# The log of a run without what differs by nature: timings.
rows() { sed -E 's/[0-9]+(\.[0-9]+)? s\b/N s/g' "$1"; }

run_linux() {  # run_linux DIRECTION SOCKET PORT [SAVE_AS]
    CORVANSIL_ROSE_SOCKET=$2 TAVRO_CONNECTION=127.0.0.1:$3:USER \
        "$cli" "$1" --all >"$work/linux-$1.log" 2>&1 || echo "exit $?" >>"$work/linux-$1.log"
    [ $# -lt 4 ] || CORVANSIL_ROSE_SOCKET=$2 "$rose_host" save "$4" >/dev/null
}

# The Windows run, with its own bridge. Once the run is over its model is saved (when asked)
# and its rose-host stopped, and the bridge, having lost rose-host, takes itself out of the
# running object table: the next run finds the next model as "Rose.Application".
run_windows() {  # run_windows DIRECTION SOCKET PORT [SAVE_AS]
    local log=$work/bridge-$1.log bridge
    "$rose_pipe" "$2" wine "$bridge_exe" 2>"$log" &
    bridge=$!
    pids+=("$bridge")
    wait_for "$log" "serving"
    TAVRO_CONNECTION=127.0.0.1:$3:USER \
        wine "$cli_exe" "$1" --all >"$work/windows-$1.log" 2>&1 || echo "exit $?" >>"$work/windows-$1.log"
    sed -i 's/\r$//' "$work/windows-$1.log"
    [ $# -lt 4 ] || CORVANSIL_ROSE_SOCKET=$2 "$rose_host" save "$4" >/dev/null
    CORVANSIL_ROSE_SOCKET=$2 "$rose_host" stop >/dev/null
    wait "$bridge" || true
}

wine "$factory_exe" --register

serve_tavro tavro-linux
linux_port=$port
serve_tavro tavro-windows
windows_port=$port
for side in linux windows; do
    port_var=${side}_port
    open_rose "$work/$side-shop.sock" "$repo/examples/shop.mdl"
    "run_$side" export "$work/$side-shop.sock" "${!port_var}"
    open_rose "$work/$side-empty.sock" 
    "run_$side" import "$work/$side-empty.sock" "${!port_var}" "$work/$side.mdl"
    TAVRO_DATA=$work/tavro-$side "$tavro_host" class dump USER "$work/$side-classes" >/dev/null
done

status=0
for direction in export import; do
    diff <(rows "$work/linux-$direction.log") <(rows "$work/windows-$direction.log") ||
        { echo "the $direction logs differ" >&2; status=1; }
done
# A definition's times of creation and change are the server's clock.
for side in linux windows; do
    sed -i -E '/<Time(Created|Changed)>/d' "$work/$side-classes"/*
done
diff -r "$work/linux-classes" "$work/windows-classes" || { echo "the class definitions differ" >&2; status=1; }
# A model's unique ids are made from the clock, and so are a definition's times.
model() { sed -E 's/"[0-9A-F]{12}"/"ID"/g; /<Time(Created|Changed)>/d' "$1"; }
diff <(model "$work/linux.mdl") <(model "$work/windows.mdl") || { echo "the imported models differ" >&2; status=1; }
echo "export log:"; cat "$work/windows-export.log"

# Faults over COM, each beside the Linux run where there is one: the server refusing the login
# (its reason must reach the message), a connection string the factory cannot use, and the
# modelling tool's bridge gone in the middle of an export.
fault() {  # fault NAME CONNECTION PASSWORD: the same export on both sides, its messages compared
    open_rose "$work/$1.sock" "$repo/examples/shop.mdl"
    CORVANSIL_ROSE_SOCKET=$work/$1.sock TAVRO_CONNECTION=$2 TAVRO_PASSWORD=$3 \
        "$cli" export --all >"$work/linux-$1.log" 2>&1 || echo "exit $?" >>"$work/linux-$1.log"
    run_windows_with "$1" "$work/$1.sock" "$2" "$3"
    diff "$work/linux-$1.log" "$work/windows-$1.log" || { echo "$1: the messages differ" >&2; status=1; }
}
run_windows_with() {  # run_windows_with NAME SOCKET CONNECTION PASSWORD
    local log=$work/bridge-$1.log bridge
    "$rose_pipe" "$2" wine "$bridge_exe" 2>"$log" &
    bridge=$!
    wait_for "$log" "serving"
    TAVRO_CONNECTION=$3 TAVRO_PASSWORD=$4 wine "$cli_exe" export --all \
        >"$work/windows-$1.log" 2>&1 || echo "exit $?" >>"$work/windows-$1.log"
    sed -i 's/\r$//' "$work/windows-$1.log"
    CORVANSIL_ROSE_SOCKET=$2 "$rose_host" stop >/dev/null
    wait "$bridge" || true
}
fault refused "127.0.0.1:$windows_port:USER" wrong-password
fault malformed "127.0.0.1-$windows_port-USER" shop-secret
grep -q "refused the login of user 'dev' to namespace 'USER': " "$work/windows-refused.log" ||
    { echo "the server's refusal is not in the message" >&2; status=1; }

# The bridge killed once the server holds the export's first class: the rows after it fail and
# name the modelling tool, and the run ends with a failure status instead of a crash.
serve_tavro tavro-gone
gone_port=$port
open_rose "$work/gone.sock" "$repo/examples/shop.mdl"
"$rose_pipe" "$work/gone.sock" wine "$bridge_exe" 2>"$work/bridge-gone.log" &
bridge=$!
wait_for "$work/bridge-gone.log" "serving"
TAVRO_CONNECTION=127.0.0.1:$gone_port:USER wine "$cli_exe" export --all \
    >"$work/windows-gone.log" 2>&1 &
run=$!
for _ in $(seq 1 600); do
    TAVRO_DATA=$work/tavro-gone "$tavro_host" class list USER 2>/dev/null | grep -q "^Shop\." && break
    sleep 0.05
done
kill "$bridge"
gone_status=0
wait "$run" || gone_status=$?
sed -i 's/\r$//' "$work/windows-gone.log"
echo "bridge gone mid-run (exit status $gone_status):"; cat "$work/windows-gone.log"
created=$(grep -c 'New Class Created' "$work/windows-gone.log" || true)
if [ "$gone_status" -eq 0 ] || [ "$created" -ge 7 ] ||
    ! grep -q 'the modelling tool (Rose.Application)' "$work/windows-gone.log"; then
    echo "the bridge's end is not reported as it should be" >&2
    status=1
fi
exit $status
