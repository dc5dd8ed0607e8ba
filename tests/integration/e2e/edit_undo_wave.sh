#!/usr/bin/env bash
# Edit mode's history and waveform strip through the driver, on the demo's
# Ode to Joy: Insert and a drag on the strip's middle mark (the row on
# show) change the map as saved; the same two undone with the Undo button
# save the map that entering and leaving without edits saves.  The strip
# and the Undo button show in edit mode only, and the window still fits.
# Usage: edit_undo_wave.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
song="Ode to Joy"
mkdir "$work/songs"
map="$work/songs/$song.map"
# run NAME UNDO: a fresh copy of the song, edited (with the undos when UNDO
# is "undo", none when "plain": in and out only), the map saved as NAME.
run() {
  cp "$root/demo/songs/$song".{mp3,pdf,map} "$work/songs/"
  local edits="" undos=""
  if [ "$2" != plain ]; then
    # The strip is the width of the sheet left of its scroll bar (952 px
    # here); the row on show is its middle.
    edits=$'click AdobeF.Command5\nclick AdobeF.Command9\nclick AdobeF.Command5\ndrag AdobeF.Wave 476 40 516 40'
  fi
  [ "$2" = undo ] && undos=$'click AdobeF.UndoB\nclick AdobeF.UndoB'
  cat > "$work/script.txt" <<SCRIPT
wait 300
select Velmor.File1 $song.pdf
wait 1500
checkvisible AdobeF.Wave no
checkvisible AdobeF.UndoB no
click AdobeF.Command7
wait 500
checkvisible AdobeF.Wave yes
checkvisible AdobeF.UndoB yes
checkfit AdobeF
$edits
$undos
click AdobeF.Command7
wait 1000
checkvisible AdobeF.Wave no
quit
SCRIPT
  xrun "$work/config" "$work/script.txt" --songs "$work/songs"
  cp "$map" "$work/$1.map"
}
run plain plain
run undone undo
run edited edit
cmp "$work/plain.map" "$work/undone.map"
# Edited: one record more (the Insert), the same total time (a split and a
# drag that the next tic gives back), and the dragged half (row 2) no longer
# equal to the half before it.
records() { tr -d '\r' < "$1" | grep -v '[@%^#~]'; }
total() { records "$1" | awk 'NR % 6 == 1 { t += $1 } END { print t }'; }
[ $(( $(records "$work/edited.map" | wc -l) - $(records "$work/plain.map" | wc -l) )) -eq 6 ]
[ "$(total "$work/edited.map")" = "$(total "$work/plain.map")" ]
tic() { records "$1" | sed -n "$(( 6 * $2 + 1 ))p"; }
[ "$(tic "$work/edited.map" 1)" != "$(tic "$work/edited.map" 2)" ]
echo "edit_undo_wave: ok"
