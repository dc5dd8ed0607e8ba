#!/usr/bin/env bash
# Real key presses (XTEST, through the X server) under openbox land where a
# musician expects: after Manual Play and after "n" from the song list the
# sheet window is active with its focus on Auto Scroll, so Space scrolls and
# a PageDown pedal turns; after a play's count-off "n" and the pedal turn the
# page; Manual Play on the button panel hands the keys on to the sheet as
# well; with Foot Control, Tab and Shift+Tab on the button panel turn pages
# across the overlay's raises every 5 s.  Usage: real_keys.sh <mellivane>
source "$(dirname "$0")/lib.sh"
command -v xdotool >/dev/null || { echo "xdotool missing"; exit 77; }
command -v openbox >/dev/null || { echo "openbox missing"; exit 77; }
cat > "$work/script.txt" <<SCRIPT
wait 500
select Velmor.File1 Amazing Grace.pdf
wait 1500
check AdobeF.AcroPDF1 1
# Manual Play, then Space: the sheet scrolls smoothly to the half page
activate Velmor
wait 500
click Velmor.Command8
wait 500
checkactive AdobeF
checkfocus AdobeF.Command14
realkey Space
waitfor 8000 check AdobeF.VScroll1 8000
realkey PageDown
waitfor 2000 check AdobeF.AcroPDF1 2
# From the list: n turns, and the next Space scrolls
activate Velmor
wait 500
checkactive Velmor
realkey N
waitfor 2000 check AdobeF.AcroPDF1 3
wait 300
checkactive AdobeF
realkey Space
waitfor 8000 check AdobeF.VScroll1 8000
# A play's start: after the count-off n and the pedal turn the page
select Velmor.File1 Amazing Grace.pdf
wait 1500
activate Velmor
wait 500
click AdobeF.Command15
wait 5000
checkactive AdobeF
checkfocus AdobeF.Command14
realkey N
waitfor 1500 check AdobeF.AcroPDF1 2
wait 400
realkey Next
waitfor 1500 check AdobeF.AcroPDF1 3
realkey Prior
waitfor 1500 check AdobeF.AcroPDF1 2
# the stop ends the play after the tic in progress and 3 s more
click Velmor.WindowsMediaPlayer1 left 100
wait 7000
checkactive Velmor
# The panel's Manual Play, Foot Control off: the sheet takes the keys.
# (The main window active disarms the overlay, whose raise would take the
# sheet's focus.)
menu Velmor.SS
click Velmor.ShowB left 5
checkvisible BControl yes
select Velmor.File1 Amazing Grace.pdf
wait 1500
activate Velmor
wait 300
activate BControl
wait 500
click BControl.Command1
wait 500
checkactive AdobeF
checkfocus AdobeF.Command14
realkey Space
waitfor 8000 check AdobeF.VScroll1 8000
click BControl.Command1
# The foot switch on the panel, across the overlay's raises
click Velmor.FootControl left 5
select Velmor.File1 Amazing Grace.pdf
wait 1500
activate BControl
wait 500
checkactive BControl
checkfocus BControl.Command17
realkey Tab
waitfor 1500 check AdobeF.AcroPDF1 2
waitfor 6000 checkvisible Form1 yes
wait 1500
realkey Shift+Tab
waitfor 1500 check AdobeF.AcroPDF1 1
wait 2500
realkey Tab
waitfor 1500 check AdobeF.AcroPDF1 2
wait 2500
realkey Tab
waitfor 1500 check AdobeF.AcroPDF1 3
wait 2500
realkey Shift+Tab
waitfor 1500 check AdobeF.AcroPDF1 2
checkactive BControl
checkfocus BControl.Command17
quit
SCRIPT
"$(dirname "$0")/../with_openbox.sh" \
  "$bin" --audio null --config-dir "$work/config" --script "$work/script.txt" \
  2> >(grep -v XDG_RUNTIME_DIR >&2)
echo "e2e real keys: passed"
