#!/usr/bin/env bash
# The program as a native Wayland client of a headless weston: a song
# selected and played until the cursor reaches measure 3, sheet window 2
# opened (full screen on its monitor, said once, showing the song's second
# sheet), the button panel and the overlay turning pages, notation mode
# refused with a message naming what is missing, and the program's real
# dialogs shown and answered; with no session bus, which it says once.  Usage: wayland_weston.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
plugins=$(qtpaths6 --query QT_INSTALL_PLUGINS 2>/dev/null || echo /usr/lib/x86_64-linux-gnu/qt6/plugins)
command -v weston >/dev/null && [ -e "$plugins/platforms/libqwayland-generic.so" ] || {
  echo "skipped: needs weston and qt6-wayland"
  exit 77
}
src=$(cd "$(dirname "$0")/../../.." && pwd)/demo/songs
mkdir -p "$work/songs" "$work/songs-2" "$work/run"
chmod 700 "$work/run"
cp "$src/Twinkle Twinkle."* "$work/songs/"
cp "$src/Twinkle Twinkle.pdf" "$work/songs-2/"
export XDG_RUNTIME_DIR=$work/run
socket=mellivane-$$
weston --backend=headless-backend.so --socket="$socket" --width=1600 --height=1200 \
  --idle-time=0 >"$work/weston.log" 2>&1 &
weston_pid=$!
trap 'kill $weston_pid 2>/dev/null; wait $weston_pid 2>/dev/null; rm -rf "$work"' EXIT
for _ in $(seq 100); do [ -S "$XDG_RUNTIME_DIR/$socket" ] && break; sleep 0.1; done
[ -S "$XDG_RUNTIME_DIR/$socket" ] || { cat "$work/weston.log"; echo "FAIL: weston did not start"; exit 1; }

# A window cannot know its place on Wayland: the stored places stay as they were.
mkdir -p "$work/config"
printf '300\r\n4500\r\n' > "$work/config/AdobeFx.ini"

cat > "$work/script.txt" <<SCRIPT
wait 300
type Velmor.Text7 $work/songs-2
menu Velmor.SS
click Velmor.ShowB left 5
menu Velmor.SS
select Velmor.File1 Twinkle Twinkle.pdf
wait 1500
checkvisible AdobeF.Shape3 yes
click AdobeF.Command15
waitfor 8000 checkvisible AdobeF.Text11 yes
waitfor 15000 check AdobeF.Text3 3
checkvisible AdobeF.Picture1 yes
click Velmor.WindowsMediaPlayer1 left 100
waitfor 8000 checkvisible AdobeF.Picture1 no
menu Velmor.LA2
waitfor 3000 checkvisible AdobeF2 yes
wait 500
checkfullscreen AdobeF2 yes
checkfullscreen AdobeF no
# opened on the song played: its second sheet is there, on its first page
check AdobeF2.AcroPDF1 1
check AdobeF2.PageNR 1
click AdobeF2.Command1
waitfor 3000 checkvisible AdobeF2 no
# a song load arms the overlay (raised while window 2 is closed)
select Velmor.File1 Twinkle Twinkle.pdf
wait 1500
checkvisible BControl yes
click BControl.Command4
wait 400
check AdobeF.AcroPDF1 2
click BControl.Command5
wait 400
check AdobeF.AcroPDF1 1
waitfor 8000 checkvisible Form1 yes
click Form1 left 600 500
wait 400
check AdobeF.AcroPDF1 2
click Form1 left 100 500
wait 400
check AdobeF.AcroPDF1 1
# the media keys' verbs work without a bus too
media volume .3
checkvalue Velmor.HScroll1 30
menu Velmor.SS
click Velmor.Label20
checkvisible Velmor.CNWC yes
click Velmor.CNWC left 5
wait 300
check Velmor.CNWC 0
# a message box and a question as Wayland windows (an input box would
# crash Qt 6.4's Wayland text input here: a headless weston has no seat)
dialogs message question
quit
SCRIPT
rc=0
# The platform chosen on the command line, as a user may.
wayland() {
  env -u DISPLAY -u DBUS_SESSION_BUS_ADDRESS -u QT_QPA_PLATFORM WAYLAND_DISPLAY="$socket" "$bin" -platform wayland --audio null \
    --songs "$work/songs" --config-dir "$work/config" --script "$1"
}
wayland "$work/script.txt" >"$work/out.txt" 2>"$work/err.txt" || rc=$?
cat "$work/out.txt"
grep -v -e 'pw.conf' -e 'media keys' "$work/err.txt" >&2 || true
[ $rc -eq 0 ] || exit $rc
# No session bus here: the program ran all the same and said so once.
test "$(grep -c 'media keys and remote control are off: no D-Bus session bus' "$work/err.txt")" -eq 1
# Said once: the windows the compositor places.
test "$(grep -c 'on Wayland the compositor places the windows' "$work/err.txt")" -eq 1
# Notation mode names what it misses: the program is a Wayland client.
grep -q 'MESSAGE: The notation viewer can only be controlled .*X11.*Wayland client' "$work/out.txt"
# The places stored stay through a start and a quit: the sheet window's, and
# the main window's top (lines 6 and 23, set to another here; its left edge
# is read as 1 whatever the file holds).
line() { sed -n "${2}p" "$1" | tr -d '\r '; }
[ "$(line "$work/config/AdobeFx.ini" 1),$(line "$work/config/AdobeFx.ini" 2)" = "300,4500" ] ||
  { echo "FAIL: sheet window's place not kept:"; cat "$work/config/AdobeFx.ini"; exit 1; }
sed -i '6s/.*/1515\r/; 23s/.*/1515\r/' "$work/config/Mellivane.ini"
printf 'wait 1000\nquit\n' > "$work/quit.txt"
wayland "$work/quit.txt" >/dev/null 2>&1 || { echo "FAIL: second start"; exit 1; }
[ "$(line "$work/config/Mellivane.ini" 6),$(line "$work/config/Mellivane.ini" 23)" = "1515,1515" ] ||
  { echo "FAIL: main window's top not kept:"; sed -n '6p;23p' "$work/config/Mellivane.ini"; exit 1; }
echo "e2e wayland weston: passed"
