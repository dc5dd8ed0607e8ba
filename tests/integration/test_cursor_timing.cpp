// A cursor play in real time with the real player on the null output: at
// every move of the cursor the music stands where the map says, over a
// 60-second song, at speed 1 and at speed 0.8; the page turns of the map
// happen and the steps after the loop run.

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "media_gen.h"
#include "sheet/navigation.h"
#include "test_files.h"
#include "transport/mpv_player.h"
#include "transport/play_start.h"

#include <QProcess>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>

using namespace mv;

namespace {

constexpr double kFirst = 1.0, kStep = 2.0; // a move every 2 s of music from 1 s
const int kMoves = qEnvironmentVariableIntValue("MOVES") > 0 ? qEnvironmentVariableIntValue("MOVES")
                                                             : 29; // the last at 57 s

struct Result {
    std::vector<double> errorsMs;
    int pageTurns = 0;  // gotoNextPage during the play
    QStringList after;  // the viewer's calls after the last move
    QString text1After; // "Tic Count" readout once the play is over
};

// Every tenth move turns the page.
bool turnsPage(int k) { return k % 10 == 9; }

Result play(const QString& speed) {
    QTemporaryDir dir;
    std::vector<double> tones;
    for (int i = 0; i < 62; ++i)
        tones.push_back(300 + 20 * (i % 10));
    mv::test::writeToneWav(dir.filePath("Song.wav"), tones, 1.0, 0.3);
    QString music = dir.filePath("Song.wav");
    if (QProcess::execute("lame", {"--quiet", "-b", "96", music, dir.filePath("Song.mp3")}) == 0)
        music = dir.filePath("Song.mp3");
    // The map: each tic is the time to its move, divided by the Tic Offset,
    // rounded on the running total.
    QStringList map = test::kMapHeader;
    long long done = 0;
    for (int k = 0; k < kMoves; ++k) {
        const long long total = std::llround((kFirst + kStep * k) * 1000 / 0.995);
        map << test::rec(QString::number(total - done), QString::number(k + 1), "100", "0",
                         turnsPage(k));
        done = total;
    }
    writeLinesAtomically(dir.filePath("Song.map"), map);

    SystemClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    MpvPlayer player(QStringLiteral("null"));
    test::FakeViewer viewer;
    test::attachSheetOne(s, player, viewer);
    installPlayStart(s);
    installNavigation(s);
    s.velmor.PDFDLY.setText("0");
    s.velmor.FirstNote.setText("0");
    s.velmor.Speed.setText(speed);
    s.g.SongBase = dir.filePath("Song.map");
    s.g.SongFile = music;
    Result r;
    s.adobeF.Text1.always([&] {
        const int k = int(s.adobeF.Text1.value()) - 1;
        if (k < 0) return;
        r.errorsMs.push_back((player.controlsCurrentPosition() - (kFirst + kStep * k)) * 1000);
    });
    s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);
    r.pageTurns = int(viewer.calls.count(QStringLiteral("gotoNextPage")));
    r.text1After = s.adobeF.Text1.text();
    r.after = viewer.calls.mid(viewer.calls.lastIndexOf(QStringLiteral("gotoNextPage")) + 1);
    return r;
}

void check(const Result& r) {
    ASSERT_EQ(int(r.errorsMs.size()), kMoves);
    double worst = 0;
    for (double e : r.errorsMs)
        worst = std::max(worst, std::fabs(e));
    std::string all;
    for (double e : r.errorsMs)
        all += std::to_string(int(std::lround(e))) + " ";
    EXPECT_LE(worst, 20.0) << "errors (ms): " << all;
    std::printf("worst error: %.1f ms\n", worst);
    int turns = 0;
    for (int k = 0; k < kMoves; ++k)
        turns += turnsPage(k);
    EXPECT_EQ(r.pageTurns, turns);
    // After the loop: the readouts back to "0" and one page back.
    EXPECT_EQ(r.text1After, "0");
    EXPECT_EQ(r.after.count(QStringLiteral("gotoPreviousPage")), 1)
        << r.after.join(' ').toStdString();
}

} // namespace

TEST(CursorTiming, MusicAtEveryMoveWithin20msAtSpeed1) { check(play("1")); }
TEST(CursorTiming, MusicAtEveryMoveWithin20msAtSpeed08) { check(play(".8")); }
