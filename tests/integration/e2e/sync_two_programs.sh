#!/usr/bin/env bash
# A server and a client, two real programs on loopback, each with its own
# settings folder and its own copy of the demo songs.  The server selects a
# song and plays; the client selects the same song, counts off with its own
# Client Delay and moves its cursor by its own map; the server's stop ends the
# client's play, its Next PG turns the client's page, and its Disconnect ends
# the client's session with "&END/".  Usage: sync_two_programs.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
demo="$(cd "$(dirname "$0")/../../../demo" && pwd)/songs"
[ -n "${KEEP_WORK:-}" ] || trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cp -r "$demo" "$work/server-songs"
cp -r "$demo" "$work/client-songs"

# A loopback port that nothing listens on, found in the kernel's table.
listening() { grep -qiE ":$(printf '%04X' "$1") [0-9A-F]+:0000 0A" /proc/net/tcp /proc/net/tcp6 2>/dev/null; }
port=$((20000 + RANDOM % 20000))
while listening $port; do port=$((port + 1)); done

run() { # <name> <script> [options]
  local name=$1 script=$2
  shift 2
  xrun "$work/$name" "$script" "$@" > "$work/$name.out" 2> "$work/$name.err"
}

# The server's settings: its port and "I Am A Server"; it listens from its next start.
cat > "$work/setup.txt" <<SCRIPT
menu Velmor.SS
type Velmor.PortNr $port
click Velmor.IamaServer left 5
quit
SCRIPT
run server "$work/setup.txt" --songs "$work/server-songs"
grep -q "^MESSAGE: Please make sure this is the only PC that is designated 'SERVER'" "$work/server.out"

cat > "$work/server.txt" <<SCRIPT
waitfor 30000 checkvisible Velmor.Shape1 yes
check Velmor.Label29 1
check Velmor.ConnectIt Disconnect
select Velmor.File1 Twinkle Twinkle.pdf
wait 1500
click AdobeF.Command15
# the count-off of 4 s and a few measures, then a stop on the player
wait 9000
click Velmor.WindowsMediaPlayer1 left 100
# both plays end (the tic in progress, 3 s, a page back), then Next PG
wait 8000
click AdobeF.Command3
wait 2000
menu Velmor.ConnectIt
checkvisible Velmor.Shape1 no
check Velmor.ConnectIt Connect
wait 1500
quit
SCRIPT
cat > "$work/client.txt" <<SCRIPT
type Velmor.IPAddress 127.0.0.1
type Velmor.PortNr $port
type Velmor.ClientDelay 1.5
menu Velmor.ConnectIt
waitfor 15000 checkvisible Velmor.Shape1 yes
check Velmor.ConnectIt Disconnect
check Velmor.Label29 1
# the server's song, found in the client's own list
waitfor 30000 check Velmor.File1 Twinkle Twinkle.pdf
# the count-off shows the PDF Delay but lasts the Client Delay
waitfor 15000 checkvisible AdobeF.Text11 yes
mark
check AdobeF.Text11 4
waituntil 1000
checkvisible AdobeF.Text11 yes
waituntil 2300
checkvisible AdobeF.Text11 no
waitfor 8000 check AdobeF.Text3 1
checkvisible AdobeF.Picture1 yes
# the server's stop ends the play
waitfor 15000 checkvisible AdobeF.Picture1 no
check AdobeF.AcroPDF1 1
waitfor 15000 check AdobeF.AcroPDF1 2
waitfor 15000 checkvisible Velmor.Shape1 no
check Velmor.ConnectIt Connect
quit
SCRIPT
run server "$work/server.txt" --songs "$work/server-songs" &
server=$!
for _ in $(seq 100); do listening $port && break; sleep 0.2; done
listening $port || { echo "the server does not listen on $port"; cat "$work/server.err"; exit 1; }
rc=0
run client "$work/client.txt" --songs "$work/client-songs" || rc=$?
src=0
wait $server || src=$?
cat "$work/server.out" "$work/server.err" "$work/client.out" "$work/client.err" >&2
if [ "$rc" -ne 0 ] || [ "$src" -ne 0 ] || grep -q '^FAIL' "$work/server.err" "$work/client.err"; then
  echo "e2e sync two programs: failed (client $rc, server $src)"
  exit 1
fi
echo "e2e sync two programs: passed"
