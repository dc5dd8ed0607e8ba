// Page and scroll navigation in virtual time: the two reading positions of a
// page, the smooth scroll and its re-entrance, the page flags of edit mode,
// the Jump walk, failures, and the keys on the real sheet window.

#include "control_names.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"
#include "stage.h"
#include "units_helpers.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class NavigationTest : public ::testing::Test, protected Stage {
  protected:
    NavigationTest() : Stage(1000, 43200) {
        s.adobeF.AcroPDF1 = &viewer;
        s.adobeF.Visible.set(true);
        s.adobeF.focusCommand14 = [this] { ++focusGiven; };
        s.sendToClients = [this](const QString& t) { sent << t; };
        s.sendSheetToClients = s.sendToClients;
        s.velmor.IamaServer.set(1); // a connected server sends its page tokens
        s.velmor.Shape1.set(true);
        installReadoutFields(s);
        installNavigation(s);
        installSheetGeometry(s);
        s.adobeF.VScroll1.set(500);
    }
    int V() const { return s.adobeF.VScroll1.get(); }
    // Where sheet window 1 stands: its page and its scroll value.
    QString at() const { return QStringLiteral("page %1 V %2").arg(viewer.page).arg(V()); }
    void editMode() { s.adobeF.Shape2.set(true); }
    // The page flags of the tic at the cursor: Nxt and Prv.
    QString flags() const { return s.adobeF.Text9.text() + ' ' + s.adobeF.Text10.text(); }

    QStringList sent;
    int focusGiven = 0;
};

// Sheet window 2 turns along, with its page count and adjustment.
TEST_F(NavigationTest, NextAndPrevTurnAndGoToTheTopOfThePage) {
    FakeViewer v2;
    s.adobeF2.AcroPDF1 = &v2;
    s.adobeF2.Visible.set(true);
    s.adobeF2.PageNR.setText("1"); // as a song load leaves it
    s.g.MapHeaderLines[2] = "350#2";
    s.velmor.AddNext.setText("-200");
    Command3_Click(s); // Next PG alone adds AddNext; window 2 takes its page's adjustment
    EXPECT_EQ(readouts(at(), s.adobeF2.PageNR.text(), v2.page, s.adobeF2.VScroll1.get(),
                       s.adobeF2.VScroll2.get(), s.g.NextPageMark, s.g.AbortScroll),
              readouts("page 2 V 300", "2", 2, 300, 350, kTrue, kTrue));
    Command4_Click(s);
    Command4_Click(s); // on the first page the viewer stays, V goes to the top
    // Window 2's page never goes below 1.
    EXPECT_EQ(readouts(at(), s.g.PrevPageMark, s.adobeF2.PageNR.text(), sent.join(""), focusGiven),
              readouts("page 1 V 500", kTrue, "1", "&COMMAND3/&COMMAND4/&COMMAND4/", 3));
}

// Space up to 100 twips past the top of the page scrolls to AutoScroll
// itself (not plus the offset) in steps of 20, 10 ms apart; further down it
// turns the page.
TEST_F(NavigationTest, SpaceScrollsSmoothlyNearTheTopAndTurnsThePageFurtherDown) {
    int steps = 0;
    s.adobeF.VScroll1.always([&] { ++steps; });
    const std::pair<int, const char*> cases[] = {{500, "page 1 V 8000, 375 steps in 3740 ms"},
                                                 {600, "page 1 V 8000, 370 steps in 3690 ms"},
                                                 {601, "page 2 V 500, 1 steps in 0 ms"}};
    for (auto [start, want] : cases) {
        s.adobeF.VScroll1.set(start);
        steps = 0;
        const int64_t t0 = clock.tickMs();
        Command14_Click(s);
        EXPECT_EQ(at() + QStringLiteral(", %1 steps in %2 ms").arg(steps).arg(clock.tickMs() - t0),
                  want);
    }
    EXPECT_EQ(sent, (QStringList{"&AUTOSCROLL/", "&AUTOSCROLL/", "&COMMAND3/"}));
    EXPECT_EQ(focusGiven, 3);
}

