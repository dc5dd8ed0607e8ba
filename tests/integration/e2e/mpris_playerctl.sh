#!/usr/bin/env bash
# The media controls on a private session bus: playerctl reads the status
# and the selected song's title, sets the volume, starts, pauses, and picks
# the next song, while the program's own script checks the volume bar, the
# count-off and the cursor, the Pause button and the list's selection.
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
# Seeked went out at the start and at the stop, each time at the music's start.
seeks=$(grep -A1 'member=Seeked' "$work/signals.txt" | grep -o 'int64 .*' | tr '\n' ' ')
[ "$seeks" = "int64 0 int64 0 " ] || { echo "FAIL: Seeked positions: $seeks"; exit 1; }
echo "e2e mpris playerctl: passed"
