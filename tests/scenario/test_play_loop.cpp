// Whole plays of small maps in virtual time, over a fake player and viewer:
// the ordered trace of readouts, cursor, scroll values and page calls, and
// what stop, speed, Tic Offset, No Scroll, No Cursor and Tick do to it.
// How sheet window 2 follows a play is test_sheet_views' part.

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "fakes.h"
#include "stage.h"
#include "test_files.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// A session whose readouts, cursor, scroll and sheet calls land in one
// trace, each line led by the milliseconds since the play's start.
class PlayLoopTest : public ::testing::Test, protected Stage {
  protected:
    PlayLoopTest() {
        s.player = &player;
        s.beeper = &beeper;
        s.adobeF.AcroPDF1 = &viewer;
        s.adobeF.Visible.set(true);
        s.adobeF_Command4_Click = [this] { log("Command4_Click"); };
        s.focusMainWindow = [this] { log("focus main"); };
        viewer.onCall = [this](const QString& c) { log(c); };
        auto& a = s.adobeF;
        const std::pair<Field*, const char*> readouts[] = {
            {&a.Text1, "X"},   {&a.Text2, "Y"},   {&a.Text3, "CNT"}, {&a.Text4, "TIC"},
            {&a.Text7, "SCR"}, {&a.Text9, "NXT"}, {&a.Text10, "PRV"}};
        for (auto [f, name] : readouts)
            f->always([this, f, name] { log(name + ("=" + f->text())); });
        watch(a.Picture1.Left, "left");
        watch(a.Picture1.Top, "top");
        watch(a.Picture1.Height, "height");
        watch(a.VScroll1, "V");
        a.Picture1.Visible.always([&] { log(a.Picture1.Visible.get() ? "shown" : "hidden"); });
        installReadoutFields(s);
        player.setURL(QStringLiteral("/songs/a.mp3"));
    }
    void log(const QString& what) { trace << QString::number(clock.tickMs() - t0) + ' ' + what; }
    template <class Value> void watch(Value& value, const QString& name) {
        value.always([this, &value, name] { log(name + '=' + numberText(value.get())); });
    }

    // Writes the map, opens it as file 1 and plays it from now, the first
    // tic counted from `startedAgoMs` before (the count-off and first-note
    // delay of a start).
    void play(const QStringList& map, int64_t startedAgoMs = 0) {
        const QString path = dir.filePath(QStringLiteral("song.map"));
        ASSERT_TRUE(writeFile(path, crlf(map)));
        s.files.close(1);
        s.files.open(1, path, FileMode::Input);
        s.g.PlayStartTick = clock.tickMs() - startedAgoMs;
        t0 = clock.tickMs();
        trace.clear();
        playLoop(s);
    }
    // The trace lines that match the pattern.
    QStringList only(const QString& pattern) const {
        return trace.filter(QRegularExpression(pattern));
    }

    FakeBeeper beeper{clock};
    QTemporaryDir dir;
    QStringList trace;
    int64_t t0 = clock.tickMs();
};

TEST_F(PlayLoopTest, RecordedMapPlaysInOrderAtItsTimes) {
    play(kMapHeader + rec("2000", " 1650 ", " 2280 ", "0") +
         rec("1000", " 4110 ", " 2280 ", "8000") + rec("1500", " 300 ", " 900 ", "0", true));
    const QStringList expected = {
        "0 CNT=0", "0 TIC=2000",
        // tick > 2000 * .995 first at 1991
        "1991 X= 1650 ", "1991 left=1650", "1991 Y= 2280 ", "1991 top=2280", "1991 shown",
        "1991 SCR=0", "1991 height=495", "1991 V=500", "1991 NXT=False", "1991 PRV=False",
        "1991 CNT=1", "1991 TIC=1000",
        // 1991 + 995
        "2987 X= 4110 ", "2987 left=4110", "2987 height=135", "2987 SCR=8000", "2987 height=495",
        "2987 V=8500", "2987 CNT=2", "2987 TIC=1500",
        // 2987 + 1492.5
        "4480 X= 300 ", "4480 left=300", "4480 height=135", "4480 Y= 900 ", "4480 top=900",
        "4480 SCR=0", "4480 height=495", "4480 V=500", "4480 NXT=True", "4480 gotoNextPage",
        // after the map: 3 s, readouts to 0, one page back, cursor hidden
        "7480 X=0", "7480 left=0", "7480 height=135", "7480 Y=0", "7480 top=0", "7480 CNT=0",
        "7480 TIC=0", "7480 Command4_Click", "7480 hidden", "7480 focus main"};
    EXPECT_EQ(trace, expected);
    // The played rows stay in the table with the values the loop wrote; the
    // header went to the fields and to the second sheet's slots.
    EXPECT_EQ((QStringList{s.tic.Tic[2], s.tic.Nxt[2], s.tic.X[1], s.velmor.ZoomIt.text(),
                           s.g.MapHeaderLines[3], QString::number(s.g.PlayLoopCount)}),
              (QStringList{"1500", "True", " 4110 ", "100", "#3", "3"}));
}

