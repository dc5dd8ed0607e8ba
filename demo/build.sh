#!/usr/bin/env bash
# Rebuilds the demo songs from demo/make_demo.cpp: sheets (PDF), recordings
# (WAV, then MP3 with lame), maps and layout.tsv.  The outputs are committed,
# so the program needs none of this.  Needs: the project's build (Qt) and lame.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v lame >/dev/null || { echo "demo/build.sh needs lame (apt-get install lame)"; exit 1; }
cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target make_demo
rm -rf demo/songs demo/songs-2
QT_QPA_PLATFORM=offscreen build/demo/make_demo demo/songs demo/songs-2
for w in demo/songs/*.wav; do
  lame --quiet -m m -b 64 --resample 44.1 "$w" "${w%.wav}.mp3"
  rm "$w"
done
ls -la demo/songs demo/songs-2 demo/layout.tsv
