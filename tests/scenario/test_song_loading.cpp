// A press on the song list in virtual time, over a folder of real files and
// a fake player and viewer: what the load resets, which siblings it finds,
// what the map's header does, and how failures end it.

#include "app/main_window.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "sheet/sheet_geometry.h"
#include "stage.h"
#include "test_files.h"
#include "transport/play_start.h"
#include "transport/song_loading.h"
#include "units_helpers.h"

#include <QDir>
#include <QFileInfo>
#include <QListWidget>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

// A plain MIX word and a number prefix on and off: the loads below.
TEST(CleanSongName, MixWordAndNumberPrefix) {
    EXPECT_EQ(cleanSongName(" Blue Moon mix.mp3 ", false), "Blue Moon.mp3");
    EXPECT_EQ(cleanSongName("007 Bond MIX.mp3", true), "Bond.mp3");
    EXPECT_EQ(cleanSongName("0 Intro.mp3", true), "0 Intro.mp3"); // value 0: untouched
    EXPECT_EQ(cleanSongName("MIX.mp3", false), ".mp3");           // nothing before the word
}

namespace {

class SongLoadingTest : public ::testing::Test, protected Stage {
  protected:
    SongLoadingTest() : Stage(1000, 43200) {
        attachSheetOne(s, player, viewer);
        installSheetGeometry(s);
        installSongLoading(s);
        s.velmor.Text1.setText(dir.path());
        s.velmor.Text7.setText(dir.filePath("second"));
        QDir(dir.path()).mkdir("second");
    }
    void file(const QString& name, const QByteArray& bytes = {}) {
        ASSERT_TRUE(writeFile(dir.filePath(name), bytes));
    }
    void select(const QString& entry, int button = 1) {
        s.velmor.File1List.set({entry});
        s.velmor.File1ListIndex.set(0);
        s.File1_MouseDown(button, 0, 10, 10);
    }

    QStringList& calls = viewer.calls;
    QTemporaryDir dir;
};

// In a folder with a dot in its name, siblings of whatever case: the load
// and then the play find the same map.
TEST_F(SongLoadingTest, LeftPressResetsFindsSiblingsAndAppliesTheHeader) {
    const QString folder = dir.filePath("Vol. 2");
    QDir(dir.path()).mkdir("Vol. 2");
    s.velmor.Text1.setText(folder);
    file("Vol. 2/Song MIX.mp3");
    file("Vol. 2/SONG.PDF");
    file("Vol. 2/Song.MAP",
         crlf(QStringList{"90@", "150%"} + kMapHeader.mid(2) + rec("100", "1", "1", "0")));
    s.velmor.VScroll1.set(50); // the volume limit, in percent
    s.g.CursorPlaySwitch = kTrue;
    s.bControl.Command6.setText("Stop Play");
    s.g.MapHeaderLines[2] = "old";
    s.adobeF.Picture1.Visible.set(true);
    const int64_t t0 = clock.tickMs();
    select("Song MIX.mp3");
    // The MIX recording plays under the plain name; the lock light comes on;
    // the header's zoom, left and volume (80 % of the 50 % limit) apply; a
    // cursor play is stopped and its button reset; the song joins the played
    // list; half a second passes before the sheet.
    EXPECT_EQ(readouts(s.g.SongBase, s.g.SongFile, s.adobeF.Shape3.get(), s.velmor.ZoomIt.text(),
                       s.velmor.PDFLeft.text(), player.settingsVolume(), s.velmor.HScroll1.get(),
                       s.g.StopRequested, s.g.CursorPlaySwitch, s.bControl.Command6.text(),
                       s.g.MapHeaderLines[2], s.adobeF.Picture1.Visible.get(), s.velmor.PlayedList,
                       clock.tickMs() - t0),
              (QStringList{folder + "/Song.mp3", folder + "/Song MIX.mp3", "true", "90", "150",
                           "40", "40", "-1", "0", "Cursor Play", "", "false",
                           folder + "/Song MIX.mp3,", "500"}));
    // ZoomIt was "100" already: step 10 changes nothing, the header zooms to 90.
    EXPECT_EQ(calls,
              (QStringList{"gotoFirstPage", "setZoom(90)", "LoadFile(" + folder + "/SONG.PDF)",
                           "gotoFirstPage", "setPageMode(none)", "setZoom(90)", "gotoPreviousPage",
                           "gotoPreviousPage", "gotoPreviousPage"}));
    EXPECT_EQ(readouts(s.adobeF.VScroll1.get(), s.adobeF.AcroPDF1Height.get(), s.g.OverlayTicks,
                       player.calls.contains("URL()")),
              readouts(500, 1.55 * s.screenHeight, 40, true));
    installPlayStart(s);
    s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);
    EXPECT_EQ(s.g.PlayLoopCount, 1); // the map's one tic played
}

