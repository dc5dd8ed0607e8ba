#include "library/play_list.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/values.h"
#include "library/library.h"
#include "library/song_list.h"

#include <QDir>
#include <QFileInfo>

namespace mv {

namespace {

const QString kPlayList = QStringLiteral("PlayList.txt");

QString flagLine(int v) { return QStringLiteral(" %1 ").arg(v); }

// A check box takes 0 or 1; any other stored value checks it.
int checkValue(const QString& line) { return val(line) == 0 ? 0 : 1; }

} // namespace

QStringList listFileLines(const ListFile& f) {
    QStringList l{flagLine(f.closeSelect), flagLine(f.closeDelete), flagLine(f.delItem)};
    l += f.items;
    return l;
}

ListFile parseListFile(const QStringList& lines, bool keepEmpty) {
    ListFile f;
    int* const flags[] = {&f.closeSelect, &f.closeDelete, &f.delItem};
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i < 3)
            *flags[i] = checkValue(lines[i]);
        else if (keepEmpty || !lines[i].isEmpty())
            f.items << lines[i];
    }
    return f;
}

ListFile readListFile(Session& s, const QString& path, bool keepEmpty) {
    return parseListFile(s.files.readText(path), keepEmpty);
}

void writeListFile(Session& s, const QString& path, const ListFile& f) {
    s.files.writeText(path, listFileLines(f));
}

ListFile playListOf(const Session& s) {
    ListFile f;
    f.closeSelect = s.playLst.CloseSelect.get();
    f.closeDelete = s.playLst.CloseDelete.get();
    f.delItem = s.playLst.DelItem.get();
    f.items = s.playLst.List1.get();
    return f;
}

void applyListFile(Session& s, const ListFile& f) {
    s.playLst.CloseSelect.set(f.closeSelect);
    s.playLst.CloseDelete.set(f.closeDelete);
    s.playLst.DelItem.set(f.delItem);
    s.playLst.List1.set(f.items);
    s.playLst.ListIndex.set(-1);
}

void PlayLst_Load(Session& s, Library& lib) {
    const QString path = configFile(s, kPlayList);
    if (QFileInfo(path).isFile()) applyListFile(s, readListFile(s, path, false));
    // Only a list that was read may be written back over the file.
    lib.playLstLoaded = true;
}

void PlayLst_Unload(Session& s, Library& lib) {
    if (!lib.playLstLoaded) {
        // The file could not be read: it is left as it is.
        s.playLst.Visible.set(false);
        return;
    }
    ListFile f = playListOf(s);
    f.items.removeAll(QString());
    // Written first: a list that cannot be written stays in the window.
    writeListFile(s, configFile(s, kPlayList), f);
    lib.playLstLoaded = false;
    s.playLst.Visible.set(false);
    s.playLst.List1.set({});
}

void showPlayLst(Session& s, Library& lib) {
    if (!lib.playLstLoaded) PlayLst_Load(s, lib);
    s.playLst.Visible.set(true);
}

void Command15_Click(Session& s, Library& lib) {
    s.g.OverlayArmed = 0;
    showPlayLst(s, lib);
}

void List1_LeftPress(Session& s, Library& lib, int item) {
    const QStringList& items = s.playLst.List1.get();
    const QString text = item >= 0 && item < items.size() ? items[item] : QString();
    const QString key = text.toUpper();
    const QStringList& songs = s.velmor.File1List.get();
    int found = -1;
    for (int i = 1; i < songs.size() && found < 0; ++i)
        if (songs[i].trimmed().toUpper().contains(key)) found = i;
    if (found < 0) return;
    s.velmor.File1ListIndex.set(found);
    if (s.File1_MouseDown) s.File1_MouseDown(1, 0, 0, 0);
    // The load lets events run: the list may have changed meanwhile, so the
    // item is found again by its text (at its old place first).
    QStringList l = s.playLst.List1.get();
    const qsizetype at = item >= 0 && item < l.size() && l[item] == text ? item : l.indexOf(text);
    if (s.playLst.DelItem.get() == 1 && item >= 0 && at >= 0) {
        l.removeAt(at);
        s.playLst.List1.set(l);
        s.playLst.ListIndex.set(-1);
    }
    if (s.playLst.CloseSelect.get() == 1) PlayLst_Unload(s, lib);
}

