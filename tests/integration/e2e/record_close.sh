#!/usr/bin/env bash
# A recording on the real binary under openbox goes on through sheet window 1
# closed by the window manager (Alt+F4, as its title bar's button) and shown again, a File "Save"
# and the play list's window opened and closed between two clicks: the map
# holds both clicks and no message says otherwise.
# Usage: record_close.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
mkdir "$work/songs"
cp "$root/demo/songs/Twinkle Twinkle".{mp3,pdf,map} "$work/songs/"
map="$work/songs/Twinkle Twinkle.map"
cat > "$work/record.txt" <<SCRIPT
wait 300
select Velmor.File1 Twinkle Twinkle.pdf
wait 1500
click AdobeF.Command12
click AdobeF.Command2
checkvisible AdobeF.Shape1 yes
wait 500
click AdobeF.AcroPDF1 left 100 200
wait 400
activate AdobeF
wait 300
checkactive AdobeF
realkey alt+F4 AdobeF
waitfor 5000 checkvisible AdobeF no
menu Velmor.SAV
wait 300
click Velmor.Command15
wait 300
close PlayLst
wait 300
show AdobeF
wait 500
click AdobeF.AcroPDF1 left 300 250
wait 400
click AdobeF.Command2
checkvisible AdobeF.Shape1 no
quit
SCRIPT
command -v xdotool >/dev/null || { echo "xdotool missing"; exit 77; }
command -v openbox >/dev/null || { echo "openbox missing"; exit 77; }
rc=0
"$(dirname "$0")/../with_openbox.sh" "$bin" --audio null --config-dir "$work/config" \
  --script "$work/record.txt" --songs "$work/songs" >"$work/out.txt" 2>&1 || rc=$?
# Messages are printed as "MESSAGE: text", failed checks as "FAIL ...".
if [ $rc -ne 0 ] || grep -E "^(MESSAGE|FAIL)" "$work/out.txt"; then
  cat "$work/out.txt" >&2
  exit 1
fi
# The header (9 lines) and two records of six.
lines=$(tr -d '\r' < "$map" | wc -l)
if [ "$lines" -ne 21 ]; then
  echo "the map holds $lines lines, not 21:" >&2
  tr -d '\r' < "$map" >&2
  exit 1
fi
echo "e2e record close: passed"
