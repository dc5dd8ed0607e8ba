#!/usr/bin/env bash
# The desktop ending the program: for SIGTERM, SIGHUP and SIGINT, a setting
# changed in the running program is found in "Mellivane.ini" afterwards, and
# the program ends at once.
#   Usage: quit_signals.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"

printf 'wait 1500\ntype Velmor.FadeT 7\nwait 60000\n' > "$work/script"
for sig in TERM HUP INT; do
  cfg="$work/$sig"
  mkdir -p "$cfg"
  xrun "$cfg" "$work/script" &
  runner=$!
  # The program itself: xvfb-run's child, found by its config folder.
  for _ in $(seq 100); do
    pid=$(pgrep -f -- "--config-dir $cfg " | while read -r p; do
      [ "$(cat /proc/"$p"/comm)" = mellivane ] && echo "$p"; done | head -1) || true
    [ -n "$pid" ] && break
    sleep 0.1
  done
  test -n "$pid"
  sleep 4 # the setting is typed at 1.5 s
  kill -"$sig" "$pid"
  for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
  if kill -0 "$pid" 2>/dev/null; then
    echo "SIG$sig: still running 5 s later"
    kill -KILL "$pid"
    exit 1
  fi
  wait "$runner" || true
  # FadeT is the settings file's line 14.
  line=$(sed -n 14p "$cfg/Mellivane.ini" | tr -d '\r')
  [ "$line" = 7 ] || { echo "SIG$sig: FadeT saved as '$line'"; exit 1; }
  echo "SIG$sig: saved"
done
echo "e2e quit signals: passed"
