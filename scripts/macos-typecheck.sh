#!/usr/bin/env bash
# Type-checks every source of the macOS build, the app's and the tests', on
# Linux: clang's Darwin target with -fsyntax-only, against the macOS 14 SDK
# subset of ../shared/tools/macos (Apple's libc++ included) and the host's Qt
# headers. Nothing is linked or run.
#
# The sources and every flag come from CMake: the project is configured with
# cmake/DarwinTypeCheck.cmake as toolchain (preset macos-typecheck), where
# APPLE is true, and each entry of its compile_commands.json is run as it
# stands plus -fsyntax-only. The Mac build (preset macos) configures the same
# files, so the two cannot drift apart.
#
# Exit status 1 when any file fails; 0 with a note when the SDK tools are not
# beside this checkout (a fresh clone has no ../shared).
set -euo pipefail
cd "$(dirname "$0")/.."

# ../shared beside this checkout, or beside the main checkout when this is a
# linked git worktree; PLENDA_MACOS_TOOLS overrides both.
tools=${PLENDA_MACOS_TOOLS:-}
if [ -z "$tools" ]; then
  for top in "$PWD" "$(cd "$(git rev-parse --git-common-dir 2>/dev/null || echo .)/.." 2>/dev/null && pwd)"; do
    if [ -x "$top/../shared/tools/macos/setup-sdk" ]; then tools="$top/../shared/tools/macos"; break; fi
  done
fi
if [ -z "$tools" ] || [ ! -x "$tools/setup-sdk" ]; then
  echo "macos: skipped: no ../shared/tools/macos beside this checkout, so there is no macOS SDK to type-check against"
  exit 0
fi

export PLENDA_MACOS_SDK=${PLENDA_MACOS_SDK:-/tmp/macsdk}
"$tools/setup-sdk"

build=build/macos-typecheck
cmake --preset macos-typecheck >/dev/null
db="$build/compile_commands.json"

# Qt's generated sources run the host's moc, rcc and lrelease. moc is run
# through CMake's own autogen step directly: the build graph would first
# build (so compile for real) every library the target links.
while IFS= read -r info; do
  cmake -E cmake_autogen "$info" "" >/dev/null
done < <(find "$build" -name AutogenInfo.json)
generated=()
while IFS= read -r f; do
  case "$f" in
    "$PWD/$build"/*_autogen/*) ;;
    "$PWD/$build"/*) generated+=("${f#"$PWD/$build/"}") ;;
  esac
done < <(jq -r '.[].file' "$db")
[ ${#generated[@]} -eq 0 ] || cmake --build "$build" --target "${generated[@]}" >/dev/null

# One line per file: the command as CMake wrote it, made syntax-only.
check_one() {
  local dir=$1 file=$2 cmd=$3 out
  if out=$(cd "$dir" && eval "$cmd -fsyntax-only -fno-color-diagnostics" 2>&1); then
    [ -z "$out" ] || printf '%s\n' "$out"
    echo "ok   ${file#"$PWD/"}"
  else
    printf '%s\n' "$out"
    echo "FAIL ${file#"$PWD/"}"
    return 1
  fi
}
export -f check_one
export PWD

log="$build/typecheck.log"
set +e
jq -j '.[] | .directory, "\u0000", .file, "\u0000", .command, "\u0000"' "$db" |
  xargs -0 -n 3 -P "$(nproc)" bash -c 'check_one "$@"' _ > "$log" 2>&1
set -e
cat "$log"

# The bundle's generated Info.plist must claim the version the code is
# compiled for, and the ad hoc signature may carry no entitlement that needs a
# provisioning profile (macOS would refuse to launch the app).
target=$(sed -n 's/^CMAKE_OSX_DEPLOYMENT_TARGET:STRING=//p' "$build/CMakeCache.txt")
plist=$(find "$build" -path '*/Plenda.app/Contents/Info.plist' | head -1)
bundle_ok=1
minimum=$(sed -n '/<key>LSMinimumSystemVersion<\/key>/{n;s/.*<string>\(.*\)<\/string>.*/\1/p}' "$plist" 2>/dev/null)
if [ "$minimum" != "$target" ] || grep -q '\${' "$plist"; then
  echo "FAIL Info.plist: LSMinimumSystemVersion '$minimum' for deployment target $target, or a value left unfilled"
  bundle_ok=0
fi
adhoc=$(sed -n 's/^.*--entitlements \([^ ]*\) .*$/\1/p' "$build/build.ninja" | head -1)
if [ ! -f "$adhoc" ] || grep -q 'com\.apple\.developer\.' "$adhoc"; then
  echo "FAIL ad hoc signing uses '$adhoc', which must exist and claim no com.apple.developer entitlement"
  bundle_ok=0
fi

total=$(jq length "$db")
failed=$(grep -c '^FAIL ' "$log" || true)
errors=$(grep -c ': error: ' "$log" || true)
checked=$(grep -c -E '^(ok|FAIL) ' "$log" || true)
tests=$(jq '[.[] | select(.file | test("/(tests|fuzz|bench)/"))] | length' "$db")
echo "macos: $checked of $total files type-checked for arm64-apple-macos$target ($((total - tests)) of the app, $tests tests and fuzz targets), $failed failed, $errors errors"
[ "$checked" -eq "$total" ] && [ "$failed" -eq 0 ] && [ "$bundle_ok" -eq 1 ]
