#!/usr/bin/env bash
# The classes of examples/shop.mdl exported to tavro-host and imported back into an empty model,
# once by the Linux corvansil-cli over our sockets and once by Corvansil.exe's transfer window
# under Wine through COM, its buttons pressed by drive_window: both runs must leave the same
# class definitions on the server, the same saved model, and the same outcome rows and final
# status text in their logs.
#
#   window_roundtrip.sh NATIVE_BUILD WINDOWS_BUILD
#
# Exit status 77 (skipped) when a program of either build is missing (the COM stand-ins come
# with hosts/com). A display comes from Xvfb when none is set. Everything runs in a new
# temporary folder, which stays on failure; WINEPREFIX must be set.
set -euo pipefail
repo=$(cd "$(dirname "$0")/../../.." && pwd)
native=$(cd "$1" && pwd)
windows=$(cd "$2" && pwd)
rose_host=$native/hosts/rose/host/rose-host
tavro_host=$native/hosts/tavro/tavro-host
cli=$native/src/cli/corvansil-cli
addin=$native/src/run/corvansil
rose_pipe=$native/hosts/com/rose-pipe
addin_exe=$windows/src/run/Corvansil.exe
driver_exe=$windows/tests/window/win32/drive_window.exe
bridge_exe=$windows/hosts/com/rose-bridge.exe
factory_exe=$windows/hosts/com/tavro-factory.exe
for program in "$rose_host" "$tavro_host" "$cli" "$addin" "$rose_pipe" "$addin_exe" \
    "$driver_exe" "$bridge_exe" "$factory_exe"; do
    [ -e "$program" ] || { echo "skipped: no $program"; exit 77; }
done
: "${WINEPREFIX:?set WINEPREFIX}"
export WINEDEBUG=-all WINEDLLOVERRIDES=winemenubuilder.exe=d

