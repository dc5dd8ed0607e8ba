#!/usr/bin/env bash
# A machine without libmpv: the library's file is hidden (in a mount
# namespace of this test's own, so nothing else sees it).  The program starts,
# its main window's title says no music plays, and a song's sheet loads and
# its map plays: the cursor runs without the music.  Needs root; skipped
# where mount namespaces are not allowed.  Usage: no_libmpv.sh <mellivane binary>
source "$(dirname "$0")/lib.sh"
root=$(cd "$(dirname "$0")/../../.." && pwd)
# awk reads the whole listing: stopping at the first match would let
# ldconfig die of SIGPIPE on a long cache, and pipefail turn that into a failure.
lib=$(PATH=$PATH:/usr/sbin:/sbin ldconfig -p | awk '/libmpv\.so\.2 / && !f { print $NF; f = 1 }')
test -n "$lib" && lib=$(readlink -f "$lib")
hide() { unshare -m bash -c 'mount --bind /dev/null "$1" && shift && exec "$@"' _ "$lib" "$@"; }
if [ -z "$lib" ] || ! hide true 2>/dev/null; then
  echo "e2e no libmpv: skipped (no libmpv, or no mount namespace here)"
  exit 77
fi
mkdir "$work/songs"
cp "$root/demo/songs/Greensleeves".{mp3,pdf,map} "$work/songs/"
cat > "$work/script.txt" <<'SCRIPT'
waitfor 5000 check Velmor Media Player - no music: libmpv (package libmpv2) could not start
select Velmor.File1 Greensleeves.pdf
wait 1500
check AdobeF.AcroPDF1 1
click AdobeF.Command15
waitfor 10000 check AdobeF.Text3 2
quit
SCRIPT
hide xvfb-run -a -s "-screen 0 1600x1400x24" "$bin" --audio null --config-dir "$work/config" \
  --songs "$work/songs" --script "$work/script.txt" 2> >(grep -v XDG_RUNTIME_DIR >&2)
echo "e2e no libmpv: passed"
