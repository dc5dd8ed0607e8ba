#!/usr/bin/env bash
# The .deb: built by CPack from this build, checked by lintian, the menu
# entry and metainfo inside it by desktop-file-validate and appstreamcli,
# installed with apt-get, then the installed program answers --version and
# plays one of its installed demo songs under Xvfb; removed at the end.
# Skips (77) when not root, without apt-get, or when a mellivane package is
# installed already (it is not ours to replace).  Usage: package_deb.sh <build dir> <source dir>
set -euo pipefail
build=$(realpath "$1")
src=$(realpath "$2")
[ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null || { echo "skipped: needs root and apt-get"; exit 77; }
if dpkg-query -W -f='${Status}' mellivane 2>/dev/null | grep -q "install ok"; then
  echo "skipped: a mellivane package is installed already"; exit 77
fi
work=$(mktemp -d "${TMPDIR:-/tmp}/mellivane-debXXXXXX")
installed=
cleanup() {
  [ -n "$installed" ] && apt-get remove -y -q -o DPkg::Lock::Timeout=300 mellivane >/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work" >/dev/null
deb=$(ls "$work"/mellivane_*.deb)
lintian --fail-on error,warning "$deb" 2> >(grep -v "root privileges" >&2)
# The menu entry and the metainfo as the package carries them.
dpkg-deb -x "$deb" "$work/root"
desktop-file-validate "$work/root/usr/share/applications/mellivane.desktop"
appstreamcli validate --no-net "$work/root/usr/share/metainfo/io.github.mellivane.Mellivane.metainfo.xml" >/dev/null
# The changelog, kept by hand, has an entry for the package's version (the
# manual page and the metainfo take it from the build).
version=$(dpkg-deb -f "$deb" Version)
zcat "$work/root/usr/share/doc/mellivane/changelog.gz" | sed -n 1p | grep -q "^mellivane ($version)" ||
  { echo "FAIL: the changelog's newest entry is not $version"; exit 1; }
# Every option of --help stands in the manual page.
man=$(zcat "$work/root/usr/share/man/man1/mellivane.1.gz" | sed 's/\\-/-/g')
for opt in $("$build/src/app/mellivane" --help | grep -o -- '--[a-z-]*' | sort -u); do
  grep -q -- "$opt" <<< "$man" || { echo "FAIL: the manual page lacks $opt"; exit 1; }
done

apt-get install -y -q -o DPkg::Lock::Timeout=300 "$deb" >/dev/null
installed=yes
test "$(env -u DISPLAY /usr/bin/mellivane --version)" = "Mellivane $version"
cat > "$work/play.txt" <<'SCRIPT'
wait 300
check Velmor.Text1 /usr/share/mellivane/demo/songs
select Velmor.File1 Twinkle Twinkle.pdf
wait 1000
checkvisible AdobeF.Shape3 yes
click AdobeF.Command15
waitfor 15000 checkvisible AdobeF.Picture1 yes
waitfor 5000 check AdobeF.Text3 1
quit
SCRIPT
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1600x1400x24" /usr/bin/mellivane --demo --audio null \
  --config-dir "$work/config" --script "$work/play.txt" 2> >(grep -v XDG_RUNTIME_DIR >&2)
echo "package: passed"
