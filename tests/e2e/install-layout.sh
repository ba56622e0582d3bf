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
# And drawn at the sizes of the icon theme, each a PNG of its size.
for size in 16 22 24 32 48 64 128 256 512; do
  png="$prefix/share/icons/hicolor/${size}x${size}/apps/$icon.png"
  python3 - "$png" "$size" <<'PY' || fail "no ${size}x${size} icon"
import struct, sys
data = open(sys.argv[1], "rb").read(24)
size = int(sys.argv[2])
assert data[:8] == b"\x89PNG\r\n\x1a\n" and struct.unpack(">II", data[16:24]) == (size, size)
PY
done
echo "ok"
