// Notation mode over the fake driver in virtual time: the mode switches, the
// keys and waits of song load, play start, fade, start-up and shut-down, a
// viewer that has gone on each path; and the two help windows.

#include "app/main_window.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/setup_screen.h"
#include "core/startup.h"
#include "core/window_registry.h"
#include "fake_notation.h"
#include "fakes.h"
#include "help/help_install.h"
#include "notation/notation_install.h"
#include "notation/notation_mode.h"
#include "sheet/sheet_geometry.h"
#include "transport/play_start.h"
#include "transport/song_loading.h"
#include "transport/stop_pause.h"

#include <QAction>
#include <QFile>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

TEST(NotationKeys, EnterAltAndPlainCharactersRunTogether) {
    using K = NotationKey;
    EXPECT_EQ(parseNotationKeys("%F"), (QList<K>{{K::Alt, "F"}}));
    EXPECT_EQ(parseNotationKeys("~"), (QList<K>{{K::Enter, {}}}));
    EXPECT_EQ(parseNotationKeys("My Song~%-x"),
              (QList<K>{{K::Text, "My Song"}, {K::Enter, {}}, {K::Alt, "-"}, {K::Text, "x"}}));
    // Nothing escapes the marks: a name holding them is typed wrongly.
    EXPECT_EQ(parseNotationKeys("50%~off"),
              (QList<K>{{K::Text, "50"}, {K::Alt, "~"}, {K::Text, "off"}}));
    EXPECT_TRUE(parseNotationKeys("%").isEmpty());
}

