#pragma once
// The play list PlayLst and its saved sets.  A play list is a list of song
// names put together by right presses on the song list; a left press on an
// item loads the first song whose name holds the item's text.  It is kept
// between runs in "PlayList.txt" (working directory); named copies are `.SSS`
// files in the song folder, chosen again in the window Dirx.
//
// List file format ("PlayList.txt" and `.SSS`), CR LF lines: the values of
// CloseSelect, CloseDelete and DelItem, each as " n " (one blank before and
// one behind), then one item a line as it stands in the song list.

#include <QString>
#include <QStringList>

namespace mv {

struct Session;
struct Library;

struct ListFile {
    int closeSelect = 0, closeDelete = 0, delItem = 0;
    QStringList items;
};

// The lines of a list file.
QStringList listFileLines(const ListFile& f);
// A list file from its lines: the numeric value of lines 1 to 3 (0 unless
// 0 is the value; any other value checks the box), the items after them.
// Ends wherever the lines end.  Empty item lines are kept when `keepEmpty`.
ListFile parseListFile(const QStringList& lines, bool keepEmpty);

// Reads the list file `path` whole, under no file number; failure 53 when
// it is not there.  Writes it the same way (a temporary file renamed over the
// old one), in the encoding it was read in; failure 75 when it cannot be
// written, the old file stands.
ListFile readListFile(Session& s, const QString& path, bool keepEmpty);
void writeListFile(Session& s, const QString& path, const ListFile& f);

// PlayLst's state as a list file, and a list file given to PlayLst.
ListFile playListOf(const Session& s);
void applyListFile(Session& s, const ListFile& f);

// Shows PlayLst, loading it first (reads "PlayList.txt" if it is there).
void showPlayLst(Session& s, Library& lib);
// Loading only: the list file read, empty items passed over; the list counts
// as loaded only when the read succeeded.
void PlayLst_Load(Session& s, Library& lib);
// Unloading: "PlayList.txt" written with every item that is not empty, then
// the window hidden and emptied; a failed write (75) leaves both.  A list
// that was never loaded is hidden without writing.
void PlayLst_Unload(Session& s, Library& lib);

// Command15 "Play List" of the main window: OverlayArmed = 0, PlayLst shown.
void Command15_Click(Session& s, Library& lib);
// A left press on the item `item` (-1: none selected): the first entry from
// 1 on whose trimmed upper-cased name holds the upper-cased item is loaded;
// then DelItem removes the item (found again by its text: the load lets
// events run, which may change the list), CloseSelect unloads PlayLst.  No match:
// nothing.
void List1_LeftPress(Session& s, Library& lib, int item);
// A right press: the selected item removed, then CloseDelete unloads PlayLst.
void List1_RightPress(Session& s, Library& lib);
// Command2 "Clear All".
void ClearAll_Click(Session& s);
// ST "Setup": the width 5000 or less becomes 8000 (the check boxes show),
// anything wider becomes 4050.
void ST_Click(Session& s);
// HP "Help".
void HP_Click(Session& s);
// SV "Save": the name question (the last name offered), ".SSS" appended when
// missing, the overwrite question, then the set written in the song folder.
void SV_Click(Session& s, Library& lib);

// Dirx, the set chooser.  Load: its file list on the folder Text1,
// OverlayArmed = 0.  Activate: Filetype "*.SSS", the list refreshed.
void Dirx_Load(Session& s, Library& lib);
void Dirx_Activate(Session& s, Library& lib);
// Leaving Filetype: the file list takes the pattern.
void Filetype_LostFocus(Session& s, Library& lib);
// A change of the folder list: the file list goes back to the folder Text1.
void Dir1_Change(Session& s, Library& lib);
// "Go F2", a double press on a file and F2: List1 emptied, the chosen set
// read (empty items kept), every open file closed, Dirx unloaded.  Nothing
// when no file is selected.
void Dirx_Go(Session& s, Library& lib);
// Close and Escape.
void Dirx_Unload(Session& s, Library& lib);

} // namespace mv
