#!/usr/bin/env bash
# The band's page in a real browser: the program as a server with its web
# page on, and Debian's headless chromium following it (tests/web, driven by
# puppeteer-core; nothing downloads a browser).  The server's script selects
# a demo song, plays it with a pause, and turns a page by hand after the
# play; the browser's checks are in tests/web/follower.test.js.
# Usage: web_follower.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
here="$(cd "$(dirname "$0")" && pwd)"
web="$here/../../web"
demo="$here/../../../demo/songs"
command -v chromium >/dev/null || { echo "chromium is not installed"; exit 77; }
if [ ! -d "$web/node_modules/puppeteer-core" ]; then
  (cd "$web" && PUPPETEER_SKIP_DOWNLOAD=1 npm ci --no-audit --no-fund >/dev/null) ||
    { echo "puppeteer-core cannot be installed (npm ci in tests/web)"; exit 77; }
fi
[ -n "${KEEP_WORK:-}" ] || trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cp -r "$demo" "$work/songs"

# Two loopback ports in a row that nothing listens on: the server's and the page's.
listening() { grep -qiE ":$(printf '%04X' "$1") [0-9A-F]+:0000 0A" /proc/net/tcp /proc/net/tcp6 2>/dev/null; }
port=$((20000 + RANDOM % 20000))
while listening $port || listening $((port + 1)); do port=$((port + 2)); done

# A server, its page on the port after its own and asking for a PIN; a 1 s
# count-off, and the map at twice its speed (a measure every 1.2 s).
cat > "$work/setup.txt" <<SCRIPT
menu Velmor.SS
type Velmor.PortNr $port
click Velmor.IamaServer left 5
type Velmor.PDFDLY 1
type Velmor.Text5 .4975
type Velmor.WebPin 4321
quit
SCRIPT
xrun "$work/cfg" "$work/setup.txt" --songs "$work/songs" > "$work/setup.out" 2>&1
if grep "^FAIL" "$work/setup.out"; then exit 1; fi

cat > "$work/server.txt" <<SCRIPT
waitfor 60000 check Velmor.WebFollowers Web 1
select Velmor.File1 Twinkle Twinkle.pdf
wait 4000
click AdobeF.Command15
wait 8000
click Velmor.Command10
wait 2500
click Velmor.Command10
waitfor 60000 check AdobeF.AcroPDF1 2
# the map ends, 3 s pass, the sheet goes a page back; then Next PG by hand
waitfor 60000 checkvisible AdobeF.Picture1 no
wait 1500
click AdobeF.Command3
check AdobeF.AcroPDF1 2
wait 8000
quit
SCRIPT
xrun "$work/cfg" "$work/server.txt" --songs "$work/songs" > "$work/server.out" 2> "$work/server.err" &
server=$!
status=0
node "$web/follower.test.js" $((port + 1)) || status=1
wait $server || { echo "server script failed:"; cat "$work/server.out" "$work/server.err"; status=1; }
exit $status
