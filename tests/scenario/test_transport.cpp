// Starting, stopping, pausing and fading plays in virtual time over a fake
// player and viewer: the checks, the count-off against the clock's seconds,
// the first tic's due time, the stop triggers, the fade, and the edges of
// the day.

#include "core/session_state.h"
#include "core/startup.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "stage.h"
#include "test_files.h"
#include "transport/play_start.h"
#include "transport/stop_pause.h"
#include "transport/volume_speed.h"
#include "units_helpers.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// A session with a song folder, its readouts logged with the milliseconds
// since the test began: the count-off in `counts`, the cursor's X in `moves`.
struct Transport : Stage {
    explicit Transport(double dayStart = 43200.3) : Stage(1000, dayStart) {
        attachSheetOne(s, player, viewer);
        installNavigation(s);
        installPlayStart(s);
        s.sendToClients = [this](const QString& t) { sent << t; };
        s.sendSheetToClients = s.sendToClients;
        s.g.SongBase = dir.filePath("Song.pdf");
        s.g.SongFile = dir.filePath("Song.pdf");
        s.adobeF.Text11.always([this] { counts << at() + " " + s.adobeF.Text11.text(); });
        s.adobeF.Text1.always([this] { moves << at() + " X=" + s.adobeF.Text1.text(); });
        t0 = clock.tickMs();
    }
    QString at() const { return QString::number(clock.tickMs() - t0); }
    void map(const QStringList& lines) { writeLinesAtomically(dir.filePath("Song.map"), lines); }
    void press(double x) { s.WindowsMediaPlayer1_MouseDown(1, 0, x, 5); }
    // A connected server: it sends its tokens.
    void asServer() {
        s.velmor.IamaServer.set(1);
        s.velmor.Shape1.set(true);
    }
    // Neither the count-off nor the first-note delay.
    void noDelays() {
        s.velmor.PDFDLY.setText("0");
        s.velmor.FirstNote.setText("0");
    }

    QTemporaryDir dir;
    QStringList sent, counts, moves;
    int64_t t0 = 0;
};

class TransportTest : public ::testing::Test, protected Transport {};

TEST_F(TransportTest, ModesRefuseTheStartAfterResettingTheFlags) {
    s.adobeF.Shape2.set(true);
    s.g.Paused = kTrue;
    s.velmor.Command10.setText("Continue");
    press(5);
    // A PDF list plays the MP3.
    EXPECT_EQ(readouts(s.g.Paused, s.g.AbortScroll, s.velmor.Command10.text(), s.g.SongFile),
              readouts(0, kTrue, "Pause", dir.filePath("Song.MP3")));
    s.adobeF.Shape2.set(false);
    s.adobeF.Shape1.set(true);
    press(5);
    Command8_Click(s);
    s.g.Paused = kTrue;
    s.WindowsMediaPlayer1_MouseDown(2, 0, 5, 5); // the right button does nothing at all
    EXPECT_EQ(std::tuple(messages.shown, s.g.Paused, player.calls),
              std::tuple(QStringList{"You are in edit mode", "You are in Record mode",
                                     "You are in Record mode"},
                         kTrue, QStringList{}));
}

TEST_F(TransportTest, CountOffStepsOnTheClocksSecondsAndTheFirstTicFollowsTheDelays) {
    map({"6000", "10", "20", "0", "False", "False"});
    asServer();
    s.adobeF.Text11Visible.always(
        [&] { counts << at() + (s.adobeF.Text11Visible.get() ? " shown" : " hidden"); });
    press(29);
    // "4" stands from the press (12:00:00.3); one less at each new second
    // after the first one the count waited for; hidden at 4 s. The first tic
    // counts from the press: 6000 x .995 = 5970, past the count-off and the
    // 500 ms first-note delay. Sent: the start, the page back after.
    EXPECT_EQ(std::tuple(counts, s.adobeF.Text11.text(), moves.first(), sent),
              std::tuple(QStringList{"0 shown", "1700 3", "2700 2", "3700 1", "4000 hidden"}, "1",
                         "5971 X=10", QStringList{"&START/", "&COMMAND4/"}));
    EXPECT_TRUE(player.calls.contains("URL(" + dir.filePath("Song.MP3") + ")"));
}

