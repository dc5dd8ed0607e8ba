#!/usr/bin/env bash
# File > Map From Another Recording on a song without a map ("Slow Ode", the
# slower marimba rendition of Ode to Joy): a recording of another piece is
# refused and nothing is written; the demo's Ode to Joy gives it a map.
# Asked again, the song has a map now: "no" leaves it as it is, "yes"
# replaces it and keeps the old one as "Slow Ode.map.bak".
# Usage: transfer_map.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
mkdir "$work/songs" "$work/from"
cp "$root/demo/songs/Ode to Joy".{mp3,map} "$root/demo/songs/Greensleeves".{mp3,map} "$work/from/"
cp "$root/demo/renditions/Ode to Joy slow.mp3" "$work/songs/Slow Ode.mp3"
cp "$root/demo/songs/Ode to Joy.pdf" "$work/songs/Slow Ode.pdf"
map="$work/songs/Slow Ode.map"
# Each transfer: the file chosen, then the progress dialog shows until the
# work ends.
transfer() {
  printf 'input %s\nmenu Velmor.TransferMap\n' "$1"
  printf 'waitfor 90000 checkvisible Velmor.AlignProgress no\n'
}
cat > "$work/script.txt" <<SCRIPT
wait 300
select Velmor.File1 Slow Ode.pdf
wait 1500
$(transfer "$work/from/Greensleeves.mp3")
checkexists "$map" no
$(transfer "$work/from/Ode to Joy.mp3")
checkexists "$map" yes
answer no
input $work/from/Ode to Joy.mp3
menu Velmor.TransferMap
checkexists "$map.bak" no
answer yes
$(transfer "$work/from/Ode to Joy.mp3")
checkexists "$map.bak" yes
quit
SCRIPT
xrun "$work/config" "$work/script.txt" --songs "$work/songs" > "$work/out.txt"
cat "$work/out.txt"
grep -q "MESSAGE: The recordings do not seem to be the same piece" "$work/out.txt"
[ "$(grep -c 'MESSAGE: Map written: 16 tics' "$work/out.txt")" = 2 ]
[ "$(grep -c 'MESSAGE: "Slow Ode.map" has a map. Replace it?' "$work/out.txt")" = 2 ]
cmp "$map" "$map.bak" # the same transfer twice writes the same map
echo "transfer_map: ok"
