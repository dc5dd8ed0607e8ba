#!/usr/bin/env bash
# The media controls on a private session bus: playerctl reads the status
# and the selected song's title, sets the volume, starts, pauses, and picks
# the next song, while the program's own script checks the volume bar, the
# count-off and the cursor, the Pause button and the list's selection.  Then
# in a manual play (no map: the music may be moved) playerctl sets the
# position, seeks, pauses and continues, and Quit on the bus ends the program.
# Usage: mpris_playerctl.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
command -v dbus-run-session >/dev/null && command -v playerctl >/dev/null || {
  echo "skipped: needs dbus-run-session and playerctl"
  exit 77
}
cat > "$work/script.txt" <<'SCRIPT'
wait 300
select Velmor.File1 Greensleeves.pdf
waitfor 20000 checkvalue Velmor.HScroll1 50
# playerctl play: the count-off, then the cursor on the sheet
waitfor 20000 checkvisible AdobeF.Text11 yes
waitfor 20000 checkvisible AdobeF.Picture1 yes
# playerctl pause
waitfor 20000 check Velmor.Command10 Continue
# playerctl next: the next song is selected, nothing plays
waitfor 20000 check Velmor.File1 Ode to Joy.pdf
waitfor 10000 checkvisible AdobeF.Picture1 no
wait 1000
click Velmor.Command8
# playerctl pause and play: "Continue" lets the manual play's music go
waitfor 30000 check Velmor.Command10 Pause
# Quit on the bus ends the program long before this wait does
wait 15000
quit
SCRIPT
cat > "$work/remote.sh" <<'REMOTE'
set -u
pc() { playerctl -p mellivane "$@" 2>/dev/null; }
# until: the command's output equals the wanted text within 20 s
until_is() {
  local want=$1 got=
  shift
  for _ in $(seq 200); do
    got=$(pc "$@") && [ "$got" = "$want" ] && return 0
    sleep 0.1
  done
  echo "FAIL: playerctl $* says '$got', not '$want'"
  exit 1
}
until_is "Greensleeves" metadata xesam:title
until_is "Stopped" status
# OpenUri opens nothing and says so.
call() {
  dbus-send --session --print-reply --dest=org.mpris.MediaPlayer2.mellivane \
    /org/mpris/MediaPlayer2 "$@" 2>&1
}
got=$(call org.mpris.MediaPlayer2.Player.OpenUri string:file:///tmp/song.mp3)
[[ $got == *org.freedesktop.DBus.Error.NotSupported* ]] || { echo "FAIL: OpenUri: $got"; exit 1; }
pc metadata mpris:trackid | grep -q "^'\?/io/github/mellivane/Mellivane/track/[0-9]" || {
  echo "FAIL: trackid '$(pc metadata mpris:trackid)'"; exit 1; }
pc volume 0.5
until_is "0.500000" volume
pc play
until_is "Playing" status
# The cursor follows the map: once the music runs it may not be moved.
for _ in $(seq 200); do
  awk -v p="$(pc position)" 'BEGIN { exit !(p > 0.5) }' && break
  sleep 0.1
done
got=$(call org.freedesktop.DBus.Properties.Get string:org.mpris.MediaPlayer2.Player string:CanSeek)
[[ $got == *"boolean false"* ]] || { echo "FAIL: CanSeek during the cursor play: $got"; exit 1; }
pc pause
until_is "Paused" status
pc next
until_is "Ode to Joy" metadata xesam:title
until_is "Stopped" status
# The script's Manual Play: the music may be moved, paused and let go.
until_is "Playing" status
got=$(call org.freedesktop.DBus.Properties.Get string:org.mpris.MediaPlayer2.Player string:CanSeek)
[[ $got == *"boolean true"* ]] || { echo "FAIL: CanSeek in a manual play: $got"; exit 1; }
# at_least S: the position reaches S seconds within 10 s
at_least() {
  for _ in $(seq 100); do
    awk -v p="$(pc position)" -v s="$1" 'BEGIN { exit !(p >= s) }' && return 0
    sleep 0.1
  done
  echo "FAIL: the position $(pc position) never reached $1"
  exit 1
}
pc position 10
at_least 10
pc position 5+
at_least 15
pc pause
until_is "Paused" status
held=$(pc position)
sleep 0.5
awk -v a="$held" -v b="$(pc position)" 'BEGIN { exit !(b - a < 0.05) }' || {
  echo "FAIL: paused at $held, the music went on to $(pc position)"; exit 1; }
pc play
until_is "Playing" status
at_least "$(awk -v a="$held" 'BEGIN { print a + 0.3 }')"
call org.mpris.MediaPlayer2.Quit >/dev/null
for _ in $(seq 100); do
  pc status >/dev/null || break
  sleep 0.1
done
! pc status >/dev/null || { echo "FAIL: still on the bus 10 s after Quit"; exit 1; }
echo "remote: passed"
REMOTE
export bin work
export -f xrun
dbus-run-session -- bash -c '
  dbus-monitor --session "path=/org/mpris/MediaPlayer2" >"$work/signals.txt" 2>/dev/null & monitor=$!
  xrun "$work/config" "$work/script.txt" --demo & app=$!
  bash "$work/remote.sh"; remote=$?
  [ $remote -eq 0 ] || kill $app
  wait $app; rc=$?
  kill $monitor
  exit $(( remote || rc ))' 2> >(grep -v -e "fd limit" -e "pw.conf" -e "onitor" >&2)
# The changes went out as signals: the metadata with its track id as an
# object path, and the position's jumps.
grep -q 'member=PropertiesChanged' "$work/signals.txt"
grep -q 'object path "/io/github/mellivane/Mellivane/track/' "$work/signals.txt"
# Seeked went out at the cursor play's start (its count-off, and again as
# its music loads) and stop and at the manual play's start, each time at the
# music's start, then where SetPosition put it (10 s) and where the seek of
# 5 s more took it.
seeks=$(grep -A1 'member=Seeked' "$work/signals.txt" | grep -o 'int64 .*' | cut -d' ' -f2 | tr '\n' ' ')
awk -v s="$seeks" 'BEGIN { n = split(s, v, " ")
  for (i = 1; i <= n - 2; i++) if (v[i] != 0) exit 1
  exit !(n >= 5 && v[n - 1] >= 1e7 && v[n - 1] < 1.02e7 &&
         v[n] >= v[n - 1] + 5e6 && v[n] < v[n - 1] + 5.2e6) }' || { echo "FAIL: Seeked positions: $seeks"; exit 1; }
echo "e2e mpris playerctl: passed"
