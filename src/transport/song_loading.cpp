#include "transport/song_loading.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "sheet/pdf_viewer.h"
#include "transport/media_player.h"
#include "transport/stop_pause.h"

#include <QFileInfo>
#include <cmath>

namespace mv {

namespace {

// The sheet of the cleaned name in `folder`: the name cut at its first ".",
// with "pdf" behind it.
QString sheetPath(const QString& folder, const QString& name) {
    return siblingPath(folder.trimmed() + u'/' + name, QStringLiteral("pdf"));
}

// The list entry of what is loaded, from the list's folder; -1 when
// nothing is, or the list no longer shows it.
int loadedEntry(const Session& s) {
    const VelmorState& v = s.velmor;
    const QStringList& list = v.File1List.get();
    for (int i = 0; i < list.size(); ++i)
        if (v.File1Path + u'/' + list[i] == s.g.SongEntry) return i;
    return -1;
}

void rightButton(Session& s) {
    s.playLst.Visible.set(true);
    QStringList l = s.playLst.List1.get();
    l << s.velmor.File1FileName();
    s.playLst.List1.set(l);
    // The press moved the highlight; it goes back to what is loaded, so
    // that Play and Record act on the song the list shows.
    s.velmor.File1ListIndex.set(loadedEntry(s));
}

// The sheet at `path`, found whatever its case.  A song may have no sheet:
// the viewer then shows nothing and the load goes on without a word.
void loadSheet(PdfViewer* viewer, const QString& path) {
    if (!viewer) return;
    const QString found = existingPathIgnoringCase(path);
    if (QFileInfo(found).isFile())
        viewer->LoadFile(found);
    else
        viewer->unloadFile();
    viewer->gotoFirstPage();
    viewer->setPageMode(QStringLiteral("none"));
}

// The old sheet back to its first page.  Nothing after depends on this turn
// (with Load pdf on the sheet is loaded afresh a moment later), so a viewer
// that cannot turn is passed over and the load goes on.
void firstPageOfOldSheet(PdfViewer* viewer) {
    if (!viewer) return;
    try {
        viewer->gotoFirstPage();
    } catch (const Failure&) {
    }
}

// Sheet window 2 after its sheet's load: cursor hidden, its scroll bar
// placed and set to the main window's Scroll Offset, the viewer at `zoom`
// and back on its first page.
void sheetTwoToFirstPage(Session& s, double zoom) {
    SheetTwoState& w2 = s.adobeF2;
    w2.Picture1.Visible.set(false);
    w2.VScroll1Top.set(w2.Top + 200);
    w2.VScroll1Height.set(w2.Height - 1200);
    w2.VScroll1.set(roundWord(s.velmor.ScrollOffset.value()));
    if (w2.AcroPDF1) {
        w2.AcroPDF1->setZoom(static_cast<float>(zoom));
        for (int i = 0; i < 3; ++i)
            w2.AcroPDF1->gotoPreviousPage();
    }
}

// The sheets and the notation viewer.
void sheetsAndNotation(Session& s, const QString& sheet1, const QString& sheet2,
                       const QString& shortName) {
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;
    VelmorState& v = s.velmor;
    if (v.LoadPDF.get() == 1) {
        s.pump.guardedWait(0.5);
        f.Shape2.set(false);
        f.Picture3Height.set(2 * s.screenHeight);
        loadSheet(f.AcroPDF1, sheet1);
        f.AcroPDF1Height.set(v.Text6.value() * s.screenHeight);
        if (w2.Visible.get()) {
            if (!existsIgnoringCase(sheet2)) {
                s.messages.msgBox(QStringLiteral("Could not find ") + sheet2);
                if (s.reloadSheetWindow2) s.reloadSheetWindow2();
            }
            w2.Picture3Height.set(2 * s.screenHeight);
            loadSheet(w2.AcroPDF1, sheet2);
            w2.AcroPDF1Height.set(v.Text6.value() * s.screenHeight);
        }
        s.files.close(3); // the map an edit load left open
        s.g.CursorStarted = 0;
        f.Picture1.Visible.set(false);
        f.VScroll1Top.set(f.Top + 200);
        f.VScroll1Height.set(f.Height - 1200);
        f.VScroll1.set(roundWord(v.ScrollOffset.value()));
        const double zoom = std::trunc(strictNumber(v.ZoomIt.text()));
        if (f.AcroPDF1) {
            f.AcroPDF1->setZoom(static_cast<float>(zoom));
            for (int i = 0; i < 3; ++i)
                f.AcroPDF1->gotoPreviousPage();
        }
        if (w2.Visible.get()) sheetTwoToFirstPage(s, zoom);
    }
    if (v.CNWC.get() == 1 && s.velmor.NWCId > 0) {
        if (s.nwcOpenSong) s.nwcOpenSong(shortName);
        if (s.focusMainWindow) s.focusMainWindow();
        if (v.LoadPDF.get() == 1 && s.focusSheetWindow) s.focusSheetWindow();
    }
}

// The sheets and the notation viewer under their failure handler: a failure
// ends the load with the one message; false then.
bool sheetsAndNotationWithMessage(Session& s, const QString& sheet1, const QString& sheet2,
                                  const QString& shortName) {
    try {
        sheetsAndNotation(s, sheet1, sheet2, shortName);
        return true;
    } catch (const Failure& e) {
        s.messages.msgBox(
            e.message() +
            QStringLiteral(" You must start this App with NWCViewer closed so that this App can "
                           "open it. Please close NWCViewer and This App and then start this "
                           "app only."));
        return false;
    }
}

} // namespace

QString cleanSongName(const QString& entry, bool ignoreNumber) {
    QString name = entry.trimmed();
    const qsizetype p = name.toUpper().indexOf(QStringLiteral("MIX."));
    if (p >= 0) name = name.left(std::max<qsizetype>(0, p - 1)) + name.mid(p + 3, 12);
    if (val(name) > 0 && ignoreNumber) {
        for (qsizetype i = 0; i < name.size(); ++i) {
            const QString ch = name.mid(i, 1);
            if (val(ch) == 0 && ch != u"0") {
                name = name.mid(i, 1024).trimmed();
                break;
            }
        }
    }
    return name;
}

void applyMapVolume(Session& s, const QString& volumeLine) {
    int volume = 0;
    try {
        volume = roundLong(val(volumeLine) * s.velmor.VScroll1.get() / 100.0);
    } catch (const Failure&) {
        return; // no whole number: not a volume
    }
    if (!s.player) return;
    s.player->setSettingsVolume(volume);
    const int reported = s.player->settingsVolume();
    if (reported >= 1) s.velmor.HScroll1.set(std::min(reported, 100));
}

void File1_MouseDown(Session& s, int button, int, double, double) {
    if (button == 2) return rightButton(s);
    if (button != 1) {
        s.g.OverlayTicks = 40;
        return;
    }
    VelmorState& v = s.velmor;
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;

    s.g.OverlayArmed = kTrue;               // 1
    v.PDFLeft.setText(QStringLiteral("0")); // 2
    v.PDFLeftD.setText(s.g.PDFLeftDefault);
    f.Picture3Left.set(val(s.g.PDFLeftDefault));                // not a number: the left edge
    s.bControl.Command1.setText(QStringLiteral("Manual Play")); // 3
    s.bControl.Command6.setText(QStringLiteral("Cursor Play"));
    s.g.CursorPlaySwitch = 0;
    if (v.ZM.text() == u"-Zoom" && s.minimizeMainWindow) s.minimizeMainWindow(); // 4
    s.g.AbortScroll = kTrue;                                                     // 5
    if (v.SuppressLoad) return;                                                  // 6
    for (int k = 1; k <= 6; ++k)
        s.g.MapHeaderLines[k].clear();                                // 7
    if (w2.Visible.get()) w2.PageNR.setText(QStringLiteral("1"));     // 8
    if (v.IamaServer.get() == 1 && v.Shape1.get() && s.sendToClients) // 9
        s.sendToClients(QStringLiteral("&SELECT/") + v.File1FileName());
    v.ZoomIt.setText(QStringLiteral("100")); // 10
    hideCursors(s);
    s.g.StopRequested = kTrue; // 11
    dropSource(s, false);      // the clients load the new song instead
    firstPageOfOldSheet(f.AcroPDF1);
    if (w2.Visible.get()) firstPageOfOldSheet(w2.AcroPDF1);

    const QString name = cleanSongName(v.File1FileName(), v.IGNNR.get() == 1); // 12
    const QString shortName = beforeFirstDotOfName(name);
    const QString folder = v.Text1.text().trimmed();
    s.g.SongBase = folder + u'/' + name; // 13
    s.g.SongFile = folder + u'/' + v.File1FileName().trimmed();
    s.g.SongEntry = v.File1Path + u'/' + v.File1FileName();

    const QString map = existingPathIgnoringCase(mapFileName(s.g.SongBase)); // 14, 15
    const bool locked = headerTake(s, map, [&s](const QString& line) { applyMapVolume(s, line); });
    f.Shape3.set(locked);

    const QString sheet1 = sheetPath(folder, name); // 16
    const QString sheet2 = sheetPath(v.Text7.text(), name);
    v.PlayedList += s.g.SongFile + u',';                                     // 17
    if (s.player) s.player->close();                                         // 18
    if (!sheetsAndNotationWithMessage(s, sheet1, sheet2, shortName)) return; // 19, 20
    s.g.OverlayTicks = 40;                                                   // 21
}

void showSongOnSheetTwo(Session& s) {
    VelmorState& v = s.velmor;
    SheetTwoState& w2 = s.adobeF2;
    if (s.g.SongBase.isEmpty() || !w2.Visible.get()) return;
    // The order of a selection: the page first, so that the "#1" line's
    // slider value is stored for page 1.
    w2.PageNR.setText(QStringLiteral("1"));
    headerTake(s, existingPathIgnoringCase(mapFileName(s.g.SongBase)), nullptr, true);
    if (v.LoadPDF.get() != 1) return;
    const QString name = s.g.SongBase.section(u'/', -1);
    w2.Picture3Height.set(2 * s.screenHeight);
    loadSheet(w2.AcroPDF1, sheetPath(v.Text7.text(), name));
    w2.AcroPDF1Height.set(v.Text6.value() * s.screenHeight);
    sheetTwoToFirstPage(s, std::trunc(strictNumber(v.ZoomIt.text())));
}

void installSongLoading(Session& s) {
    s.File1_MouseDown = [&s](int b, int sh, double x, double y) {
        File1_MouseDown(s, b, sh, x, y);
    };
    s.sheetTwoShown = [&s] { showSongOnSheetTwo(s); };
}

} // namespace mv
