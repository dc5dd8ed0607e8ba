// The setup screen on the real main window, offscreen: the menu bar, the
// three sizes and the large list, Restore Settings, the warning of the
// server box, and the page keys while the song list has the focus.

#include "app/main_window.h"
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

TEST_F(SetupScreenTest, MenuBarInItsOrderWithHooksForLaterFeatures) {
    QStringList order;
    for (QAction* a : w.findChild<QMenuBar*>()->actions())
        order << (a->menu() ? a->menu()->objectName() : a->objectName()) + " " + a->text();
    EXPECT_EQ(order, (QStringList{"FF File", "ConnectIt Connect", "SS Setup", "ABT About",
                                  "HH Help", "STX Audio Out", "ZM Zoom"}));
    QStringList file;
    for (QAction* a : w.findChild<QMenu*>(QStringLiteral("FF"))->actions())
        file << a->objectName();
    EXPECT_EQ(file, (QStringList{"EX", "LA2", "SAV"}));
    // Without their features nothing happens; installed, they run.
    QStringList ran;
    for (const char* name : {"LA2", "ConnectIt", "HH"})
        entry(name)->trigger();
    s.LA2_Click = [&] { ran << "LA2"; };
    s.ConnectIt_Click = [&] { ran << "ConnectIt"; };
    s.HH_Click = [&] { ran << "HH"; };
    for (const char* name : {"LA2", "ConnectIt", "HH"})
        entry(name)->trigger();
    EXPECT_EQ(ran, (QStringList{"LA2", "ConnectIt", "HH"}));
    entry("ABT")->trigger();
    EXPECT_EQ(s.g.OverlayTicks, 1);
    EXPECT_EQ(messages.shown, QStringList{"Mellivane Version 2.4"});
}

// Each click, from the size it finds, to the size the window then has.
TEST_F(SetupScreenTest, SizesOfTheWindowAndTheLargeList) {
    struct Step {
        const char* entry;
        double width, height;
        const char* zoomCaption;
    };
    const Step steps[] = {
        {"SS", 9950, 7905, "Zoom"},   // the setup panel
        {"SS", 4785, 7065, "Zoom"},   // back to the small window
        {"ZM", 10250, 7065, "-Zoom"}, // the large list
        {"SS", 9950, 7905, "Zoom"},   // Setup first returns to the small list
        {"ZM", 10250, 7065, "-Zoom"}, {"ZM", 4785, 7065, "Zoom"},
    };
    for (const Step& st : steps) {
        SCOPED_TRACE(st.entry);
        entry(st.entry)->trigger();
        EXPECT_EQ(w.size(), QSize(px(st.width), px(st.height)));
        EXPECT_EQ(s.velmor.ZM.text(), st.zoomCaption);
        EXPECT_EQ(entry("ZM")->text(), st.zoomCaption);
        const bool large = st.zoomCaption[0] == '-';
        EXPECT_EQ(w.File1()->font().pointSize(), large ? 18 : 10);
        EXPECT_EQ(w.File1()->width(), px(large ? 9700 : 4320));
        EXPECT_EQ(w.findChild<QWidget*>("SetupPanel")->isVisible(), !large);
    }
    // The empty label: the notation viewer's fields, and back.
    QWidget* cnwc = w.findChild<QWidget*>("CNWC");
    EXPECT_FALSE(cnwc->isVisible());
    QTest::mouseClick(w.findChild<QWidget*>("Label20"), Qt::LeftButton);
    EXPECT_EQ(w.width(), px(16000));
    EXPECT_TRUE(cnwc->isVisible());
    QTest::mouseClick(w.findChild<QWidget*>("Label20"), Qt::LeftButton);
    EXPECT_EQ(w.width(), px(4455));
    EXPECT_FALSE(cnwc->isVisible());
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
    EXPECT_TRUE(s.adobeF.Visible.get());
    EXPECT_EQ(v.LoadPDF.get(), 1);
    const std::pair<Field*, const char*> kept[] = {
        {&v.Text1, "/songs"}, {&v.Text7, "/songs-2"}, {&v.IPAddress, "10.0.0.2"},
        {&v.PortNr, "4000"},  {&v.BeepX, "800"},      {&v.FadeT, "3"},
        {&v.ZoomIt, "100"},   {&v.PDFHeight, "19500"}};
    for (const auto& [f, text] : kept)
        EXPECT_EQ(f->text(), text);
    EXPECT_EQ(v.IamaServer.get(), 1);
    EXPECT_EQ(v.SendAS.get(), 0);
    EXPECT_EQ(v.ShowB.get(), 0);
    EXPECT_EQ(v.IgnZ.get(), 1);
    EXPECT_EQ(s.adobeF.ZoomThis.text(), "100");
    EXPECT_EQ(w.findChild<QLineEdit*>("FadeT")->text(), "3"); // the widget follows
}

TEST_F(SetupScreenTest, ServerBoxWarnsWhenItBecomesChecked) {
    entry("SS")->trigger();
    auto* box = w.findChild<QCheckBox*>("IamaServer");
    w.findChild<QScrollArea*>("SetupPanel")->ensureWidgetVisible(box);
    const QPoint onTheBox(6, box->height() / 2);
    QTest::mouseClick(box, Qt::LeftButton, {}, onTheBox);
    EXPECT_EQ(s.velmor.IamaServer.get(), 1);
    QTest::mouseClick(box, Qt::LeftButton, {}, onTheBox);
    EXPECT_EQ(messages.shown, QStringList{"Please make sure this is the only PC that is "
                                          "designated 'SERVER'"});
}

// The page keys act on sheet window 1 while the list has the focus, in
// their exact case; a typed zoom reaches the viewer only above 25.
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
    for (const char* typed : {"25", "26"}) {
        zoom->selectAll();
        QTest::keyClicks(zoom, typed);
    }
    EXPECT_EQ(viewer.calls.filter("setZoom"), QStringList{"setZoom(26)"});
    EXPECT_EQ(s.adobeF.ZoomThis.text(), "26");
}

} // namespace
