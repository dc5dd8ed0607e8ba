#!/usr/bin/env bash
# The real binary under Xvfb, driven by an action script: readout fields move
# the cursor, a map plays with its scroll and page flags, the readouts return
# to 0 after it (at once late in the evening).  Usage: sheet_play.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
printf '%s\r\n' 200 1500 3000 0 False False 300 3000 4500 8000 False False \
  300 4500 4500 0 True False > "$work/song.map"
cat > "$work/script.txt" <<SCRIPT
# typing X and Y places the cursor (15 twips a pixel)
type AdobeF.Text1 3000
type AdobeF.Text2 1500
checkgeom AdobeF.Picture1 200 100
check AdobeF.Text3 
playmap $work/song.map
wait 650
# second tic done (~498 ms), third due at ~796 ms
check AdobeF.Text1 3000
check AdobeF.Text7 8000
check AdobeF.Text3 2
checkgeom AdobeF.Picture1 200 300
checkgeom AdobeF.Picture3 0 -567
checkvisible AdobeF.Picture1 yes
screenshot $work/play.png
wait 3600
check AdobeF.Text1 0
check AdobeF.Text4 0
checkvisible AdobeF.Picture1 no
# late in the evening the play ends at its last tic, without the 3 s wait
dayclock 81000
playmap $work/song.map
wait 1200
check AdobeF.Text1 0
checkvisible AdobeF.Picture1 no
# the player started: the title has no warning
check Velmor Media Player
quit
SCRIPT
xrun "$work/config" "$work/script.txt"
test -s "$work/play.png"
echo "e2e sheet play: passed"
