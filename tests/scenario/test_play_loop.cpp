// Whole plays of small maps in virtual time, over a fake player and viewer:
// the ordered trace of readouts, cursor, scroll values and page calls, and
// what pause, stop, speed, Tic Offset, No Scroll and No Cursor do to it.

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "fakes.h"
#include "stage.h"
#include "test_files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class PlayLoopTest : public ::testing::Test, protected Stage {
  protected:
    PlayLoopTest() {
        s.player = &player;
        s.beeper = &beeper;
        s.adobeF.AcroPDF1 = &viewer;
        s.adobeF.Visible.set(true);
        s.adobeF_Command4_Click = [this] { trace << at() + QStringLiteral(" Command4_Click"); };
        s.focusMainWindow = [this] { trace << at() + QStringLiteral(" focus main"); };
        viewer.onCall = [this](const QString& c) { trace << at() + QStringLiteral(" ") + c; };
        t0 = clock.tickMs();
        auto& a = s.adobeF;
        const std::pair<Field*, const char*> readouts[] = {
            {&a.Text1, "X"},   {&a.Text2, "Y"},   {&a.Text3, "CNT"}, {&a.Text4, "TIC"},
            {&a.Text7, "SCR"}, {&a.Text9, "NXT"}, {&a.Text10, "PRV"}};
        for (auto [f, name] : readouts)
            f->always([this, f, name] { trace << at() + " " + name + "=" + f->text(); });
        auto& c = s.adobeF.Picture1;
        c.Left.always([this, &c] { trace << at() + " left=" + numberText(c.Left.get()); });
        c.Top.always([this, &c] { trace << at() + " top=" + numberText(c.Top.get()); });
        c.Height.always([this, &c] { trace << at() + " height=" + numberText(c.Height.get()); });
        c.Visible.always([this, &c] { trace << at() + (c.Visible.get() ? " shown" : " hidden"); });
        s.adobeF.VScroll1.always(
            [this] { trace << at() + " V=" + numberText(s.adobeF.VScroll1.get()); });
        installReadoutFields(s);
        player.setURL(QStringLiteral("/songs/a.mp3"));
    }

    QString at() const { return QString::number(clock.tickMs() - t0); }

    // Writes the map, opens it as file 1 and plays it from now.
    void play(const QStringList& map) {
        const QString path = dir.filePath(QStringLiteral("song.map"));
        ASSERT_TRUE(writeFile(path, crlf(map)));
        s.files.close(1);
        s.files.open(1, path, FileMode::Input);
        s.g.PlayStartTick = clock.tickMs();
        t0 = clock.tickMs();
        trace.clear();
        playLoop(s);
    }
    // The trace lines that contain `what`.
    QStringList only(const QString& what) const { return trace.filter(what); }

    QStringList& viewerCalls = viewer.calls;
    FakeBeeper beeper{clock};
    QTemporaryDir dir;
    QStringList trace;
    int64_t t0 = 0;
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
    // The played rows stay in the table, with the values the loop wrote.
    EXPECT_EQ(s.tic.Tic[2], "1500");
    EXPECT_EQ(s.tic.Nxt[2], "True");
    EXPECT_EQ(s.tic.X[1], " 4110 ");
    // The header went to the fields and to the second sheet's slots.
    EXPECT_EQ(s.velmor.ZoomIt.text(), "100");
    EXPECT_EQ(s.g.MapHeaderLines[3], "#3");
    EXPECT_EQ(s.g.PlayLoopCount, 3);
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
    EXPECT_TRUE(trace.contains("300 X= 77 "));
    EXPECT_FALSE(trace.contains("300 Y=1"));
    // The steps after the loop ran, and their "0" went into the table: X and
    // Y into the row of the last tic, then CNT "0" moved the row to 0, where
    // TIC's "0" landed.  The readouts and the table are one.
    EXPECT_EQ(s.tic.X[1], "0");
    EXPECT_EQ(s.tic.Tic[1], "200");
    EXPECT_EQ(s.tic.Tic[0], "0");
    EXPECT_EQ(only("Command4_Click").size(), 1);
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
        EXPECT_EQ(only(" X="), moves) << qPrintable(map.join(','));
        EXPECT_TRUE(only("Command4_Click").isEmpty());
        EXPECT_FALSE(s.files.isOpen(3));
        EXPECT_TRUE(s.files.isOpen(1));
    }
    EXPECT_EQ(s.velmor.ZoomIt.text(), "90");
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

TEST_F(PlayLoopTest, SpeedAndTicOffsetChangedDuringPlay) {
    // Tic Offset changed during the first wait counts in that same wait;
    // Speed changed counts from the next tic, which is divided by it.
    clock.at(t0 + 100, [this] { s.velmor.Text5.setText("1"); });
    clock.at(t0 + 2500, [this] { s.velmor.Speed.setText(".5"); });
    play(rec("2000", "1", "1", "0") + rec("1000", "2", "1", "0") + rec("1000", "3", "1", "0"));
    // The tic in progress at the change keeps its target (3002); the next is
    // halved in time (ends when the clock is above 3002 + 2000).
    EXPECT_EQ(only(" X=").mid(0, 3), (QStringList{"2001 X=1", "3002 X=2", "5003 X=3"}));
    EXPECT_TRUE(only("TIC=").contains("3002 TIC=2000"));
    EXPECT_TRUE(player.calls.contains("rate(.5)"));
}

