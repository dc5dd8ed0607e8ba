// A cursor play in real time with the real player on the null output, over
// a 60-second song, at speed 1 and at speed 0.8: the cursor makes every move
// of the map in order while the music runs on, the page turns of the map
// happen and the steps after the loop run.  How close the music stands to
// each move depends on the machine's speed: bench/cursor_music measures it.

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
#include <algorithm>
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

TEST(CursorTiming, EveryMoveInOrderWithTheMusicRunningAtSpeed1And08) {
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
        // The moves of the cursor and the music's place at each.
        QList<int> moves;
        std::vector<double> places;
        s.adobeF.Text1.always([&] {
            if (const int k = int(s.adobeF.Text1.value()); k > 0) {
                moves << k;
                places.push_back(player.controlsCurrentPosition());
            }
        });
        s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);

        QList<int> expected;
        for (int k = 1; k <= kMoves; ++k)
            expected << k;
        EXPECT_EQ(moves, expected);
        // The music plays along: at every move it stands further on, and the
        // last move falls well inside the song, not at its start or end.
        EXPECT_TRUE(std::is_sorted(places.begin(), places.end()) &&
                    std::adjacent_find(places.begin(), places.end()) == places.end());
        ASSERT_FALSE(places.empty());
        EXPECT_GT(places.back(), kFirst + kStep * (kMoves - 2));
        EXPECT_LT(places.back(), 62.0);
        // The page turns of the map happened; after the loop the readouts
        // are back to "0" and the viewer one page back.
        const QStringList& calls = viewer.calls;
        EXPECT_EQ(calls.count("gotoNextPage"), kMoves / 10);
        EXPECT_EQ(s.adobeF.Text1.text(), "0");
        EXPECT_EQ(calls.mid(calls.lastIndexOf("gotoNextPage") + 1).count("gotoPreviousPage"), 1)
            << calls.join(' ').toStdString();
    }
}
