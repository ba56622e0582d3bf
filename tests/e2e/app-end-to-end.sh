#!/usr/bin/env bash
# The real application on a private X display with openbox: two xterm windows
# with their own classes are switched with xdotool; then the day window is
# closed (it must only hide and remember that), the app is asked to quit with
# SIGTERM while an upload to the cloud stand-in is pending, and the block file
# and the cloud are checked through `plenda report`. About 20 seconds.
#   app-end-to-end.sh PATH-TO-plenda
set -euo pipefail
plenda=$1
source "$(dirname "$0")/x-session.sh"
fail() { echo "FAIL: $*" >&2; echo "--- app output" >&2; cat "$work/app.log" >&2 || true; exit 1; }
start_x_session

export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
export PLENDA_CLOUD_STORE="$work/cloud.sqlite"
unset PLENDA_DISABLE_CLOUD_SYNC
mkdir -p "$XDG_CONFIG_HOME/Plenda" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
echo '{"minimumSessionSeconds": 1}' >"$XDG_CONFIG_HOME/Plenda/Plenda.json"

open_window first Editorial 120
open_window second Notizblock 120
xdotool windowactivate --sync "$first"

LANG=C "$plenda" >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
day_window() { xdotool search --onlyvisible --name '^Plenda$' 2>/dev/null | head -1; }
within 10 day_window >/dev/null || fail "the day window did not open"
# The launch sync reaches the stand-in.
within 10 grep -q "SYNC" "$work/app.log" || fail "no sync at launch"

switch_to() { xdotool windowactivate --sync "$1"; sleep "$2"; }
switch_to "$first" 2
switch_to "$second" 3
switch_to "$first" 2
switch_to "$second" 1

# Closing the day window only hides it, and that is remembered.
xdotool windowactivate --sync "$(day_window)" || true
wmctrl -c Plenda || fail "could not close the day window"
within 5 bash -c '! xdotool search --onlyvisible --name "^Plenda$" >/dev/null 2>&1' || fail "the day window did not hide"
kill -0 "$app" || fail "closing the day window ended the app"
within 5 grep -q '"todayWindowVisible": *false' "$XDG_CONFIG_HOME/Plenda/Plenda.json" ||
  fail "the hidden day window was not remembered"

switch_to "$first" 1
started=$(date +%s.%N)
kill -TERM "$app"
wait "$app" || fail "the app did not exit cleanly"
took=$(awk -v a="$started" -v b="$(date +%s.%N)" 'BEGIN { printf "%.2f", b - a }')
echo "quit took ${took}s"
awk -v t="$took" 'BEGIN { exit !(t < 4.8) }' || fail "quitting took ${took}s, more than the 4-second limit"

"$plenda" report >"$work/report.txt" || fail "report failed"
"$plenda" report --json >"$work/report.json" || fail "report --json failed"
echo "--- report"; cat "$work/report.txt"
grep -q "^Editorial " "$work/report.txt" || fail "the first window's time is missing"
grep -q "^Notizblock " "$work/report.txt" || fail "the second window's time is missing"
# Five seconds in the first window over three visits, four in the second; each
# visit extends the same block.
minutes() { grep -o "\"title\":\"$1\",[^}]*\"minutes\":[0-9.e-]*" "$work/report.json" | sed 's/.*"minutes"://'; }
awk -v m="$(minutes Editorial)" 'BEGIN { exit !(m * 60 > 4 && m * 60 < 12) }' || fail "first window: $(minutes Editorial) minutes"
awk -v m="$(minutes Notizblock)" 'BEGIN { exit !(m * 60 > 3 && m * 60 < 10) }' || fail "second window: $(minutes Notizblock) minutes"
# Everything reached the cloud stand-in before the app ended.
[ -s "$PLENDA_CLOUD_STORE" ] || fail "no cloud store written"
grep -q "Launch at login" "$work/app.log" && fail "unexpected login-item failure"
echo "PASS"
