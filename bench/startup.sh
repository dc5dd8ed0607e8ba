#!/usr/bin/env bash
# The real binary under Xvfb with a folder of 10,000 song names (empty
# files): from the start of the process to the main window shown with its
# list filled (the action script's first action runs then and quits).
#   bench/startup.sh [build dir]
set -euo pipefail
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/songs"
( cd "$work/songs" && for i in $(seq -w 1 10000); do : > "Song $i.pdf"; done )
printf 'check Velmor.File1 \nquit\n' > "$work/quit.txt"
best=999999
for run in 1 2 3; do
  rm -rf "$work/config"
  start=$(date +%s%N)
  xvfb-run -a -s "-screen 0 1600x1400x24" "$build/src/app/mellivane" --audio null \
    --config-dir "$work/config" --songs "$work/songs" --script "$work/quit.txt" >/dev/null 2>&1 || true
  ms=$(( ($(date +%s%N) - start) / 1000000 ))
  [ "$ms" -lt "$best" ] && best=$ms
done
# xvfb-run itself takes a while to bring up the X server: measure it alone.
start=$(date +%s%N); xvfb-run -a -s "-screen 0 1600x1400x24" true; xvfb=$(( ($(date +%s%N) - start) / 1000000 ))
echo "startup_ms: $(( best - xvfb )) ms"
echo "xvfb_overhead_ms: $xvfb ms"