namespace {

class NotationTest : public ::testing::Test {
  protected:
    NotationTest() {
        attachSheetOne(s, player, viewer);
        installSheetGeometry(s);
        installSetupScreen(s);
        installSongLoading(s);
        installPlayStart(s);
        installNotation(s, driver, &hooks);
        s.showSheet1 = [this] { s.adobeF.Visible.set(true); };
        s.unloadSheet1 = [this] { s.adobeF.Visible.set(false); };
        s.showSheet2 = [this] { ++sheet2Shown; };
        s.configDir = dir.path();
        s.velmor.Text1.setText(dir.path());
        touch("Song Name.mp3");
        touch("NWCViewer.exe");
        program = dir.filePath("NWCViewer.exe");
        driver.mark();
    }
    void touch(const QString& name) {
        QFile f(dir.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    // Turns notation mode on with the viewer's program in Text3.
    void notationOn() {
        s.velmor.Text3.setText(program);
        s.velmor.CNWC.set(1);
        ASSERT_GT(s.velmor.NWCId, 0);
    }
    void load() {
        s.velmor.File1List.set({"Song Name.mp3"});
        s.velmor.File1ListIndex.set(0);
        driver.mark();
        s.File1_MouseDown(1, 0, 10, 10);
    }
    QString id() const { return QString::number(s.velmor.NWCId); }

    QTemporaryDir dir;
    VirtualClock clock{1000, 43200};
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player{clock};
    FakeViewer viewer;
    FakeNotationDriver driver{clock};
    StartupHooks hooks;
    QString program;
    int sheet2Shown = 0;
};

TEST_F(NotationTest, ModeSwitchesStartAndCloseTheViewer) {
    VelmorState& v = s.velmor;
    // A program file that isn't there: Pause hidden, sheet mode stays.
    v.Text3.setText(dir.filePath("missing.exe"));
    v.CNWC.set(1);
    EXPECT_FALSE(v.Command10Visible.get());
    EXPECT_EQ(v.LoadPDF.get(), 1);
    EXPECT_TRUE(driver.log.isEmpty());
    v.CNWC.set(0);

    notationOn();
    EXPECT_EQ(v.LoadPDF.get(), 0);
    EXPECT_FALSE(s.adobeF.Visible.get());
    EXPECT_EQ(driver.log, QStringList{"0 start " + program});
    const int32_t viewerId = v.NWCId;
    // Turning sheet mode on closes the viewer: Enter, Alt+F, X at once.
    driver.log.clear();
    v.LoadPDF.set(1);
    EXPECT_EQ(driver.log, (QStringList{"0 activate " + QString::number(viewerId), "0 keys ~",
                                       "0 keys %F", "0 keys X"}));
    EXPECT_FALSE(driver.isRunning(viewerId));
    EXPECT_EQ(v.NWCId, 0);
    EXPECT_EQ(v.CNWC.get(), 0);
    EXPECT_TRUE(v.Command10Visible.get());
    EXPECT_TRUE(s.adobeF.Visible.get());

    // "Load Adobe 2" from the File menu: same, and the overlay stays down.
    notationOn();
    s.g.OverlayArmed = kTrue;
    s.LA2_Click();
    EXPECT_EQ(sheet2Shown, 1);
    EXPECT_EQ(v.NWCId, 0);
    EXPECT_EQ(v.CNWC.get(), 0);
    EXPECT_TRUE(v.Command10Visible.get());
    EXPECT_EQ(s.g.OverlayArmed, 0);
    EXPECT_TRUE(messages.shown.isEmpty());
}

TEST_F(NotationTest, WithoutADesktopToDriveTheModeSaysSoAndSheetModeStays) {
    driver.unavailable = "no X11";
    s.velmor.Text3.setText(program);
    s.velmor.CNWC.set(1);
    EXPECT_EQ(messages.shown, QStringList{"no X11"});
    EXPECT_EQ(s.velmor.CNWC.get(), 0);
    EXPECT_EQ(s.velmor.LoadPDF.get(), 1);
    EXPECT_TRUE(s.velmor.Command10Visible.get());
    EXPECT_TRUE(driver.log.isEmpty());
}

// The song's keys with their waits; the 50% zoom only with both boxes on.
TEST_F(NotationTest, SongLoadTypesTheNameWithItsWaits) {
    struct Case {
        int zoomNwc, loadPdf;
        bool zoomKeys;
    };
    for (const Case c :
         {Case{0, 0, false}, Case{1, 0, false}, Case{0, 1, false}, Case{1, 1, true}}) {
        SCOPED_TRACE(
            QStringLiteral("ZoomNWC %1 LoadPDF %2").arg(c.zoomNwc).arg(c.loadPdf).toStdString());
        // Both modes may be on: a viewer runs and the sheet is loaded too.
        s.velmor.LoadPDF.set(c.loadPdf);
        s.velmor.ZoomNWC.set(c.zoomNwc);
        s.velmor.Text3.setText(dir.filePath("missing.exe"));
        s.velmor.CNWC.set(1);
        s.velmor.NWCId = driver.start(program);
        driver.log.clear();
        const QString i = id();
        load();
        // With the sheet loaded first, its half second comes before.
        const int at = c.loadPdf ? 500 : 0;
        auto t = [at](int ms) { return QString::number(at + ms); };
        QStringList want{t(0) + " activate " + i, t(500) + " keys ~",          t(1000) + " keys %F",
                         t(1500) + " keys O",     t(2000) + " keys Song Name", t(2500) + " keys ~"};
        if (c.zoomKeys) want << t(2600) + " keys %-" << t(2700) + " keys %-";
        EXPECT_EQ(driver.log, want);
        EXPECT_TRUE(messages.shown.isEmpty());
        s.velmor.NWCId = 0;
        s.velmor.CNWC.set(0);
    }
}

TEST_F(NotationTest, PlayStartFadeAndShutDownKeys) {
    notationOn();
    load();
    const QString i = id();
    // Play start: the viewer's start key, then the NWC delay, then the music.
    driver.log.clear();
    driver.mark();
    const int64_t t0 = clock.tickMs();
    s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);
    EXPECT_EQ(driver.log, (QStringList{"0 activate " + i, "100 keys  "}));
    EXPECT_EQ(clock.tickMs() - t0, 4600);
    EXPECT_EQ(player.URL(), s.g.SongFile);
    // The fade: volume 50 down in 50 steps of 0.06 s, then File, Open, Enter.
    driver.log.clear();
    driver.mark();
    Command7_Click(s);
    EXPECT_EQ(driver.log,
              (QStringList{"3000 activate " + i, "3100 keys %F", "3200 keys O", "3300 keys ~"}));
    // Shut-down: activate, half a second, one key; three times.  File, Exit
    // ends the viewer.
    driver.log.clear();
    driver.mark();
    const int32_t viewerId = s.velmor.NWCId;
    shutDown(s, hooks);
    EXPECT_EQ(driver.log, (QStringList{"0 activate " + i, "500 keys ~", "500 activate " + i,
                                       "1000 keys %F", "1000 activate " + i, "1500 keys X"}));
    EXPECT_FALSE(driver.isRunning(viewerId));
    EXPECT_TRUE(messages.shown.isEmpty());
}

// The viewer was closed by hand: the load ends with its message, play start
// and fade go on without keys and without a message, shut-down ends quietly
// after the played list is written.
TEST_F(NotationTest, AViewerThatHasGoneOnEachPath) {
    notationOn();
    const QString i = id();
    driver.end(s.velmor.NWCId);
    load();
    EXPECT_EQ(driver.log.last(), "0 activate " + i + " failed");
    ASSERT_EQ(messages.shown.size(), 1);
    EXPECT_TRUE(messages.shown[0].startsWith("Error 5 Invalid procedure call or argument You must "
                                             "start this App with NWCViewer closed"));
    messages.shown.clear();
    driver.log.clear();
    driver.mark();
    s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);
    EXPECT_EQ(driver.log, (QStringList{"0 activate " + i + " failed", "100 keys   failed"}));
    EXPECT_EQ(player.URL(), s.g.SongFile); // the music starts all the same
    Command7_Click(s);
    EXPECT_EQ(player.URL(), "");
    driver.log.clear();
    shutDown(s, hooks);
    EXPECT_EQ(driver.log.size(), 1);
    EXPECT_TRUE(QFile::exists(dir.filePath("PlayedList.txt")));
    EXPECT_TRUE(messages.shown.isEmpty());
}

// A saved "Control NWCViewer" does not come back; a running viewer is only
// brought to the front by its title and stays unknown, so shut-down leaves it.
TEST_F(NotationTest, StartUpFindsARunningViewerByTitleWithNotationModeOff) {
    {
        Session saved{clock, messages};
        saved.configDir = dir.path();
        saved.velmor.Text3.setText(program);
        saved.velmor.CNWC.set(1);
        SaveVelmor(saved);
    }
    driver.titles = {"nwcviewer - Song Name"};
    startUp(s, hooks, {});
    EXPECT_EQ(s.velmor.CNWC.get(), 0);
    EXPECT_EQ(s.velmor.NWCTitle, "NWCViewer");
    EXPECT_EQ(driver.log, QStringList{"0 title NWCViewer"});
    EXPECT_EQ(s.velmor.NWCId, 0);
    driver.log.clear();
    shutDown(s, hooks);
    EXPECT_TRUE(driver.log.isEmpty());
}

// Each help window from its entry: loading keeps the overlay down, "Close"
// unloads the window and lets the overlay come back.
TEST(HelpWindows, OpenFromTheirEntriesAndArmTheOverlayOnClose) {
    VirtualClock clock{1000, 43200};
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player{clock};
    WindowRegistry windows;
    installHelp(s, windows);
    MainWindow w{s, player};
    struct Case {
        const char* window;
        std::function<void()> open;
        const char* firstLine;
    };
    const Case cases[] = {
        {"HLPF", [&] { w.findChild<QAction*>("HH")->trigger(); }, "MELLIVANE HELP"},
        {"PDFHelp", [&] { s.adobeF_Command11_Click(); }, "PDF HELP"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.window);
        s.g.OverlayArmed = kTrue;
        c.open();
        QWidget* help = windows.find(c.window);
        ASSERT_NE(help, nullptr);
        EXPECT_TRUE(help->isVisible());
        EXPECT_EQ(s.g.OverlayArmed, 0);
        auto* text = help->findChild<QPlainTextEdit*>("Text1");
        EXPECT_TRUE(text->isReadOnly());
        EXPECT_EQ(text->toPlainText().section('\n', 0, 0), c.firstLine);
        auto* close = help->findChild<QPushButton*>("Command1");
        EXPECT_EQ(close->text(), "Close");
        QTest::mouseClick(close, Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(windows.find(c.window), nullptr);
        EXPECT_EQ(s.g.OverlayArmed, kTrue);
    }
}

} // namespace
