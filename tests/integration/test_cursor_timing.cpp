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
constexpr int kMoves = 29;                  // the last at 57 s, every tenth a page turn

// A 62-second song (an MP3 where lame is at hand) with the map of its moves:
// each tic is the time to its move, divided by the Tic Offset, rounded on
// the running total.  Returns the music's file.
QString writeSong(const QTemporaryDir& dir) {
    std::vector<double> tones;
    for (int i = 0; i < 62; ++i)
        tones.push_back(300 + 20 * (i % 10));
    test::writeToneWav(dir.filePath("Song.wav"), tones, 1.0, 0.3);
    QStringList map = test::kMapHeader;
    for (long long k = 0, done = 0; k < kMoves; ++k) {
        const long long total = std::llround((kFirst + kStep * double(k)) * 1000 / 0.995);
        map << test::rec(QString::number(total - std::exchange(done, total)),
                         QString::number(k + 1), "100", "0", k % 10 == 9);
    }
    writeLinesAtomically(dir.filePath("Song.map"), map);
    const bool mp3 = QProcess::execute("lame", {"--quiet", "-b", "96", dir.filePath("Song.wav"),
                                                dir.filePath("Song.mp3")}) == 0;
    return dir.filePath(mp3 ? "Song.mp3" : "Song.wav");
}

} // namespace

TEST(CursorTiming, MusicAtEveryMoveWithin20msAtSpeed1And08) {
    for (const char* speed : {"1", ".8"}) {
        SCOPED_TRACE(speed);
        QTemporaryDir dir;
        const QString music = writeSong(dir);
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
        // The music's lead on the map at each move of the cursor.
        std::vector<double> errorsMs;
        s.adobeF.Text1.always([&] {
            if (const int k = int(s.adobeF.Text1.value()) - 1; k >= 0)
                errorsMs.push_back((player.controlsCurrentPosition() - kFirst - kStep * k) * 1000);
        });
        s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);

        ASSERT_EQ(int(errorsMs.size()), kMoves);
        double worst = 0;
        std::string all;
        for (double e : errorsMs) {
            worst = std::max(worst, std::fabs(e));
            all += std::to_string(int(std::lround(e))) + " ";
        }
        EXPECT_LE(worst, 20.0) << "errors (ms): " << all;
        std::printf("speed %s, worst error: %.1f ms\n", speed, worst);
        // The page turns of the map happened; after the loop the readouts
        // are back to "0" and the viewer one page back.
        const QStringList& calls = viewer.calls;
        EXPECT_EQ(calls.count("gotoNextPage"), kMoves / 10);
        EXPECT_EQ(s.adobeF.Text1.text(), "0");
        EXPECT_EQ(calls.mid(calls.lastIndexOf("gotoNextPage") + 1).count("gotoPreviousPage"), 1)
            << calls.join(' ').toStdString();
    }
}
