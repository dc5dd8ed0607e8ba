// How far the music stands from the map at each move of the cursor: a
// cursor play in real time with the real player (libmpv) on the null
// output, over a 60-second song, at speed 1 and at speed 0.8.  Prints the
// worst and the p99 of the music's lead at the moves, in ms.
//   cursor_music

#include "bench_util.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "media_gen.h"
#include "sheet/navigation.h"
#include "test_files.h"
#include "transport/mpv_player.h"
#include "transport/play_start.h"

#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>

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

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    for (const char* speed : {"1", ".8"}) {
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
        std::vector<double> errorsMs;
        s.adobeF.Text1.always([&] {
            if (const int k = int(s.adobeF.Text1.value()) - 1; k >= 0)
                errorsMs.push_back(
                    std::fabs(player.controlsCurrentPosition() - kFirst - kStep * k) * 1000);
        });
        s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0);
        if (int(errorsMs.size()) != kMoves) {
            std::fprintf(stderr, "cursor_music: %zu moves of %d\n", errorsMs.size(), kMoves);
            return 1;
        }
        const QByteArray tag = QByteArray(speed) == "1" ? "1" : "08";
        std::printf("music_error_speed%s_p99_ms: %.3f ms\n", tag.constData(),
                    bench::percentile(errorsMs, 0.99));
        std::printf("music_error_speed%s_max_ms: %.3f ms\n", tag.constData(),
                    bench::percentile(errorsMs, 1.0));
    }
    return 0;
}
