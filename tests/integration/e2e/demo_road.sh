#!/usr/bin/env bash
# The whole road on the demo songs, with the real binary under Xvfb: a click
# on a song loads its sheet and map, Play counts off and moves the cursor by
# the map while the music runs (null audio output), a click on the player's
# stop area ends the play.  Usage: demo_road.sh <mellivane binary> [shots dir]
source "$(dirname "$0")/lib.sh"
shots=${2:-$work/shots}
mkdir -p "$shots"
cat > "$work/script.txt" <<SCRIPT
wait 300
type Velmor.FadeT 5
select Velmor.File1 Twinkle Twinkle.pdf
wait 1200
# the map exists: the lock light is on; the sheet is at its top
checkvisible AdobeF.Shape3 yes
check AdobeF.VScroll1 500
click AdobeF.Command15
wait 2000
checkvisible AdobeF.Text11 yes
screenshot $shots/countoff.png
# the first tic falls 5.03 s after the press, one measure every 2.41 s after:
# the checks stand in the middle of the measures
wait 4200
check AdobeF.Text3 1
checkvisible AdobeF.Picture1 yes
check AdobeF.Text4 2412
screenshot $shots/playing.png
wait 2400
check AdobeF.Text3 2
# a press on the stop area of the player ends the play after the tic in progress
click Velmor.WindowsMediaPlayer1 left 100
wait 6000
checkvisible AdobeF.Picture1 no
check AdobeF.Text1 0
quit
SCRIPT
xrun "$work/config" "$work/script.txt"
test -s "$shots/playing.png"
# The settings went to the 60 lines of Mellivane.ini, CR LF; the next start
# brings them back and lists the demo songs again.
test "$(wc -l < "$work/config/Mellivane.ini")" -eq 60
grep -q $'^5\r$' "$work/config/Mellivane.ini"
grep -q 'Twinkle Twinkle.pdf,' "$work/config/PlayedList.txt"
cat > "$work/again.txt" <<SCRIPT
wait 300
check Velmor.FadeT 5
select Velmor.File1 Greensleeves.pdf
wait 1000
checkvisible AdobeF.Shape3 yes
quit
SCRIPT
xrun "$work/config" "$work/again.txt"
echo "e2e demo road: passed"
