#!/usr/bin/env bash
# The song library through the action-script driver, with the real binary
# under Xvfb: a right press on the song list fills the play list, its set is
# saved under a name typed into the input box and loaded again in Dirx, Set Z
# answered Yes renames the song (Remove Z answered No does not), Print Index and Export PDF write
# the index, and "PlayList.txt" holds the list after quitting.
# Usage: library_driver.sh <mellivane binary>
set -euo pipefail
bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[ -n "${KEEP_WORK:-}" ] && trap - EXIT && echo "work: $work"
songs="$work/songs"
mkdir -p "$songs"
for n in "Amazing Grace" "Blue Moon" "Greensleeves" "Twinkle"; do : > "$songs/$n.mp3"; done
: > "$songs/Blue Moon.map"
cat > "$work/script.txt" <<SCRIPT
wait 300
menu Velmor.SS
type Velmor.Text2 *.mp3
click Velmor.Command2
menu Velmor.SS
wait 200
selectright Velmor.File1 Greensleeves.mp3
selectright Velmor.File1 Twinkle.mp3
waitfor 2000 checkvisible PlayLst yes
click PlayLst.CloseSelect
input Gig
menu PlayLst.SV
checkexists "$songs/Gig.SSS" yes
click PlayLst.Command2
menu PlayLst.LD
waitfor 2000 checkvisible Dirx yes
select Dirx.File1 Gig.SSS
click Dirx.Command2
checkvisible Dirx no
check PlayLst.CloseSelect 1
select PlayLst.List1 Twinkle.mp3
waitfor 3000 checkvisible PlayLst no
# each load waits a moment for its sheet: the next lines wait for it to end
wait 1500
select Velmor.File1 Blue Moon.mp3
wait 1500
answer yes
click Velmor.Command5
checkexists "$songs/Z Blue Moon.mp3" yes
checkexists "$songs/Z Blue Moon.map" yes
checkexists "$songs/Blue Moon.mp3" no
# entry 1 is selected after; No leaves it as it is
answer no
click Velmor.Command6
checkexists "$songs/Greensleeves.mp3" yes
click Velmor.Command9
waitfor 2000 checkvisible IndexForm yes
input $work/index.pdf
click IndexForm.Command3
checkexists $work/index.pdf yes
click IndexForm.Command1
quit
SCRIPT
xvfb-run -a -s "-screen 0 1600x1200x24" "$bin" --audio null --config-dir "$work/config" \
  --songs "$songs" --script "$work/script.txt" > "$work/out.txt" 2> >(grep -v XDG_RUNTIME_DIR >&2) \
  || { cat "$work/out.txt"; exit 1; }
# The play list after the load of the set: Twinkle went with CloseSelect on.
printf ' 1 \r\n 0 \r\n 0 \r\nGreensleeves.mp3\r\nTwinkle.mp3\r\n' | cmp - "$work/config/PlayList.txt"
# Entry 0 (Amazing Grace) is not printed; the renamed song is.
index=$(pdftotext -layout "$work/index.pdf" -)
grep -q "Greensleeves" <<< "$index"
grep -q "Z Blue Moon" <<< "$index"
if grep -q "Amazing Grace" <<< "$index"; then echo "entry 0 was printed"; exit 1; fi
echo "e2e library driver: passed"
