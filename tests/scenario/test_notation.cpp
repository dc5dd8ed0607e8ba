// Notation mode over the fake driver in virtual time: the mode switches, the
// keys and waits of song load, play start, fade, start-up and shut-down, a
// viewer that has gone on each path; and the two help windows.

#include "app/main_window.h"
#include "core/settings_files.h"
#include "core/setup_screen.h"
#include "core/startup.h"
#include "core/window_registry.h"
#include "fake_notation.h"
#include "fakes.h"
#include "help/help_install.h"
#include "notation/notation_install.h"
#include "sheet/sheet_views_install.h"
#include "sheet/sheet_window.h"
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

namespace {

class NotationTest : public ::testing::Test {
  protected:
    NotationTest() {
        attachSheetOne(s, player, viewer);
        installSetupScreen(s);
        installSongLoading(s);
        installPlayStart(s);
        installNotation(s, driver, &hooks);
        s.showSheet1 = [this] { s.adobeF.Visible.set(true); };
        s.unloadSheet1 = [this] { s.adobeF.Visible.set(false); };
        s.velmor.Text1.setText(s.configDir = dir.path());
        for (const char* name : {"Song Name.mp3", "NWCViewer.exe"})
            QFile(dir.filePath(name)).open(QIODevice::WriteOnly);
        driver.mark();
    }
    // Notation mode on with the viewer's program in Text3: the viewer starts.
    void notationOn(const QString& program = "NWCViewer.exe") {
        s.velmor.Text3.setText(dir.filePath(program));
        s.velmor.CNWC.set(1);
    }
    void load() {
        s.velmor.File1List.set({"Song Name.mp3"});
        s.velmor.File1ListIndex.set(0);
        driver.log.clear();
        driver.mark();
        s.File1_MouseDown(1, 0, 10, 10);
    }
    QString log() { return std::exchange(driver.log, {}).join(", "); }

