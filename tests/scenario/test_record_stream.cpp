// The record stream on the real sheet window (offscreen) in virtual time: a
// recording keeps every click whatever else runs between two clicks (the
// sheet window closed and opened again, the settings saved, a list or set
// written or loaded, a song renamed or selected over the network), and the
// recorder's failures (a map that cannot be opened, a disk that fills up)
// end it with a message, leaving whole records only.

#include "core/session_state.h"
#include "core/settings_files.h"
#include "fake_net.h"
#include "fakes.h"
#include "library/library.h"
#include "library/play_list.h"
#include "library/song_list.h"
#include "library/z_marking.h"
#include "recording/recorder.h"
#include "recording/recording_install.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"
#include "stage.h"
#include "sync/network.h"
#include "sync/sync_install.h"
#include "test_files.h"
#include "transport/song_loading.h"
#include "units_helpers.h"

#include <QApplication>
#include <QDir>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

constexpr int kPort = 7010;

const QStringList kTwoClicks =
    kMapHeader + rec("2340", " 1700 ", " 1900 ", "0") + rec("1875", " 3650 ", " 1900 ", "0");

class RecordStreamTest : public ::testing::Test, protected Stage {
  protected:
    RecordStreamTest() : Stage(100'000, 43200), window(s, nullptr) {
        attachSheetOne(s, player, viewer);
        installNavigation(s);
        installSheetGeometry(s);
        installRecording(s);
        installRecordingControls(s, window);
        installSongLoading(s);
        installLibrary(s, lib);
        sync = installSync(s, net);
        s.adobeF.focusCommand14 = [] {};
        s.adobeF.Left = 150;
        s.adobeF.Top = 15;
        s.adobeF.VScroll1.set(500);
        player.setSettingsVolume(80);
        s.configDir = dir.path();
        for (const char* song : {"Other.mp3", "Song.mp3"})
            writeFile(dir.filePath(song));
        writeFile(map(), "old map\r\n");
        s.velmor.Text1.setText(dir.path());
        s.velmor.File1Path = dir.path();
        s.velmor.File1Pattern = "*.mp3";
        refreshList(s);
        s.velmor.File1ListIndex.set(1); // Song.mp3
        s.adobeF.Shape3.set(false);     // unlocked
    }
    QString map() const { return dir.filePath("Song.map"); }
    // A file's bytes, one a character.
    static QString bytes(const QString& path) { return QString::fromLatin1(readFile(path)); }
    // A press and release on the sheet, at a place in the window's pixels.
    void click(QPoint at) {
        QWidget* w = window.carrier();
        for (auto [type, held] : {std::pair(QEvent::MouseButtonPress, Qt::LeftButton),
                                  std::pair(QEvent::MouseButtonRelease, Qt::NoButton)}) {
            const QPointF p = w->mapFrom(&window, at);
            QMouseEvent e(type, p, w->mapToGlobal(p), Qt::LeftButton, held, Qt::NoModifier);
            QApplication::sendEvent(w, &e);
        }
    }
    // Record, a click at 2340 ms, `between` at 3000 ms, a click at 4215 ms,
    // Record again at 6000 ms.
    void record(const std::function<void()>& between) {
        const int64_t t0 = clock.tickMs();
        adobeF::Command2_Click(s);
        clock.at(t0 + 2340, [&] { click({120, 160}); });
        clock.at(t0 + 3000, between);
        clock.at(t0 + 4215, [&] { click({250, 160}); });
        clock.advanceTo(t0 + 6000);
        if (s.adobeF.Shape1.get()) adobeF::Command2_Click(s);
    }

    void expectEndedAfterOneClick(const QString& file) {
        EXPECT_EQ(readouts(bytes(dir.filePath(file)), s.adobeF.Shape1.get(),
                           messages.shown.filter("recording stopped").join('|')),
                  (QStringList{crlf(kTwoClicks.mid(0, 15)), "false",
                               "The recording stopped: its song was renamed or a set was "
                               "loaded. The clicks before this one are in the map."}));
    }

    QTemporaryDir dir;
    SheetWindow window;
    Library lib;
    FakeNet net{clock};
    std::unique_ptr<Network> sync;
};

