#!/usr/bin/env bash
# The real binary under Xvfb with openbox: each help window from its entry;
# notation mode with the stand-in viewer: a song opens in it, and closing
# the program closes it.  Usage: notation_help.sh <mellivane> <stand-in>
set -euo pipefail
bin=$1
standin=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/songs"
: > "$work/songs/Blue Moon.mp3"
export MV_STANDIN_LOG="$work/standin.log"
cat > "$work/script.txt" <<SCRIPT
menu Velmor.HH
waitfor 3000 checkvisible HLPF.Text1 yes
click HLPF.Command1
click AdobeF.Command11
waitfor 3000 checkvisible PDFHelp.Text1 yes
click PDFHelp.Command1
menu Velmor.SS
click Velmor.Label20
type Velmor.Text2 *.mp3
click Velmor.Command2
type Velmor.Text3 $standin
# on the box itself: a check box takes presses on its box and caption only
click Velmor.CNWC left 8
checkvisible Velmor.Command10 no
# the viewer's window shows, is found and minimised
wait 6000
select Velmor.File1 Blue Moon.mp3
wait 4000
quit
SCRIPT
"$(dirname "$0")/../with_openbox.sh" bash -c '
  "$1" --audio null --config-dir "$2/config" --songs "$2/songs" --script "$2/script.txt"
  # The viewer handles its last key after this program has ended.
  for _ in $(seq 50); do grep -qx exit "$MV_STANDIN_LOG" 2>/dev/null && break; sleep 0.1; done
' _ "$bin" "$work"
grep -qx "open Blue Moon" "$work/standin.log" || { cat "$work/standin.log"; exit 1; }
grep -qx exit "$work/standin.log" || { echo "the viewer was not closed"; exit 1; }
echo "e2e notation and help: passed"