TEST_F(NavigationTest, SecondSpaceDuringAScroll) {
    // Past the top by more than 100: the second press turns the page, and the
    // running scroll sees AbortScroll after its wait and ends.
    clock.at(clock.tickMs() + 200, [this] { Command14_Click(s); });
    Command14_Click(s);
    EXPECT_EQ(readouts(at(), s.g.AbortScroll), readouts("page 2 V 500", 0));
    // Within 100 of the top: a second loop runs inside the first; the outer
    // one then takes one more step and ends.
    s.adobeF.VScroll1.set(500);
    clock.at(clock.tickMs() + 25, [this] { Command14_Click(s); });
    Command14_Click(s);
    EXPECT_EQ(at(), "page 2 V 8020");
}

TEST_F(NavigationTest, ManualScrollJumpsToTheHalfPageAndWritesScrInEditMode) {
    Command6_Click(s);
    EXPECT_EQ(readouts(V(), s.adobeF.Text7.text()), readouts(8500, ""));
    editMode();
    s.g.CursorIndex = 4;
    Command6_Click(s);
    EXPECT_EQ(readouts(s.adobeF.Text7.text(), s.tic.Scr[4], s.adobeF.Picture1.isRed()),
              readouts("8000", "8000", true));
}

TEST_F(NavigationTest, EditModeTogglesThePageFlagsOfTheTic) {
    editMode();
    s.adobeF.Text9.setText("False");
    s.adobeF.Text10.setText("False");
    Command3_Click(s);
    EXPECT_EQ(readouts(flags(), viewer.page), readouts("True False", 2));
    Command3_Click(s); // takes the flag away and turns back
    EXPECT_EQ(readouts(flags(), viewer.page, s.g.PrevPageMark), readouts("False False", 1, kTrue));
    // A press on a tic with Prv set cancels it against the page it adds.
    s.adobeF.Text10.setText("True");
    Command3_Click(s);
    EXPECT_EQ(flags(), "False False");
    // Prev PG in edit mode with Prv set turns forward and counts window 2's
    // page even when it is hidden.
    s.adobeF2.PageNR.setText("1");
    s.adobeF.Text10.setText("True");
    Command4_Click(s);
    EXPECT_EQ(readouts(s.adobeF2.PageNR.text(), s.tic.Prv[0]), readouts("2", "False"));
}

TEST_F(NavigationTest, FailuresShowTheirDescriptionAndWhatWasDoneStands) {
    s.velmor.AddNext.setText("-1000");
    Command3_Click(s);
    EXPECT_EQ(readouts(at(), focusGiven), readouts("page 2 V 500", 0)); // the page has turned
    s.velmor.AddNext.setText("0");
    s.adobeF.Visible.set(false);
    Command4_Click(s);
    EXPECT_EQ(messages.shown,
              (QStringList{"Invalid property value", "Invalid procedure call or argument"}));
}

TEST_F(NavigationTest, JumpNextWalksToTheNextScrollChangeOrPageFlag) {
    editMode();
    // Five tics of 500 ms; the scroll changes at the fourth, the fifth turns the page.
    for (int i = 0; i < 5; ++i) {
        s.tic.Tic[i] = "500";
        s.tic.X[i] = QString::number(10 * (i + 1));
        s.tic.Y[i] = "100";
        s.tic.Scr[i] = i < 3 ? "0" : "8000";
        s.tic.Nxt[i] = boolText(i == 4);
        s.tic.Prv[i] = "False";
    }
    s.adobeF.Text7.setText("0");
    s.adobeF.Text5.setText("5"); // added to X of every tic passed
    JumpNext(s);
    EXPECT_EQ(readouts(s.g.CursorIndex, s.tic.X[1], s.tic.X[3], at()),
              readouts(3, "25", "45", "page 1 V 8500"));
    JumpNext(s); // the page flag stops it
    EXPECT_EQ(readouts(s.g.CursorIndex, viewer.page), readouts(4, 2));
    JumpNext(s); // past the last tic: the empty Tic ends the walk
    EXPECT_EQ(s.g.CursorIndex, 5);
    JumpB_MouseDown(s, 1);
    s.adobeF.Shape2.set(false);
    const int before = s.g.CursorIndex;
    JumpB_MouseDown(s, 1); // outside edit mode nothing happens
    EXPECT_EQ(s.g.CursorIndex, before);
}

