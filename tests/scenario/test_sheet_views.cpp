// Sheet window 2, the button panel, the touch overlay and the pedal keys on
// the real windows offscreen, over fake viewers and the virtual clock.

#include "control_names.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/setup_screen.h"
#include "core/window_registry.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/map_file.h"
#include "cursormap/play_loop.h"
#include "fakes.h"
#include "recording/recording_install.h"
#include "sheet/navigation.h"
#include "sheet/panels.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_two.h"
#include "sheet/sheet_views_install.h"
#include "sheet/sheet_window.h"
#include "test_files.h"
#include "transport/song_loading.h"
#include "units_helpers.h"

#include <QDir>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class SheetViewsTest : public ::testing::Test {
  protected:
    SheetViewsTest() : player(clock) {
        s.configDir = dir.path();
        s.player = &player;
        s.adobeF.AcroPDF1 = &v1;
        installReadoutFields(s);
        installNavigation(s);
        installSheetGeometry(s);
        installRecording(s); // Timer1
        installSetupScreen(s);
        windows.define("AdobeF", [this] { return new SheetWindow(s, nullptr); });
        installSheetViews(s, windows,
                          {[this](PdfViewer*& v) {
                               v = &v2;
                               return static_cast<QWidget*>(nullptr);
                           },
                           [] {}, [] {}});
        windows.get("AdobeF")->show();
        s.adobeF.Visible.set(true);
    }
    ~SheetViewsTest() override {
        for (const char* n : {"Form1", "BControl", "AdobeF2", "AdobeF"})
            windows.unload(n);
    }
    QWidget* w(const QString& window, const QString& control = {}) {
        QWidget* win = windows.get(window);
        return control.isEmpty() ? win : win->findChild<QWidget*>(control);
    }

    QTemporaryDir dir;
    VirtualClock clock{1000, 43200};
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player;
    FakeViewer v1, v2;
    WindowRegistry windows;
};

// The opening leaves the page shifts alone (PageNR emptied first) and takes
// the file's places; a play then moves both windows by their corrections.
TEST_F(SheetViewsTest, CursorPlayMovesBothWindowsByTheirOwnCorrections) {
    ASSERT_TRUE(writeFile(dir.filePath("AdobeF2.ini"), crlf({"100", "30", "600", "0", "0", "0"})));
    s.g.MapHeaderLines[1] = "350#1";
    s.adobeF2.PageNR.setText("1"); // left from an earlier opening
    s.showSheet2();
    EXPECT_EQ(std::tuple(s.adobeF2.Visible.get(), s.adobeF2.PageNR.text(), s.adobeF2.PDFTop.text(),
                         s.adobeF2.VScroll2.get(), s.adobeF2.AcroPDF1Top.get(),
                         s.g.MapHeaderLines[1]),
              std::tuple(true, "", "600", 600, 0, "350#1"));
    // What window 2 shows when its viewer turns to page 3 (the last tic).
    QStringList seen;
    v2.onCall = [&](const QString& call) {
        if (call != "gotoNextPage" || s.adobeF2.PageNR.text() != "3") return;
        const SheetTwoState& w2 = s.adobeF2;
        seen = readouts(w2.Picture1.Left.get(), w2.Picture1.Top.get(), w2.VScroll1.get(),
                        s.adobeF.VScroll1.get(), w2.VScroll2.get(), w("AdobeF2", "Picture1")->x(),
                        w("AdobeF2", "Picture3")->y());
    };
    QStringList map = kMapHeader;
    map[4] = "-420#3";
    map << rec("10", "1000", "2000", "300") + rec("10", "1100", "2100", "0", true) +
               rec("10", "1200", "2200", "700", true);
    ASSERT_TRUE(writeFile(dir.filePath("song.map"), crlf(map)));
    s.velmor.XOffset.setText("7");
    for (bool noAdj : {false, true}) {
        SCOPED_TRACE(noAdj ? "No 2nd PDF Adjustment" : "adjusted");
        s.velmor.NoPDFAdj.set(noAdj ? 1 : 0);
        s.adobeF2.VScroll2.set(0);
        s.adobeF2.PageNR.setText("1");
        v1.page = v2.page = 1;
        s.files.close(1); // the map played from its start on file number 1
        s.files.open(1, dir.filePath("song.map"), FileMode::Input);
        s.g.PlayStartTick = clock.tickMs();
        playLoop(s);
        // X + X Offset + AdjLeft, Y + window 2's Top, Scr + ScrollOffset (the
        // main window's, 500) on both scroll bars, the page's own shift.
        EXPECT_EQ(seen, readouts(1237, 2300, 1200, 1200, noAdj ? 0 : -420, px(1237), -px(1200)));
        // The play's end goes one page back on both; the map's "#2" is a shift of 0.
        EXPECT_EQ(std::tuple(s.adobeF2.PageNR.text(), v2.page, s.adobeF2.VScroll2.get()),
                  std::tuple("2", 2, 0));
    }
}

