#!/usr/bin/env bash
# What the running application costs the machine, on an empty store and on
# one of ten years (365,000 blocks ending yesterday): CPU seconds, wake-ups
# (context switches of all its threads) and resident memory over IDLE_SECONDS
# (600) without input, then SWITCH_SECONDS (300) of switching between two
# windows every 30 s. Each store gets a private X display, data and settings.
#   measure-app-cost.sh PATH-TO-plenda      (build it with the release preset)
set -euo pipefail
plenda=$(realpath "$1")
idle=${IDLE_SECONDS:-600}
switching=${SWITCH_SECONDS:-300}
here=$(cd "$(dirname "$0")" && pwd)

measure() {  # store-name blocks
  (
    source "$here/x-session.sh"
    fail() { echo "FAIL: $*" >&2; exit 1; }
    start_x_session
    export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"
    mkdir -p -m 700 "$XDG_RUNTIME_DIR" "$XDG_DATA_HOME/Plenda"
    [ "$2" -gt 0 ] && python3 "$here/../../scripts/generate-blocks.py" "$2" "$XDG_DATA_HOME/Plenda/blocks.json" --until-yesterday
    open_window editor Editor $((idle + switching + 120))
    open_window notes Notes $((idle + switching + 120))
    "$plenda" >"$work/app.log" 2>&1 &
    app=$!
    pids+=($app)
    within 60 sh -c 'xdotool search --onlyvisible --name "^Plenda$" >/dev/null 2>&1' || fail "no day window"
    sleep 20  # past the launch steps
    cpu() { awk -v hz="$(getconf CLK_TCK)" '{ print ($14 + $15) / hz }' "/proc/$app/stat"; }
    wakeups() { cat /proc/"$app"/task/*/status | awk '/ctxt_switches/ { n += $2 } END { print n }'; }
    memory() { awk '/^(VmRSS|VmHWM)/ { printf "%s %.0f MB  ", $1, $2 / 1024 }' "/proc/$app/status"; }
    report() {  # phase seconds cpu-before wakeups-before
      awk -v phase="$1" -v s="$2" -v c="$(cpu)" -v c0="$3" -v w="$(wakeups)" -v w0="$4" -v m="$(memory)" -v store="$store" 'BEGIN {
        printf "  %-9s %-10s %4d s: %7.2f s CPU per hour, %8.0f wake-ups per hour, %s\n",
               store, phase, s, (c - c0) * 3600 / s, (w - w0) * 3600 / s, m }'
    }
    store=$1
    echo "  $store: launch took $(cpu) s CPU; $(memory)"
    c=$(cpu); w=$(wakeups)
    sleep "$idle"
    report idle "$idle" "$c" "$w"
    c=$(cpu); w=$(wakeups)
    for ((t = 0; t < switching; t += 30)); do
      if ((t / 30 % 2)); then xdotool windowactivate --sync "$notes"; else xdotool windowactivate --sync "$editor"; fi
      xdotool mousemove $((200 + t % 400)) 300
      sleep 30
    done
    report switching "$switching" "$c" "$w"
    kill -TERM "$app"; wait "$app" || true
  )
}

echo "$(basename "$plenda") on this machine ($(nproc) cores):"
measure empty 0
measure 365k 365000
