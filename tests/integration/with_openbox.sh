#!/usr/bin/env bash
# Runs a command on a fresh Xvfb display with the openbox window manager,
# which activates windows on request as a desktop does.
# Usage: with_openbox.sh <command> [args...]
set -euo pipefail
if [[ "${1:-}" != --inside ]]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" --inside "$@"
fi
shift
export QT_QPA_PLATFORM=xcb # real windows under the window manager, whatever the caller set
log=$(mktemp)
openbox --sm-disable --debug >"$log" 2>&1 &
wm=$!
trap 'kill $wm 2>/dev/null || true; rm -f "$log"' EXIT
# Its first start on a busy machine can take seconds; a test run without it
# would find no window manager to close or activate windows.
ready=
for _ in $(seq 600); do
  xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && { ready=1; break; }
  sleep 0.05
done
[ -n "$ready" ] || { echo "FAIL: openbox did not come up within 30 s"; exit 1; }
# The first key sent through XTEST switches the server's keyboard to the
# XTEST device's map, and openbox lets go of its key bindings and takes
# them anew.  A test's Alt+F4 arriving in that gap would reach the window,
# not openbox: one harmless key first, and the reload waited for (an
# openbox still starting may take the new map without a reload).
if command -v xdotool >/dev/null; then
  xdotool key shift
  for _ in $(seq 40); do
    grep -q 'Reloading keyboard bindings' "$log" && break
    sleep 0.05
  done
  sleep 0.2
fi
"$@"
