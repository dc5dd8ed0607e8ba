#!/usr/bin/env bash
# On a laptop's screen (1366x768) under a window manager (openbox): every
# window in each state a musician meets fits the screen, and each caption
# shows whole (`checkfit`), with a screenshot of each state for a person
# to look at.
#   Usage: window_fit.sh <mellivane binary> [shots dir]
source "$(dirname "$0")/lib.sh"
shots=${2:-$work/shots}
mkdir -p "$shots"
rm -f "$shots"/*.png
# A copy of the demo songs: leaving edit mode writes the map.
src=$(cd "$(dirname "$0")/../../.." && pwd)/demo
mkdir -p "$work/songs" "$work/songs-2"
cp "$src"/songs/* "$work/songs/"
cp "$src"/songs-2/* "$work/songs-2/"

# Each state: its name, the actions that lead to it; then every shown
# window is checked and the screen taken.  The main window, growing for the
# setup panel, comes to the front over the sheet window.  Closing the
# notation fields narrows the window past the setup panel, so the panel is
# opened again for the button states.
states=(
  "1_first_start|"
  "2_setup_panel|activate AdobeF;wait 300;menu Velmor.SS;wait 500;checkactive Velmor"
  "3_notation_fields|click Velmor.Label20"
  "4_notation_fields_closed|click Velmor.Label20"
  "5_horizontal_buttons|menu Velmor.SS;click Velmor.ShowB"
  "6_vertical_buttons|click Velmor.ShowVB"
  "7_setup_closed|click Velmor.ShowVB;menu Velmor.SS"
  "8_large_list|menu Velmor.ZM"
  "9_song_loaded|menu Velmor.ZM;select Velmor.File1 Twinkle Twinkle.pdf;wait 1500"
  "10_edit_mode|click AdobeF.Command7;wait 500"
  "11_sheet_window_2|click AdobeF.Command7;menu Velmor.LA2;wait 1500"
)
{
  echo "wait 1500"
  echo "menu Velmor.SS"
  echo "type Velmor.Text1 $work/songs"
  echo "type Velmor.Text7 $work/songs-2"
  echo "click Velmor.Command2"
  echo "menu Velmor.SS"
  for st in "${states[@]}"; do
    name=${st%%|*}
    IFS=';' read -ra steps <<< "${st#*|}"
    for step in "${steps[@]}"; do [ -n "$step" ] && echo "$step"; done
    echo "wait 800"
    echo "# $name"
    for w in Velmor AdobeF BControl AdobeF2; do echo "checkfit $w"; done
    echo "screenshot $shots/$name.png"
  done
  echo "quit"
} > "$work/script.txt"

cat > "$work/desktop.sh" <<'INNER'
set -euo pipefail
bin=$1 cfg=$2 script=$3
export QT_QPA_PLATFORM=xcb # real windows, whatever the caller set
openbox --sm-disable >/dev/null 2>&1 &
for _ in $(seq 100); do
  xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break
  sleep 0.05
done
"$bin" --audio null --config-dir "$cfg" --script "$script" 2> >(grep -v XDG_RUNTIME_DIR >&2)
INNER
status=0
xvfb-run -a -s "-screen 0 1366x768x24" bash "$work/desktop.sh" "$bin" "$work/config" \
  "$work/script.txt" > "$work/out.txt" 2>&1 || status=$?
cat "$work/out.txt"
for st in "${states[@]}"; do test -s "$shots/${st%%|*}.png"; done
[ "$status" -eq 0 ] || exit 1
echo "e2e window fit: passed, screenshots in $shots"
