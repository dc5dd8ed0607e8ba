// Making and correcting maps on the real sheet window (offscreen) in virtual
// time: presses on the sheet at known moments and places become the exact
// bytes of a recorded map; an edit session of steps, a search, Insert,
// Delete, Adj, a drag and an offset walk becomes the exact bytes of the
// rewritten map; Append writes its clicks after the row on show; every edit
// undoes and redoes exactly; the waveform strip picks and moves tics.

#include "align/operations.h"
#include "align/wave_strip.h"
#include "core/observable.h"
#include "core/session_state.h"
#include "fakes.h"
#include "recording/edit_history.h"
#include "recording/edit_mode.h"
#include "recording/recording_install.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"
#include "stage.h"
#include "test_files.h"
#include "units_helpers.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// The song's map at the start of every test: the recorded form, with a
// second sheet's line read from a file.
// Every cell of every row, 0 to 5000: two tables with equal bytes are equal.
QByteArray tableBytes(const TicTable& t) {
    QByteArray b;
    for (int r = 0; r < TicTable::kRows; ++r)
        for (const QString& c : ticRow(t, r))
            b += c.toUtf8() + '|';
    return b;
}

const QStringList kFixture =
    QStringList{"100@", "0%", "350#1", "#2", "#3", "#4", "#5", "#6", " 80^"} +
    rec("2000", " 1000 ", " 2000 ", "0") + rec("2000", " 2000 ", " 2000 ", "0") +
    rec("3001", " 3000 ", " 2000 ", "8000") + rec("2000", " 1000 ", " 4000 ", "0", true) +
    rec("2000", " 2000 ", " 4000 ", "0");

