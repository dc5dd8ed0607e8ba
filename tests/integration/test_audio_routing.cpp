// Real sound through a real sound server: a private PulseAudio daemon with
// two null sinks stands in for a computer with two sound cards.  The player
// lists both, and the music goes to the one chosen, not to the other; what
// each card played is recorded from its monitor.

#include "media_gen.h"
#include "test_files.h"
#include "transport/mpv_player.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class AudioRoutingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable("pulseaudio").isEmpty() ||
            QStandardPaths::findExecutable("parec").isEmpty())
            GTEST_SKIP() << "pulseaudio and parec are not installed (scripts/install-deps)";
        QDir(runtime.path()).mkdir("rt");
        // The server, its recorders and the player meet through these.
        qputenv("XDG_RUNTIME_DIR", runtime.filePath("rt").toUtf8());
        qputenv("PULSE_RUNTIME_PATH", runtime.filePath("rt/pulse").toUtf8());
        // The server runs as our child, so that it ends with the test.
        daemon.start("pulseaudio",
                     {"--daemonize=no", "--exit-idle-time=-1", "-n", "--use-pid-file=no",
                      "--load=module-native-protocol-unix auth-anonymous=1",
                      "--load=module-null-sink sink_name=cardA",
                      "--load=module-null-sink sink_name=cardB"});
        ASSERT_TRUE(daemon.waitForStarted(5000));
        const QString socket = runtime.filePath("rt/pulse/native");
        ASSERT_TRUE(runUntil([&] { return QFileInfo::exists(socket); }, 10000))
            << daemon.readAllStandardError().toStdString();
    }
    void TearDown() override {
        daemon.terminate();
        if (!daemon.waitForFinished(5000)) daemon.kill();
    }
    // Starts recording what `sink` plays, as 16-bit mono at 44100 Hz.
    static void record(QProcess& p, const char* sink) {
        p.start("parec", {"--raw", "--format=s16le", "--channels=1", "--rate=44100",
                          QStringLiteral("--device=%1.monitor").arg(sink)});
        ASSERT_TRUE(p.waitForStarted(5000));
    }
    // The level of what the recording `p` heard, once it is stopped.
    static double level(QProcess& p) {
        p.terminate();
        p.waitForFinished(5000);
        Pcm pcm;
        pcm.samples = firstChannel16(p.readAllStandardOutput());
        return rms(pcm, 0, pcm.samples.size());
    }

    QTemporaryDir runtime;
    QProcess daemon;
};

TEST_F(AudioRoutingTest, TheChosenCardPlaysTheMusicAndTheOtherStaysSilent) {
    writeToneWav(runtime.filePath("tone.wav"), {440}, 1.5, 0.5);
    MpvPlayer player(QStringLiteral("auto"));
    ASSERT_TRUE(player.isValid());
    QStringList devices;
    runUntil([&] { return (devices = player.audioDevices()).contains("pulse/cardB"); }, 5000);
    for (const char* card : {"pulse/cardA", "pulse/cardB"})
        ASSERT_TRUE(devices.contains(card)) << devices.join(' ').toStdString();

    QProcess a, b;
    record(a, "cardA");
    record(b, "cardB");
    runFor(300);
    player.setAudioDevice("pulse/cardB");
    player.setSettingsVolume(100);
    bool ended = false;
    QObject::connect(&player, &MpvPlayer::endOfFile, [&] { ended = true; });
    player.setURL(runtime.filePath("tone.wav"));
    EXPECT_TRUE(runUntil([&] { return ended; }, 10000));
    EXPECT_FALSE(player.noAudioOutput());
    runFor(300);
    EXPECT_GT(level(b), 0.05); // the tone, played by card B
    EXPECT_LT(level(a), 1e-4); // card A heard nothing
}

} // namespace
