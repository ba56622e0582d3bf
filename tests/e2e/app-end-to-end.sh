#!/usr/bin/env bash
# The real application on a private X display with openbox: the day window is
# closed (it must only hide and remember that); two xterm windows with their
# own classes and UTF-8 titles are switched with xdotool; an idle stretch must
# end the last session at the last input; then the app is asked to quit with
# SIGTERM and the block file, the report and the cloud stand-in are checked.
# About 25 seconds.
#   app-end-to-end.sh PATH-TO-plenda
set -euo pipefail
plenda=$1
source "$(dirname "$0")/x-session.sh"
fail() { echo "FAIL: $*" >&2; echo "--- app output" >&2; cat "$work/app.log" >&2 || true; { echo "--- blocks (title|start|end|weight s)"; cat "$work/blocks.txt"; } >&2 2>/dev/null; exit 1; }
now() { date +%s.%N; }
calc() { awk "BEGIN { printf \"%.3f\", $1 }"; }
start_x_session

export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
export PLENDA_CLOUD_STORE="$work/cloud.sqlite"
unset PLENDA_DISABLE_CLOUD_SYNC
mkdir -p "$XDG_DATA_HOME/applications" "$XDG_CONFIG_HOME/Plenda" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
# The IDE is known by a desktop entry; the notebook only by its window class.
cat >"$XDG_DATA_HOME/applications/jetbrains-idea.desktop" <<'ENTRY'
[Desktop Entry]
Type=Application
Name=IntelliJ IDEA
Name[de]=IntelliJ IDEA Ultimate
Exec=idea
StartupWMClass=jetbrains-idea
ENTRY
# Short sessions count, and three seconds without input make the user idle.
echo '{"minimumSessionSeconds": 1, "idleThresholdSeconds": 3}' >"$XDG_CONFIG_HOME/Plenda/Plenda.json"

open_window ide jetbrains-idea 600
open_window notes Notizblock 600
xprop -id "$ide" -f _NET_WM_NAME 8u -set _NET_WM_NAME "webapp [~/src/webapp] – App.kt"
xprop -id "$notes" -f _NET_WM_NAME 8u -set _NET_WM_NAME "Überblick — Notizen ●"

LANG=C "$plenda" >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
day_window() { xdotool search --onlyvisible --name '^Plenda$' 2>/dev/null | head -1; }
within 10 day_window >/dev/null || fail "the day window did not open"
# The launch sync reaches the stand-in.
within 10 grep -q "SYNC" "$work/app.log" || fail "no sync at launch"

# Closing the day window only hides it, and that is remembered; the app takes
# the window in hand a second after launch.
sleep 1.5
xdotool windowactivate --sync "$(day_window)" || true
wmctrl -c Plenda || fail "could not close the day window"
within 5 bash -c '! xdotool search --onlyvisible --name "^Plenda$" >/dev/null 2>&1' || fail "the day window did not hide"
kill -0 "$app" || fail "closing the day window ended the app"

input() { xdotool mousemove --sync $((RANDOM % 600 + 100)) $((RANDOM % 400 + 100)); }
switch_to() { xdotool windowactivate --sync "$1"; input; }
# Keeps the user busy until the given time.
busy_until() { while awk -v t="$1" -v n="$(now)" 'BEGIN { exit !(n < t) }'; do input; sleep 0.25; done; }
switch_to "$ide"; t0=$(now)
busy_until "$(calc "$t0 + 4")"
switch_to "$notes"; t_notes=$(now)
busy_until "$(calc "$t0 + 7")"
switch_to "$ide"; t_ide2=$(now)
busy_until "$(calc "$t0 + 9")"
switch_to "$notes"; t_notes2=$(now)
busy_until "$(calc "$t0 + 12")"
input; last_input=$(now)

# Blocks as title|start|end|weight-in-seconds, in Unix seconds.
read_blocks() {
  jq -r '.[] | "\(.title)|\((.startDate // .createdAt) + 978307200)|\((.endDate // .createdAt) + 978307200)|\(.weight * 60)"' \
    "$XDG_DATA_HOME/Plenda/blocks.json" >"$work/blocks.txt" 2>/dev/null
}
# No input from here: the idle check (every 20 s) finds the user idle and ends
# the notebook's session, which is saved at once.
notes_ended() { read_blocks && awk -F'|' -v t="$t_notes2" '$1 == "Notizblock" && $3 > t { f = 1 } END { exit !f }' "$work/blocks.txt"; }
within 30 notes_ended || fail "idle did not end the notebook's session"

started=$(now)
kill -TERM "$app"
wait "$app" || fail "the app did not exit cleanly"
took=$(calc "$(now) - $started")
awk -v t="$took" 'BEGIN { exit !(t < 4.8) }' || fail "quitting took ${took}s, more than the 4-second limit"

read_blocks || fail "unreadable block file"
# Checks one block: title, start, end and weight in seconds, each within 1.2 s.
expect_block() {
  local line
  line=$(grep -F "$1|" "$work/blocks.txt") || fail "no block titled '$1'"
  awk -F'|' -v s="$2" -v e="$3" -v w="$4" -v title="$1" '
    function off(a, b) { d = a - b; return d < -1.2 || d > 1.2 }
    { if (off($2, s) || off($3, e) || off($4, w)) {
        printf "block %s: start %+.2f end %+.2f weight %+.2f s off\n", title, $2 - s, $3 - e, $4 - w; exit 1 } }' \
    <<<"$line" || fail "block '$1' is not as expected"
}
# Two blocks, one for each window; the time in the day window is not tracked.
! grep -q '^Plenda|' "$work/blocks.txt" || fail "Plenda tracked its own window"
[ "$(wc -l <"$work/blocks.txt")" = 2 ] || fail "expected two blocks"
# The IDE: t0..notes, then again t_ide2..t_notes2, merged into one block.
expect_block "IntelliJ IDEA · webapp" "$t0" "$t_notes2" "$(calc "($t_notes - $t0) + ($t_notes2 - $t_ide2)")"
# The notebook: no project (not an editor), ending at the last input, not at the idle check.
expect_block "Notizblock" "$t_notes" "$last_input" "$(calc "($t_ide2 - $t_notes) + ($last_input - $t_notes2)")"
settings="$XDG_CONFIG_HOME/Plenda/Plenda.json"
grep -q '"todayWindowVisible": *false' "$settings" || fail "the hidden day window was not remembered"
grep -q '"windowTitle.lastOutcome": *"ok Überblick — Notizen ●"' "$settings" || fail "the UTF-8 title was not read"

"$plenda" report >"$work/report.txt" || fail "report failed"
echo "--- report"; cat "$work/report.txt"
grep -q "^IntelliJ IDEA · webapp " "$work/report.txt" || fail "the IDE's time is missing from the report"
grep -q "^Notizblock " "$work/report.txt" || fail "the notebook's time is missing from the report"
# Everything reached the cloud stand-in before the app ended.
[ -s "$PLENDA_CLOUD_STORE" ] || fail "no cloud store written"
grep -q "Launch at login" "$work/app.log" && fail "unexpected login-item failure"
echo "PASS"
