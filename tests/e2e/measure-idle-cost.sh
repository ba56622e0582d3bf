#!/usr/bin/env bash
# Measures what the tracker costs on an unchanging desktop: CPU time and timer
# wake-ups of the driver over a stretch without events (default 600 s).
#   measure-idle-cost.sh PATH-TO-plenda-tracker-driver [SECONDS]
set -euo pipefail
driver=$1
seconds=${2:-600}
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
exec 3<> <(:)
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
read -r -t 10 display <&3
export DISPLAY=":$display" XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" PLENDA_DISABLE_CLOUD_SYNC=1
openbox >/dev/null 2>&1 &
pids+=($!)
sleep 2
xterm -class Editor -e sleep $((seconds + 60)) &
pids+=($!)
sleep 2
"$driver" >"$work/driver.log" 2>&1 &
driver=$!
pids+=($driver)
sleep 5
# utime + stime in clock ticks, and voluntary context switches (wake-ups of any kind).
ticks() { awk '{ print $14 + $15 }' "/proc/$driver/stat"; }
switches() { awk '/^voluntary_ctxt_switches/ { print $2 }' "/proc/$driver/status"; }
hz=$(getconf CLK_TCK)
t1=$(ticks); s1=$(switches)
sleep "$seconds"
t2=$(ticks); s2=$(switches)
kill -TERM "$driver"; wait "$driver" || true
cat "$work/driver.log"
awk -v a="$t1" -v b="$t2" -v hz="$hz" -v s="$seconds" -v w1="$s1" -v w2="$s2" 'BEGIN {
  cpu = (b - a) / hz
  printf "over %d s without events: %.3f s CPU (%.3f s per hour), %d wake-ups of the process (%.1f per minute)\n",
         s, cpu, cpu * 3600 / s, w2 - w1, (w2 - w1) * 60 / s }'
