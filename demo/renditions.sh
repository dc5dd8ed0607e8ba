#!/usr/bin/env bash
# Renders each demo song three more times, for the alignment bench and the
# tests: LilyPond MIDI played by FluidSynth with another instrument, another
# tempo and another lead-in.  Writes them as MP3 to demo/renditions ("SONG
# TAG.mp3", committed, so that a clean clone needs none of these tools) and
# the true measure times, from the MIDI tempo map, to demo/renditions.tsv
# (song, rendition, measure, ms into the recording).  demo/build.sh calls it.
#
#   slow    0.8 of the tempo, marimba, 2 s before the first note
#   fast    1.15 of the tempo, harpsichord, 0.5 s (the bench adds noise at 20 dB SNR)
#   rubato  the tempo changes every three measures (1.15, .85, 1, .9, 1.1), vibraphone, 3 s
set -euo pipefail
cd "$(dirname "$0")/.."
sf=/usr/share/sounds/sf2/FluidR3_GM.sf2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p demo/renditions
tsv=demo/renditions.tsv
printf 'song\trendition\tmeasure\tms\n' > "$tsv"
# file|song|tempo|melody variable
songs=("ode-to-joy|Ode to Joy|120|odeMelody"
       "twinkle-twinkle|Twinkle Twinkle|100|melody"
       "greensleeves|Greensleeves|120|melody"
       "amazing-grace|Amazing Grace|100|melody")
# rendition|factors (cycled every three measures)|instrument|lead-in s|lead tempo (a quarter lasts the lead-in)
rends=("slow|0.8|marimba|2|30" "fast|1.15|harpsichord|0.5|120" "rubato|1.15 0.85 1 0.9 1.1|vibraphone|3|20")
for s in "${songs[@]}"; do
  IFS='|' read -r src name tempo mel <<<"$s"
  # Each measure's length in quarters, from the shipped layout (due times at $tempo, scaled by .995).
  mapfile -t quarters < <(awk -F'\t' -v n="$name" -v t="$tempo" '
    $1 == n { d[++k] = $6 } END {
      for (i = 1; i < k; i++) printf "%.1f\n", int(((d[i+1] - d[i]) * .995 / (60000 / t)) * 2 + .5) / 2
      print 4 }' demo/layout.tsv)
  for r in "${rends[@]}"; do
    IFS='|' read -r tag factors instr lead leadTempo <<<"$r"
    read -ra f <<<"$factors"
    # The tempo voice: a spacer per measure, a tempo mark every three measures.
    track="" ms=$(awk -v l="$lead" 'BEGIN { print l * 1000 }') m=0
    for q in "${quarters[@]}"; do
      bpm=$(awk -v t="$tempo" -v x="${f[$(( (m / 3) % ${#f[@]} ))]}" 'BEGIN { printf "%d", t * x + .5 }')
      if (( m % 3 == 0 )); then track+=" \\\\tempo 4 = $bpm"; fi
      track+=" s4*$(awk -v q="$q" 'BEGIN { print q * 2 }')/2"
      m=$((m + 1))
      printf '%s\t%s\t%d\t%.1f\n' "$name" "$tag" "$m" "$ms" >> "$tsv"
      ms=$(awk -v a="$ms" -v q="$q" -v b="$bpm" 'BEGIN { printf "%.3f", a + q * 60000 / b }')
    done
    # The MIDI score of the song with these changes.
    sed -e "s/midiInstrument = \"[^\"]*\"/midiInstrument = \"$instr\"/" \
        -e "s|\\\\tempo 4 = 60 r4 \\\\tempo 4 = [0-9]* \\\\$mel|\\\\tempo 4 = $leadTempo r4 << \\\\$mel { $track } >>|" \
        -e '/\\layout/d' -e '/\\header/d' "demo/scores/$src.ly" > "$work/$src-$tag.ly"
    grep -q "<< \\\\$mel" "$work/$src-$tag.ly" || { echo "cannot rewrite $src" >&2; exit 1; }
    lilypond -s -I "$PWD/demo/scores" -o "$work/$src-$tag" "$work/$src-$tag.ly"
    midi=$(ls "$work/$src-$tag"*.mid* | head -1)
    fluidsynth -ni -q -g 2.5 -r 44100 -F "$work/$src-$tag.wav" "$sf" "$midi"
    # lame writes its LAME tag, with the encoder delay and padding, only
    # when it can seek back, so to a file: with the tag the player and the
    # analysis both start at the first sample of the WAV, and the true
    # times above hold.  At 48 kbit/s libmpg123 misreads the tag; 64 kbit/s
    # decodes the same everywhere.
    lame --quiet -m m -b 64 "$work/$src-$tag.wav" "demo/renditions/$name $tag.mp3"
  done
done
echo "wrote $tsv and demo/renditions"
