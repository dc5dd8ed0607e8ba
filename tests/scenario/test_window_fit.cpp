// Every window of the program, in each state a musician meets, on the
// screen the test runs on (ctest runs it on 1366x768 and 1920x1080): each
// frame inside the screen's free part, each caption whole, no control
// outside its window.

#include "align/align_window.h"
#include "app/main_window.h"
#include "core/fit_check.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/setup_screen.h"
#include "core/window_registry.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "recording/recording_install.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_views_install.h"
#include "sheet/sheet_window.h"

#include <QAction>
#include <QApplication>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class WindowFitTest : public ::testing::Test {
  protected:
    WindowFitTest() : player(clock) {
        s.configDir = dir.path();
        s.player = &player;
        s.adobeF.AcroPDF1 = &v1;
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        s.screenWidth = screen.width() * 15.0;
        s.screenHeight = screen.height() * 15.0;
        installReadoutFields(s);
        installNavigation(s);
        installSheetGeometry(s);
        installRecording(s);
        installSetupScreen(s);
        windows.define("Velmor", [this] { return new MainWindow(s, player); });
        windows.define("AdobeF", [this] {
            auto* w = new SheetWindow(s, nullptr);
            installRecordingControls(s, *w);
            align::installAlignControls(s, *w);
            w->placeOnScreen(false);
            return w;
        });
        installSheetViews(s, windows,
                          {[this](PdfViewer*& v) {
                               v = &v2;
                               return static_cast<QWidget*>(nullptr);
                           },
                           [] {}, [] {}});
        QWidget* main = windows.get("Velmor");
        main->move(0, 0);
        main->show();
        s.showSheet1 = [this] {
            windows.get("AdobeF")->show();
            s.adobeF.Visible.set(true);
        };
        s.showSheet1();
    }
    ~WindowFitTest() override {
        for (const char* n : {"Form1", "BControl", "AdobeF2", "AdobeF", "Velmor"})
            windows.unload(n);
    }
    // The faults of every shown window, once the sheet window's placing
    // after its framing (300 ms) has run.
    QStringList faults() {
        QTest::qWait(350);
        QStringList all;
        for (const char* n : {"Velmor", "AdobeF", "AdobeF2", "BControl"})
            if (QWidget* w = windows.find(n)) all << fitProblems(w);
        return all;
    }
    // Walks the states a musician meets and checks every window in each.
    void walk();
    void menu(const char* name) {
        windows.get("Velmor")->findChild<QAction*>(QString::fromLatin1(name))->trigger();
    }
    void label20() {
        QTest::mouseClick(windows.get("Velmor")->findChild<QWidget*>("Label20"), Qt::LeftButton);
    }

    QTemporaryDir dir;
    VirtualClock clock{1000, 43200};
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player;
    FakeViewer v1, v2;
    WindowRegistry windows;
};

// A larger desktop font than Debian's default.
struct LargerFont {
    LargerFont() {
        QFont f = before;
        f.setPointSize(before.pointSize() + 3);
        QApplication::setFont(f);
    }
    ~LargerFont() { QApplication::setFont(before); }
    QFont before = QApplication::font();
};

class LargerFontFitTest : private LargerFont, public WindowFitTest {};

TEST_F(WindowFitTest, EveryWindowFitsInEachState) { walk(); }
TEST_F(LargerFontFitTest, EveryWindowFitsInEachState) { walk(); }

void WindowFitTest::walk() {
    const std::pair<const char*, std::function<void()>> steps[] = {
        {"first start", [] {}},
        {"setup panel", [this] { menu("SS"); }},
        {"notation fields", [this] { label20(); }},
        {"notation fields closed", [this] { label20(); }},
        {"setup closed", [this] { menu("SS"); }},
        {"large list", [this] { menu("ZM"); }},
        {"small list", [this] { menu("ZM"); }},
        {"horizontal buttons", [this] { s.velmor.ShowB.set(1); }},
        {"vertical buttons", [this] { s.velmor.ShowVB.set(1); }},
        {"buttons off", [this] { s.velmor.ShowVB.set(0); }},
        {"sheet window 2", [this] { s.showSheet2(); }},
        {"edit mode",
         [this] {
             s.g.SongBase =
                 dir.filePath("Song.mp3"); // a song without a map: edit mode all the same
             QTest::mouseClick(windows.get("AdobeF")->findChild<QWidget*>("Command7"),
                               Qt::LeftButton);
         }},
    };
    for (const auto& [state, step] : steps) {
        step();
        EXPECT_EQ(faults(), QStringList()) << state;
    }
}

// "Scrn1" and "Scrn 2" are one choice: either, or neither.
TEST_F(WindowFitTest, ScreenChoiceIsOneOrTheOther) {
    QWidget* main = windows.get("Velmor");
    QStringList seen;
    for (const char* name : {"Scrn0", "Scrn1", "Scrn1"}) {
        QTest::mouseClick(main->findChild<QWidget*>(name), Qt::LeftButton);
        seen << QStringLiteral("%1%2").arg(s.velmor.Scrn0.get()).arg(s.velmor.Scrn1.get());
    }
    EXPECT_EQ(seen, (QStringList{"10", "01", "00"}));
}

} // namespace
