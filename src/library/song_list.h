#pragma once
// The song list File1: the files of the folder Text1 ("Path 1") that match
// the pattern Text2 ("Type"), sorted by name ascending without regard to
// case in the locale's collation, the pattern matched without regard to case ("*.PDF" lists
// "song.pdf").  The list lives in Session::velmor.File1List.

#include <QLocale>
#include <QStringList>

namespace mv {

struct Session;

// The names in `folder` matching `pattern` (wildcards * and ?; several
// patterns may be separated by ";"), in the order of sortSongs() for the
// system's locale.  An empty list for a folder that does not exist.  Hidden
// files (".name") are left out unless `withHidden`: no song is hidden, but a
// set saved under an empty name is ".SSS" and must still be offered.
QStringList listSongs(const QString& folder, const QString& pattern, bool withHidden = false);

// Sorts song names by `locale`'s collation without regard to case, so that
// an accented initial stands with its letter ("Élan" beside "Elan"), with
// every name that begins with "Z" or "z" after all others: the Z group stays
// at the end even where the collation puts other scripts after "Z".  The C
// locale sorts as a neutral (English) collation does; names the collation
// holds equal are ordered by their code points.
void sortSongs(QStringList& names, const QLocale& locale);

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
