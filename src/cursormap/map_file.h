#pragma once
// The .map file: a header block (marker lines) and tic records of six lines
// (Tic, X, Y, Scr, Nxt, Prv), CR LF, no version.  Four operations live here;
// the fifth, the play read, is part of the play loop (play_loop.h).  No
// reader rejects a map, crashes or hangs, whatever the bytes.

#include <QString>
#include <functional>

namespace mv {

struct Session;

// The map's name: SongBase cut before the first "." of its file name, plus
// ".map" (the folder's own dots stay).  "/songs/Blue.Moon.mp3" ->
// "/songs/Blue.map"; "/songs/Vol. 2/Blue.mp3" -> "/songs/Vol. 2/Blue.map";
// "" -> ".map".  The file itself is found with existingPathIgnoringCase
// (core/file_lookup.h), as every sibling of a song.
QString mapFileName(const QString& songBase);

// Header take (song loading), file number 4: opens, reads to the end, closes.
// Sets ZoomIt and PDFLeft from "@" and "%" lines; with sheet window 2
// visible takes "#" lines into MapHeaderLines (and its VScroll2 unless
// NoPDFAdj); calls applyVolume with the "^" line.  Tic lines are passed over
// and the table is not touched.  Returns false when the file does not exist.
// With `sheetTwoOnly` the "@", "%" and "^" lines are read past and change
// nothing: what sheet window 2 takes when it opens on a song already loaded.
bool headerTake(Session& s, const QString& path,
                const std::function<void(const QString& volumeLine)>& applyVolume,
                bool sheetTwoOnly = false);

// Edit load (entering edit mode), file number 3: fills the tic table from row
// 0; takes zoom and left unless SaveInProgress; lets events run once per
// record.  On row 5000 shows "Music is to large to edit", turns the Edit light
// off and stops.  A missing file leaves the table as it is and returns.
void editLoad(Session& s, const QString& path);

// Table write (leaving edit mode with the left button), file number 1:
// replaces the whole file from the table.  Header lines go ahead of row 0
// ("@" only when ZoomIt is not 100, "%" only when PDFLeft is not 0, "#1".."#6"
// from MapHeaderLines, "^" with the player's volume); an empty table gives an
// empty file.  The file is written to a temporary beside it and renamed over
// it: a crash leaves the old map or the new one.  A map that cannot be written
// is failure 75 (or 76 for a missing folder) and the old file stays.
void tableWrite(Session& s, const QString& path);

// Stream write (the recorder), file number 2, open between the two presses
// of Record.  streamOpen empties the file at once; streamHeader writes the
// nine header lines and streamTic one record (Tic, Scr trimmed; X, Y in print
// form as 32-bit floats; Nxt, Prv "True"/"False"), each in one write, so a
// crash loses at most the record being written and never leaves a part of
// one.  A block that does not fit (a full disk) is failure 61 and the file
// ends on the block before it.  streamClose closes.
void streamOpen(Session& s, const QString& path);
void streamHeader(Session& s);
void streamTic(Session& s, double tic, double x, double y, double scr, bool nxt, bool prv);
void streamClose(Session& s);

} // namespace mv