void List1_RightPress(Session& s, Library& lib) {
    const int item = s.playLst.ListIndex.get();
    if (item >= 0 && item < s.playLst.List1.get().size()) {
        QStringList l = s.playLst.List1.get();
        l.removeAt(item);
        s.playLst.List1.set(l);
        s.playLst.ListIndex.set(-1);
    }
    if (s.playLst.CloseDelete.get() == 1) PlayLst_Unload(s, lib);
}

void ClearAll_Click(Session& s) {
    s.playLst.List1.set({});
    s.playLst.ListIndex.set(-1);
}

void ST_Click(Session& s) { s.playLst.Width.set(s.playLst.Width.get() <= 5000 ? 8000 : 4050); }

void HP_Click(Session& s) {
    s.messages.msgBox(QStringLiteral(
        "Right click on a selection in order to add it to this list. Left click on the item to "
        "select it. Once it is highlited you can right click to delete it if you wish."));
}

void SV_Click(Session& s, Library& lib) {
    // A cancelled question answers "", which saves the set as ".SSS"; the
    // chooser shows hidden sets, so that one can be loaded again.
    QString name =
        s.messages
            .inputBox(QStringLiteral("Enter File Name"), QStringLiteral("File Name"), lib.setName)
            .value_or(QString());
    if (!name.contains(QLatin1String(".SSS"))) name += QStringLiteral(".SSS");
    lib.setName = name;
    const QString path = s.velmor.Text1.text() + u'/' + name;
    if (QFileInfo::exists(path) && !s.messages.yesNo(name + QStringLiteral(" exists. Overwrite?")))
        return;
    writeListFile(s, path, playListOf(s));
}

namespace {

void refreshSets(Library& lib) {
    DirxState& d = lib.dirx;
    const QString pattern = d.Filetype.get().trimmed();
    const QStringList files =
        validPattern(pattern) ? listSongs(d.Folder.get(), pattern, true) : QStringList();
    // The selection stands while the list shows the same files.
    if (files == d.File1.get()) return;
    d.File1Index.set(-1);
    d.File1.set(files);
}

} // namespace

void Dirx_Load(Session& s, Library& lib) {
    lib.dirx.Folder.set(s.velmor.Text1.text());
    lib.dirx.Dir1.set(s.velmor.Text1.text());
    refreshSets(lib);
    s.g.OverlayArmed = 0;
    lib.dirx.Visible.set(true);
}

void Dirx_Activate(Session&, Library& lib) {
    lib.dirx.Filetype.set(QStringLiteral("*.SSS"));
    refreshSets(lib);
}

void Filetype_LostFocus(Session&, Library& lib) {
    refreshSets(lib);
    lib.dirx.Dir1.set(lib.dirx.Folder.get());
}

void Dir1_Change(Session& s, Library& lib) {
    // Only the sets of the song folder are on offer.
    lib.dirx.Folder.set(s.velmor.Text1.text());
    refreshSets(lib);
}

void Dirx_Go(Session& s, Library& lib) {
    const DirxState& d = lib.dirx;
    const int i = d.File1Index.get();
    if (i < 0 || i >= d.File1.get().size()) return;
    const QString path = s.velmor.Text1.text() + u'/' + d.File1.get()[i];
    ClearAll_Click(s);
    applyListFile(s, readListFile(s, path, true));
    // Every open file is closed: the map a running play reads (the play
    // ends at its next read) and the record stream too (the recording ends
    // at its next click, saying why; its clicks so far are in the map).
    s.files.closeAll();
    Dirx_Unload(s, lib);
}

void Dirx_Unload(Session&, Library& lib) { lib.dirx.Visible.set(false); }

} // namespace mv
