#!/usr/bin/env bash
# Installs the Debian 12 packages that building and testing Plenda needs.
# Idempotent: apt is only touched when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-l10n-tools qt6-tools-dev qt6-tools-dev-tools libqt6sql6-sqlite qt6-svg-dev
  libsimdjson-dev libicu-dev libsqlite3-dev
  libx11-dev libxss-dev libxcb-screensaver0-dev libgl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb openbox xdotool wmctrl x11-utils xterm time
  # The quit test locks the cloud stand-in from another process.
  sqlite3
  # The sanitizer builds and libFuzzer; llvm-19 symbolizes their reports,
  # which the ThreadSanitizer suppressions need.
  clang-19 libclang-rt-19-dev llvm-19
  # The macOS type-check reads CMake's compile_commands.json.
  jq
  # The install test validates the desktop entry.
  desktop-file-utils
  # Terminal projects are tried with real shells in these terminals' windows.
  rxvt-unicode lxterminal git
)

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
