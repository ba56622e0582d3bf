#!/usr/bin/env bash
# Builds Plenda and runs it, from a fresh Debian 12 machine. With a display it
# starts the app. Without one it runs the app on a virtual display (Xvfb) with
# a short scripted activity, then prints the day report and where the
# screenshot is, and says that this is what happened.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

preset=${PLENDA_PRESET:-debug}
[ -f "build/$preset/CMakeCache.txt" ] || cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)" --target plenda
plenda="$PWD/build/$preset/src/app/plenda"

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$plenda" "$@"
fi
echo "No display found: running Plenda on a virtual display (Xvfb) with a short scripted activity instead."
exec bash scripts/demo.sh "$plenda" "$PWD/build/$preset/demo"