TEST_F(PlayLoopTest, ZeroSpeedLeavesTicsUndividedAndRateUnavailablePlaysNormally) {
    // Speed 0: the tic is not divided and the music runs at normal speed.
    player.setSettingsRate(.5);
    QString music;
    s.adobeF.Text1.always([&] { music += numberText(player.controlsCurrentPosition()) + ' '; });
    s.velmor.Speed.setText("0");
    play(rec("1000", "1", "1", "0"));
    EXPECT_TRUE(only(" X=").contains("996 X=1"));
    EXPECT_TRUE(music.startsWith(".996 ")); // the music at the cursor's move
    player.rateAvailable = false;
    s.velmor.Speed.setText(".5");
    play(rec("1000", "3", "1", "0"));
    EXPECT_TRUE(only("TIC=").contains("0 TIC=1000"));
}

TEST_F(PlayLoopTest, NoScrollTurnsScrollIntoCursorTravel) {
    s.velmor.NoScroll.set(1);
    play(rec("100", "1", "1000", "8000") + rec("100", "1", "1000", "-200"));
    EXPECT_EQ(only("SCR=").mid(0, 2), (QStringList{"100 SCR=0", "200 SCR=-200"}));
    EXPECT_TRUE(trace.contains("100 Y=9000"));
    EXPECT_TRUE(trace.contains("100 V=500")); // the sheet stays at ScrollOffset
}

TEST_F(PlayLoopTest, NoCursorShowsTheCursorOnlyAroundAScrollChange) {
    s.velmor.NoCursor.set(1);
    play(rec("100", "1", "1", "0") + rec("100", "2", "1", "0") + rec("100", "3", "1", "0") +
         rec("100", "4", "1", "500") + rec("100", "5", "1", "500") + rec("100", "6", "1", "500"));
    // Red at the first tic (SCR "" -> "0"), hidden at the end of the next one;
    // again at the change to 500; and the "0" written after the play flashes
    // it once more before the end hides it.
    EXPECT_EQ(only("shown"), (QStringList{"100 shown", "400 shown", "3600 shown"}));
    EXPECT_EQ(only("hidden"), (QStringList{"200 hidden", "500 hidden", "3600 hidden"}));
}

TEST_F(PlayLoopTest, PageFlagsOnlyExactTrueAndZoomThisScalesScroll) {
    s.adobeF.ZoomThis.setText("80");
    play(QStringList{"10", "1", "1", "1000", "TRUE", "true"} +
         rec("10", "1", "1", "1000", false, true));
    EXPECT_EQ(viewerCalls, (QStringList{"gotoPreviousPage"}));
    EXPECT_TRUE(trace.contains("10 V=1200"));
}

TEST_F(PlayLoopTest, TildeLinesAndHeaderBetweenRecordsTakeNoTime) {
    play(rec("100", "1", "1", "0") + QStringList{"~", "120@"} + rec("100", "2", "1", "0"));
    EXPECT_EQ(only(" X="), (QStringList{"100 X=1", "200 X=2", "3200 X=0"}));
    EXPECT_EQ(s.velmor.ZoomIt.text(), "120");
}

TEST_F(PlayLoopTest, SecondWindowFollowsWithItsOwnCorrectionsAndPageAdjustment) {
    FakeViewer viewer2(&viewerCalls, QStringLiteral("2:"));
    s.adobeF2.AcroPDF1 = &viewer2;
    s.adobeF2.Visible.set(true);
    s.adobeF2.PageNR.setText("1"); // as a song load leaves it
    s.adobeF2.AdjLeft.setText("30");
    s.adobeF2.ScrollOffset.setText("100");
    QStringList w2;
    s.adobeF2.Picture1.Left.always(
        [&] { w2 << "left=" + numberText(s.adobeF2.Picture1.Left.get()); });
    s.adobeF2.Picture1.Top.always([&] { w2 << "top=" + numberText(s.adobeF2.Picture1.Top.get()); });
    play(QStringList(kMapHeader).replaceInStrings("#2", "250#2") +
         rec("10", "1000", "2000", "300", true));
    // X + XOffset + AdjLeft; Y through the field with the zoom, then without.
    EXPECT_EQ(w2.mid(0, 2), (QStringList{"left=1030", "top=2100"}));
    EXPECT_EQ(s.adobeF2.PageNR.text(), "2");
    EXPECT_EQ(s.adobeF2.VScroll2.get(), 250);
    EXPECT_EQ(s.adobeF2.VScroll1.get(), 800);
    EXPECT_EQ(viewerCalls, (QStringList{"gotoNextPage", "2:gotoNextPage"}));
}

TEST_F(PlayLoopTest, TickCheckBoxBeepsAndHoldsTheLoop) {
    s.adobeF.Tick.set(1);
    s.velmor.BeepX.setText("880.5");
    play(rec("100", "1", "1", "0") + rec("100", "2", "1", "0"));
    ASSERT_EQ(beeper.beeps.size(), 2);
    EXPECT_EQ(beeper.beeps[0], qMakePair(880, 50));
    // The beep's 50 ms came after PlayStartTick was taken, so it counts in
    // the next tic: the second move comes at 100 + 100, the readouts after
    // the beep at 150.
    EXPECT_TRUE(trace.contains("150 Y=1"));
    EXPECT_TRUE(trace.contains("200 X=2"));
}

} // namespace