    QTemporaryDir dir;
    VirtualClock clock{1000, 43200};
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player{clock};
    FakeViewer viewer, viewer2;
    FakeNotationDriver driver{clock};
    StartupHooks hooks;
};

TEST_F(NotationTest, ModeSwitchesStartAndCloseTheViewer) {
    VelmorState& v = s.velmor;
    notationOn("missing.exe"); // no program: Pause hidden, sheet mode stays
    EXPECT_EQ(std::tuple(v.Command10Visible.get(), v.LoadPDF.get(), log()),
              std::tuple(false, 1, ""));
    v.CNWC.set(0);
    notationOn();
    EXPECT_EQ(std::tuple(log(), v.LoadPDF.get(), s.adobeF.Visible.get(), v.NWCId),
              std::tuple("0 start " + dir.filePath("NWCViewer.exe"), 0, false, 4711));
    const QString closeKeys = ", 0 keys ~, 0 keys %F, 0 keys X";
    v.CNWC.set(0); // closes the viewer: checked again, a new one starts
    notationOn();
    EXPECT_EQ(std::tuple(log(), v.NWCId), std::tuple("0 activate 4711" + closeKeys + ", 0 start " +
                                                         dir.filePath("NWCViewer.exe"),
                                                     4712));
    v.LoadPDF.set(1); // closes the viewer, keys without waits
    EXPECT_EQ(std::tuple(log(), driver.isRunning(4712), v.NWCId, v.CNWC.get(),
                         v.Command10Visible.get(), s.adobeF.Visible.get()),
              std::tuple("0 activate 4712" + closeKeys, false, 0, 0, true, true));
    // A desktop that cannot drive programs: said once, sheet mode stays.
    v.LoadPDF.set(1);
    driver.unavailable = "no X11";
    notationOn();
    EXPECT_EQ(std::tuple(messages.shown, v.CNWC.get(), v.LoadPDF.get(), v.Command10Visible.get()),
              std::tuple(QStringList{"no X11"}, 0, 1, true));
}

// The song's keys with their waits; the 50% zoom only with both boxes on.
TEST_F(NotationTest, SongLoadTypesTheNameWithItsWaits) {
    for (const auto& [zoomNwc, loadPdf] : {std::pair(0, 0), {1, 0}, {0, 1}, {1, 1}}) {
        SCOPED_TRACE(zoomNwc * 10 + loadPdf);
        s.velmor.LoadPDF.set(loadPdf);
        s.velmor.ZoomNWC.set(zoomNwc);
        notationOn("missing.exe"); // leaves LoadPDF as it is
        s.velmor.NWCId = driver.start(dir.filePath("NWCViewer.exe"));
        load();
        int t = loadPdf ? 500 : 0; // the sheet's half second comes first
        QStringList want{QStringLiteral("%1 activate %2").arg(t).arg(s.velmor.NWCId)};
        for (const char* keys : {"~", "%F", "O", "Song Name", "~"})
            want << QStringLiteral("%1 keys %2").arg(t += 500).arg(keys);
        if (zoomNwc && loadPdf)
            want << QStringLiteral("%1 keys %-").arg(t + 100)
                 << QStringLiteral("%1 keys %-").arg(t + 200);
        EXPECT_EQ(log(), want.join(", "));
        s.velmor.NWCId = 0;
        s.velmor.CNWC.set(0);
    }
    EXPECT_TRUE(messages.shown.isEmpty());
}

// Play start, fade and shut-down with the viewer running and with a viewer
// closed by hand: then the load ends with its message, play start and fade
// go on without keys or message, shut-down ends quietly after the played
// list is written.
class ViewerAliveOrGone : public NotationTest, public ::testing::WithParamInterface<bool> {};

TEST_P(ViewerAliveOrGone, PlayStartFadeAndShutDownKeys) {
    const bool gone = GetParam();
    const char* const cases[2][3] = {
        {"0 activate 4711, 100 keys  ",
         "3000 activate 4711, 3100 keys %F, 3200 keys O, 3300 keys ~",
         "0 activate 4711, 500 keys ~, 500 activate 4711, 1000 keys %F, 1000 activate 4711, "
         "1500 keys X"},
        {"0 activate 4711 failed, 100 keys   failed",
         "3000 activate 4711 failed, 3100 keys %F failed, 3200 keys O failed, 3300 keys ~ failed",
         "0 activate 4711 failed"}};
    const auto& [play, fade, shut] = cases[gone];
    notationOn();
    if (gone) driver.end(4711);
    load();
    EXPECT_EQ(messages.shown.size(), gone ? 1 : 0);
    driver.log.clear();
    driver.mark();
    const int64_t t0 = clock.tickMs();
    s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0); // start key, NWC delay, music
    // The music starts all the same.
    EXPECT_EQ(std::tuple(log(), player.URL(), clock.tickMs() - t0),
              std::tuple(play, s.g.SongFile, gone ? clock.tickMs() - t0 : 4600));
    driver.mark();
    Command7_Click(s); // 50 volume steps of 0.06 s, then File, Open, Enter
    EXPECT_EQ(std::tuple(log(), player.URL()), std::tuple(fade, ""));
    driver.mark();
    shutDown(s, hooks); // File, Exit ends the viewer
    EXPECT_EQ(std::tuple(log(), driver.isRunning(4711),
                         QFile::exists(dir.filePath("PlayedList.txt")), messages.shown.size()),
              std::tuple(shut, false, true, gone ? 1 : 0));
}
INSTANTIATE_TEST_SUITE_P(Notation, ViewerAliveOrGone, ::testing::Bool());

