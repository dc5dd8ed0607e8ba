#pragma once
// The song list File1: the files of the folder Text1 ("Path 1") that match
// the pattern Text2 ("Type"), sorted by name ascending without regard to
// case, the pattern matched without regard to case ("*.PDF" lists
// "song.pdf").  The list lives in Session::velmor.File1List.

#include <QStringList>

namespace mv {

struct Session;

// The names in `folder` matching `pattern` (wildcards * and ?; several
// patterns may be separated by ";"), sorted case-insensitively.  An empty
// list for a folder that does not exist.
QStringList listSongs(const QString& folder, const QString& pattern);

// A pattern the list accepts: not empty, no folder separator.
bool validPattern(const QString& pattern);

// Pattern and folder from Text2 and Text1, then a refresh.  "Type is
// invalid" or "Path is invalid" when refused; the list keeps what it had.
void SetPath(Session& s);
// Refreshes the list from the folder and pattern last applied.
void refreshList(Session& s);
// Counts the Z group at the end of the list into ZCount, walking from the
// last entry down to entry 1 with SuppressLoad set.
void SetZ(Session& s);

} // namespace mv
