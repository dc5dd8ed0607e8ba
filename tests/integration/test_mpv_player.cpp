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

// Plays `input` to a WAV file and returns what came out.
Pcm render(const QString& input, const QString& out,
           const std::function<void(MpvPlayer&)>& setup = {}) {
    {
        MpvPlayer p(out);
        EXPECT_TRUE(p.isValid());
        bool ended = false;
        QObject::connect(&p, &MpvPlayer::endOfFile, [&] { ended = true; });
        p.setURL(input);
        if (setup) setup(p);
        EXPECT_TRUE(runUntil([&] { return ended; }, 30000)) << "no end of file";
        EXPECT_EQ(p.playState(), 1);
    } // the output file is complete once the player is gone
    return readWav(out);
}

class MpvPlayerTest : public ::testing::Test {
  protected:
    QString path(const char* name) { return dir.filePath(name); }
    QTemporaryDir dir;
};

TEST_F(MpvPlayerTest, HalfSpeedDoublesTheLengthAndKeepsThePitch) {
    writeToneWav(path("a440.wav"), {440}, 2.0);
    const Pcm normal = render(path("a440.wav"), path("n.wav"));
    const Pcm slow =
        render(path("a440.wav"), path("s.wav"), [](MpvPlayer& p) { p.setSettingsRate(0.5); });
    ASSERT_GT(normal.seconds(), 1.8);
    EXPECT_NEAR(slow.seconds() / normal.seconds(), 2.0, 0.1);
    const size_t mid = slow.samples.size() / 2;
    EXPECT_NEAR(frequency(slow, mid - 22050, 44100) / 440.0, 1.0, 0.01);
    EXPECT_NEAR(frequency(normal, normal.samples.size() / 2 - 22050, 44100) / 440.0, 1.0, 0.01);
}

TEST_F(MpvPlayerTest, APositionWrittenRightAfterTheUrlStartsThereAndRateIsAvailable) {
    writeToneWav(path("steps.wav"), {300, 500, 700, 900}, 1.0);
    const Pcm out = render(path("steps.wav"), path("o.wav"), [](MpvPlayer& p) {
        EXPECT_TRUE(p.settingsIsAvailable("Rate"));
        p.setControlsCurrentPosition(0);
        p.setControlsCurrentPosition(2.0);
        EXPECT_NEAR(p.controlsCurrentPosition(), 2.0, 0.01);
    });
    const size_t start = firstSound(out);
    EXPECT_NEAR(frequency(out, start + 2205, 22050), 700, 7);
    EXPECT_NEAR(out.seconds(), 2.0, 0.15);
}

TEST_F(MpvPlayerTest, VolumeIsThePlayersOwnWithMpvsCubicCurve) {
    writeToneWav(path("loud.wav"), {440}, 1.0, 0.8);
    auto level = [&](int volume, const char* out) {
        const Pcm p = render(path("loud.wav"), path(out),
                             [volume](MpvPlayer& pl) { pl.setSettingsVolume(volume); });
        return rms(p, p.samples.size() / 4, p.samples.size() / 2);
    };
    const double full = level(100, "v100.wav"), half = level(50, "v50.wav"),
                 low = level(20, "v20.wav"), none = level(0, "v0.wav");
    ASSERT_GT(full, 0.3);
    EXPECT_NEAR(half / full, 0.125, 0.01); // 0.5 cubed
    EXPECT_LT(low, half);
    EXPECT_LT(none, 1e-4);
}

// Rate 0 plays at normal speed, as the play loop's undivided tics run; a
// negative rate holds the music where it stands.
TEST_F(MpvPlayerTest, NullOutputRunsInRealTimeAtRate0HoldsBelowAndEnds) {
    writeToneWav(path("short.wav"), {440}, 1.5);
    MpvPlayer p(QStringLiteral("null"));
    bool ended = false;
    QObject::connect(&p, &MpvPlayer::endOfFile, [&] { ended = true; });
    p.setURL(path("short.wav"));
    p.setSettingsRate(0.5);
    p.setSettingsRate(0);
    EXPECT_EQ(p.playState(), 3);
    QElapsedTimer t;
    t.start();
    runFor(700);
    const double pos = p.controlsCurrentPosition();
    EXPECT_NEAR(pos, t.elapsed() / 1000.0, 0.25);
    double last = pos;
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
    EXPECT_EQ(p.playState(), 1);
    // The file stays loaded: a map that outlasts the music keeps dividing
    // its tics by Speed.
    EXPECT_TRUE(p.settingsIsAvailable("Rate"));
}

TEST_F(MpvPlayerTest, CallsWithoutAFileNeverFailAndStopKeepsTheFile) {
    MpvPlayer p(QStringLiteral("null"));
    p.close();
    p.close();
    p.controlsPlay();
    p.controlsPause();
    p.controlsStop();
    p.controlsFastForward();
    p.setControlsCurrentPosition(3);
    p.setSettingsRate(0.8);
    EXPECT_FALSE(p.settingsIsAvailable("Rate"));
    EXPECT_EQ(p.controlsCurrentPosition(), 0);
    writeToneWav(path("t.wav"), {440}, 3.0);
    p.setURL(path("t.wav"));
    runFor(300);
    p.controlsStop();
    EXPECT_EQ(p.playState(), 1);
    EXPECT_EQ(p.URL(), path("t.wav"));
    EXPECT_TRUE(p.settingsIsAvailable("Rate"));
    p.setURL(QString()); // "" stops at once
    EXPECT_EQ(p.playState(), 1);
    EXPECT_FALSE(p.settingsIsAvailable("Rate"));
}

} // namespace
