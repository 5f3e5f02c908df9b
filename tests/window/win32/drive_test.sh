#!/usr/bin/env bash
# The demo window driven from outside under Wine: a person's answers and presses given by
# drive_window, the log and status read back. A display comes from Xvfb when none is set.
#   drive_test.sh BUILD_FOLDER
# Exit status 77 (skipped) without Xvfb.
set -euo pipefail
build=$(cd "$1" && pwd)
demo=$build/tests/window/win32/window_demo.exe
driver=$build/tests/window/win32/drive_window.exe
: "${WINEPREFIX:?set WINEPREFIX}"
export WINEDEBUG=-all WINEDLLOVERRIDES=winemenubuilder.exe=d

work=$(mktemp -d "${TMPDIR:-/tmp}/corvansil-drive.XXXXXX")
xvfb=
cleanup() {
    local status=$?
    wineserver -k 2>/dev/null || true
    [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null || true
    if [ "$status" -eq 0 ]; then rm -rf "$work"; else echo "files in $work" >&2; fi
    exit "$status"
}
trap cleanup EXIT
if [ -z "${DISPLAY:-}" ]; then
    command -v Xvfb >/dev/null || { echo "skipped: no Xvfb"; exit 77; }
    Xvfb -displayfd 3 -screen 0 1024x768x24 3>"$work/display" 2>"$work/xvfb.log" &
    xvfb=$!
    for _ in $(seq 1 100); do [ -s "$work/display" ] && break; sleep 0.1; done
    export DISPLAY=:$(cat "$work/display")
fi
# The prefix's desktop keeps the display of the Wine process that started it: one left by an
# earlier program without a display (a COM test) would refuse this test's windows.
wineserver -k 2>/dev/null || true
wineserver -w 2>/dev/null || true

wine "$demo" export 100 >"$work/demo.log" 2>&1 &
# Cancel asked and refused: the window stays; then the whole list exported and closed.
wine "$driver" "Export Classes from Rose to Tavro" close answer:no select-all start wait-done \
    rows status close wait-exit | tr -d '\r' >"$work/got"
cat >"$work/expected" <<'ROWS'
box: Are you sure you want to cancel?
done   Billing.Invoice: New Class Created
FAILED Billing.Payment: Failed (class not found)
done   Shop.Customer: New Class Created
done   Shop.Order: New Class Created
done   Shop.Order.Line: New Class Created
done   User.Address: New Class Created
done   User.company: New Class Created
done   User.employee: New Class Created
...    User.Person: Processing ...
-- Export complete
ROWS
diff "$work/expected" "$work/got"
