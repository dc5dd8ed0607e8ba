#!/usr/bin/env bash
# The script driver's pointer, menu, timing and file actions on the real binary
# under Xvfb.  The second run holds three checks that must fail, and nothing
# else may.  Usage: driver_verbs.sh <mellivane binary>
set -euo pipefail
bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cfg="$work/config dir"
run() { local rc=0; xvfb-run -a -s "-screen 0 1600x1400x24" "$bin" --audio null \
  --config-dir "$cfg" --script "$1" 2>"$work/err.txt" || rc=$?; cat "$work/err.txt" >&2; return $rc; }
cat > "$work/save.txt" <<SCRIPT
checkexists "$cfg/Mellivane.ini" no
menu Velmor.SAV
wait 1500
checkexists "$cfg/Mellivane.ini" yes
quit
SCRIPT
run "$work/save.txt"
echo quit > "$work/quit.txt"
run "$work/quit.txt" # read back once, a start and a save keep the settings
cp "$cfg/Mellivane.ini" "$work/saved.ini"
cat > "$work/verbs.txt" <<SCRIPT
menu Velmor.SAV
wait 1500
checkfile "$cfg/Mellivane.ini" $work/saved.ini
# moves with the right button held carry the sheet's button strip (saved)
press AdobeF right 300 200
move AdobeF 400 250 right
release AdobeF right 400 250
drag AdobeF 400 250 100 250
checkgeom AdobeF.VScroll1 393 3
menu Velmor.SAV
wait 1500
checkfile "$cfg/Mellivane.ini" $work/saved.ini
menu Velmor.NOSUCH
stamp wait 10
select Velmor.File1 Twinkle Twinkle.pdf
wait 1000
# on the player's strip x below 30 starts, the rest stops
click Velmor.WindowsMediaPlayer1 left 100 5
checkvisible AdobeF.Text11 no
mark
press Velmor.WindowsMediaPlayer1 left 10 5
waituntil 1000
checkvisible AdobeF.Text11 yes
release Velmor.WindowsMediaPlayer1 left 10 5
click Velmor.WindowsMediaPlayer1 left 100 5
# the count-off of 5 s is over
waituntil 9000
checkvisible AdobeF.Text11 no
quit
SCRIPT
rc=0; run "$work/verbs.txt" || rc=$?; test "$rc" -eq 1
test "$(grep -c '^FAIL' "$work/err.txt")" -eq 3
grep -q '^FAIL line 12: .*/Mellivane.ini differs from .*/saved.ini at offset [0-9]* (sizes' \
  "$work/err.txt"
grep -q '^FAIL line 13: no menu entry Velmor.NOSUCH' "$work/err.txt"
grep -q '^FAIL line 14: stamp needs an action, not wait' "$work/err.txt"
echo "e2e driver verbs: passed"
