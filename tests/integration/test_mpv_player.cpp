// The real libmpv player, with its output written to a WAV file (as fast as
// it can) or played on the null output in real time.  What a musician relies
// on: slowing down keeps the pitch, the start position lands, the volume is
// this player's own, and with no sound device the music still runs.

#include "media_gen.h"
#include "test_files.h"
#include "transport/mpv_player.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class MpvPlayerTest : public ::testing::Test {
  protected:
    // Plays `input` (a tone file made here) to a WAV file and returns what
    // came out.
    Pcm render(const char* input, const std::function<void(MpvPlayer&)>& setup = {}) {
        const QString out = path(QByteArray::number(++renders) + ".wav");
        {
            MpvPlayer p(out);
            EXPECT_TRUE(p.isValid());
            bool ended = false;
            QObject::connect(&p, &MpvPlayer::endOfFile, [&] { ended = true; });
            p.setURL(path(input));
            if (setup) setup(p);
            EXPECT_TRUE(runUntil([&] { return ended; }, 30000)) << "no end of file";
            EXPECT_EQ(p.playState(), 1);
        } // the output file is complete once the player is gone
        return readWav(out);
    }
    QString path(const QByteArray& name) const { return dir.filePath(name); }
    QTemporaryDir dir;
    int renders = 0;
};

TEST_F(MpvPlayerTest, HalfSpeedKeepsPitchAPositionLandsAndVolumeFollowsMpvsCubicCurve) {
    writeToneWav(path("a440.wav"), {440}, 2.0, 0.8);
    const Pcm normal = render("a440.wav");
    const Pcm slow = render("a440.wav", [](MpvPlayer& p) { p.setSettingsRate(0.5); });
    ASSERT_GT(normal.seconds(), 1.8);
    EXPECT_NEAR(slow.seconds() / normal.seconds(), 2.0, 0.1);
    for (const Pcm* p : {&normal, &slow})
        EXPECT_NEAR(frequency(*p, p->samples.size() / 2 - 22050, 44100) / 440.0, 1.0, 0.01);

    // A position written right after the URL is where the music starts.
    writeToneWav(path("steps.wav"), {300, 500, 700, 900}, 1.0);
    const Pcm out = render("steps.wav", [](MpvPlayer& p) {
        EXPECT_TRUE(p.settingsIsAvailable("Rate"));
        p.setControlsCurrentPosition(0);
        p.setControlsCurrentPosition(2.0);
        EXPECT_NEAR(p.controlsCurrentPosition(), 2.0, 0.01);
    });
    EXPECT_NEAR(frequency(out, 2205, 22050), 700, 7); // any silence first counts no crossing
    EXPECT_NEAR(out.seconds(), 2.0, 0.15);

    // The level of the middle half at volumes 100, 50, 20 and 0.
    std::vector<double> level;
    for (int volume : {100, 50, 20, 0}) {
        const Pcm p = render("a440.wav", [volume](MpvPlayer& pl) { pl.setSettingsVolume(volume); });
        level.push_back(rms(p, p.samples.size() / 4, p.samples.size() / 2));
    }
    ASSERT_GT(level[0], 0.3);
    EXPECT_NEAR(level[1] / level[0], 0.125, 0.01); // 0.5 cubed
    EXPECT_LT(level[2], level[1]);
    EXPECT_LT(level[3], 1e-4);
}

// Rate 0 plays at normal speed, as the play loop's undivided tics run; a
// negative rate holds the music where it stands.  Calls without a file do
// nothing; Stop keeps the file, an empty URL drops it.
TEST_F(MpvPlayerTest, NullOutputRunsInRealTimeAtRate0HoldsBelowEndsAndStopKeepsTheFile) {
    MpvPlayer p(QStringLiteral("null"));
    for (auto call :
         {&MpvPlayer::close, &MpvPlayer::close, &MpvPlayer::controlsPlay, &MpvPlayer::controlsPause,
          &MpvPlayer::controlsStop, &MpvPlayer::controlsFastForward})
        (p.*call)();
    p.setControlsCurrentPosition(3);
    p.setSettingsRate(0.8);
    EXPECT_EQ(std::tuple(p.settingsIsAvailable("Rate"), p.controlsCurrentPosition()),
              std::tuple(false, 0.0));

    writeToneWav(path("short.wav"), {440}, 1.5);
    bool ended = false;
    QObject::connect(&p, &MpvPlayer::endOfFile, [&] { ended = true; });
    p.setURL(path("short.wav"));
    p.setSettingsRate(0.5);
    p.setSettingsRate(0);
    EXPECT_EQ(p.playState(), 3);
    QElapsedTimer t;
    t.start();
    runFor(700);
    double last = p.controlsCurrentPosition();
    EXPECT_NEAR(last, t.elapsed() / 1000.0, 0.25);
    for (int i = 0; i < 5; ++i) { // the smoothed position never runs back
        runFor(30);
        EXPECT_GE(p.controlsCurrentPosition(), last);
        last = p.controlsCurrentPosition();
    }
    p.setSettingsRate(-1);
    runFor(400);
    EXPECT_NEAR(p.controlsCurrentPosition(), last, 0.08);
    p.setSettingsRate(1);
    EXPECT_TRUE(runUntil([&] { return ended; }, 5000));
    // The end comes when the last audio went to the output's buffer.
    EXPECT_GT(t.elapsed(), 1000);
    // Stopped, with the file still loaded: a map that outlasts the music
    // keeps dividing its tics by Speed.  So after Stop; "" drops the file.
    const auto state = [&] {
        return std::tuple(p.playState(), p.URL(), p.settingsIsAvailable("Rate"));
    };
    EXPECT_EQ(state(), std::tuple(1, path("short.wav"), true));
    p.setURL(path("short.wav"));
    runFor(300);
    p.controlsStop();
    EXPECT_EQ(state(), std::tuple(1, path("short.wav"), true));
    p.setURL(path("short.wav"));
    runFor(300);
    p.setURL(QString()); // "" stops at once, also while it plays
    EXPECT_EQ(state(), std::tuple(1, QString(), false));
}

// Music loaded held stays at its start however long it waits, and runs in
// real time from the moment it is let go, with no load to wait for.
TEST_F(MpvPlayerTest, HeldMusicWaitsAtItsStartUntilLetGo) {
    MpvPlayer p(QStringLiteral("null"));
    writeToneWav(path("held.wav"), {440}, 3.0);
    p.setURLPaused(path("held.wav"));
    runFor(600);
    EXPECT_EQ(std::tuple(p.playState(), p.controlsCurrentPosition()), std::tuple(2, 0.0));
    QElapsedTimer t;
    t.start();
    p.controlsPlay();
    runFor(500);
    EXPECT_EQ(p.playState(), 3);
    EXPECT_NEAR(p.controlsCurrentPosition(), t.elapsed() / 1000.0, 0.1);
}

} // namespace
