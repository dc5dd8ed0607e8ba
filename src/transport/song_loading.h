#pragma once
// Selecting a song: the one way to do it, for the list, random choice, the
// play list and a client's &SELECT/.  A left press resets the session, finds
// the song's siblings by name (map, sheet, second sheet, notation), applies
// the map's header and loads the sheet; nothing starts to play.  A right
// press adds the entry to the play list.

#include <QString>

namespace mv {

struct Session;

// The list entry's name as the siblings are found: " MIX" taken out
// ("SONG MIX.MP3" -> "SONG.MP3"), and with `ignoreNumber` a number prefix
// ("12 SONG.MP3" -> "SONG.MP3").
QString cleanSongName(const QString& entry, bool ignoreNumber);

// The "^" line of a map at song loading: the player's volume becomes the
// line's number times the volume limit (VScroll1) / 100, rounded; HScroll1
// follows when the player then reports 1 or more.  A value that does not fit
// a whole number is skipped.
void applyMapVolume(Session& s, const QString& volumeLine);

// File1_MouseDown(Button, Shift, X, Y) on the selected entry of File1.
// Button 1 loads, 2 adds to the play list and puts the selection back on
// the entry loaded last (none when the list does not show it), anything else
// only sets OverlayTicks to 40.
void File1_MouseDown(Session& s, int button, int shift, double x, double y);

// Sheet window 2 shown after its song was selected gets what the selection
// would have given it: PageNR "1", the map's "#" lines (and its slider),
// the second sheet on its first page at the zoom of ZoomIt, its scroll
// bar.  No song selected yet, or the window not visible: nothing.  A
// missing second sheet leaves the viewer empty without a word (the next
// selection says it); with Load pdf off no sheet is loaded.
void showSongOnSheetTwo(Session& s);

// Installs File1_MouseDown into Session::File1_MouseDown and
// showSongOnSheetTwo into Session::sheetTwoShown.
void installSongLoading(Session& s);

} // namespace mv
