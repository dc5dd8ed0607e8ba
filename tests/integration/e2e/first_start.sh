#!/usr/bin/env bash
# On a desktop with a window manager (openbox under Xvfb): the first start
# shows the main window and sheet window 1 side by side, neither over the
# other, both inside the screen; a start with a place file made on Windows
# puts the sheet window where the file says.
#   Usage: first_start.sh <mellivane binary> [shots dir]
source "$(dirname "$0")/lib.sh"
shots=${2:-$work/shots}
mkdir -p "$shots"

# Runs the program on a screen W x H with openbox, a screenshot after 2.5 s;
# prints "x y width height" of the main window and of the sheet window.
cat > "$work/desktop.sh" <<'INNER'
set -euo pipefail
bin=$1 cfg=$2 shot=$3
export QT_QPA_PLATFORM=xcb # real windows, whatever the caller set
openbox >/dev/null 2>&1 &
sleep 1
printf 'wait 2500\nscreenshot %s\nwait 500\nquit\n' "$shot" > "$cfg.script"
"$bin" --audio null --config-dir "$cfg" --script "$cfg.script" 2>/dev/null &
sleep 2
for title in "Media Player" "Sheet"; do
  id=$(xdotool search --name "^$title\$" | head -1)
  xwininfo -frame -id "$id" | awk '/Absolute upper-left X/ {x=$NF} /Absolute upper-left Y/ {y=$NF}
    /^ *Width/ {w=$NF} /^ *Height/ {h=$NF} END {print x, y, w, h}'
done
wait %2
INNER
desktop() { xvfb-run -a -s "-screen 0 $1x24" bash "$work/desktop.sh" "$bin" "$2" "$3"; }

# First start: no settings, no place file.
desktop 1920x1080 "$work/first" "$shots/first_start.png" > "$work/first.txt"
test -s "$shots/first_start.png"
read -r mx my mw mh < <(sed -n 1p "$work/first.txt")
read -r sx sy sw sh < <(sed -n 2p "$work/first.txt")
echo "main: $mx $my $mw $mh  sheet: $sx $sy $sw $sh"
for r in "$mx $my $mw $mh" "$sx $sy $sw $sh"; do
  read -r x y w h <<< "$r"
  test "$x" -ge 0 -a "$y" -ge 0 -a $((x + w)) -le 1920 -a $((y + h)) -le 1080
done
test $((mx + mw)) -le "$sx" # side by side, the sheet to the right
test -s "$work/first/AdobeFx.ini"

# A place file from Windows: top 1500 and left 3000 twips, CR LF, blanks.
mkdir -p "$work/placed"
printf ' 1500 \r\n 3000 \r\n' > "$work/placed/Adobefx.ini"
desktop 1920x1440 "$work/placed" "$shots/placed.png" > "$work/placed.txt"
read -r sx sy sw sh < <(sed -n 2p "$work/placed.txt")
echo "placed sheet: $sx $sy $sw $sh"
# The frame's top left stands at 200, 100 pixels; the client lies inside it.
test "$sx" -ge 200 -a "$sx" -le 206 -a "$sy" -ge 100 -a "$sy" -le 130
test $((sy + sh)) -le 1440
echo "e2e first start: passed"