TEST_F(PlayLoopTest, EmptyMapRunsOnlyTheStepsAfterTheLoop) {
    s.velmor.ShowB.set(1);
    play({});
    // Writing "0" to SCR is a change from "", so the red cursor flashes before
    // the cursor is hidden.
    EXPECT_EQ(trace, (QStringList{"3000 X=0", "3000 left=0", "3000 Y=0", "3000 CNT=0", "3000 TIC=0",
                                  "3000 SCR=0", "3000 height=495", "3000 shown",
                                  "3000 Command4_Click", "3000 hidden", "3000 focus main"}));
    EXPECT_FALSE(s.form1.Visible.get());
    EXPECT_EQ(s.form1.Raised.get(), 1); // the overlay came up in the one pass
}

TEST_F(PlayLoopTest, MapCutShortEndsAfterWhatWasReadWithoutFailure) {
    play(rec("100", "10", "20", "0") + QStringList{"200", " 77 "});
    EXPECT_EQ(only("( X| Y|CNT|TIC)=|Command4"),
              (QStringList{"0 CNT=0", "0 TIC=100", "100 X=10", "100 Y=20", "100 CNT=1",
                           "100 TIC=200", "300 X= 77 ", "3300 X=0", "3300 Y=0", "3300 CNT=0",
                           "3300 TIC=0", "3300 Command4_Click"}));
    // The steps after the loop wrote their "0" into the table: X and Y into
    // the row of the last tic, then CNT "0" moved the row to 0, where TIC's
    // "0" landed.  The readouts and the table are one.
    EXPECT_EQ((QStringList{s.tic.X[1], s.tic.Tic[1], s.tic.Tic[0]}),
              (QStringList{"0", "200", "0"}));
}

// A stop, or the panel's Stop Play, during a tic is seen after its move.
TEST_F(PlayLoopTest, StopAndStopPlayAreSeenAfterTheMoveOfTheTicInProgress) {
    for (Flag* flag : {&s.g.StopRequested, &s.g.CursorPlaySwitch}) {
        s.g.StopRequested = 0;
        clock.at(clock.tickMs() + 500, [flag] { *flag = kTrue; });
        play(rec("2000", "1", "1", "0") + rec("1000", "2", "1", "0"));
        EXPECT_EQ(only(" X="), (QStringList{"1991 X=1", "4991 X=0"}));
    }
    EXPECT_EQ(s.g.CursorPlaySwitch, 0); // cleared when seen
}

// Output Delay moves the cursor and the page turns of the whole play later
// (or earlier) against the clock; a first tic already due fires that much
// after now.
TEST_F(PlayLoopTest, OutputDelayShiftsTheWholePlay) {
    const struct {
        const char* delay;
        int64_t startedAgo;
        int64_t first, second;
    } cases[] = {
        {"0", 0, 1991, 2987},     {"200", 0, 2191, 3187},  {"-300", 0, 1691, 2687},
        {"200", 5000, 200, 1196}, {"5000", 0, 2991, 3987}, {"abc", 0, 1991, 2987},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.delay) + " started " + std::to_string(c.startedAgo));
        s.velmor.OutputDelay.setText(c.delay);
        play(rec("2000", "1", "1", "0") + rec("1000", "2", "1", "0", true), c.startedAgo);
        const QString a = QString::number(c.first), b = QString::number(c.second);
        EXPECT_EQ(only(" X=[12]$|gotoNextPage"),
                  (QStringList{a + " X=1", b + " X=2", b + " gotoNextPage"}));
    }
}

