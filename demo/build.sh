#!/usr/bin/env bash
# Rebuilds the demo songs from the LilyPond sources in demo/scores: sheets
# (PDF), recordings (LilyPond's MIDI played by FluidSynth with the General
# MIDI sound font, then MP3 with lame), maps and layout.tsv; then
# renditions.sh renders the other renditions the alignment is measured on.  The outputs are
# committed, so the program and its tests need none of this.
#
# Every sheet is engraved twice: once with point-and-click links, whose
# rectangles are each note's place on the page (read with qpdf), and once
# without them to ship (the links hold this machine's paths).  make_maps
# turns the rectangles and the staff lines of the shipped sheets into maps.
set -euo pipefail
cd "$(dirname "$0")/.."
tools=(lilypond fluidsynth lame qpdf jq)
sf=/usr/share/sounds/sf2/FluidR3_GM.sf2
missing=()
for t in "${tools[@]}"; do command -v "$t" >/dev/null || missing+=("$t"); done
[ -f "$sf" ] || missing+=(fluid-soundfont-gm)
if [ ${#missing[@]} -gt 0 ]; then
  [ "$(id -u)" -eq 0 ] || { echo "demo/build.sh needs: ${missing[*]}"; exit 1; }
  apt-get install -y --no-install-recommends "${missing[@]}"
fi
cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target make_maps

work=$(mktemp -d /tmp/demo-build-XXXXXX)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/measure" "$work/ship"
rm -rf demo/songs demo/songs-2
mkdir -p demo/songs demo/songs-2

# source, sheet (empty: none), recording (empty: none)
songs=(
  "ode-to-joy|songs/Ode to Joy.pdf|songs/Ode to Joy.mp3"
  "ode-to-joy-mix||songs/Ode to Joy MIX.mp3"
  "ode-to-joy-trumpet|songs-2/Ode to Joy.pdf|"
  "twinkle-twinkle|songs/Twinkle Twinkle.pdf|songs/Twinkle Twinkle.mp3"
  "greensleeves|songs/Greensleeves.pdf|songs/Greensleeves.mp3"
  "amazing-grace|songs/Amazing Grace.pdf|songs/Amazing Grace.mp3"
)
: > "$work/links.tsv"
for entry in "${songs[@]}"; do
  IFS='|' read -r src pdf mp3 <<<"$entry"
  ly="demo/scores/$src.ly"
  lilypond -s -dno-point-and-click -I "$PWD/demo/scores" -o "$work/ship/$src" "$ly"
  if [ -n "$pdf" ]; then
    cp "$work/ship/$src.pdf" "demo/$pdf"
  fi
  if [[ "$pdf" == songs/* ]]; then # (a second part has no map)
    # Only the notes and rests: one link, the head's rectangle, per note.
    lilypond -s "-dpoint-and-click=(note-event rest-event)" -I "$PWD/demo/scores" \
      -o "$work/measure/$src" "$ly"
    name=$(basename "$pdf" .pdf)
    # song, page, left, bottom, right, top (PDF points from the bottom-left), link
    qpdf --json "$work/measure/$src.pdf" | jq -r --arg song "$name" '
      .qpdf[1] as $o | .pages | to_entries[] | (.key + 1) as $p
      | ($o["obj:" + .value.object].value["/Annots"] // [])
      | (if type == "string" then $o["obj:" + .].value else . end) | .[]
      | $o["obj:" + .].value | select(."/Subtype" == "/Link")
      | [$song, $p, (."/Rect"[]), (."/A"."/URI" | sub("^u:"; ""))] | @tsv' >> "$work/links.tsv"
  fi
  if [ -n "$mp3" ]; then
    fluidsynth -ni -q -g 2.5 -r 44100 -F "$work/$src.wav" "$sf" "$work/ship/$src.midi"
    lame --quiet -m m -b 96 "$work/$src.wav" "demo/$mp3"
  fi
done
# With "Ignore number at beginning of file" on, it shares Greensleeves' files.
cp "demo/songs/Greensleeves.mp3" "demo/songs/03 Greensleeves.mp3"
QT_QPA_PLATFORM=offscreen build/demo/make_maps "$work/links.tsv" demo/songs demo/layout.tsv
# The other renditions of each song, with their true measure times.
demo/renditions.sh
du -sh demo/songs demo/songs-2 demo/renditions
