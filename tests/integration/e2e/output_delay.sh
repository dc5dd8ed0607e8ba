#!/usr/bin/env bash
# Hear and Output Delay through the script driver on the real binary: Hear
# by its button and by the key H keeps edit mode; Output Delay typed in the
# setup belongs to the output and shows the delay in use once typed (held
# to 1000); Measure… takes 16 space-bar taps about 150 ms
# after its clicks and OK puts their median into Output Delay; a second
# Measure… cancelled in the middle changes nothing.  What shut-down saves in
# "OutputDelay.txt" tells.
# Usage: output_delay.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
mkdir "$work/songs"
cp "$root/demo/songs/Ode to Joy".{mp3,pdf,map} "$work/songs/"
taps() {
  for k in $(seq 0 15); do
    # One silent beat after the eighth click.
    printf "waituntil %d\nkey MeasureDelay Space\n" $((1150 + 600 * (k + (k >= 8))))
  done
}
cat > "$work/script.txt" <<SCRIPT
wait 300
select Velmor.File1 Ode to Joy.pdf
wait 1500
click AdobeF.Command7
wait 500
click AdobeF.Command5
click AdobeF.AuditionB
wait 1000
checkvisible AdobeF.Shape2 yes
key AdobeF.Command14 H
wait 4000
checkvisible AdobeF.Shape2 yes
click AdobeF.Command7 right
wait 500
checkvisible AdobeF.Shape2 no
menu Velmor.SS
wait 300
type Velmor.OutputDelay 5000
key Velmor.OutputDelay Return
check Velmor.OutputDelay 1000
type Velmor.OutputDelay 75
check Velmor.OutputDelay 75
mark
click Velmor.MeasureB
$(taps)
waituntil 12100
click MeasureDelay.OKB
checkvisible MeasureDelay no
click Velmor.MeasureB
wait 2500
key MeasureDelay Space
click MeasureDelay.CancelB
checkvisible MeasureDelay no
checkfit Velmor
quit
SCRIPT
xrun "$work/config" "$work/script.txt" --songs "$work/songs"
# The median of taps 150 ms after their clicks, give or take the timers.
tr -d '\r' < "$work/config/OutputDelay.txt" |
  awk -F'\t' '$2 == "Default" { found = 1; if ($1 < 110 || $1 > 190) { print "delay " $1; exit 1 } }
              END { if (!found) { print "no delay for Default"; exit 1 } }'
echo "output_delay: ok"
