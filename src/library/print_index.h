#pragma once
// The printed index: the song list laid out as pages of two columns, 60 names
// a column, in a fixed-pitch font, shown in IndexForm and printed from there.
//
// The layout is text: each page begins with four empty lines; each line is
// four blanks, a name of the first column, one blank, the name 60 further
// on; a name is cut before its first ".", cut to 40 characters and filled
// with blanks to 45.  Entry 0 and every name whose last three letters
// (before the ".") are "MIX" are left out.  Pages are separated by CR LF,
// form feed, CR LF.  Every line ends in CR LF.  There is no limit to the
// number of names: a folder of 6000 songs prints whole.

#include <QString>
#include <QStringList>

class QPagedPaintDevice;

namespace mv {

struct Session;
struct Library;

// The names that print, in list order: entries 1 on, MIX recordings out,
// each cut and filled to 45 characters.
QStringList indexEntries(const QStringList& list);
// The layout of `list` (the song list's entries, entry 0 included).
QString indexText(const QStringList& list);

// Draws `lines` on `device` as the printer replays them: a line that holds a
// form feed starts a new page and prints nothing; any other line prints as
// it stands.  The font: the first family named like "Courier*", else the
// system's fixed-pitch font; 10 points.  A page too short for its lines
// goes on to a new page instead of losing them.
void renderIndex(QPagedPaintDevice& device, const QStringList& lines);

// The lines of the index text (CR LF ends), as "VLvar.csv" holds them.
QStringList indexLines(const QString& text);

// Command9 "Print Index": IndexForm shown, the list walked entry by entry with
// SuppressLoad set, the layout appended to IndexForm's text (a second press
// appends a second copy).
void printIndex(Session& s, Library& lib);
// IndexForm's "Print": file 1 closed, the print dialog (cancel is a
// failure), the text written to "VLvar.csv" and read back line by line onto
// the printer.  A failure shows its description.
void IndexForm_Print(Session& s, Library& lib);
// IndexForm's "Export PDF": the same pages in a PDF, asked only its name.
void IndexForm_ExportPdf(Session& s, Library& lib);
// IndexForm's "Close": the window unloaded; its text starts empty next time.
void IndexForm_Close(Session& s, Library& lib);
// Writes `text` as the PDF `path`; failure 75 when it cannot be written.
void exportIndexPdf(const QString& text, const QString& path);

} // namespace mv