work=$(mktemp -d "${TMPDIR:-/tmp}/corvansil-window.XXXXXX")
chmod 700 "$work"
pids=()
sockets=()
cleanup() {
    local status=$?
    for socket in "${sockets[@]}"; do
        CORVANSIL_ROSE_SOCKET=$socket "$rose_host" stop >/dev/null 2>&1 || true
    done
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    # Corvansil.exe ends without releasing the factory's objects, and Wine does not tell the
    # factory servers: they would outlive the test and keep its Wine processes waiting.
    wineserver -k 2>/dev/null || true
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

if [ -z "${DISPLAY:-}" ]; then
    command -v Xvfb >/dev/null || { echo "skipped: no Xvfb"; exit 77; }
    Xvfb -displayfd 3 -screen 0 1024x768x24 3>"$work/display" 2>"$work/xvfb.log" &
    pids+=($!)
    for _ in $(seq 1 100); do [ -s "$work/display" ] && break; sleep 0.1; done
    export DISPLAY=:$(cat "$work/display")
fi
# A desktop left by an earlier Wine program without a display would refuse the windows.
wineserver -k 2>/dev/null || true
wineserver -w 2>/dev/null || true

# The add-in's model properties, for rose-host to give their defaults.
export CORVANSIL_REGISTRY=$work/registry.reg
mkdir -p "$work/addin"
cp "$addin" "$work/addin/"
QT_QPA_PLATFORM=offscreen "$work/addin/corvansil" INSTALL

printf 'shop-secret\n' > "$work/password"
chmod 600 "$work/password"
export TAVRO_USER=dev TAVRO_PASSWORD=shop-secret

# Not in a subshell: the server's process must reach `pids` to be ended with the run.
serve_tavro() {  # serve_tavro NAME VARIABLE: a fresh server; its port goes into VARIABLE
    "$tavro_host" init "$work/$1" --user dev --password-file "$work/password" >/dev/null
    "$tavro_host" serve "$work/$1" --port 0 >"$work/$1.log" 2>&1 &
    pids+=($!)
    wait_for "$work/$1.log" "serving" >&2
    printf -v "$2" '%s' "$(sed -n 's/.*127\.0\.0\.1:\([0-9]*\).*/\1/p' "$work/$1.log" | head -1)"
}

open_rose() {  # open_rose SOCKET [FILE]: rose-host with FILE, or a new model
    sockets+=("$1")
    if [ $# -eq 2 ]; then
        CORVANSIL_ROSE_SOCKET=$1 "$rose_host" open "$2" --detach >/dev/null
    else
        CORVANSIL_ROSE_SOCKET=$1 "$rose_host" new --detach >/dev/null
    fi
}

# What both logs must agree on: the last outcome row of each class, in the order the classes
# first appear, and the last status text; timings differ by nature.
outcomes() {
    tr -d '\r' <"$1" | sed -E 's/[0-9]+(\.[0-9]+)? s\b/N s/g' | awk '
        /^(done  |FAILED) / {
            key = $0; sub(/:.*/, "", key)
            if (!(key in last)) order[n++] = key
            last[key] = $0
        }
        /^-- / { status = $0 }
        END { for (i = 0; i < n; i++) print last[order[i]]; print status }'
}

run_linux() {  # run_linux DIRECTION SOCKET PORT
    CORVANSIL_ROSE_SOCKET=$2 TAVRO_CONNECTION=127.0.0.1:$3:USER \
        "$cli" "$1" --all >"$work/linux-$1.log" 2>&1 || echo "exit $?" >>"$work/linux-$1.log"
}

# The Windows run: the bridge makes the model "Rose.Application" until its rose-host stops;
# Corvansil.exe opens its window, drive_window selects every class, starts, reads the log back
# once the close button reads "Close", and closes.
run_windows() {  # run_windows DIRECTION SOCKET PORT
    # WINDOW_PAUSE (ms) holds the window in each state, for screenshots.
    local pause=${WINDOW_PAUSE:-0}
    local log=$work/bridge-$1.log bridge word caption addin_pid
    "$rose_pipe" "$2" wine "$bridge_exe" 2>"$log" &
    bridge=$!
    pids+=("$bridge")
    wait_for "$log" "serving"
    if [ "$1" = export ]; then
        word=EXPORT caption="Export Classes from Rose to Tavro"
    else
        word=IMPORT caption="Import Classes from Tavro to Rose"
    fi
    TAVRO_CONNECTION=127.0.0.1:$3:USER wine "$addin_exe" "$word" >"$work/addin-$1.log" 2>&1 &
    addin_pid=$!
    pids+=("$addin_pid")
    # A run that never finishes leaves the program waiting on a box: it is ended here.
    wine "$driver_exe" "$caption" "pause:$pause" select-all "pause:$pause" start wait-done rows \
        status close wait-exit \
        >"$work/windows-$1.log" 2>&1 || {
        echo "exit $?" >>"$work/windows-$1.log"
        kill "$addin_pid" 2>/dev/null || true
    }
    wait "$addin_pid" 2>/dev/null || true
    [ "$1" = export ] || return 0
    CORVANSIL_ROSE_SOCKET=$2 "$rose_host" stop >/dev/null
    wait "$bridge" || true
}

wine "$factory_exe" --register

serve_tavro tavro-linux linux_port
serve_tavro tavro-windows windows_port
for side in linux windows; do
    port_var=${side}_port
    open_rose "$work/$side-shop.sock" "$repo/examples/shop.mdl"
    "run_$side" export "$work/$side-shop.sock" "${!port_var}"
    open_rose "$work/$side-empty.sock"
    "run_$side" import "$work/$side-empty.sock" "${!port_var}"
    CORVANSIL_ROSE_SOCKET=$work/$side-empty.sock "$rose_host" save "$work/$side.mdl" >/dev/null
    TAVRO_DATA=$work/tavro-$side "$tavro_host" class dump USER "$work/$side-classes" >/dev/null
done

status=0
for direction in export import; do
    diff <(outcomes "$work/linux-$direction.log") <(outcomes "$work/windows-$direction.log") ||
        { echo "the $direction logs differ" >&2; status=1; }
    [ "$(outcomes "$work/windows-$direction.log" | wc -l)" -gt 1 ] ||
        { echo "the window's $direction log has no rows" >&2; status=1; }
done
# A definition's times of creation and change are the server's clock.
for side in linux windows; do
    sed -i -E '/<Time(Created|Changed)>/d' "$work/$side-classes"/*
done
diff -r "$work/linux-classes" "$work/windows-classes" || { echo "the class definitions differ" >&2; status=1; }
# A model's unique ids are made from the clock.
model() { sed -E 's/"[0-9A-F]{12}"/"ID"/g; /<Time(Created|Changed)>/d' "$1"; }
diff <(model "$work/linux.mdl") <(model "$work/windows.mdl") || { echo "the imported models differ" >&2; status=1; }
echo "window's export log:"; cat "$work/windows-export.log"
echo "window's import log:"; cat "$work/windows-import.log"
exit $status