TEST_F(NavigationTest, KeysOnTheRealWindowAndSpaceOnAutoScroll) {
    s.adobeF.focusCommand14 = nullptr; // the window installs the real one
    SheetWindow w(s, nullptr);
    w.show();
    QTest::keyClick(&w, 'n');
    EXPECT_EQ(viewer.page, 2);
    QTest::keyClick(&w, 'N'); // capital N does nothing
    EXPECT_EQ(viewer.page, 2);
    auto* command14 = w.findChild<QPushButton*>(QStringLiteral("Command14"));
    ASSERT_NE(command14, nullptr);
    QApplication::processEvents();
    EXPECT_EQ(QApplication::focusWidget(), command14); // Next PG gave it the focus
    QTest::keyClick(command14, '/');
    EXPECT_EQ(viewer.page, 3);
    QTest::keyClick(command14, Qt::Key_Space); // the button's own activation
    EXPECT_EQ(V(), 8000);
    QTest::keyClick(&w, 'z');
    EXPECT_EQ(viewer.page, 2);
    // A failure that gets out of a handler is shown and stops at the window.
    w.handlers[QStringLiteral("Command15")] = [] { throw failures::overflow(); };
    QTest::mouseClick(w.findChild<QPushButton*>(QStringLiteral("Command15")), Qt::LeftButton);
    EXPECT_EQ(messages.shown, QStringList{"Error 6 Overflow"});
}

// An activated sheet window has its keys on Auto Scroll; the readouts take
// keys only when clicked into, fit their usual numbers and show a long one
// from its start; every control without a caption of its own is named.
TEST_F(NavigationTest, ActivatedSheetFocusesAutoScrollAndItsReadoutsShowTheirStart) {
    s.adobeF.focusCommand14 = nullptr;
    SheetWindow w(s, nullptr);
    w.show();
    w.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&w));
    EXPECT_EQ(QApplication::focusWidget()->objectName(), "Command14");
    for (int i = 0; i < 40; ++i) { // Tab walks the buttons, never into a field
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        ASSERT_EQ(qobject_cast<QLineEdit*>(QApplication::focusWidget()), nullptr)
            << qPrintable(QApplication::focusWidget()->objectName());
    }
    SheetOneState& f = s.adobeF;
    const std::tuple<Field*, const char*, const char*> usual[] = {
        {&f.Text1, "Text1", " 2496.41 "}, {&f.Text2, "Text2", " 1295 "},
        {&f.Text3, "Text3", "120"},       {&f.Text4, "Text4", "2412"},
        {&f.Text7, "Text7", "8000"},      {&f.Text9, "Text9", "False"},
        {&f.Text10, "Text10", "False"}};
    for (auto [field, name, text] : usual) {
        field->setText(QString::fromLatin1(text));
        auto* e = w.findChild<QLineEdit*>(QString::fromLatin1(name));
        EXPECT_EQ(e->cursorPosition(), 0) << name;
        // Frame and text margins take about 4 pixels a side.
        EXPECT_LE(e->fontMetrics().horizontalAdvance(e->text()), e->width() - 8) << name;
    }
    f.Text4.setText(QStringLiteral("2666.66666666667")); // too long: its start shows
    EXPECT_EQ(w.findChild<QLineEdit*>(QStringLiteral("Text4"))->cursorPosition(), 0);
    EXPECT_EQ(unnamedControls(&w), QStringList());
}

TEST_F(NavigationTest, ZoomFieldsMirrorAndOnlyZoomsAbove25ReachTheViewer) {
    QStringList mirrored;
    for (auto [field, text, other] : {std::tuple{&s.velmor.ZoomIt, "25", &s.adobeF.ZoomThis},
                                      {&s.adobeF.ZoomThis, "26.7", &s.velmor.ZoomIt},
                                      // passes the value test, is no clean number
                                      {&s.velmor.ZoomIt, "30x", &s.adobeF.ZoomThis}}) {
        field->setText(text);
        mirrored << other->text();
    }
    EXPECT_EQ(mirrored, (QStringList{"25", "26.7", "30x"}));
    EXPECT_EQ(viewer.calls, QStringList{"setZoom(26)"});
    s.velmor.PDFLeftD.setText("-300");
    EXPECT_EQ(s.g.PDFLeftDefault, "-300");
}

