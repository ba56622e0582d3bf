#!/usr/bin/env bash
# End to end on a private X display: two xterm windows with their own classes
# and UTF-8 titles, switched with xdotool and tracked by the real tracker with
# the Linux adapters; then the block file is checked. Also shows that an idle
# stretch ends the session at the last input. About 30 seconds.
#   end-to-end.sh PATH-TO-plenda-tracker-driver
set -euo pipefail
driver=$1
source "$(dirname "$0")/x-session.sh"
fail() { echo "FAIL: $*" >&2; cat "$work"/xterm*.log "$work/openbox.log" >&2 2>/dev/null; xdotool search --class . getwindowname %@ >&2 2>/dev/null; echo "--- driver output" >&2; cat "$work/driver.log" >&2 || true; exit 1; }
now() { date +%s.%N; }
plus() { awk -v t="$1" -v d="$2" 'BEGIN { printf "%.3f", t + d }'; }
start_x_session

export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_DATA_DIRS="$work/system"
export PLENDA_DISABLE_CLOUD_SYNC=1
mkdir -p "$XDG_DATA_HOME/applications" "$XDG_CONFIG_HOME/Plenda"
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

input() { xdotool mousemove --sync $((RANDOM % 600 + 100)) $((RANDOM % 400 + 100)); }
switch_to() { xdotool windowactivate --sync "$1"; input; }
# Keeps the user busy until the given time.
busy_until() { while awk -v t="$1" -v n="$(now)" 'BEGIN { exit !(n < t) }'; do input; sleep 0.25; done; }

# Both windows are up; let the window manager settle on the IDE.
switch_to "$ide"
is_active() { [ "$(xdotool getactivewindow 2>/dev/null)" = "$1" ]; }
within 5 is_active "$ide" || fail "could not activate the IDE"
sleep 0.5
is_active "$ide" || fail "the IDE lost the focus on its own"
LANG=C "$driver" >"$work/driver.log" 2>&1 &
driver_pid=$!
pids+=($driver_pid)
within 5 grep -q "tracking: IntelliJ IDEA · webapp" "$work/driver.log" || fail "the IDE was not tracked"
t0=$(now)

busy_until "$(plus "$t0" 4)"
switch_to "$notes"; t_notes=$(now)
busy_until "$(plus "$t0" 7)"
switch_to "$ide"; t_ide2=$(now)
busy_until "$(plus "$t0" 9)"
switch_to "$notes"; t_notes2=$(now)
busy_until "$(plus "$t0" 12)"
input; last_input=$(now)
# No input from here: the idle check (every 20 s) finds the user idle and
# ends the notebook's session at the last input.
within 20 grep -q "tracking: (nothing) (idle)" "$work/driver.log" || fail "idle was not noticed"
kill -TERM "$driver_pid"
wait "$driver_pid" || fail "the driver failed"

blocks="$XDG_DATA_HOME/Plenda/blocks.json"
[ -f "$blocks" ] || fail "no block file at $blocks"
"$driver" --blocks "$blocks" >"$work/blocks.txt" || fail "unreadable block file"
echo "--- blocks (title|start|end|weight seconds)"; cat "$work/blocks.txt"
echo "--- driver"; cat "$work/driver.log"

# Checks one block: title, start, end and weight in seconds, each within 1.2 s.
expect_block() {
  local line
  line=$(grep -F "$1|" "$work/blocks.txt") || fail "no block titled '$1'"
  [ "$(grep -cF "$1|" "$work/blocks.txt")" = 1 ] || fail "more than one block titled '$1'"
  awk -F'|' -v s="$2" -v e="$3" -v w="$4" -v title="$1" '
    function off(a, b) { d = a - b; return d < -1.2 || d > 1.2 }
    { if (off($2, s) || off($3, e) || off($4, w)) {
        printf "block %s: start %+.2f end %+.2f weight %+.2f s off\n", title, $2 - s, $3 - e, $4 - w; exit 1 } }' \
    <<<"$line" || fail "block '$1' is not as expected"
}
calc() { awk "BEGIN { printf \"%.3f\", $1 }"; }
[ "$(wc -l <"$work/blocks.txt")" = 2 ] || fail "expected two blocks"
# The IDE: t0..notes, then again t_ide2..t_notes2, merged into one block.
expect_block "IntelliJ IDEA · webapp" "$t0" "$t_notes2" "$(calc "($t_notes - $t0) + ($t_notes2 - $t_ide2)")"
# The notebook: no project (not an editor), ending at the last input, not at the idle check.
expect_block "Notizblock" "$t_notes" "$last_input" "$(calc "($t_ide2 - $t_notes) + ($last_input - $t_notes2)")"
grep -qF "windowTitle.lastOutcome: ok Überblick — Notizen ●" "$work/driver.log" || fail "the UTF-8 title was not read"
echo "PASS"
