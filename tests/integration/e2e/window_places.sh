#!/usr/bin/env bash
# Window places under openbox: once placed, each further start and quit
# leaves "AdobeFx.ini" and the main window's lines of "Mellivane.ini"
# exactly as they were (no drift by the frame's border); a main window moved
# by the window manager is saved where its frame stands, to the twip (lines
# 6, 7 and 22).  Usage: window_places.sh <mellivane>
source "$(dirname "$0")/lib.sh"
command -v xdotool >/dev/null || { echo "xdotool missing"; exit 77; }
command -v openbox >/dev/null || { echo "openbox missing"; exit 77; }
command -v xwininfo >/dev/null || { echo "xwininfo missing"; exit 77; }
printf 'wait 1500\nquit\n' > "$work/quit.txt"
printf 'wait 4000\nquit\n' > "$work/slow.txt"
cat > "$work/inside.sh" <<INSIDE
set -euo pipefail
run() { "$bin" --audio null --config-dir "$work/config" --script "\$1" 2>/dev/null; }
for n in 1 2 3; do
  run "$work/quit.txt"
  cp "$work/config/AdobeFx.ini" "$work/a\$n"; cp "$work/config/Mellivane.ini" "$work/m\$n"
done
run "$work/slow.txt" &
main=\$(xdotool search --sync --onlyvisible --name '^Media Player\$' | head -1)
sleep 1.5
xdotool windowmove "\$main" 400 120
sleep 0.5
# The frame's top left: the client's place less the frame's left and top.
x=\$(xwininfo -id "\$main" | awk '/Absolute upper-left X/ {print \$4}')
y=\$(xwininfo -id "\$main" | awk '/Absolute upper-left Y/ {print \$4}')
read -r l _ t _ < <(xprop -id "\$main" _NET_FRAME_EXTENTS | sed 's/.*= //; s/,/ /g')
echo "\$((x - l)) \$((y - t))" > "$work/frame"
wait
INSIDE
"$(dirname "$0")/../with_openbox.sh" bash "$work/inside.sh"
line() { sed -n "${2}p" "$1" | tr -d '\r '; }
for n in 2 3; do
  cmp -s "$work/a1" "$work/a$n" || { echo "sheet window moved by start $n"; cat "$work/a1" "$work/a$n"; exit 1; }
  for l in 6 7 22; do
    [ "$(line "$work/m1" $l)" = "$(line "$work/m$n" $l)" ] || { echo "main line $l moved by start $n"; exit 1; }
  done
done
read -r fx fy < "$work/frame"
m=$work/config/Mellivane.ini
[ "$(line "$m" 7)" = $((fx * 15)) ] && [ "$(line "$m" 22)" = $((fx * 15)) ] ||
  { echo "left edge saved as $(line "$m" 7), $(line "$m" 22); the frame stands at $fx"; exit 1; }
[ "$(line "$m" 6)" = $((fy * 15)) ] || { echo "top saved as $(line "$m" 6); the frame stands at $fy"; exit 1; }
echo "e2e window places: passed"