TEST_F(NavigationTest, RightDragOnTheFreeSurfaceMovesTheStripAndWidensTheWindow) {
    SheetWindow w(s, nullptr);
    w.show();
    const int widthBefore = w.width();
    auto rightMove = [&](QPointF to) {
        QMouseEvent e(QEvent::MouseMove, to, w.mapToGlobal(to), Qt::NoButton, Qt::RightButton,
                      Qt::NoModifier);
        QApplication::sendEvent(&w, &e);
    };
    // Left of the strip, whose place the test screen (800 wide) leaves as it is.
    QTest::mousePress(&w, Qt::RightButton, {}, QPoint(300, 700));
    rightMove({400, 700});
    QTest::mouseRelease(&w, Qt::RightButton, {}, QPoint(400, 700));
    EXPECT_EQ(std::tuple(s.g.ButtonStripLeft, w.findChild<QWidget*>("VScroll1")->x(), w.width()),
              std::tuple(400 * 15 - 100, px(5900), px(5900 + 2210)));
    EXPECT_NE(w.width(), widthBefore);
    // A move without a press on the surface is no drag.
    rightMove({500, 700});
    EXPECT_EQ(s.g.ButtonStripLeft, 5900);
}

} // namespace

// Where sheet window 1 opens: beside the main window without a place file,
// where the file says with one; inside the screen either way.
TEST(SheetPlace, BesideTheMainWindowOrFromThePlaceFileAndInsideTheScreen) {
    Stage st;
    Session& s = st.s;
    const TwipRect hd{0, 0, 28800, 16200}, narrow{0, 0, 19200, 15360}, tall{0, 0, 24000, 21000};
    struct Case {
        const char* what;
        bool file;
        double top, left;
        TwipRect screen, want;
    };
    const Case cases[] = {
        // Top 1 and the screen's height do not fit by one twip: the top goes to 0.
        {"first start", false, 0, 0, hd, {5086, 0, 16505, 16200}},
        {"first start, narrow screen", false, 0, 0, narrow, {5086, 0, 14114, 15360}},
        {"place file", true, 1500, 3000, tall, {3000, 1500, 16505, 19500}},
        {"place file, too tall", true, 1500, 3000, hd, {3000, 0, 16505, 16200}},
        {"place file, narrower to the room", true, 0, 5490, narrow, {5490, 0, 13710, 15360}},
        {"place file, half its width of room", true, 0, 20548, hd, {12295, 0, 16505, 16200}},
        {"place file, off the right", true, 0, 30000, hd, {12295, 0, 16505, 16200}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        s.adobeF.Top = c.top;
        s.adobeF.Left = c.left;
        const TwipRect r = sheetOnePlace(s, c.file, c.screen);
        EXPECT_EQ((std::array{r.left, r.top, r.width, r.height}),
                  (std::array{c.want.left, c.want.top, c.want.width, c.want.height}));
        EXPECT_TRUE(c.file || r.left > s.velmor.WindowLeft + s.velmor.WindowWidth.get());
    }
}

// Places of the panels and of sheet window 2, in twips, on a laptop screen
// (20490 x 11100 free) and a second screen right of it.
TEST(SheetPlace, PanelsAndSheetTwoStayOnAScreen) {
    const TwipRect laptop{0, 0, 20490, 11100}, second{20490, 0, 28800, 16200};
    const TwipRect main{0, 0, 5085, 7500}, sheet{5085, 0, 15405, 11100};
    struct Case {
        const char* what;
        TwipRect got, want;
    };
    const Case cases[] = {
        {"past the screen's bottom",
         placeOnScreens({0, 10500, 13380, 1410}, {laptop}, {}),
         {0, 9690, 13380, 1410}},
        {"on the second screen",
         placeOnScreens({30000, 15000, 2000, 8000}, {laptop, second}, {}),
         {30000, 8200, 2000, 8000}},
        {"off every screen",
         placeOnScreens({90000, -9000, 2000, 8000}, {laptop, second}, {500, 500, 2000, 8000}),
         {500, 500, 2000, 8000}},
        {"one screen, no room beside",
         placeBeside(16000, 11100, laptop, {main, sheet}, 5000, sheet), sheet},
        {"one screen, room right",
         placeBeside(16000, 11100, laptop, {main, {5085, 0, 8000, 9000}}, 5000, sheet),
         {13085, 0, 7405, 11100}},
        {"nothing else open",
         placeBeside(16000, 9000, laptop, {}, 5000, sheet),
         {0, 0, 16000, 9000}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ((std::array{c.got.left, c.got.top, c.got.width, c.got.height}),
                  (std::array{c.want.left, c.want.top, c.want.width, c.want.height}));
    }
}
