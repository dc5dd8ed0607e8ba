#pragma once
// Set Z and Remove Z: a song and its siblings (the list's own file, "NWC",
// "pdf", "map") renamed in the folder Text1, so that the piece drops to the
// end of the list and out of random selection, or comes back.  A rename is a
// copy to the new name and then a delete of the old one: the copy is whole
// before anything is deleted, so no failure loses a file.

#include <QString>
#include <QStringList>

namespace mv {

struct Session;

// "Z " + name.
QString nameWithZ(const QString& name);
// The name without "Z " when it starts so (in upper case), else without its
// first character, whatever it is; at most 1024 characters.
// "ZEBRA.MP3" -> "EBRA.MP3", "Z Z SONG" -> "Z SONG".
QString nameWithoutZ(const QString& name);
// The list's own file and its siblings, in the order they are renamed:
// name, then name cut after its first "." with "NWC", "pdf", "map".
QStringList zSiblings(const QString& name);

// Renames `from` to `to` in `folder` by a copy and a delete, when `from`
// exists and `to` does not, both found whatever their case; otherwise nothing.
// Failure 75 when the copy or the delete fails; a failed delete leaves both.
void renameByCopy(const QString& folder, const QString& from, const QString& to);

// Command5 "Set Z" and Command6 "Remove Z" on the selected entry, after the
// question; entry 1 of the refreshed list is selected after.  A failure
// shows its description alone and ends the operation at that file.
void setZ(Session& s);
void removeZ(Session& s);

} // namespace mv