TEST_F(TransportTest, ShortFirstTicFallsDueRightAfterTheFirstNoteDelay) {
    map({"2000", "10", "20", "0", "False", "False"});
    s.velmor.PDFDLY.setText("2");
    press(0);
    EXPECT_EQ(moves.first(), "2501 X=10");
}

TEST_F(TransportTest, ConnectedClientWaitsItsOwnDelayButShowsThePdfCount) {
    s.velmor.Shape1.set(true); // connected, not a server
    s.velmor.ClientDelay.setText("");
    map({"100", "10", "20", "0", "False", "False"});
    press(0);
    // The count ends at once, "4" still shown from PDF Delay.
    EXPECT_EQ(std::tuple(counts, s.adobeF.Text11.text(), sent, moves.first()),
              std::tuple(QStringList{}, "4", QStringList{}, "501 X=10"));
}

TEST_F(TransportTest, StopByClickAtThirty) {
    s.adobeF.Picture1.Visible.set(true);
    press(30);
    EXPECT_EQ(std::tuple(s.g.StopRequested, s.adobeF.Picture1.Visible.get(), player.URL(),
                         viewer.calls.last(), counts),
              std::tuple(kTrue, false, "", "gotoFirstPage", QStringList{}));
}

// The other stops, each its own combination, while a play runs.
TEST_F(TransportTest, RandomChoiceRenamingAndClientStopsEndARunningPlayEachInItsWay) {
    noDelays();
    asServer();
    map(rec("1000", "1", "1", "0") + rec("1000", "2", "1", "0") + rec("1000", "3", "1", "0"));
    auto playWith = [&](void (*stop)(Session&)) {
        s.adobeF.Text1.setText("0"); // as after a play that ran its last steps
        moves.clear();
        sent.clear();
        player.calls.clear();
        t0 = clock.tickMs();
        clock.at(t0 + 1500, [this, stop] { stop(s); });
        press(0);
        // The moves without their times, whether &STOP/ went out, the music's end.
        return readouts(moves.replaceInStrings(QRegularExpression("^\\d+ "), "").join(' '),
                        sent.contains("&STOP/"), player.calls.contains("URL()"));
    };
    // Random choice: the tic in progress ends, then the steps after the loop.
    EXPECT_EQ(playWith(&stopForRandomChoice), readouts("X=1 X=2 X=0", true, true));
    EXPECT_EQ(std::tuple(player.calls.contains("close"), s.adobeF.Picture1.Visible.get()),
              std::tuple(true, false));
    // Renaming: the map is closed under the loop, which ends at its next read
    // without the steps after the loop; the stop flag is not raised.
    EXPECT_EQ(playWith(&stopForRenaming).mid(0, 2), readouts("X=1", true));
    EXPECT_EQ(std::tuple(s.adobeF.Text1.text(), s.g.StopRequested), std::tuple("1", 0));
    // A client's stop: no &STOP/ goes out from here.
    EXPECT_EQ(playWith(&stopOnClient), readouts("X=1 X=2 X=0", false, true));
}

TEST_F(TransportTest, PauseFallsOnATicAndContinueGivesTheNextTicItsWholeTime) {
    noDelays();
    map(rec("1000", "1", "1", "0") + rec("1000", "2", "1", "0"));
    clock.at(t0 + 300, [this] { Command10_Click(s); });
    clock.at(t0 + 4000, [this] { Command10_Click(s); });
    press(0);
    EXPECT_EQ(std::tuple(moves.mid(0, 2), player.calls.filter("pause").size(),
                         player.calls.contains("play"), s.velmor.Command10.text()),
              std::tuple(QStringList{"996 X=1", "4996 X=2"}, 1, true, "Pause"));
}

TEST_F(TransportTest, FadeTakesFadeTimeFromVolume50AndRestoresIt) {
    player.setURL(dir.filePath("Song.MP3"));
    player.setSettingsVolume(50);
    asServer();
    player.calls.clear();
    Command7_Click(s);
    // 50 steps of 3 x 0.02 s, the volume restored after the last.
    const QStringList volumes = player.calls.filter("volume(");
    EXPECT_EQ(readouts(at(), volumes.size(), volumes.at(49), player.settingsVolume(),
                       s.velmor.HScroll1.get(), player.URL(), s.g.StopRequested, sent.join(',')),
              readouts(3000, 51, "volume(1)", 50, 50, "", kTrue, "&STOP/"));
}

