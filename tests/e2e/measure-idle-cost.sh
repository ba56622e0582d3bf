#!/usr/bin/env bash
# Measures what the application costs on an unchanging desktop: CPU time and
# wake-ups over a stretch without events (default 600 s).
#   measure-idle-cost.sh PATH-TO-plenda [SECONDS]
set -euo pipefail
plenda=$1
seconds=${2:-600}
source "$(dirname "$0")/x-session.sh"
fail() { echo "FAIL: $*" >&2; exit 1; }
start_x_session
export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run" PLENDA_DISABLE_CLOUD_SYNC=1
mkdir -m 700 "$XDG_RUNTIME_DIR"
open_window editor Editor $((seconds + 60))
"$plenda" >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
sleep 5
# utime + stime in clock ticks, and voluntary context switches (wake-ups of any kind).
ticks() { awk '{ print $14 + $15 }' "/proc/$app/stat"; }
switches() { awk '/^voluntary_ctxt_switches/ { print $2 }' "/proc/$app/status"; }
t1=$(ticks); s1=$(switches)
sleep "$seconds"
t2=$(ticks); s2=$(switches)
kill -TERM "$app"; wait "$app" || true
cat "$work/app.log"
awk -v a="$t1" -v b="$t2" -v hz="$(getconf CLK_TCK)" -v s="$seconds" -v w1="$s1" -v w2="$s2" 'BEGIN {
  cpu = (b - a) / hz
  printf "over %d s without events: %.3f s CPU (%.3f s per hour), %d wake-ups of the process (%.1f per minute)\n",
         s, cpu, cpu * 3600 / s, w2 - w1, (w2 - w1) * 60 / s }'