TEST_F(RecordStreamTest, EveryClickReachesTheMapWhateverRunsBetweenTwoClicks) {
    // A server for the network case: the recording computer is its client.
    std::unique_ptr<FakeSocket> server = net.endpoint(), link;
    server->setLocalPort(kPort);
    server->Listen();
    server->onConnectionRequest = [&](long id) {
        link = net.endpoint();
        link->Accept(id);
    };
    s.velmor.IPAddress.setText("127.0.0.1");
    s.velmor.PortNr.setText(QString::number(kPort));
    s.ConnectIt_Click();
    clock.advanceBy(50);
    ASSERT_TRUE(link);
    writeListFile(s, dir.filePath("Gig.SSS"), {0, 0, 0, {"Other.mp3"}});

    const std::pair<const char*, std::function<void()>> cases[] = {
        {"sheet window 1 closed and loaded again",
         [&] {
             window.close();
             readAdobeFx(s);
             window.show();
         }},
        {"File Save", [&] { SaveVelmor(s); }},
        {"the play list written as its window closes",
         [&] {
             showPlayLst(s, lib);
             PlayLst_Unload(s, lib);
         }},
        {"a set saved",
         [&] {
             messages.inputAnswers << "Gig2";
             SV_Click(s, lib);
         }},
        {"another song renamed",
         [&] {
             s.velmor.File1ListIndex.set(int(s.velmor.File1List.get().indexOf("Other.mp3")));
             setZ(s);
         }},
        {"a song selected over the network", [&] { link->SendData("&SELECT/Other.mp3"); }},
    };
    for (const auto& [what, between] : cases) {
        SCOPED_TRACE(what);
        s.adobeF.Shape3.set(false);
        record(between);
        // (questions and prompts of the cases are shown too)
        EXPECT_EQ(readouts(bytes(map()), s.adobeF.Shape1.get(),
                           messages.shown.filter("could not").join('|')),
                  (QStringList{crlf(kTwoClicks), "false", ""}));
        messages.shown.clear();
        // The next recording starts on the song again.
        refreshList(s);
        s.velmor.File1ListIndex.set(int(s.velmor.File1List.get().indexOf("Song.mp3")));
        s.g.LastMouseX = s.g.LastMouseY = -1;
    }
}

// A rename of the song being recorded, and a set loaded (which closes every
// open file), end the stream: the first click is in the map, the second
// ends the recording with a message.
TEST_F(RecordStreamTest, RenamingTheSongEndsTheStream) {
    record([&] { setZ(s); });
    expectEndedAfterOneClick("Z Song.map");
}

TEST_F(RecordStreamTest, LoadingASetEndsTheStream) {
    writeListFile(s, dir.filePath("Gig.SSS"), {0, 0, 0, {"Other.mp3"}});
    record([&] {
        Dirx_Load(s, lib);
        lib.dirx.File1Index.set(int(lib.dirx.File1.get().indexOf("Gig.SSS")));
        Dirx_Go(s, lib);
    });
    expectEndedAfterOneClick("Song.map");
}

TEST_F(RecordStreamTest, RecorderFailuresEndTheRecordingWithWholeRecords) {
    FakeDisk disk;
    s.files.useLayer(disk);
    const qint64 header = crlf(kMapHeader).size(), record1 = crlf(kTwoClicks.mid(9, 6)).size();
    const QString stopped = "The recording stopped: the map could not be written (Disk full). "
                            "The clicks before this one are in the map.";
    const struct {
        const char* what;
        QString locked;
        qint64 room;
        QByteArray map;
        QString message;
        QString music;
    } cases[] = {
        {"a map folder that cannot be written", dir.path(), -1, "old map\r\n",
         "The map could not be opened for recording: " + map() + " (Path/File access error)", ""},
        {"a full disk at the first click", "", 0, "", stopped, dir.filePath("Song.mp3")},
        {"the disk fills up in the second record", "", header + record1 + 10,
         crlf(kTwoClicks.mid(0, 15)), stopped, dir.filePath("Song.mp3")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        writeFile(map(), "old map\r\n");
        s.adobeF.Shape3.set(false);
        player.setURL("");
        messages.shown.clear();
        s.g.LastMouseX = s.g.LastMouseY = -1;
        disk.lockedFolder = c.locked;
        disk.room = c.room;
        record([] {});
        EXPECT_EQ(
            readouts(bytes(map()), s.adobeF.Shape1.get(), messages.shown.join('|'), player.URL()),
            (QStringList{QString::fromLatin1(c.map), "false", c.message, c.music}));
    }
}

} // namespace