// Opened on a song already selected, window 2 shows that song's second
// sheet at the zoom of the moment, on page 1 with the map's lines for it
// (it stayed grey until the next selection); opened again while showing,
// it keeps its page.
TEST_F(SheetViewsTest, OpenedAfterASelectionShowsThatSongsSecondSheet) {
    installSongLoading(s);
    ASSERT_TRUE(QDir(dir.path()).mkdir("two"));
    for (const char* name : {"Duet.mp3", "two/Duet.pdf"})
        ASSERT_TRUE(writeFile(dir.filePath(name), ""));
    ASSERT_TRUE(writeFile(dir.filePath("Duet.map"), crlf({"90@", "0%", "-420#1", "35#2", " 80^"})));
    s.velmor.Text1.setText(dir.path());
    s.velmor.Text7.setText(dir.filePath("two"));
    s.velmor.File1List.set({"Duet.mp3"});
    s.velmor.File1ListIndex.set(0);
    s.File1_MouseDown(1, 0, 0, 0);
    ASSERT_TRUE(v2.calls.isEmpty());
    s.velmor.ZoomIt.setText("120"); // zoomed since: the map's "@" is not taken again
    s.showSheet2();
    EXPECT_EQ(readouts(v2.calls.filter("LoadFile").join(u' '), v2.calls.contains("setZoom(120)"),
                       s.velmor.ZoomIt.text(), s.adobeF2.PageNR.text(), s.adobeF2.VScroll2.get(),
                       s.g.MapHeaderLines[1], s.g.MapHeaderLines[2]),
              readouts("LoadFile(" + dir.filePath("two/Duet.pdf") + ")", true, "120", "1", -420,
                       "-420#1", "35#2"));
    v2.calls.clear();
    s.showSheet2();
    EXPECT_EQ(v2.calls, QStringList());
}

TEST_F(SheetViewsTest, SliderStoresPerPageInMemoryAndOffsetMovesTheViewer) {
    s.showSheet2();
    s.adobeF2.PageNR.setText("7");
    s.adobeF2.VScroll2.set(123);
    EXPECT_EQ(std::tuple(s.g.MapHeaderLines[7], s.adobeF2.PDFTop.text()), std::tuple("123", "123"));
    s.g.MapHeaderLines[7].clear();
    s.adobeF2.PDFOffset.setText("45"); // moves the viewer and stores again
    EXPECT_EQ(std::tuple(s.adobeF2.AcroPDF1Top.get(), s.g.MapHeaderLines[7]),
              std::tuple(168, "123"));
    s.adobeF2.PageNR.setText("37"); // no slot: the viewer moves, then the failure
    EXPECT_THROW(s.adobeF2.VScroll2.set(10), Failure);
    EXPECT_EQ(s.adobeF2.AcroPDF1Top.get(), 55);
    // Unloading writes the six lines (the fourth and fifth are the window's
    // place); page 7's shift is in no file.
    s.adobeF2.PageNR.setText("1");
    w("AdobeF2")->close();
    const QStringList lines = QString(readFile(dir.filePath("AdobeF2.ini"))).split("\r\n");
    EXPECT_EQ(lines.mid(0, 3) + lines.mid(5), (QStringList{"0", "0", "10", "45", ""}));
    // Nor in the map; a new start reading that map has none.
    streamOpen(s, dir.filePath("song.map"));
    streamHeader(s);
    streamClose(s);
    Session fresh{clock, messages};
    fresh.adobeF2.Visible.set(true);
    ASSERT_TRUE(headerTake(fresh, dir.filePath("song.map"), [](const QString&) {}));
    EXPECT_EQ(std::tuple(fresh.g.MapHeaderLines[1], fresh.g.MapHeaderLines[7]),
              std::tuple("#1", ""));
}