class RecordingTest : public ::testing::Test, protected Stage {
  protected:
    RecordingTest() : Stage(100'000, 43200), window(s, nullptr) {
        attachSheetOne(s, player, viewer);
        installNavigation(s);
        installSheetGeometry(s);
        installRecording(s);
        installRecordingControls(s, window);
        s.adobeF.focusCommand14 = [] {};
        s.adobeF.Left = 150; // the window 10 px from the screen's left, 1 px from its top
        s.adobeF.Top = 15;
        s.adobeF.VScroll1.set(500);
        player.setSettingsVolume(80);
        s.velmor.Text1.setText(dir.path());
        s.velmor.File1List.set({"Song.mp3"});
        s.velmor.File1ListIndex.set(0);
        s.g.SongBase = dir.filePath("Song.mp3");
        QFile(dir.filePath("Song.mp3")).open(QIODevice::WriteOnly);
        writeLinesAtomically(dir.filePath("Song.map"), kFixture);
    }
    QWidget* control(const char* name) { return window.findChild<QWidget*>(name); }
    void mouse(QWidget* w, QEvent::Type t, QPoint inWindow, Qt::MouseButton b,
               Qt::MouseButtons held) {
        const QPointF at = w->mapFrom(&window, inWindow);
        QMouseEvent e(t, at, w->mapToGlobal(at), b, held, Qt::NoModifier);
        QApplication::sendEvent(w, &e);
    }
    // A press and release, at a place given in the window's pixels.
    void click(QWidget* w, QPoint at, Qt::MouseButton b = Qt::LeftButton) {
        mouse(w, QEvent::MouseButtonPress, at, b, b);
        mouse(w, QEvent::MouseButtonRelease, at, b, Qt::NoButton);
    }
    void press(const char* name, Qt::MouseButton b = Qt::LeftButton) {
        click(control(name), {2, 2}, b);
    }
    void button(const char* name) { qobject_cast<QPushButton*>(control(name))->click(); }
    // A left press on a button, delivered when events are next served.
    void postPress(const char* name) {
        QApplication::postEvent(
            control(name), new QMouseEvent(QEvent::MouseButtonPress, QPointF(2, 2), QPointF(2, 2),
                                           Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
    }
    void at(int64_t ms, std::function<void()> fn) { clock.at(t0 + ms, std::move(fn)); }
    QByteArray map() { return readFile(dir.filePath("Song.map")); }

    QTemporaryDir dir;
    SheetWindow window;
    int64_t t0 = 0;
};

TEST_F(RecordingTest, ClicksOnTheSheetBecomeTheMapAsTheyCome) {
    s.files.open(1, dir.filePath("Song.map"), FileMode::Input); // a play (TIC beeps) reads it
    t0 = clock.tickMs();
    button("Command2"); // Record
    // The lights come on; that play ends (it would move the tic base); the
    // song is loaded; the map is emptied at the press.
    EXPECT_EQ(readouts(s.adobeF.Shape1.get(), s.adobeF.Shape3.get(), s.files.isOpen(1),
                       player.URL(), map().size()),
              (QStringList{"true", "true", "false", dir.filePath("Song.mp3"), "0"}));
    QWidget* sheet = window.carrier();
    at(2340, [&] { click(sheet, {120, 160}); });
    at(3000, [&] { button("Command3"); }); // Next PG leaves its mark for the next click
    at(4215, [&] { click(window.viewer(), {250, 160}); });
    at(4500, [&] { click(&window, {window.width() - 5, 40}); }); // the strip: no tic
    at(5000, [&] { click(sheet, {250, 160}); });                 // the same pixel: no tic
    at(6000, [&] { button("Command6"); });                       // Manual Scroll: half page
    at(6100, [&] { click(sheet, {250, 300}); });
    clock.advanceTo(t0 + 2400);
    // The first record is on the disk while the recording goes on.
    EXPECT_EQ(map(), crlf(kMapHeader + rec("2340", " 1700 ", " 1900 ", "0")));
    clock.advanceTo(t0 + 6500);
    button("Command2");
    EXPECT_EQ(
        readouts(s.adobeF.Shape1.get(), s.adobeF.Picture1.Visible.get(), s.adobeF.Text4.text()),
        (QStringList{"false", "false", "1885"}));
    EXPECT_EQ(map(), crlf(kMapHeader + rec("2340", " 1700 ", " 1900 ", "0") +
                          rec("1875", " 3650 ", " 1900 ", "0", true) +
                          rec("1885", " 3650 ", " 4000 ", "8000")));
}

// With an Output Delay each tap stands for the music 200 ms before it: the
// first tic is 200 ms shorter, the later ones keep their differences.
TEST_F(RecordingTest, OutputDelayRecordsEachTapThatMuchEarlier) {
    s.velmor.OutputDelay.setText("200");
    t0 = clock.tickMs();
    button("Command2");
    at(2340, [&] { click(window.carrier(), {120, 160}); });
    at(4215, [&] { click(window.carrier(), {250, 160}); });
    clock.advanceTo(t0 + 4500);
    button("Command2");
    EXPECT_EQ(map(), crlf(kMapHeader + rec("2140", " 1700 ", " 1900 ", "0") +
                          rec("1875", " 3650 ", " 1900 ", "0")));
}

TEST_F(RecordingTest, RecordRefusesAndTakesNothingWithTheSecondWindow) {
    s.adobeF.Shape3.set(true);
    button("Command2");
    button("Command12"); // Unlock
    s.adobeF.Shape2.set(true);
    button("Command2");
    s.adobeF.Shape1.set(true); // and edit is refused while recording
    press("Command7");
    s.adobeF.Shape1.set(false);
    EXPECT_EQ(messages.shown,
              (QStringList{"Recording is locked. Click the Unlock button before you can record "
                           "over this file",
                           "You should exit the edit mode before starting a new recording.",
                           "You should complete the recording before trying to edit. Click "
                           "record to end the session."}));
    s.adobeF.Shape2.set(false);
    s.adobeF2.Visible.set(true);
    t0 = clock.tickMs();
    button("Command2");
    at(1000, [&] { click(window.carrier(), {120, 160}); });
    clock.advanceTo(t0 + 1500);
    button("Command2");
    EXPECT_EQ(map(), QByteArray()); // a map with no tic: empty, and it exists
}

// Over music that plays, Record does nothing at all: no light, no message,
// the map and the music as they were; with the music stopped it starts.
TEST_F(RecordingTest, RecordOverPlayingMusicIsIgnoredSilently) {
    player.setURL(dir.filePath("Other.mp3"));
    ASSERT_EQ(player.playState(), 3);
    player.calls.clear();
    const QByteArray before = map();
    button("Command2");
    EXPECT_EQ(readouts(s.adobeF.Shape1.get(), messages.shown.size(), player.calls.size(),
                       map() == before),
              readouts(false, 0, 0, true));
    player.close();
    button("Command2");
    EXPECT_EQ(readouts(s.adobeF.Shape1.get(), map().size()), readouts(true, 0));
}

TEST_F(RecordingTest, AnEditSessionRewritesTheMap) {
    s.g.MapHeaderLines[1] = "350#1"; // as the header take leaves it
    s.adobeF2.Visible.set(true);     // the second sheet follows the steps
    s.velmor.XOffset.setText("7");
    for (Field* offset : {&s.adobeF.Text5, &s.adobeF.Text6, &s.adobeF.Text8})
        offset->setText("5"); // left from before: entering edit mode clears them
    press("Command7");        // enter edit mode
    ASSERT_TRUE(s.adobeF.Shape2.get());
    press("Command5");                  // Step >: row 1
    press("Command5", Qt::RightButton); // search to the scroll change: row 2
    EXPECT_EQ(std::tuple(s.g.CursorIndex, s.adobeF2.Picture1.Left.get()), std::tuple(2, 3007));
    button("Command9"); // Insert: 3001 splits into two of 1500
    press("Command5");  // row 3, the copy
    QWidget* cursor = control("Picture1");
    mouse(cursor, QEvent::MouseMove, {200, 100}, Qt::NoButton, Qt::LeftButton);
    mouse(cursor, QEvent::MouseButtonRelease, {200, 100}, Qt::LeftButton, Qt::NoButton);
    press("Command5"); // row 4, its page flag turns the page
    EXPECT_EQ(viewer.page, 2);
    button("Command10"); // Delete it
    button("AdjB");      // half of row 4's time onto the empty row after it
    s.adobeF.Text5.setText("10");
    press("Command8");
    press("Command8"); // back over rows 4 and 3, X + 10 each
    press("Command7"); // leave, saving
    EXPECT_EQ(messages.shown,
              (QStringList{"New Time Inserted. The time was split between the two cursor "
                           "positions. You should now edit the new entry",
                           "TIC Deleted"}));
    EXPECT_EQ(std::tuple(s.adobeF.Shape2.get(), s.adobeF2.PageNR.text()), std::tuple(false, "1"));
    EXPECT_EQ(map(),
              crlf(QStringList{"350#1#1", "#2", "#3", "#4", "#5", "#6", " 80^"} +
                   rec("2000", " 1000 ", " 2000 ", "0") + rec("2000", "2000", "2000", "0") +
                   rec("1500", "3000", "2000", "8000") + rec("1500", "2910", "1000", "8000") +
                   rec("1000", "2010", "4000", "0") + QStringList{"1000", "0", "0", "0", "", ""}));
    // A right press leaves edit mode and the file as they were.
    const QByteArray saved = map();
    press("Command7");
    press("Command5");
    button("Command10");
    press("Command7", Qt::RightButton);
    EXPECT_FALSE(s.adobeF.Shape2.get());
    EXPECT_EQ(map(), saved);
}

TEST_F(RecordingTest, AppendWritesAfterTheRowOnShowAndKeepsTheLaterRows) {
    press("Command7");
    press("Command5"); // row 1
    t0 = clock.tickMs();
    press("Command13"); // Append: the music from the end of row 0, 2 s in
    EXPECT_EQ(player.calls.mid(player.calls.indexOf("close")),
              (QStringList{"close", "URL(" + dir.filePath("Song.mp3") + ")", "position(0)",
                           "position(2)"}));
    at(1500, [&] { click(window.carrier(), {300, 200}); });
    clock.advanceTo(t0 + 1600);
    press("Command7"); // a left press saves while the append plays
    EXPECT_FALSE(s.adobeF.Shape4.get());
    // No second sheet line was read; row 1 was shown, so trimmed; row 2 is
    // the click; rows 3 and 4 stand as they were.
    EXPECT_EQ(splitLines(map()),
              (QStringList{"#1", "#2", "#3", "#4", "#5", "#6", " 80^"} +
               rec("2000", " 1000 ", " 2000 ", "0") + rec("2000", "2000", "2000", "0") +
               rec("1500", "4400", "2500", "0") + kFixture.mid(9 + 3 * 6)));
}

// An append fills the table up to row 4999, the last a map can be loaded
// again with; the click after that ends the append, is not taken, and says so.
TEST_F(RecordingTest, AppendStopsAtTheLastRowAMapCanBeLoadedWith) {
    press("Command7");
    s.adobeF.Text3.setNumber(4998);
    t0 = clock.tickMs();
    press("Command13");
    at(500, [&] { click(window.carrier(), {300, 200}); });
    at(1000, [&] { click(window.carrier(), {320, 220}); });
    clock.advanceTo(t0 + 1200);
    EXPECT_EQ(readouts(s.adobeF.Text3.text(), s.tic.Tic[4999].isEmpty(), s.tic.Tic[5000].isEmpty(),
                       s.adobeF.Shape4.get(), s.g.AppendMode, messages.shown.value(0).left(17)),
              readouts("4999", false, true, false, 0, "The map is full: "));
}

TEST_F(RecordingTest, SaveGoesThroughEditAndAFailedWriteKeepsTheTable) {
    int settingsSaved = 0;
    s.SaveVelmor = [&] { ++settingsSaved; };
    s.velmor.ZoomIt.setText("120"); // chosen in setup: the map takes it
    const int64_t start = clock.tickMs();
    adobeF::SAV_Click(s);
    EXPECT_GE(clock.tickMs() - start, 1000);
    EXPECT_EQ(readouts(settingsSaved, s.adobeF.Shape2.get(), splitLines(map()).mid(0, 2).join('|')),
              (QStringList{"1", "false", "120@|#1"}));
    // The folder has gone by the time edit mode is left: the changes stay.
    press("Command7");
    press("Command5");
    button("Command10");
    ASSERT_TRUE(QDir(dir.path()).removeRecursively());
    press("Command7");
    // Row 1 deleted, the rest still there.
    EXPECT_EQ(readouts(messages.shown.size(), messages.shown.value(1).left(32),
                       s.adobeF.Shape2.get(), s.tic.Tic[1]),
              (QStringList{"2", "The map could not be written to ", "true", "3001"}));
}

TEST_F(RecordingTest, PressesServedInsideAWalkLeaveTheRowsAlone) {
    // A Step > press served while a step or a Jump shows row 2 (its red
    // cursor lets events run) shows row 3; the walk goes on from there and
    // stores nothing of row 2 into row 3.  A quick second press, which Qt
    // delivers as a double click, is a press all the same.
    for (const char* walker : {"Command5", "JumpB"}) {
        SCOPED_TRACE(walker);
        press("Command7");
        press("Command5"); // row 1
        bool posted = false;
        Subscription sub = s.adobeF.Picture1.Red.subscribe([&] {
            if (s.adobeF.Picture1.Red.get() && !std::exchange(posted, true)) postPress("Command5");
        });
        press(walker);
        EXPECT_TRUE(posted);
        EXPECT_EQ(s.g.CursorIndex, 3);
        EXPECT_EQ(ticRow(s.tic, 3), rec("2000", "1000", "4000", "0", true));
        mouse(control("Command5"), QEvent::MouseButtonDblClick, {2, 2}, Qt::LeftButton,
              Qt::LeftButton);
        EXPECT_EQ(s.g.CursorIndex, 4);
        press("Command7", Qt::RightButton);
    }
    // Back over row 3's page flag with the second sheet on its first page: it stays there.
    s.adobeF2.Visible.set(true);
    press("Command7");
    for (int row = 1; row <= 4; ++row)
        press("Command5");
    s.adobeF2.PageNR.setText("1");
    press("Command8");
    EXPECT_EQ(std::tuple(s.g.CursorIndex, s.adobeF2.PageNR.text()), std::tuple(3, "1"));
    press("Command7", Qt::RightButton);
    // An Edit press served inside a step saves and leaves: the step ends there.
    press("Command7");
    postPress("Command7");
    press("Command5");
    EXPECT_FALSE(s.adobeF.Shape2.get() || s.adobeF.Picture1.Visible.get());
}

// The key H runs Hear from the strip's buttons (Auto Scroll, where an
// activated window's keys land, and Step >); a focused readout field keeps
// its letters.
TEST_F(RecordingTest, KeyHRunsHearUnlessAFieldTakesIt) {
    int heard = 0;
    window.handlers["AuditionB"] = [&heard] { ++heard; };
    QStringList got;
    for (const char* name : {"Command14", "Command5", "Text4"}) {
        control(name)->setFocus();
        QKeyEvent h(QEvent::KeyPress, Qt::Key_H, Qt::NoModifier, "h");
        QApplication::sendEvent(control(name), &h);
        got << QString::number(heard);
    }
    EXPECT_EQ(readouts(got.join(' '), s.adobeF.Text4.text()), readouts("1 2 2", "h"));
}

// Presses on the row on show, each from a fresh entry into edit mode on the
// fixture map: a right-press search back, the TIC caption's halving and
// adding back, and Insert at the table's last rows.
TEST_F(RecordingTest, RowOperationsAtTheirEdges) {
    struct Case {
        const char* name;
        std::function<QStringList()> act;
        QStringList expected;
    };
    auto steps = [&](int n) {
        for (int i = 0; i < n; ++i)
            press("Command5");
    };
    auto lastRows = [&] {
        s.tic.Tic[4999] = "801";
        s.tic.X[4999] = "4999";
        s.tic.Tic[5000] = "700";
        s.tic.X[5000] = "5000";
    };
    const Case cases[] = {
        // From the empty row 5 back over row 4 (same scroll) to row 3's
        // page flag, which turns the page back; the next search stops at
        // the scroll change of row 2.
        {"SearchBackToTheFlagThenTheScroll",
         [&] {
             steps(5);
             const int page = viewer.page;
             press("Command8", Qt::RightButton);
             const QStringList first =
                 readouts(s.g.CursorIndex, s.adobeF.Text3.text(), page - viewer.page);
             press("Command8", Qt::RightButton);
             return first + readouts(s.g.CursorIndex, s.adobeF.Text7.text());
         },
         readouts(3, "3", 1, 2, "8000")},
        // Nothing changes back to row 0: the search stops there.
        {"SearchBackStopsAtRowZero",
         [&] {
             steps(1);
             press("Command8", Qt::RightButton);
             return readouts(s.g.CursorIndex, s.adobeF.Text4.text());
         },
         readouts(0, "2000")},
        // 3001 halves to 1500 (ties to even); two other presses on the next
        // row add that half twice.
        {"TicHalvesAndAddsBack",
         [&] {
             steps(2);
             press("Label4");
             steps(1);
             press("Label4", Qt::RightButton);
             press("Label4", Qt::RightButton);
             return readouts(s.tic.Tic[2], s.tic.Tic[3], s.adobeF.Text4.text());
         },
         readouts("1500", "5000", "5000")},
        {"TicPressesOutsideEditMode",
         [&] {
             press("Command7", Qt::RightButton);
             s.adobeF.Text4.setText("5");
             press("Label4");
             const QString halved = s.adobeF.Text4.text();
             press("Label4", Qt::RightButton);
             return readouts(halved, s.adobeF.Text4.text(), s.adobeF.Shape2.get());
         },
         readouts("2", "4", false)},
        // Row 5000 has no next row: Insert leaves the table alone and says so.
        {"InsertAtRow5000IsRefused",
         [&] {
             lastRows();
             s.adobeF.Text3.setNumber(5000);
             button("Command9");
             return readouts(s.g.CursorIndex, s.tic.Tic[4999], s.tic.Tic[5000], s.tic.X[5000],
                             messages.shown.join('|'));
         },
         readouts(5000, "801", "700", "5000", "There is no room after the last row of the table.")},
        // At row 4999 the copy takes row 5000's place and what it held is gone.
        {"InsertAtRow4999DropsRow5000",
         [&] {
             lastRows();
             s.adobeF.Text3.setNumber(4999);
             button("Command9");
             return readouts(s.tic.Tic[4999], s.tic.Tic[5000], s.tic.X[5000],
                             messages.shown.value(0).left(17));
         },
         readouts("400", "400", "4999", "New Time Inserted")},
    };
    const QByteArray before = map();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        press("Command7");
        ASSERT_TRUE(s.adobeF.Shape2.get());
        messages.shown.clear();
        EXPECT_EQ(c.act(), c.expected);
        press("Command7", Qt::RightButton);
    }
    EXPECT_EQ(map(), before); // no case saved
}

// Each kind of edit, one after another, then undone one by one: the table
// comes back byte for byte to the state before each, with the row it was
// made on shown; redone, forward again; an edit after an undo drops what
// could have been redone; all undone, the map written is the unedited one.
TEST_F(RecordingTest, EveryEditUndoesAndRedoesExactly) {
    press("Command7");
    press("Command7"); // in and out without edits: the map as edit mode writes it
    const QByteArray unedited = map();
    press("Command7");
    QWidget* cursor = control("Picture1");
    auto* tic = qobject_cast<QLineEdit*>(control("Text4"));
    auto type = [&](const QString& text) {
        tic->selectAll();
        for (QChar c : text) {
            QKeyEvent e(QEvent::KeyPress, Qt::Key_0 + (c.unicode() - '0'), Qt::NoModifier, c);
            QApplication::sendEvent(tic, &e);
        }
    };
    struct Edit {
        const char* name;
        std::function<void()> before, edit; // `before` only moves between rows
    };
    const Edit edits[] = {
        {"Insert", [&] { press("Command5"); }, [&] { button("Command9"); }},
        {"Delete", [&] { press("Command5"); }, [&] { button("Command10"); }},
        {"Adj", [] {}, [&] { button("AdjB"); }},
        {"StepWithOffsets", [&] { s.adobeF.Text5.setText("10"); },
         [&] {
             press("Command5");
             s.adobeF.Text5.setText("");
         }},
        {"CursorDrag", [] {},
         [&] {
             mouse(cursor, QEvent::MouseMove, {200, 100}, Qt::NoButton, Qt::LeftButton);
             mouse(cursor, QEvent::MouseMove, {230, 120}, Qt::NoButton, Qt::LeftButton);
             mouse(cursor, QEvent::MouseButtonRelease, {230, 120}, Qt::LeftButton, Qt::NoButton);
         }},
        {"TypedTic", [&] { press("Command8"); }, [&] { type("1234"); }},
        {"TicHalved", [] {}, [&] { press("Label4"); }},
        {"TicAddedBack", [&] { press("Command5"); }, [&] { press("Label4", Qt::RightButton); }},
        {"Append", [] {},
         [&] {
             t0 = clock.tickMs();
             press("Command13");
             at(500, [&] { click(window.carrier(), {300, 200}); });
             clock.advanceTo(t0 + 700);
             press("Command13");
         }},
    };
    std::vector<QByteArray> states{tableBytes(s.tic)};
    std::vector<int> rows;
    for (const Edit& e : edits) {
        e.before();
        rows.push_back(s.g.CursorIndex);
        e.edit();
        states.push_back(tableBytes(s.tic));
        EXPECT_NE(states.back(), states[states.size() - 2]) << e.name << " changed nothing";
    }
    for (size_t i = std::size(edits); i-- > 0;) {
        SCOPED_TRACE(edits[i].name);
        button("UndoB");
        EXPECT_EQ(tableBytes(s.tic), states[i]);
        EXPECT_EQ(std::tuple(int(s.g.CursorIndex), s.adobeF.Text4.text()),
                  std::tuple(rows[i], s.tic.Tic[size_t(rows[i])]));
    }
    EXPECT_FALSE(control("UndoB")->isEnabled());
    for (size_t i = 0; i < std::size(edits); ++i) {
        SCOPED_TRACE(edits[i].name);
        button("RedoB");
        EXPECT_EQ(tableBytes(s.tic), states[i + 1]);
    }
    EXPECT_FALSE(control("RedoB")->isEnabled());
    button("UndoB");
    button("UndoB");
    button("Command10"); // a new edit: the two undone ones are gone
    const QByteArray afterDelete = tableBytes(s.tic);
    EXPECT_FALSE(control("RedoB")->isEnabled());
    button("RedoB");
    EXPECT_EQ(tableBytes(s.tic), afterDelete);
    for (int i = 0; i < 20; ++i)
        button("UndoB");
    EXPECT_EQ(tableBytes(s.tic), states[0]);
    press("Command7");
    EXPECT_EQ(map(), unedited);
    // Out of edit mode the history is gone.
    press("Command7");
    EXPECT_FALSE(control("UndoB")->isEnabled() || control("RedoB")->isEnabled());
}

// The keys of the window: Ctrl+Z undoes, Ctrl+Y and Ctrl+Shift+Z redo; a
// field being typed in takes Ctrl+Z for its own text first.
TEST_F(RecordingTest, UndoKeysOnTheWindowAndInAField) {
    window.show();
    QApplication::setActiveWindow(&window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    press("Command7");
    press("Command5");
    const QString before = s.tic.Tic[1];
    button("Command10");
    const QString deleted = s.tic.Tic[1];
    auto keys = [&](QWidget* to, Qt::KeyboardModifiers m, Qt::Key k) {
        QTest::keyClick(to, k, m);
        return s.tic.Tic[1];
    };
    EXPECT_EQ((QStringList{keys(&window, Qt::ControlModifier, Qt::Key_Z),
                           keys(&window, Qt::ControlModifier, Qt::Key_Y),
                           keys(&window, Qt::ControlModifier, Qt::Key_Z),
                           keys(&window, Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z)}),
              (QStringList{before, deleted, before, deleted}));
    auto* tic = qobject_cast<QLineEdit*>(control("Text4"));
    tic->setFocus();
    tic->selectAll();
    QTest::keyClicks(tic, "77");
    const QString typed = s.tic.Tic[1];
    const QString undone = keys(tic, Qt::ControlModifier, Qt::Key_Z); // the field's own undo
    EXPECT_EQ(readouts(typed, undone, s.history->stack().count()), readouts("77", deleted, 1));
    press("Command7", Qt::RightButton);
}

// The strip under the sheet: hidden outside edit mode; a click on a mark
// shows that row (its page turned to); a drag moves that tic and the next
// one the other way, one undo step.
TEST_F(RecordingTest, WaveStripPicksAndMovesTics) {
    align::installWaveStrip(s, window);
    // A tic's milliseconds are the music's: no factor, no delay before it.
    s.velmor.Text5.setText("1");
    s.velmor.FirstNote.setText("0");
    s.velmor.LoadPDF.set(0);
    QWidget* wave = control("Wave");
    EXPECT_FALSE(wave->isVisibleTo(&window));
    press("Command7");
    ASSERT_TRUE(wave->isVisibleTo(&window));
    wave->resize(800, 100); // the 8 s view: 10 ms a pixel
    // Marks at 2000, 4000, 7001, 9001 ms; the view is centred on the row on
    // show (row 0 at entry).
    auto waveClick = [&](int x) { click(wave, wave->mapTo(&window, QPoint(x, 50))); };
    waveClick(600); // 4000 ms: row 1
    EXPECT_EQ(readouts(s.g.CursorIndex, s.adobeF.Text4.text()), readouts(1, "2000"));
    const int page = viewer.page;
    const QPoint from = wave->mapTo(&window, QPoint(700, 50)); // row 2, 7001 ms
    mouse(wave, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    mouse(wave, QEvent::MouseMove, from + QPoint(20, 0), Qt::NoButton, Qt::LeftButton);
    mouse(wave, QEvent::MouseButtonRelease, from + QPoint(40, 0), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(readouts(s.g.CursorIndex, s.tic.Tic[2], s.tic.Tic[3], s.adobeF.Text4.text()),
              readouts(2, "3400", "1601", "3400"));
    waveClick(560); // 9001 ms from row 2's view (7400 ms): row 3, which turns the page
    EXPECT_EQ(readouts(s.g.CursorIndex, viewer.page - page), readouts(3, 1));
    button("UndoB");
    EXPECT_EQ(readouts(s.g.CursorIndex, s.tic.Tic[2], s.tic.Tic[3], viewer.page - page),
              readouts(1, "3001", "2000", 0));
    // The wheel zooms: a notch forward shows less, and the span is held.
    auto* strip = qobject_cast<align::WaveStrip*>(wave);
    std::vector<double> spans;
    for (int notches : {1, -1, -40, 80}) {
        QWheelEvent e(QPointF(400, 50), wave->mapToGlobal(QPointF(400, 50)), {},
                      QPoint(0, 120 * notches), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
        QApplication::sendEvent(wave, &e);
        spans.push_back(strip->view().spanMs);
    }
    EXPECT_EQ(spans, (std::vector<double>{6400, 8000, 120000, 1000}));
    press("Command7", Qt::RightButton);
    EXPECT_FALSE(wave->isVisibleTo(&window));
}

// A step keeps only the rows it touched, and turns each state into the
// other exactly, at the table's ends too.
TEST(TableChange, KeepsTheTouchedRowsAndRestoresBothWays) {
    // Tables are large (5001 rows): on the heap.
    using Table = std::unique_ptr<TicTable>;
    const Table full = std::make_unique<TicTable>();
    for (int r = 0; r < TicTable::kRows; ++r)
        full->Tic[size_t(r)] = QString::number(r + 1);
    auto insertAt = [&](int row) {
        Table t = std::make_unique<TicTable>(*full);
        for (int i = TicTable::kLastRow; i > row; --i)
            setRow(*t, i, rowOf(*t, i - 1));
        t->Tic[size_t(row)] = t->Tic[size_t(row) + 1] = "half"; // as Insert splits
        return t;
    };
    auto deleteAt = [&](int row) {
        Table t = std::make_unique<TicTable>(*full);
        for (int i = row; i < TicTable::kLastRow; ++i)
            setRow(*t, i, rowOf(*t, i + 1));
        setRow(*t, TicTable::kLastRow, TicRow{});
        return t;
    };
    auto cell = [&](int row) {
        Table t = std::make_unique<TicTable>(*full);
        t->X[size_t(row)] = "x";
        return t;
    };
    const std::tuple<const char*, Table, size_t> cases[] = {
        {"OneCell", cell(2500), 2},
        {"InsertNearTheStart", insertAt(3), 3},
        {"InsertAtTheLastRowButOne", insertAt(4999), 3},
        {"DeleteTheFirst", deleteAt(0), 1},
        {"DeleteTheLast", deleteAt(5000), 1},
    };
    for (const auto& [name, edited, rows] : cases) {
        SCOPED_TRACE(name);
        const TableChange c = TableChange::between(*full, *edited);
        EXPECT_EQ(c.before.size() + c.after.size(), rows);
        Table t = std::make_unique<TicTable>(*full);
        c.redo(*t);
        EXPECT_EQ(tableBytes(*t), tableBytes(*edited));
        c.undo(*t);
        EXPECT_EQ(tableBytes(*t), tableBytes(*full));
    }
    EXPECT_TRUE(TableChange::between(*full, *full).empty());
}

} // namespace