// "Load Sheet 1", "Load Sheet 2" and File "Load Sheet 2" end notation mode
// and show their sheet window (window 2 through the real sheet views); only
// the menu entry keeps the overlay down.
TEST_F(NotationTest, SheetButtonsAndMenuEntryShowTheirSheetWindow) {
    WindowRegistry windows;
    installSheetViews(s, windows,
                      {[this](PdfViewer*& v) {
                           v = &viewer2;
                           return static_cast<QWidget*>(nullptr);
                       },
                       [] {}, [] {}});
    MainWindow w{s, player};
    const std::tuple<const char*, std::function<void()>, Prop<bool>*, Flag> cases[] = {
        {"Command16", [&] { w.findChild<QPushButton*>("Command16")->click(); }, &s.adobeF.Visible,
         kTrue},
        {"Command17", [&] { w.findChild<QPushButton*>("Command17")->click(); }, &s.adobeF2.Visible,
         kTrue},
        {"LA2", [&] { w.findChild<QAction*>("LA2")->trigger(); }, &s.adobeF2.Visible, 0}};
    for (const auto& [name, click, shown, armed] : cases) {
        SCOPED_TRACE(name);
        s.adobeF.Visible.set(false);
        s.adobeF2.Visible.set(false);
        s.velmor.CNWC.set(0);
        notationOn();
        ASSERT_GT(s.velmor.NWCId, 0);
        s.velmor.Command10Visible.set(false);
        s.g.OverlayArmed = kTrue;
        click();
        EXPECT_EQ(std::tuple(shown->get(), s.velmor.NWCId, s.velmor.CNWC.get(),
                             s.velmor.Command10Visible.get(), s.g.OverlayArmed),
                  std::tuple(true, 0, 0, true, armed));
    }
    windows.unload("AdobeF2");
    EXPECT_TRUE(messages.shown.isEmpty()) << messages.shown.join('\n').toStdString();
}

// A saved "Control NWCViewer" does not come back; a running viewer is only
// brought to the front by its title and stays unknown, so shut-down leaves it.
TEST_F(NotationTest, StartUpFindsARunningViewerByTitleWithNotationModeOff) {
    {
        Session saved{clock, messages};
        saved.configDir = dir.path();
        saved.velmor.Text3.setText(dir.filePath("NWCViewer.exe"));
        saved.velmor.CNWC.set(1);
        SaveVelmor(saved);
    }
    driver.titles = {"nwcviewer - Song Name"};
    startUp(s, hooks, {});
    EXPECT_EQ(std::tuple(s.velmor.CNWC.get(), s.velmor.NWCTitle, s.velmor.NWCId),
              std::tuple(0, QString("NWCViewer"), 0));
    shutDown(s, hooks);
    EXPECT_EQ(log(), "0 title NWCViewer");
}

// Each help window from its entry: loading keeps the overlay down, "Close"
// unloads the window and lets the overlay come back.
TEST_F(NotationTest, HelpWindowsOpenFromTheirEntriesAndArmTheOverlayOnClose) {
    WindowRegistry windows;
    installHelp(s, windows);
    MainWindow w{s, player};
    SheetWindow sheet{s, nullptr};
    const std::tuple<const char*, std::function<void()>, const char*> cases[] = {
        {"HLPF", [&] { w.findChild<QAction*>("HH")->trigger(); }, "MELLIVANE HELP"},
        {"PDFHelp", [&] { sheet.findChild<QPushButton*>("Command11")->click(); }, "PDF HELP"}};
    for (const auto& [name, open, heading] : cases) {
        SCOPED_TRACE(name);
        s.g.OverlayArmed = kTrue;
        open();
        QWidget* help = windows.find(name);
        ASSERT_TRUE(help && help->isVisible());
        auto* text = help->findChild<QPlainTextEdit*>("Text1");
        EXPECT_EQ(std::tuple(s.g.OverlayArmed, text->isReadOnly(),
                             text->toPlainText().section('\n', 0, 0)),
                  std::tuple(0, true, heading));
        QTest::mouseClick(help->findChild<QPushButton*>("Command1"), Qt::LeftButton); // "Close"
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(std::tuple(windows.find(name), s.g.OverlayArmed),
                  std::tuple((QWidget*)nullptr, kTrue));
    }
}

} // namespace
