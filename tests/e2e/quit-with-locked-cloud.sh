#!/usr/bin/env bash
# Quitting with an upload pending while another process holds the cloud
# stand-in's database locked: the upload cannot finish, and the app must
# still be gone 4 seconds after SIGTERM. About 10 seconds.
#   quit-with-locked-cloud.sh PATH-TO-plenda
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

open_window term Terminal 600
LANG=C "$plenda" >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
within 10 grep -q "SYNC" "$work/app.log" || fail "no sync at launch"
within 10 sqlite3 "$PLENDA_CLOUD_STORE" 'SELECT 1 FROM sqlite_master LIMIT 1' >/dev/null 2>&1 || fail "no cloud store"
# A session of a few seconds in the terminal: quitting records it, so an upload is pending.
xdotool windowactivate --sync "$term"
sleep 2

# Another process takes the write lock and keeps it until the end.
coproc locker { sqlite3 "$PLENDA_CLOUD_STORE"; }
pids+=($locker_PID)
echo ".timeout 5000
BEGIN EXCLUSIVE; SELECT 'locked';" >&"${locker[1]}"
read -r -t 10 answer <&"${locker[0]}" && [ "$answer" = locked ] || fail "could not lock the cloud store"

started=$(date +%s.%N)
kill -TERM "$app"
wait "$app" || fail "the app did not exit cleanly"
took=$(awk -v s="$started" -v e="$(date +%s.%N)" 'BEGIN { printf "%.3f", e - s }')
echo "quitting took ${took}s"
# The upload cannot finish, so the app waits out its four seconds (less
# means nothing was pending or locked), and a tenth more for the process to end.
awk -v t="$took" 'BEGIN { exit !(t >= 3.9) }' || fail "quitting took ${took}s: no wait for the locked upload"
awk -v t="$took" 'BEGIN { exit !(t <= 4.1) }' || fail "quitting took ${took}s, more than 4 seconds"
grep -q "Terminal" "$XDG_DATA_HOME/Plenda/blocks.json" || fail "the session was not saved at quitting"
echo "PASS"
