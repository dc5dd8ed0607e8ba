#!/usr/bin/env bash
# The real binary under Xvfb with openbox: each help window opens from its
# entry (the main window's Help menu, the sheet window's "Help" button) and
# closes with its "Close" button; the neutral captions of the sheet entries.  Usage: notation_help.sh <mellivane>
set -euo pipefail
bin=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/songs"
cat > "$work/script.txt" <<SCRIPT
menu Velmor.HH
waitfor 3000 checkvisible HLPF.Text1 yes
click HLPF.Command1
click AdobeF.Command11
waitfor 3000 checkvisible PDFHelp.Text1 yes
click PDFHelp.Command1
check Velmor.LA2 Load Sheet 2
check Velmor.Command16 Load Sheet 1
check Velmor.Command17 Load Sheet 2
quit
SCRIPT
"$(dirname "$0")/../with_openbox.sh" \
  "$bin" --audio null --config-dir "$work/config" --songs "$work/songs" --script "$work/script.txt"
echo "e2e notation and help: passed"
