#!/usr/bin/env bash
# `plenda report` for one day on a generated block file of N blocks (100 a
# day, 07:00-23:00 UTC): wall time and peak RSS, against 1 s and 150 MB.
# usage: scripts/report-at-scale.sh [BLOCKS] [PLENDA]   (release build by default)
set -euo pipefail
count=${1:-365000}
plenda=${2:-build/release/src/app/plenda}
file=$(mktemp --suffix=.json)
trap 'rm -f "$file"' EXIT
python3 "$(dirname "$0")/generate-blocks.py" "$count" "$file"
day=$(date -u -d "@$((978307200 + 694224000 + (count / 100 / 2) * 86400))" +%F)
echo "$count blocks, $(du -m "$file" | cut -f1) MB; report for $day"
/usr/bin/time -f "%e s %M KB" "$plenda" report --date "$day" --blocks "$file" 2>&1 >/dev/null | tail -1 |
    awk '{ printf "  wall %s s (target < 1 s) %s\n  peak RSS %.0f MB (target < 150 MB) %s\n", $1, ($1 < 1 ? "met" : "NOT MET"), $3 / 1024, ($3 / 1024 < 150 ? "met" : "NOT MET") }'
