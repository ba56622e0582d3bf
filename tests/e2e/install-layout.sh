#!/bin/bash
# `cmake --install` lays Plenda out where the XDG rules look: the executable,
# a valid desktop entry named after the id Plenda reports for its windows,
# and its icon.
#   install-layout.sh BUILD-DIR
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
cmake --install "$1" --prefix "$prefix" >/dev/null
[ -x "$prefix/bin/plenda" ] || fail "no executable"
entry="$prefix/share/applications/plenda.desktop"
[ -f "$entry" ] || fail "no desktop entry"
if command -v desktop-file-validate >/dev/null; then desktop-file-validate "$entry" || fail "invalid desktop entry"; fi
grep -qx 'Exec=plenda' "$entry" || fail "the entry does not start plenda"
grep -qx 'StartupWMClass=Plenda' "$entry" || fail "the entry does not claim Plenda's windows"
icon=$(sed -n 's/^Icon=//p' "$entry")
[ -f "$prefix/share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "no icon named $icon"
echo "ok"
