#!/usr/bin/env bash
# Builds Plenda and runs every test, from a fresh Debian 12 machine:
# installs what is missing, configures once, builds, runs CTest under a
# virtual X display (tests that need a window manager start their own).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

preset=${PLENDA_PRESET:-debug}
[ -f "build/$preset/CMakeCache.txt" ] || cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"

xvfb-run -a -s "-screen 0 1280x800x24" \
  ctest --test-dir "build/$preset" --output-on-failure -j "$(nproc)"
