// "Hear" on the real player (libmpv, null output, real time): it plays the
// song from 2 s before the row on show's tic to 1 s after it, as the player
// reports its position, clicks at the tic's moment in the music and leaves
// the table and edit mode as they were; leaving edit mode stops it.

#include "align/audition.h"
#include "core/beeper.h"
#include "core/session_state.h"
#include "fakes.h"
#include "media_gen.h"
#include "test_files.h"
#include "transport/mpv_player.h"
#include "units_helpers.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// Notes where the music stands at each click.
class PositionBeeper : public Beeper {
  public:
    explicit PositionBeeper(const MediaPlayer& p) : player_(p) {}
    void beep(int, int) override { at.push_back(player_.controlsCurrentPosition()); }
    void setAudioDevice(const QString&) override {}
    std::vector<double> at;

  private:
    const MediaPlayer& player_;
};

TEST(Hear, PlaysTwoSecondsBeforeTheTicToOneAfterWithAClickAtItAndChangesNothing) {
    QTemporaryDir dir;
    const QString song = dir.filePath("Song.wav");
    writeToneWav(song, {440}, 12.0);
    SystemClock clock;
    FakeMessages messages;
    Session s(clock, messages);
    MpvPlayer player(QStringLiteral("null"));
    ASSERT_TRUE(player.isValid());
    PositionBeeper beeper(player);
    s.player = &player;
    s.beeper = &beeper;
    s.g.SongFile = song;
    s.g.SongBase = song;
    for (auto [row, tic] : {std::pair{0, "5000"}, {1, "2000"}, {2, "1500"}, {3, "900"}})
        s.tic.Tic[size_t(row)] = tic;
    s.adobeF.Shape2.set(true);
    s.g.CursorIndex = 2;
    const TicTable before = s.tic;
    // The default play: 4 s count-off, first-note delay 500 (501), Tic
    // Offset .995.  The first tic fires 4975 ms after the press, 975 ms
    // into the music; the third 1990 + 1492.5 ms later: 4457.5 ms.
    const double tic = 4.4575;

    std::vector<double> heard;
    QTimer sample;
    QObject::connect(&sample, &QTimer::timeout, [&] {
        if (player.playState() == 3) heard.push_back(player.controlsCurrentPosition());
    });
    sample.start(20);
    align::AuditionB_Click(s);
    sample.stop();

    ASSERT_GT(heard.size(), 50u);
    ASSERT_EQ(beeper.at.size(), 1u);
    EXPECT_NEAR(heard.front(), tic - 2, 0.15);
    EXPECT_NEAR(heard.back(), tic + 1, 0.15);
    EXPECT_NEAR(beeper.at[0], tic, 0.1);
    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
    for (auto [name, col] : {std::pair{"Tic", &TicTable::Tic},
                             {"X", &TicTable::X},
                             {"Y", &TicTable::Y},
                             {"Scr", &TicTable::Scr},
                             {"Nxt", &TicTable::Nxt},
                             {"Prv", &TicTable::Prv}})
        EXPECT_TRUE(s.tic.*col == before.*col) << name;
    EXPECT_EQ(readouts(player.playState() == 3, s.adobeF.Shape2.get(), s.g.CursorIndex),
              readouts(false, true, 2));

    // Leaving edit mode in the middle ends the Hear and its music there.
    QTimer::singleShot(800, [&] { s.adobeF.Shape2.set(false); });
    QElapsedTimer t;
    t.start();
    align::AuditionB_Click(s);
    EXPECT_EQ(readouts(t.elapsed() < 1300, player.playState() == 3, beeper.at.size()),
              readouts(true, false, 1));
}

} // namespace