TEST_F(PlayLoopTest, SpeedAndTicOffsetChangedDuringPlay) {
    // Tic Offset changed during the first wait counts in that same wait;
    // Speed changed counts from the next tic, which is divided by it: the
    // tic in progress keeps its target (3002), the next ends above 3002 + 2000.
    clock.at(t0 + 100, [&] { s.velmor.Text5.setText("1"); });
    clock.at(t0 + 2500, [&] { s.velmor.Speed.setText(".5"); });
    play(rec("2000", "1", "1", "0") + rec("1000", "2", "1", "0") + rec("1000", "3", "1", "0"));
    EXPECT_EQ(only("( X|TIC)="),
              (QStringList{"0 TIC=2000", "2001 X=1", "2001 TIC=1000", "3002 X=2", "3002 TIC=2000",
                           "5003 X=3", "8003 X=0", "8003 TIC=0"}));
    EXPECT_TRUE(player.calls.contains("rate(.5)"));
}

TEST_F(PlayLoopTest, NoScrollTurnsScrollIntoCursorTravel) {
    s.velmor.NoScroll.set(1);
    play(rec("100", "1", "1000", "8000") + rec("100", "1", "1000", "-200"));
    // A scroll down goes into Y and the sheet stays at ScrollOffset; a scroll
    // up still scrolls.
    EXPECT_EQ(only("^[12]00 (Y|SCR|V)="),
              (QStringList{"100 Y=1000", "100 Y=9000", "100 SCR=0", "100 V=500", "200 Y=1000",
                           "200 SCR=-200", "200 V=300"}));
}

TEST_F(PlayLoopTest, NoCursorShowsTheCursorOnlyAroundAScrollChange) {
    s.velmor.NoCursor.set(1);
    play(rec("100", "1", "1", "0") + rec("100", "2", "1", "0") + rec("100", "3", "1", "0") +
         rec("100", "4", "1", "500") + rec("100", "5", "1", "500") + rec("100", "6", "1", "500"));
    // Red at the first tic (SCR "" -> "0"), hidden at the end of the next
    // one; again at the change to 500; and the "0" written after the play
    // flashes it once more before the end hides it.
    EXPECT_EQ(only("shown|hidden"), (QStringList{"100 shown", "200 hidden", "400 shown",
                                                 "500 hidden", "3600 shown", "3600 hidden"}));
}

TEST_F(PlayLoopTest, PageFlagsOnlyExactTrueAndZoomThisScalesScroll) {
    s.adobeF.ZoomThis.setText("80");
    play(QStringList{"10", "1", "1", "1000", "TRUE", "true"} +
         rec("10", "1", "1", "1000", false, true));
    EXPECT_EQ(viewer.calls, (QStringList{"gotoPreviousPage"}));
    EXPECT_TRUE(trace.contains("10 V=1200"));
}

TEST_F(PlayLoopTest, TildeLinesAndHeaderBetweenRecordsTakeNoTime) {
    s.velmor.ZoomIt.always([&] { log("zoom=" + s.velmor.ZoomIt.text()); });
    play(rec("100", "1", "1", "0") + QStringList{"~", "120@"} + rec("100", "2", "1", "0"));
    EXPECT_EQ(only(" X=|zoom"), (QStringList{"100 X=1", "100 zoom=120", "200 X=2", "3200 X=0"}));
}

TEST_F(PlayLoopTest, TickCheckBoxBeepsAndHoldsTheLoop) {
    s.adobeF.Tick.set(1);
    s.velmor.BeepX.setText("880.5");
    // Without a beeper the loop is held the beep's 50 ms all the same.
    for (const bool withBeeper : {true, false}) {
        s.beeper = withBeeper ? &beeper : nullptr;
        play(rec("100", "1", "1", "0") + rec("100", "2", "1", "0"));
        // The beep's 50 ms came after PlayStartTick was taken, so it counts
        // in the next tic: the second move at 100 + 100, the readouts after
        // the first beep at 150.
        EXPECT_EQ(only("^[12][05]0 (X|Y)="), (QStringList{"100 X=1", "150 Y=1", "200 X=2"}));
    }
    EXPECT_EQ(beeper.beeps, (QList<QPair<int, int>>{{880, 50}, {880, 50}}));
}