TEST_F(SheetViewsTest, RightDragIsRelativeAndStopsNarrowingAt1000) {
    s.showSheet2();
    const double width = s.adobeF2.Width.get(), strip = s.adobeF2.VScroll1Left.get();
    sheetTwoPress(s, 9000);
    sheetTwoAdjustAll(s, 9600);
    EXPECT_EQ(std::tuple(s.adobeF2.Width.get(), s.adobeF2.VScroll1Left.get(),
                         w("AdobeF2", "VScroll1")->x()),
              std::tuple(width + 600, strip + 600, px(strip + 600)));
    s.adobeF2.AcroPDF1Width.set(900);
    sheetTwoAdjustAll(s, 9000); // narrower: no
    EXPECT_EQ(s.adobeF2.AcroPDF1Width.get(), 900);
    sheetTwoAdjustAll(s, 9900); // wider from the last drag step: yes
    EXPECT_EQ(s.adobeF2.AcroPDF1Width.get(), 1200);
}

// A window narrower than the strip's place moves the strip left, 4 px (60
// twips) short of the window's right edge.
TEST_F(SheetViewsTest, NarrowWindowTwoKeepsAMarginRightOfItsStrip) {
    s.showSheet2();
    QWidget* win = w("AdobeF2");
    win->resize(420, win->height());
    int right = 0;
    for (QWidget* c : win->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (c->isVisibleTo(win) && c->objectName() != u"Picture3" && c->objectName() != u"Picture1")
            right = std::max(right, c->geometry().right() + 1);
    EXPECT_EQ(win->width() - right, 4);
}

TEST(Px, TwipsFromAFileStayInsideInt) {
    EXPECT_EQ(std::tuple(px(1e300), px(-1e300), px(std::nan("")), px(-22)),
              std::tuple(1 << 24, -(1 << 24), 0, -1));
}

TEST_F(SheetViewsTest, ChooseScreenByNameWithSizeThenIndexFromTheScreenFile) {
    const QList<ScreenRef> two = {{"screen", 0, 1920, 1080}, {"screen", 1, 1280, 1024}};
    const struct {
        ScreenRef remembered;
        QList<ScreenRef> screens;
        int want;
    } cases[] = {
        {{"screen", 1, 1280, 1024}, two, 1},
        {{"screen", 0, 1280, 1024}, two, 1}, // the size tells the X screens apart
        {{"screen", 1, 800, 600}, two, 1},   // resized: the same name at its index
        {{"HDMI-1", 1, 1280, 1024}, two, -1},
        {{"screen", 1, 1280, 1024}, {two[0]}, -1}, // unplugged: the primary
        {{}, two, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(chooseScreen(c.remembered, c.screens), c.want) << c.remembered.name.toStdString();
    writeSheetTwoScreen(s, cases[1].remembered); // read back as written
    EXPECT_TRUE(readSheetTwoScreen(s) == cases[1].remembered);
}

TEST_F(SheetViewsTest, OverlayRhythmAndItsSetters) {
    s.g.OverlayArmed = kTrue;
    s.velmor.ShowB.set(1);
    // How often it was raised and whether it shows, after each step.
    QStringList seen;
    const int raised = s.form1.Raised.get();
    auto step = [&](int ms) {
        clock.advanceBy(ms);
        seen << QStringLiteral("%1 %2")
                    .arg(s.form1.Raised.get() - raised)
                    .arg(s.form1.Visible.get());
    };
    step(4900);
    step(100); // the 50th tick
    EXPECT_EQ(std::tuple(s.form1.Top, s.form1.Height, w("Form1")->isVisible()),
              std::tuple(s.adobeF.Top + 400, s.adobeF.Height - 800, true));
    s.g.OverlayTicks = 51; // a release: raised at the next tick
    step(100);
    s.g.OverlayArmed = 0; // hidden at the next 50th tick, not at once
    step(4900);
    step(100);
    s.showSheet2(); // window 2 visible: Timer1 leaves the overlay as it stands
    s.g.OverlayArmed = kTrue;
    step(10000);
    EXPECT_EQ(seen, (QStringList{"0 0", "1 1", "2 1", "2 1", "2 0", "2 0"}));
}

TEST_F(SheetViewsTest, OverlayClocksSetters) {
    const struct {
        const char* what;
        std::function<void()> act;
        int armed, ticks;
    } cases[] = {
        {"panel press", [&] { BControl_MouseDown(s, "Command4"); }, kTrue, 1},
        {"panel release", [&] { BControl_MouseUp(s, "Command4"); }, kTrue, 51},
        {"Disp List press", [&] { BControl_MouseDown(s, "Command17"); }, 0, 7},
        {"Disp List release", [&] { BControl_MouseUp(s, "Command17"); }, kTrue, 1},
        {"list middle press", [&] { File1_MouseDown(s, 4, 0, 0, 0); }, kTrue, 40},
    };
    for (const auto& c : cases) {
        s.g.OverlayArmed = kTrue;
        s.g.OverlayTicks = 7;
        c.act();
        EXPECT_EQ(std::tuple(s.g.OverlayArmed, s.g.OverlayTicks), std::tuple(c.armed, c.ticks))
            << c.what;
    }
}

// The overlay takes no tab focus and no letters, only the pedal keys; a touch or
// click turns by its zone, once a touch; with FootControl only the top zone
// (a scroll) acts; and it comes back with its sheet window.
TEST_F(SheetViewsTest, OverlayPedalKeysTouchZonesAndFootControl) {
    const struct {
        double x, y;
        const char* want;
    } zones[] = {{4500, 2000, "Command5"},
                 {4501, 2000, "Command4"},
                 {4501, 1499, "Command3"},
                 {100, 1500, "Command5"}};
    for (const auto& z : zones)
        EXPECT_STREQ(touchZone(z.x, z.y, 9000), z.want) << z.x << "," << z.y;
    s.velmor.ShowB.set(1);
    raiseOverlay(s, false);
    QWidget* form = w("Form1");
    EXPECT_FALSE(form->focusPolicy() & Qt::TabFocus);
    for (char letter : {'n', '/'}) // the sheet window's "next page"
        QTest::keyClick(form, letter);
    QTest::keyClick(form, Qt::Key_PageDown);
    EXPECT_EQ(v1.page, 2);
    const QPoint right(form->width() * 3 / 4, form->height() / 2);
    QTest::mouseClick(form, Qt::LeftButton, {}, right);
    EXPECT_EQ(std::tuple(v1.page, s.g.OverlayTicks), std::tuple(3, 51)); // 51: the release
    // One touch is one press, whatever mouse events Qt makes of it.
    QPointingDevice* screen = QTest::createTouchDevice();
    const QPoint at = form->mapTo(form->window(), right);
    QTest::touchEvent(form->window(), screen).press(0, at);
    QTest::touchEvent(form->window(), screen).release(0, at);
    EXPECT_EQ(v1.page, 4);
    s.velmor.FootControl.set(1); // the side zones do nothing, the top one scrolls
    QTest::mouseClick(form, Qt::LeftButton, {}, QPoint(10, form->height() - 10));
    EXPECT_EQ(v1.page, 4);
    QTest::mouseClick(form, Qt::LeftButton, {}, QPoint(10, 5));
    EXPECT_EQ(s.adobeF.VScroll1.get(), 8000);
    windows.unload("AdobeF");
    windows.get("AdobeF")->show();
    raiseOverlay(s, false);
    ASSERT_TRUE(windows.isLoaded("Form1"));
    EXPECT_TRUE(windows.find("Form1")->isVisible());
}

TEST_F(SheetViewsTest, PanelLayoutsExcludeEachOtherAndFollowTheSheet) {
    s.velmor.ShowVB.set(1);
    EXPECT_EQ(s.bControl.Top.get(), 4000);
    clock.advanceBy(100); // Timer3
    // The column is as wide as its widest caption ("Manual Scroll"), at least its width.
    EXPECT_EQ(std::tuple(s.bControl.Top.get(), s.bControl.Left.get(), w("BControl")->height()),
              std::tuple(500, s.adobeF.Left + s.adobeF.Width.get(), px(8010)));
    EXPECT_GE(w("BControl")->width(), px(1935));
    s.velmor.ShowB.set(1);
    EXPECT_EQ(std::tuple(s.velmor.ShowVB.get(), s.bControl.Visible.get(), s.bControl.Vertical.get(),
                         w("BControl")->isVisible()),
              std::tuple(0, true, false, true));
    clock.advanceBy(100);
    EXPECT_EQ(s.bControl.Top.get(), s.adobeF.Top + s.adobeF.Height);
    // Manual Play over Cursor Play: one column, the one below the other.
    const QRect manual = w("BControl", "Command1")->geometry();
    const QRect cursor = w("BControl", "Command6")->geometry();
    EXPECT_EQ(std::tuple(cursor.left(), cursor.width(), cursor.top()),
              std::tuple(manual.left(), manual.width(), manual.bottom() + 1));
    s.velmor.ShowB.set(0);
    EXPECT_FALSE(w("BControl")->isVisible());
    // The sheet window's opening brings the row of buttons and the overlay
    // over its whole height.
    s.velmor.ShowB.set(1);
    s.bControl.Visible.set(false);
    s.adobeF.Visible.set(false);
    s.adobeF.Visible.set(true);
    EXPECT_EQ(
        std::tuple(s.bControl.Visible.get(), s.form1.Visible.get(), s.form1.Top, s.form1.Height),
        std::tuple(true, true, s.adobeF.Top, s.adobeF.Height));
}

TEST_F(SheetViewsTest, FootSwitchTurnsOnTheFocusAndRestsOnDispList) {
    s.velmor.ShowB.set(1);
    s.velmor.FootControl.set(1);
    QWidget* panel = w("BControl");
    panel->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel));
    // The press gives the focus: that turns, and the focus rests on Disp List.
    QTest::mouseClick(w("BControl", "Command4"), Qt::LeftButton);
    EXPECT_EQ(std::tuple(v1.page, panel->focusWidget()->objectName()), std::tuple(2, "Command17"));
    QTest::keyClick(panel->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(v1.page, 3);
    QTest::keyClick(panel->focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(std::tuple(v1.page, panel->focusWidget()->objectName()), std::tuple(2, "Command17"));
    // The overlay's raises every 5 s leave the panel the keyboard: each
    // press after a raise still turns.
    s.g.OverlayArmed = kTrue;
    for (int raise = 0; raise < 3; ++raise) {
        const int raised = s.form1.Raised.get();
        clock.advanceBy(5000);
        QApplication::processEvents();
        ASSERT_GT(s.form1.Raised.get(), raised);
        ASSERT_EQ(std::tuple(QApplication::activeWindow(), w("AdobeF")->focusWidget()),
                  std::tuple(panel, w("AdobeF", "Form1")))
            << "raise " << raise;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(v1.page, 3) << "raise " << raise;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        EXPECT_EQ(v1.page, 2) << "raise " << raise;
    }
}

// The active panel keeps the keyboard when the sheet is given it only
// while Foot Control is on; off, its Manual Play hands the keys to the sheet.
TEST_F(SheetViewsTest, SheetTakesTheKeysFromThePanelUnlessFootControl) {
    s.velmor.ShowB.set(1);
    QWidget* panel = w("BControl");
    auto* sheet = static_cast<SheetWindow*>(w("AdobeF"));
    for (const int foot : {1, 0}) {
        s.velmor.FootControl.set(foot);
        panel->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(panel));
        sheet->takeKeys();
        QTest::qWait(100);
        EXPECT_EQ(QApplication::activeWindow(), foot ? panel : sheet) << "Foot Control " << foot;
        EXPECT_EQ(sheet->focusWidget(), w("AdobeF", "Command14"));
    }
}

TEST_F(SheetViewsTest, PedalKeysTurnOnePageAPress) {
    s.showSheet2();
    EXPECT_EQ(unnamedControls(w("AdobeF2")), QStringList()); // and every control is named
    s.adobeF2.PageNR.setText("1");                           // as a song load leaves it
    auto key = [](QWidget* to, int k, bool repeat = false) {
        QKeyEvent e(QEvent::KeyPress, k, Qt::NoModifier, QString(), repeat);
        QApplication::sendEvent(to, &e);
    };
    QWidget* sheet = w("AdobeF");
    key(sheet, Qt::Key_PageDown);
    key(sheet, Qt::Key_PageDown, true); // held
    clock.advanceBy(299);
    key(w("AdobeF2"), Qt::Key_PageDown); // bounced
    EXPECT_EQ(std::tuple(v1.page, s.adobeF2.PageNR.text()), std::tuple(2, "2"));
    key(sheet, Qt::Key_Right); // another key counts at once
    clock.advanceBy(300);
    key(w("AdobeF2", "VScroll1"), Qt::Key_Right); // 300 ms on: a new press, not the bar's step
    EXPECT_EQ(v1.page, 4);
    key(w("AdobeF", "Text1"), Qt::Key_Left); // the field's own cursor
    key(w("AdobeF", "Text1"), Qt::Key_PageUp);
    EXPECT_EQ(std::tuple(v1.page, s.adobeF2.PageNR.text()), std::tuple(3, "3"));
    s.adobeF.Shape2.set(true); // edit mode: the page flags
    s.adobeF.Text9.setText("False");
    s.adobeF.Text10.setText("False");
    key(w("BControl"), Qt::Key_Down);
    EXPECT_EQ(s.adobeF.Text9.text(), "True");
}

} // namespace
