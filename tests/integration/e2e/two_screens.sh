#!/usr/bin/env bash
# Sheet window 2 on a second monitor, the real binary under Xvfb with two X
# screens (Qt sees two screens, both named "screen", both at +0+0): it opens
# on the primary screen the first time, F12 moves it to the other one, and
# the next start opens it there again; with one screen it opens on the
# primary.  Meanwhile window 2 follows the page turns of window 1 (a second
# PDF with fewer pages), a pedal key turns both, the overlay turns pages
# from a press, and so does the panel's Next.  Usage: two_screens.sh <mellivane binary>
set -euo pipefail
bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
src=$(cd "$(dirname "$0")/../../.." && pwd)/demo/songs
mkdir -p "$work/songs" "$work/songs-2" "$work/cfg"
cp "$src/Amazing Grace."* "$work/songs/"              # four pages
cp "$src/Greensleeves.pdf" "$work/songs-2/Amazing Grace.pdf" # two pages
run() { # run <script> <screens...>
  local script=$1; shift; local rc=0
  # The X screens themselves, whatever platform the test run asks for.
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "$*" "$bin" --audio null --songs "$work/songs" --config-dir "$work/cfg" \
    --script "$script" 2>"$work/err.txt" || rc=$?
  grep -v 'pw.conf\|XDG_RUNTIME' "$work/err.txt" >&2 || true
  return $rc
}
two="-screen 0 1280x1024x24 -screen 1 1024x768x24"

cat > "$work/first.txt" <<SCRIPT
type Velmor.Text7 $work/songs-2
menu Velmor.LA2
wait 800
checkvisible AdobeF2 yes
checkscreen AdobeF2 0
key AdobeF2 F12
wait 800
checkscreen AdobeF2 1
select Velmor.File1 Amazing Grace.pdf
wait 2500
check AdobeF2.PageNR 1
# a pedal press turns both windows
key AdobeF PageDown
wait 400
check AdobeF.AcroPDF1 2
check AdobeF2.PageNR 2
check AdobeF2.AcroPDF1 2
key AdobeF2 Down
wait 400
# the second PDF has two pages: its viewer stays while PageNR counts on
check AdobeF.AcroPDF1 3
check AdobeF2.PageNR 3
check AdobeF2.AcroPDF1 2
# turning back, it turns back from its last page
key AdobeF Up
wait 400
check AdobeF.AcroPDF1 2
check AdobeF2.PageNR 2
check AdobeF2.AcroPDF1 1
key AdobeF PageUp
wait 400
check AdobeF.AcroPDF1 1
check AdobeF2.PageNR 1
check AdobeF2.AcroPDF1 1
click AdobeF2.Command1
wait 300
checkexists "$work/cfg/AdobeF2.screen" yes
quit
SCRIPT
run "$work/first.txt" $two
test "$(wc -l < "$work/cfg/AdobeF2.ini")" -eq 6

cat > "$work/again.txt" <<SCRIPT
menu Velmor.LA2
wait 800
checkscreen AdobeF2 1
# the overlay over window 1 and the horizontal panel (Timer1 raises the
# overlay only while window 2 is closed)
click AdobeF2.Command1
menu Velmor.SS
click Velmor.ShowB left 5
menu Velmor.SS
select Velmor.File1 Amazing Grace.pdf
wait 2500
checkvisible Form1 yes
click Form1 left 600 500
wait 300
check AdobeF.AcroPDF1 2
click Form1 left 100 500
wait 300
check AdobeF.AcroPDF1 1
checkvisible BControl yes
click BControl.Command4
wait 300
check AdobeF.AcroPDF1 2
quit
SCRIPT
run "$work/again.txt" $two

cat > "$work/one.txt" <<SCRIPT
menu Velmor.LA2
wait 800
checkvisible AdobeF2 yes
checkscreen AdobeF2 0
quit
SCRIPT
run "$work/one.txt" "-screen 0 1280x1024x24"
echo "e2e two screens: passed"