// A failure ends the play at once and silently: file 3 closed, the map left
// open, none of the steps after the loop, what was done stands.
TEST_F(PlayLoopTest, FailuresEndThePlaySilentlyWithoutTheStepsAfterTheLoop) {
    const std::tuple<const char*, QStringList, QStringList> cases[] = {
        // A map that ends right after a "@" line: the loop reads on without a test.
        {"1", {"90@"}, {}},
        {"fast", rec("100", "1", "1", "0"), {}}, // Speed is converted strictly
        {"1", rec("10", "1", "1", "40000") + rec("10", "2", "1", "0"), {"10 X=1"}}};
    for (const auto& [speed, map, moves] : cases) {
        s.velmor.Speed.setText(speed);
        s.files.open(3, dir.filePath("x"), FileMode::Output);
        play(map);
        EXPECT_EQ(only(" X=|Command4_Click"), moves) << qPrintable(map.join(','));
        EXPECT_FALSE(s.files.isOpen(3));
        EXPECT_TRUE(s.files.isOpen(1));
    }
    EXPECT_EQ(s.velmor.ZoomIt.text(), "90");
}

TEST_F(PlayLoopTest, ZeroSpeedLeavesTicsUndividedAndRateUnavailablePlaysNormally) {
    // Speed 0: the tic is not divided and the music runs at normal speed.
    player.setSettingsRate(.5);
    QString music;
    s.adobeF.Text1.always([&] { music += numberText(player.controlsCurrentPosition()) + ' '; });
    s.velmor.Speed.setText("0");
    play(rec("1000", "1", "1", "0"));
    EXPECT_TRUE(trace.contains("996 X=1"));
    EXPECT_TRUE(music.startsWith(".996 ")); // the music at the cursor's move
    player.rateAvailable = false;
    s.velmor.Speed.setText(".5");
    play(rec("1000", "3", "1", "0"));
    EXPECT_TRUE(trace.contains("0 TIC=1000"));
}

} // namespace

// The cursor's place under a zoom: the left 40 % of the window's width
// shrinks by 30 / (30 - z/30), the rest by z/95 from 90 on and z/90 below;
// y by 100 / (100 - z/100).  A zoom that divides by 0 leaves the value.
TEST_F(PlayLoopTest, CursorPlaceZoomCorrectsLeftAndTop) {
    s.adobeF.Width.set(10000);
    const struct {
        const char* zoom;
        double x, y, left, top;
    } cases[] = {
        {"100", 5000, 3000, 5000, 3000},
        {"120", 3999, 3000, 3999 * 30 / 26.0, 3000 * 100 / 98.8},
        {"120", 4000, 0, 4000 * 120 / 95.0, 0}, // the 40 % itself is the right part
        {"90", 5000, 0, 5000 * 90 / 95.0, 0},
        {"89", 5000, 0, 5000 * 89 / 90.0, 0},
        {"900", 3000, 0, 3000, 0},
        {"10000", 5000, 3000, 5000 * 10000 / 95.0, 3000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.zoom);
        s.velmor.ZoomIt.setText(c.zoom);
        EXPECT_NEAR(PosLeft(s, c.x), c.left, 1e-6);
        EXPECT_NEAR(PosTop(s, c.y), c.top, 1e-6);
        EXPECT_EQ(std::pair(s.adobeF.Picture1.Left.get(), s.adobeF.Picture1.Top.get()),
                  std::pair(PosLeft(s, c.x), PosTop(s, c.y)));
    }
}

// A row typed into the count field is taken from 0 to the table's last row.
TEST_F(PlayLoopTest, CursorPlaceTypedRowsInsideTheTableOnly) {
    QList<int> rows;
    for (const char* typed : {"5000", "5001", "0", "-1", "2.6"}) {
        s.adobeF.Text3.setText(typed);
        rows << s.g.CursorIndex;
    }
    EXPECT_EQ(rows, (QList<int>{5000, 5000, 0, 0, 3}));
}