TEST_F(SongLoadingTest, NumberPrefixSharesTheMapOnlyWithIgnoreNumber) {
    file("12 Tune.mp3");
    file("Tune.map", "");
    s.velmor.ZoomIt.setText("120");
    select("12 Tune.mp3"); // no map: no lock, no header
    EXPECT_EQ(readouts(s.adobeF.Shape3.get(), s.velmor.ZoomIt.text(), player.settingsVolume()),
              (QStringList{"false", "100", "50"}));
    s.velmor.IGNNR.set(1);
    select("12 Tune.mp3");
    EXPECT_TRUE(s.adobeF.Shape3.get()); // an empty map is a map
    EXPECT_EQ(s.g.SongBase, dir.path() + "/Tune.mp3");
}

// A song without its sheets, whose map's volume overflows: sheet 1 empty
// without a word, "Could not find" for sheet 2 and its window reloaded, the
// volume skipped while the take goes on, and the load runs to its end.
TEST_F(SongLoadingTest, MissingSheetsAndAnOverflowingVolumeStillLoadToTheEnd) {
    FakeViewer viewer2;
    s.adobeF2.AcroPDF1 = &viewer2;
    s.adobeF2.Visible.set(true);
    s.adobeF2.Top = 1500;
    s.adobeF2.Height = 9000;
    int reloads = 0;
    s.reloadSheetWindow2 = [&] { ++reloads; };
    file("Duet.mp3");
    file("Duet.map", " 99999999999^\r\n120@\r\n");
    s.adobeF.VScroll1.set(3000);
    s.files.open(3, dir.filePath("Duet.mp3"), FileMode::Input);
    select("Duet.mp3");
    EXPECT_EQ(messages.shown,
              QStringList{"Could not find " + dir.filePath("second") + "/Duet.pdf"});
    // Window 2's scroll bar follows its own top and height.
    EXPECT_EQ(
        readouts(reloads, s.adobeF2.PageNR.text(), calls.contains("unloadFile"),
                 viewer2.calls.contains("unloadFile"), player.settingsVolume(),
                 s.velmor.ZoomIt.text(), s.files.isOpen(3) || s.files.isOpen(4),
                 s.adobeF.VScroll1.get(), s.adobeF2.VScroll1Top.get(),
                 s.adobeF2.VScroll1Height.get(), s.g.OverlayTicks),
        (QStringList{"1", "1", "true", "true", "50", "120", "false", "500", "1700", "7800", "40"}));
}

