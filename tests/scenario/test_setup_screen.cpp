// The setup screen on the real main window, offscreen: the menu bar, the
// three sizes and the large list, Restore Settings, the warning of the
// server box, and the page keys while the song list has the focus.

#include "app/main_window.h"
#include "control_names.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/setup_screen.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "stage.h"

#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QScrollArea>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class SetupScreenTest : public ::testing::Test, protected Stage {
  protected:
    SetupScreenTest() : Stage(1000, 43200) {
        s.adobeF.AcroPDF1 = &viewer;
        installNavigation(s);
        installSheetGeometry(s);
        installSetupScreen(s);
        s.showSheet1 = [this] { s.adobeF.Visible.set(true); };
        s.unloadSheet1 = [this] { s.adobeF.Visible.set(false); };
        w.show();
    }
    QAction* entry(const char* name) { return w.findChild<QAction*>(QString::fromLatin1(name)); }

    MainWindow w{s, player};
};

TEST_F(SetupScreenTest, EveryControlWithoutACaptionHasANameAndATip) {
    EXPECT_EQ(unnamedControls(&w), QStringList());
    // The driver finds such a control by its name.
    EXPECT_EQ(w.findChild<QWidget*>("HScroll1")->accessibleName(), "Volume");
}

TEST_F(SetupScreenTest, MenuBarInItsOrderWithHooksForLaterFeatures) {
    QStringList order; // the bar, then the File menu
    for (QAction* a : w.findChild<QMenuBar*>()->actions())
        order << (a->menu() ? a->menu()->objectName() : a->objectName()) + " " + a->text();
    for (QAction* a : w.findChild<QMenu*>(QStringLiteral("FF"))->actions())
        order << a->objectName();
    EXPECT_EQ(order, (QStringList{"FF File", "ConnectIt Connect", "SS Setup", "ABT About",
                                  "HH Help", "STX Audio Out", "ZM Zoom", "EX", "LA2", "SAV"}));
    QStringList ran;
    const std::pair<const char*, std::function<void()>*> hooks[] = {
        {"LA2", &s.LA2_Click}, {"ConnectIt", &s.ConnectIt_Click}, {"HH", &s.HH_Click}};
    for (auto [name, hook] : hooks) {
        entry(name)->trigger(); // without its feature nothing happens
        *hook = [&ran, n = name] { ran << n; };
        entry(name)->trigger();
    }
    EXPECT_EQ(ran, (QStringList{"LA2", "ConnectIt", "HH"}));
    entry("ABT")->trigger();
    EXPECT_EQ(s.g.OverlayTicks, 1);
    EXPECT_EQ(messages.shown, QStringList{"Mellivane Version 2.4"});
}

// Each click, from the size it finds, to the size the window then has.
TEST_F(SetupScreenTest, SizesOfTheWindowAndTheLargeList) {
    const struct {
        const char* entry;
        double width, height;
        const char* zoomCaption;
    } steps[] = {
        {"SS", 9950, 7905, "Zoom"},   // the setup panel
        {"SS", 4785, 7065, "Zoom"},   // back to the small window
        {"ZM", 10250, 7065, "-Zoom"}, // the large list
        {"SS", 9950, 7905, "Zoom"},   // Setup first returns to the small list
        {"ZM", 10250, 7065, "-Zoom"}, {"ZM", 4785, 7065, "Zoom"},
    };
    for (const auto& st : steps) {
        entry(st.entry)->trigger();
        const bool large = st.zoomCaption[0] == '-';
        // The logic's sizes; each column grows to its captions, never below.
        EXPECT_EQ(std::tuple(s.velmor.WindowWidth.get(), s.velmor.WindowHeight.get(),
                             s.velmor.ZM.text(), entry("ZM")->text(), w.File1()->font().pointSize(),
                             w.findChild<QWidget*>("SetupPanel")->isVisible()),
                  std::tuple(st.width, st.height, st.zoomCaption, st.zoomCaption, large ? 18 : 10,
                             !large && st.width > 8750))
            << st.entry;
        EXPECT_GE(w.width(), px(st.width)) << st.entry;
        EXPECT_GE(w.File1()->width(), px(large ? 9700 : 4320) - 16) << st.entry;
    }
    // The empty label: the notation viewer's fields, and back to a window
    // no narrower than its small column.
    QWidget* cnwc = w.findChild<QWidget*>("CNWC");
    EXPECT_FALSE(cnwc->isVisible());
    const int small = w.minimumWidth();
    for (auto [width, shown] : {std::pair(16000, true), {4455, false}}) {
        QTest::mouseClick(w.findChild<QWidget*>("Label20"), Qt::LeftButton);
        EXPECT_EQ(std::tuple(s.velmor.WindowWidth.get(), cnwc->isVisible()),
                  std::tuple(double(width), shown));
        // Wider with the fields (as far as the screen allows), else the small column.
        EXPECT_TRUE(shown ? w.width() > small : w.width() == small) << w.width();
    }
    entry("ZM")->trigger(); // the large list is widened by it too
    QTest::mouseClick(w.findChild<QWidget*>("Label20"), Qt::LeftButton);
    EXPECT_EQ(s.velmor.WindowWidth.get(), 16000);
}

