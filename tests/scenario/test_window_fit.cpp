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
#include "transport/delay_measure_window.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
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
        installOutputDelay(s, windows);
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
        for (const char* n : {"MeasureDelay", "Form1", "BControl", "AdobeF2", "AdobeF", "Velmor"})
            windows.unload(n);
    }
    // The faults of every shown window, once the sheet window's placing
    // after its framing (300 ms) has run.
    QStringList faults() {
        QTest::qWait(350);
        QStringList all;
        for (const char* n : {"Velmor", "AdobeF", "AdobeF2", "BControl", "MeasureDelay"})
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
        {"measuring the output delay", [this] { windows.get("MeasureDelay")->show(); }},
        {"setup closed",
         [this] {
             windows.get("MeasureDelay")->hide();
             menu("SS");
         }},
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

// "Scrn1" and "Scrn 2" are option buttons: a click chooses one and clears
// the other, a click on the chosen one keeps it; the settings may leave
// neither chosen, and the buttons show it.
TEST_F(WindowFitTest, ScreenChoiceIsOneOrTheOther) {
    QWidget* main = windows.get("Velmor");
    auto* one = main->findChild<QAbstractButton*>("Scrn0");
    auto* two = main->findChild<QAbstractButton*>("Scrn1");
    QStringList seen;
    for (QAbstractButton* b : {one, two, two}) {
        QTest::mouseClick(b, Qt::LeftButton);
        seen << QStringLiteral("%1%2").arg(s.velmor.Scrn0.get()).arg(s.velmor.Scrn1.get());
    }
    s.velmor.Scrn1.set(0);
    seen << QStringLiteral("%1%2").arg(one->isChecked()).arg(two->isChecked());
    EXPECT_EQ(seen, (QStringList{"10", "01", "01", "00"}));
}

// Each kind of cut the fit check knows, in a window of its own, named by
// window, control and what is cut; the cases without a fault must show none.
TEST(FitCheck, NamesEachKindOfCut) {
    auto put = [](QWidget* w, const char* name, QRect r) {
        w->setObjectName(QString::fromLatin1(name));
        w->setGeometry(r);
        return w;
    };
    const QString words = QStringLiteral("a caption of many words that wraps over several lines");
    const struct {
        const char* what;
        std::function<void(QWidget*)> build;
        const char* fault; // a part of the fault's line; empty: no fault
    } cases[] = {
        {"siblings overlap",
         [&](QWidget* w) {
             put(new QPushButton("A", w), "A", {10, 10, 60, 30});
             put(new QPushButton("B", w), "B", {40, 30, 60, 30});
         },
         "W.B: overlaps A"},
        {"stacked fields share a line of pixels",
         [&](QWidget* w) {
             put(new QLineEdit("1", w), "X", {10, 10, 60, 25});
             put(new QLineEdit("2", w), "Y", {10, 34, 60, 25});
         },
         ""},
        {"a control above on purpose",
         [&](QWidget* w) {
             put(new QPushButton("A", w), "A", {10, 10, 60, 30});
             put(new QWidget(w), "Cursor", {20, 0, 5, 60})->setProperty("mvAbove", true);
         },
         ""},
        {"a wrapped label too low",
         [&](QWidget* w) {
             put(new QLabel(words, w), "L", {10, 10, 90, 20})->setProperty("wordWrap", true);
         },
         "W.L: \"a caption"},
        {"a wrapped label with room",
         [&](QWidget* w) {
             put(new QLabel(words, w), "L", {10, 10, 280, 150})->setProperty("wordWrap", true);
         },
         ""},
        {"a rich text label too narrow",
         [&](QWidget* w) {
             put(new QLabel("<b>Bold caption</b>", w), "L", {10, 10, 30, 30});
         },
         "W.L: \"<b>Bold caption</b>\" needs"},
        {"a button too low",
         [&](QWidget* w) {
             put(new QPushButton("Play", w), "P", {10, 10, 120, 6});
         },
         "W.P: \"Play\" needs"},
        {"a combo box's entry cut",
         [&](QWidget* w) {
             auto* c = new QComboBox(w);
             c->addItem(QStringLiteral("Default output device"));
             put(c, "C", {10, 10, 60, 30});
         },
         "W.C: \"Default output device\" needs"},
        {"a spin box's text cut",
         [&](QWidget* w) {
             auto* sp = new QSpinBox(w);
             sp->setSuffix(QStringLiteral(" seconds"));
             put(sp, "S", {10, 10, 50, 30});
         },
         "W.S: \"0 seconds\" needs"},
        {"a group box's title cut",
         [&](QWidget* w) {
             put(new QGroupBox(QStringLiteral("Buttons and touch zones"), w), "G",
                 {10, 10, 40, 80});
         },
         "W.G: title"},
        {"everything fits",
         [&](QWidget* w) {
             put(new QPushButton("OK", w), "A", {10, 10, 80, 30});
             put(new QLabel("Volume", w), "L", {10, 50, 120, 30});
         },
         ""},
    };
    for (const auto& c : cases) {
        QWidget window;
        window.setObjectName(QStringLiteral("W"));
        window.setGeometry(20, 40, 300, 200);
        c.build(&window);
        window.show();
        const QString faults = fitProblems(&window).join(u'\n');
        if (*c.fault)
            EXPECT_TRUE(faults.contains(QString::fromUtf8(c.fault)))
                << c.what << ": " << faults.toStdString();
        else
            EXPECT_EQ(faults, QString()) << c.what;
    }
}

} // namespace
