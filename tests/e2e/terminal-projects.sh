#!/usr/bin/env bash
# Terminals on Linux get their project from the folder their shell works in:
# real bash shells in xterm, rxvt-unicode and two windows of one lxterminal
# process, started in folders of git repositories and plain folders, one
# moved by typing `cd` into it. Sessions of each are recorded under
# "<terminal> · <project>". About 25 seconds.
#   terminal-projects.sh PATH-TO-plenda
set -euo pipefail
plenda=$1
source "$(dirname "$0")/x-session.sh"
fail() { echo "FAIL: $*" >&2; echo "--- app output" >&2; cat "$work/app.log" >&2 || true; echo "--- titles" >&2; cat "$work/titles.txt" >&2 2>/dev/null || true; exit 1; }
start_x_session

export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run" HOME="$work/home"
mkdir -p "$XDG_CONFIG_HOME/Plenda" "$HOME" && mkdir -m 700 "$XDG_RUNTIME_DIR"
echo '{"minimumSessionSeconds": 1}' >"$XDG_CONFIG_HOME/Plenda/Plenda.json"
# The prompt puts the working folder in the window title, as Debian's default .bashrc does.
printf '%s\n' 'PS1='"'"'\[\e]0;\u@\h: \w\a\]\$ '"'" >"$HOME/.bashrc"
for repository in engine api; do git init -q "$HOME/src/$repository"; done
mkdir -p "$HOME/src/engine/crates/core" "$HOME/src/api/lib" "$HOME/notes" "$HOME/diary"

windows() { xdotool search --onlyvisible --name '.' 2>/dev/null | sort || true; }
# Opens a terminal with an interactive bash in a folder; stores its window.
terminal() {  # variable folder command...
  local variable=$1 folder=$2
  shift 2
  windows >"$work/before"
  (cd "$folder" && exec "$@" -e bash -i) >>"$work/terminals.log" 2>&1 &
  pids+=($!)
  new_window() { windows | comm -13 "$work/before" - | head -1; }
  within 20 bash -c "$(declare -f windows new_window); work=$work; [ -n \"\$(new_window)\" ]" || fail "$1 did not open"
  printf -v "$variable" '%s' "$(new_window)"
}
terminal xterm_window "$HOME/src/engine/crates/core" xterm
terminal urxvt_window "$HOME/src/api/lib" urxvt
terminal notes_window "$HOME/notes" lxterminal
terminal diary_window "$HOME/diary" lxterminal
[ "$(pgrep -c -x lxterminal)" = 1 ] || fail "the two lxterminal windows are not one process"

"$plenda" >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
within 15 sh -c 'xdotool search --onlyvisible --name "^Plenda$" >/dev/null 2>&1' || fail "the day window did not open"
visit() { xdotool windowactivate --sync "$1"; xdotool mousemove --sync $((RANDOM % 300 + 100)) 300; sleep 2.5; }
# A switch between windows of one application is no new activation, as on
# the Mac: the two lxterminal windows are reached from other applications.
visit "$xterm_window"
visit "$notes_window"
visit "$urxvt_window"
visit "$diary_window"
# Moved by hand, in the shell: the next visit finds the other repository.
xdotool windowactivate --sync "$xterm_window"
xdotool type --delay 20 "cd $HOME/src/api"
xdotool key Return
sleep 1
visit "$urxvt_window"
visit "$xterm_window"
visit "$notes_window"
kill -TERM "$app"
wait "$app" || fail "the app did not exit cleanly"

jq -r '.[].title' "$XDG_DATA_HOME/Plenda/blocks.json" >"$work/titles.txt" || fail "unreadable block file"
for title in "XTerm · engine" "Rxvt Color Unicode Terminal · api" "LXTerminal · notes" "LXTerminal · diary" "XTerm · api"; do
  grep -qxF "$title" "$work/titles.txt" || fail "no block titled '$title'"
done
grep -q "Plenda" "$work/titles.txt" && fail "Plenda tracked its own window"
echo "PASS"
