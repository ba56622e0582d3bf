# Shared by the end-to-end scripts (sourced, not run): a work folder cleaned
# up on exit, a wait helper, a private X display with openbox (waited for as
# long as a busy machine may need), so no other
# test's window manager gets in the way, and terminal windows of a given
# class. The sourcing script defines fail() before calling start_x_session.
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
# Waits up to `seconds` for a condition to hold.
within() { local seconds=$1; shift; for _ in $(seq $((seconds * 10))); do "$@" && return 0; sleep 0.1; done; return 1; }

start_x_session() {
  exec 3<> <(:)
  # -noreset: else the server resets when its first client (a probe below)
  # leaves, and a client connecting meanwhile, openbox on a busy machine, fails.
  Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset >"$work/xvfb.log" 2>&1 &
  pids+=($!)
  read -r -t 60 display <&3 || fail "Xvfb did not start"
  export DISPLAY=":$display"
  openbox >"$work/openbox.log" 2>&1 &
  local openbox=$!
  pids+=($openbox)
  # xprop exits 0 even when the property is missing: look for the window id.
  managed() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id" || ! kill -0 "$openbox" 2>/dev/null; }
  within 60 managed && kill -0 "$openbox" 2>/dev/null ||
    { cat "$work/openbox.log" >&2; fail "openbox did not start"; }
}

window_of_class() { xdotool search --onlyvisible --class "$1" 2>/dev/null | head -1; }
# Opens an xterm of window class $2 for $3 seconds and stores its window id in the variable named $1.
open_window() {
  xterm -class "$2" -e sleep "$3" 2>>"$work/xterm.log" &
  pids+=($!)
  within 15 window_of_class "$2" >/dev/null || fail "no $2 window"
  printf -v "$1" '%s' "$(window_of_class "$2")"
}
