#!/usr/bin/env bash
# A map recorded by hand on the demo's Greensleeves, then played, with the
# real binary under Xvfb.  Recording: Unlock, Record, a click on the first
# note of each of the first 22 measures on its first beat (Manual Scroll
# before measure 13 and Next PG before measure 21, where the sheet scrolls
# and turns), Record again.  The map's tics must follow the beats and its
# places the notes.  Playback: halfway through each measure the cursor
# stands on it.  Usage: record_demo.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
song=Greensleeves
last=22
tol=15 # ms a tic may stray from the time between its clicks
mkdir "$work/songs"
cp "$root/demo/songs/$song".{mp3,pdf,map} "$work/songs/"
map="$work/songs/$song.map"
tr -d '\r' < "$map" > "$work/demo.txt"

# The plan, one line per measure: k, beat (ms after Record), scr, nxt, the
# click in the viewer's pixels, the carrier's top, and the X and Y of the
# demo's own map.  The viewer is 949 px wide at the strip's built-in place;
# a page point is 4/3 px, the page (816 px) centred, 20 px below the top.
awk -F'\t' -v song="$song" -v last=$last '
  function round(v) { return v >= 0 ? int(v + 0.5) : -int(-v + 0.5) }
  FILENAME == ARGV[1] { demo[FNR] = $0; next }
  $1 == song && $2 <= last {
    k = $2; row = 9 + 6 * (k - 1)
    print k, round($6 * 0.995) - 4000, $7, $8, round((949 - 816) / 2 + $4 * 4 / 3),
          round(20 + $5 * 4 / 3), round(-($7 + 500) / 15), demo[row + 2], demo[row + 3] }
' "$work/demo.txt" "$root/demo/layout.tsv" > "$work/plan.txt"
test "$(wc -l < "$work/plan.txt")" -eq $last

run() { xrun "$work/config" "$1" --songs "$work/songs"; }
start="wait 300
select Velmor.File1 $song.pdf
wait 1500"

{
  echo "$start"
  echo "checkvisible AdobeF.Shape3 yes"
  echo "click AdobeF.Command12"
  echo "checkvisible AdobeF.Shape3 no"
  echo "mark"
  echo "stamp click AdobeF.Command2"
  echo "checkvisible AdobeF.Shape1 yes"
  awk '{
    # the page turn or the scroll halfway between the beat before and this one
    if ($4 == "True") printf "waituntil %d\nclick AdobeF.Command3\n", (prev + $2) / 2
    else if ($3 != scr) printf "waituntil %d\nclick AdobeF.Command6\n", (prev + $2) / 2
    printf "waituntil %d\nstamp click AdobeF.AcroPDF1 left %d %d\n", $2, $5, $6
    prev = $2; scr = $3 }
    END { printf "waituntil %d\n", prev + 600 }' "$work/plan.txt"
  echo "click AdobeF.Command2"
  echo "checkvisible AdobeF.Shape1 no"
  echo "quit"
} > "$work/record.txt"
# The driver prints when it really pressed Record and clicked each note: a
# loaded machine may click late, and the tic must follow the click.
run "$work/record.txt" 2>&1 | tee "$work/record.err" >&2
grep '^STAMP ' "$work/record.err" | cut -d' ' -f2 > "$work/stamps.txt"

# The recorded map: the header, then per measure its tic (the time from the
# click before, the first from Record), the place clicked (the cursor 100 twips
# left and 500 up of the pointer), the scroll and the page flag.  The place
# is where the demo's map puts its cursor on that note (centred, 225 twips
# above the staff), give or take a pixel.
tr -d '\r' < "$map" > "$work/rec.txt"
awk -v tol=$tol '
  function abs(v) { return v < 0 ? -v : v }
  function bad(what) { print "recorded measure " k ": " what > "/dev/stderr"; failed = 1 }
  FILENAME == ARGV[1] { at[FNR] = $1; next }
  FILENAME == ARGV[2] { plan[++m] = $0; next }
  FNR <= 9 { head = head $0 "|"; next }
  { f[(FNR - 10) % 6] = $0 }
  (FNR - 9) % 6 == 0 {
    k = (FNR - 9) / 6
    if (k > m) { bad("not clicked"); next }
    split(plan[k], p, " ")
    beat = at[k + 1] - at[k]
    x = p[5] * 15 - 100; y = (p[6] + p[7]) * 15 - 500
    if (abs(f[0] - beat) > tol) bad("tic " f[0] ", clicked " beat " ms after the one before")
    if (f[1] != " " x " " || f[2] != " " y " ") bad("at" f[1] "," f[2] ", clicked at " x ", " y)
    if (abs(x - (p[8] + 147.5)) > 15 || abs(y - (p[9] - 275)) > 15)
      bad("at " x ", " y ", the note wants " p[8] + 147.5 ", " p[9] - 275)
    if (f[3] != p[3] || f[4] != p[4] || f[5] != "False") bad("scr " f[3] " nxt " f[4] " prv " f[5])
  }
  END {
    if (head !~ /^100@\|0%\|#1\|#2\|#3\|#4\|#5\|#6\| [0-9]+\^\|$/) { print "header " head; failed = 1 }
    if (k != m) { print "records: " k " of " m > "/dev/stderr"; failed = 1 }
    exit failed }
' "$work/stamps.txt" "$work/plan.txt" "$work/rec.txt"

# Playback: Play counts off 4 s and waits the 1st Note Delay (500 ms); the
# first tic has passed by then, so measure 1 shows at once; each following
# one its tic x .995 after the one before.  Halfway through measure k the
# count shows k, TIC the next tic, and the cursor and the sheet stand where
# the record put them.
{
  echo "$start"
  echo "mark"
  echo "click AdobeF.Command15"
  awk 'NR == FNR { plan[FNR] = $0; next }
    FNR > 9 && (FNR - 10) % 6 == 0 { tic[++n] = $0 }
    END {
      at = 4501
      for (k = 1; k <= n; k++) {
        split(plan[k], p, " ")
        if (k > 1) at += tic[k] * 0.995
        half = k < n ? tic[k + 1] * 0.995 / 2 : 500
        printf "waituntil %d\n", at + half
        # (the count and TIC belong to the tic waited for: none after the last)
        if (k < n) printf "check AdobeF.Text3 %d\ncheck AdobeF.Text4 %s\n", k, tic[k + 1]
        printf "check AdobeF.Text7 %s\ncheck AdobeF.Text9 %s\n", p[3], p[4]
        # px(): 15 twips a pixel, halves away from zero
        printf "checkgeom AdobeF.Picture1 %d %d\n", p[5] - 7, p[6] + p[7] - 33
        printf "checkgeom AdobeF.Picture3 0 %d\n", p[7]
      }
      printf "wait 4000\n" }' "$work/plan.txt" "$work/rec.txt"
  echo "checkvisible AdobeF.Picture1 no"
  echo "quit"
} > "$work/play.txt"
run "$work/play.txt"
echo "e2e record demo: passed"