TEST_F(SetupScreenTest, RestoreSettingsLeavesFoldersNetworkAndBeepAndShowsTheSheet) {
    VelmorState& v = s.velmor;
    v.LoadPDF.set(0); // the sheet window goes
    EXPECT_FALSE(s.adobeF.Visible.get());
    v.Text1.setText("/songs");
    v.Text7.setText("/songs-2");
    v.IPAddress.setText("10.0.0.2");
    v.PortNr.setText("4000");
    v.IamaServer.set(1);
    v.SendAS.set(0);
    v.BeepX.setText("800");
    v.FadeT.setText("9");
    v.ZoomIt.setText("150");
    v.PDFHeight.setText("15000");
    v.ShowB.set(1);
    v.IgnZ.set(0);
    QTest::mouseClick(w.findChild<QWidget*>("Command11"), Qt::LeftButton);
    const std::pair<Field*, const char*> kept[] = {
        {&v.Text1, "/songs"}, {&v.Text7, "/songs-2"},  {&v.IPAddress, "10.0.0.2"},
        {&v.PortNr, "4000"},  {&v.BeepX, "800"},       {&v.FadeT, "3"},
        {&v.ZoomIt, "100"},   {&v.PDFHeight, "19500"}, {&v.ClientDelay, "3.5"}};
    for (const auto& [f, text] : kept)
        EXPECT_EQ(f->text(), text);
    EXPECT_EQ(std::tuple(v.IamaServer.get(), v.SendAS.get(), v.ShowB.get(), v.IgnZ.get(),
                         v.LoadPDF.get(), s.adobeF.Visible.get(), s.adobeF.ZoomThis.text(),
                         w.findChild<QLineEdit*>("FadeT")->text()), // the widget follows
              std::tuple(1, 0, 0, 1, 1, true, "100", "3"));
}

TEST_F(SetupScreenTest, ServerBoxWarnsWhenItBecomesChecked) {
    entry("SS")->trigger();
    auto* box = w.findChild<QCheckBox*>("IamaServer");
    w.findChild<QScrollArea*>("SetupPanel")->ensureWidgetVisible(box);
    const QStringList warned{"Please make sure this is the only PC that is designated 'SERVER'"};
    for (int checked : {1, 0}) { // said once, when it becomes checked
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(6, box->height() / 2));
        EXPECT_EQ(std::tuple(s.velmor.IamaServer.get(), messages.shown),
                  std::tuple(checked, warned));
    }
}

// The page keys act on sheet window 1 while the list has the focus, in
// their exact case; a zoom typed into its field reaches the viewer only above 25.
TEST_F(SetupScreenTest, PageKeysWithTheListFocusedAndTheZoomField) {
    s.velmor.File1List.set({"Apple.mp3", "Mango.mp3", "Nut.mp3", "Pear.mp3"});
    w.File1()->setFocus();
    const std::pair<char, int> keys[] = {{'n', 2}, {'/', 3}, {'N', 3}, {'p', 2}, {'z', 1}};
    for (auto [key, page] : keys) {
        s.g.OverlayArmed = kTrue;
        QTest::keyClick(w.File1(), key);
        EXPECT_EQ(viewer.page, page) << key;
        EXPECT_EQ(s.g.OverlayArmed, 0) << key;
    }
    EXPECT_EQ(w.File1()->currentRow(), 2); // "N" was the list's own search
    QTest::keyClick(w.File1(), 'm');
    EXPECT_EQ(s.adobeF.VScroll1.get(), 8500); // Manual Scroll: half a page on
    auto* zoom = w.findChild<QLineEdit*>("ZoomIt");
    zoom->selectAll();
    QTest::keyClicks(zoom, "26"); // "2" on the way does not reach the viewer
    EXPECT_EQ(std::tuple(viewer.calls.filter("setZoom"), s.adobeF.ZoomThis.text()),
              std::tuple(QStringList{"setZoom(26)"}, "26"));
}

} // namespace
