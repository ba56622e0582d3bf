#!/usr/bin/env bash
# Builds Plenda and runs every test, from a fresh Debian 12 machine:
# installs what is missing, then three builds and a type-check, each configured once:
#   debug  every test (CTest under a virtual X display; tests that need a
#          window manager start their own),
#   asan   every test again under AddressSanitizer and UBSan, plus each fuzz
#          target fuzzing for PLENDA_FUZZ_SECONDS (default 10),
#   tsan   the threaded tests under ThreadSanitizer,
#   macos  every source of the macOS build type-checked for macOS with the
#          SDK subset of ../shared/tools/macos (scripts/macos-typecheck.sh;
#          skipped, and says so, where ../shared is absent).
# PLENDA_PRESET=<name> runs one of them only. Non-interactive and idempotent.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

jobs=$(nproc)
# Paths relative to the checkout, so every clone shares the compiler cache.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
symbolizer=/usr/lib/llvm-19/bin/llvm-symbolizer
xvfb() { xvfb-run -a -s "-screen 0 1280x800x24" "$@"; }

configure() {
  local preset=$1
  shift
  if [ ! -f "build/$preset/CMakeCache.txt" ]; then
    cmake --preset "$preset" "$@"
  elif [ $# -gt 0 ]; then
    cmake -S . -B "build/$preset" "$@" >/dev/null
  fi
}

run_debug() {
  configure debug
  cmake --build --preset debug -j "$jobs"
  xvfb ctest --test-dir build/debug --output-on-failure -j "$jobs"
}

run_asan() {
  configure asan "-DPLENDA_FUZZ_SECONDS=${PLENDA_FUZZ_SECONDS:-10}"
  cmake --build --preset asan -j "$jobs"
  ASAN_SYMBOLIZER_PATH=$symbolizer ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp" \
    xvfb ctest --test-dir build/asan --output-on-failure -j "$jobs"
}

run_tsan() {
  configure tsan
  cmake --build --preset tsan -j "$jobs" --target plenda_thread_tests
  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 external_symbolizer_path=$symbolizer suppressions=$PWD/tests/threads/tsan.supp" \
    xvfb ctest --test-dir build/tsan --output-on-failure -R '^plenda_thread_tests$'
}

run_macos() {
  bash scripts/macos-typecheck.sh
}

start=$SECONDS
for preset in ${PLENDA_PRESET:-debug asan tsan macos}; do
  echo "== $preset"
  "run_$preset"
done
echo "== all passed in $((SECONDS - start)) s"
