#!/usr/bin/env bash
# The scripted run behind scripts/run.sh when there is no display: on the
# virtual display it starts openbox, two terminals and Plenda (with a notched
# screen described by PLENDA_FAKE_NOTCH, so the notch card shows), switches
# between the terminals for about fifteen seconds, opens the notch card,
# takes a screenshot, quits Plenda and prints the day report.
# Your own data is not touched: the run keeps its data under OUT/data.
#   demo.sh PATH-TO-plenda OUT
set -euo pipefail
plenda=$1
out=$2
rm -rf "$out"
mkdir -p "$out/data" "$out/config/Plenda" "$out/run"
chmod 700 "$out/run"
export XDG_DATA_HOME="$out/data" XDG_CONFIG_HOME="$out/config" XDG_RUNTIME_DIR="$out/run"
export PLENDA_DISABLE_CLOUD_SYNC=1 PLENDA_FAKE_NOTCH="200x32@656"
echo '{"minimumSessionSeconds": 1}' >"$out/config/Plenda/Plenda.json"

pids=()
# The display goes last, after the programs on it.
cleanup() {
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill "${pids[i]}" 2>/dev/null || true; wait "${pids[i]}" 2>/dev/null || true; done
}
trap cleanup EXIT
within() { local seconds=$1; shift; for _ in $(seq $((seconds * 10))); do "$@" && return 0; sleep 0.1; done; return 1; }

# Our own virtual display: Xvfb names it on a pipe once it accepts clients,
# so there is no guessing how long a busy machine takes; -noreset keeps a
# probe that leaves early from resetting it under openbox connecting.
exec 3<> <(:)
Xvfb -displayfd 3 -screen 0 1512x982x24 -nolisten tcp -noreset >"$out/xvfb.log" 2>&1 &
pids+=($!)
read -r -t 60 display <&3 || { echo "the virtual display did not start" >&2; exit 1; }
export DISPLAY=":$display"
# xprop exits 0 even when the property is missing: look for the window id.
openbox_ready() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id"; }
openbox >"$out/openbox.log" 2>&1 &
pids+=($!)
within 60 openbox_ready || { echo "openbox did not start" >&2; cat "$out/openbox.log" >&2; exit 1; }
xterm -class Terminal -title "plenda — bash" -geometry 80x20+40+120 -e sleep 300 &
pids+=($!)
xterm -class Notes -title "Notes" -geometry 60x16+620+420 -e sleep 300 &
pids+=($!)
window() { xdotool search --onlyvisible --class "$1" 2>/dev/null | head -1; }
within 5 window Terminal >/dev/null && within 5 window Notes >/dev/null || { echo "no terminals" >&2; exit 1; }

"$plenda" >"$out/plenda.log" 2>&1 &
app=$!
pids+=($app)
within 10 bash -c 'xdotool search --onlyvisible --name "^Plenda$" >/dev/null 2>&1' || { cat "$out/plenda.log"; exit 1; }
echo "Plenda is running; switching between two terminal windows for about fifteen seconds..."
for step in Terminal Notes Terminal Notes Terminal; do
  xdotool windowactivate --sync "$(window $step)" 2>/dev/null
  xdotool mousemove 300 500
  sleep 3
done
# Over the notch: the card unfolds.
xdotool mousemove 756 12
sleep 1
"$plenda" screenshot "$out/screenshot.png"
kill -TERM "$app"
wait "$app" || true

echo
"$plenda" report --blocks "$out/data/Plenda/blocks.json" --png "$out/day-window.png"
echo
echo "Screenshot of the virtual display: $out/screenshot.png"
echo "The day window, rendered: $out/day-window.png"
echo "(This ran on a virtual display because none was available; with a display, scripts/run.sh starts Plenda itself.)"