TEST_F(TransportTest, SongChangeDuringTheCountOffEndsTheLoopAfterTheFirstTic) {
    map(rec("100", "1", "1", "0") + rec("100", "2", "1", "0"));
    clock.at(t0 + 1000, [this] { s.g.StopRequested = kTrue; });
    press(0);
    EXPECT_EQ(moves, (QStringList{"4501 X=1", "7501 X=0"})); // then the steps after the loop
}

// Closing the program inside the count-off ends its wait at once, and the
// map stage after it never starts the music; the settings are saved.
TEST_F(TransportTest, ClosingTheProgramDuringTheCountOffEndsTheWaitAndStartsNothing) {
    map(rec("100", "1", "1", "0"));
    s.configDir = dir.path();
    clock.at(t0 + 1500, [this] { closeProgram(s, StartupHooks{}); });
    press(0);
    // The press loads the song and closes it again before the count-off.
    EXPECT_EQ(readouts(at(), player.calls.filter("URL(").size(), player.URL(), moves.size(),
                       QFile::exists(dir.filePath("Mellivane.ini"))),
              readouts(1500, 1, "", 0, true));
}

TEST_F(TransportTest, ManualPlayStartsTheMusicOnly) {
    s.g.StopRequested = kTrue;
    s.velmor.Speed.setText(".8");
    Command8_Click(s);
    EXPECT_EQ(
        std::tuple(player.URL(), player.calls.contains("rate(.8)"), s.g.StopRequested, counts),
        std::tuple(dir.filePath("Song.MP3"), true, 0, QStringList{}));
    s.g.SongBase.clear();
    player.calls.clear();
    Command8_Click(s);
    EXPECT_TRUE(player.calls.isEmpty());
}

// In the first 20 s of a day there is no count-off and no first-note delay.
// A count-off across midnight ends on time; it ended 2.5 s after midnight, so
// the first-note delay stands behind the day clock's guard and is skipped.
TEST(TransportDay, AfterMidnightNoCountOffAndACountOffAcrossMidnightEndsOnTime) {
    const std::tuple<double, QStringList, QString> cases[] = {
        {5.0, {}, "100 X=1"}, {86398.5, {"1500 3", "2500 2", "3500 1"}, "4000 X=1"}};
    for (const auto& [day, counts, firstMove] : cases) {
        Transport t(day);
        t.map({"100", "1", "1", "0", "False", "False"});
        t.press(0);
        EXPECT_EQ(std::tuple(t.counts, t.moves.first(), t.sent),
                  std::tuple(counts, firstMove, QStringList{}))
            << day;
    }
}

TEST_F(TransportTest, SpeedArrowsWriteTheSumsNumberTextAndTheVolumeBarDrivesThePlayer) {
    QStringList speeds;
    for (auto click : {Command12_Click, Command12_Click, Command13_Click, Command13_Click,
                       Command13_Click, Command12_Click}) {
        click(s);
        speeds << s.velmor.Speed.text();
    }
    s.velmor.Speed.setText(".05");
    Command12_Click(s);
    Command12_Click(s); // nothing keeps it above 0
    speeds << s.velmor.Speed.text();
    EXPECT_EQ(speeds, (QStringList{".95", ".9", ".95", "1", "1.05", "1", "-.05"}));
    installVolume(s);
    s.velmor.HScroll1.set(73);
    asServer();
    Command13_Click(s);
    EXPECT_EQ(std::tuple(player.settingsVolume(), sent.last()), std::tuple(73, "@SPEED/0"));
}

TEST_F(TransportTest, PitchOnlySaysItIsNotThereAndAudioOutRoutesTheSound) {
    installVolume(s);
    Command19_Click(s);
    EXPECT_EQ(s.velmor.Pitch.text(), "1.5");
    player.setURL("x.mp3");
    player.setControlsCurrentPosition(40.0004);
    Command18_Click(s);
    EXPECT_EQ(messages.shown, (QStringList{"Work in progress. Not yet available /  0",
                                           "Work in progress. Not yet available /  40000"}));
    s.velmor.AudioOutNames = {"pulse/a", "pulse/b"};
    AudioOut_Click(s, 1);
    EXPECT_EQ(readouts(s.g.SoundDevice, s.velmor.AudioOutChecks.get(), player.calls.last()),
              readouts(1, 1 << 2, "device(pulse/b)"));
    AudioOut_Click(s, -1);
    EXPECT_EQ(player.calls.last(), "device()");
}

} // namespace