// A failure of the viewer while the sheet loads ends the load with the one
// message; the turn to the first page before it (the old sheet) is passed over.
TEST_F(SongLoadingTest, ViewerFailuresEndTheSheetLoadWithTheMessageButNotTheTurnBefore) {
    file("Bad.mp3");
    file("Bad.pdf");
    // The call that fails first, the message's start, the load's end reached.
    const std::tuple<QString, QString, int> cases[] = {
        {"LoadFile", "Error 75 Unread You must start", 0}, {"gotoFirstPage", "", 40}};
    for (const auto& [failing, message, overlayTicks] : cases) {
        messages.shown.clear();
        s.g.OverlayTicks = 0;
        viewer.onCall = [failing, failed = false](const QString& call) mutable {
            if (failed || !call.startsWith(failing)) return;
            failed = true;
            throw Failure(75, "Unread");
        };
        select("Bad.mp3");
        // What was done before the failure stands.
        EXPECT_EQ(readouts(messages.shown.join("").left(30), s.g.OverlayTicks, s.g.SongBase),
                  readouts(message, overlayTicks, dir.path() + "/Bad.mp3"));
    }
}

TEST_F(SongLoadingTest, SuppressLoadStopsAfterTheResetAndRightPressAddsToThePlayList) {
    file("A.mp3");
    s.velmor.SuppressLoad = kTrue;
    select("A.mp3");
    EXPECT_EQ(readouts(s.g.AbortScroll, s.g.SongBase, calls.join(',')),
              (QStringList{"-1", "", ""}));
    s.velmor.SuppressLoad = 0;
    select("A.mp3", 2);
    EXPECT_EQ(readouts(s.playLst.Visible.get(), s.playLst.List1.get().join(','), s.g.SongBase),
              (QStringList{"true", "A.mp3", ""}));
    select("A.mp3", 3);
    EXPECT_EQ(s.g.OverlayTicks, 40);
}

// The song list of the real main window: a press below the last entry loads
// the selection as it stands; a failure that gets out of the load is shown
// and goes no further.
TEST_F(SongLoadingTest, ListPressBelowTheEntriesLoadsTheSelectionAndFailuresStopAtTheWindow) {
    s.velmor.File1List.set({"A.mp3", "B.mp3"});
    s.velmor.File1ListIndex.set(1);
    MainWindow w(s, player);
    w.show();
    QStringList loads;
    s.File1_MouseDown = [&](int button, int, double, double) {
        loads << QString::number(button) + s.velmor.File1FileName();
        if (loads.size() == 2) throw failures::overflow();
    };
    QWidget* list = w.File1()->viewport();
    QTest::mousePress(list, Qt::LeftButton, {}, QPoint(5, list->height() - 3));
    QTest::mousePress(list, Qt::LeftButton, {},
                      w.File1()->visualItemRect(w.File1()->item(0)).center());
    EXPECT_EQ(loads, (QStringList{"1B.mp3", "1A.mp3"}));
    EXPECT_EQ(messages.shown, QStringList{"Error 6 Overflow"});
}

// A right press on the real list adds the entry under it to the play list;
// the highlight goes back to the song loaded (none before the first load),
// so that what the list shows is what Play plays.
TEST_F(SongLoadingTest, RightPressLeavesTheHighlightOnTheLoadedSong) {
    file("A.mp3");
    file("B.mp3");
    s.velmor.File1Path = dir.path();
    s.velmor.File1List.set({"A.mp3", "B.mp3"});
    MainWindow w(s, player);
    w.show();
    QListWidget* list = w.File1();
    auto press = [&](int row, Qt::MouseButton b) {
        QTest::mousePress(list->viewport(), b, {}, list->visualItemRect(list->item(row)).center());
        return readouts(s.velmor.File1ListIndex.get(), list->currentRow(),
                        QFileInfo(s.g.SongFile).fileName(), s.playLst.List1.get().join(','));
    };
    EXPECT_EQ(press(1, Qt::RightButton), (QStringList{"-1", "-1", "", "B.mp3"}));
    EXPECT_EQ(press(0, Qt::LeftButton), (QStringList{"0", "0", "A.mp3", "B.mp3"}));
    EXPECT_EQ(press(1, Qt::RightButton), (QStringList{"0", "0", "A.mp3", "B.mp3,B.mp3"}));
}

} // namespace
