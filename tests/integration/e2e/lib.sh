# Sourced by the e2e scripts with the mellivane binary as $1: sets `bin`, a
# work folder `work` (no dot in its path: a dot ends a song's base name)
# removed at exit unless KEEP_WORK is set, and `xrun`.
set -euo pipefail
bin=$1
work=$(mktemp -d "${TMPDIR:-/tmp}/mellivane-e2eXXXXXX")
trap 'rm -rf "$work"' EXIT
[ -n "${KEEP_WORK:-}" ] && trap - EXIT && echo "work: $work"
# xrun <config dir> <script> [options]: the program under Xvfb on a
# 1600x1400 screen with null audio, without Xvfb's XDG_RUNTIME_DIR chatter.
# It runs on real X windows whatever platform the caller chose: offscreen,
# the screen would be 800x600 and the sheet smaller than the scripts expect.
xrun() {
  local cfg=$1 script=$2
  shift 2
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1600x1400x24" "$bin" --audio null --config-dir "$cfg" \
    --script "$script" "$@" 2> >(grep -v XDG_RUNTIME_DIR >&2)
}
