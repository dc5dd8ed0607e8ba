// Process CPU while the player plays generated music on the null output, at
// speed 1 and at speed 0.5 with the pitch kept.
//   audio_cpu [seconds per run, default 60]

#include "bench_util.h"
#include "media_gen.h"
#include "transport/mpv_player.h"

#include <QApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(2, atoi(argv[1])) : 60;
    QTemporaryDir dir;
    // A melody of changing tones, long enough for the run; MP3 when lame is
    // there (what the program plays), else the WAV itself.
    std::vector<double> tones;
    for (int i = 0; i < seconds * 2 + 4; ++i)
        tones.push_back(220.0 * (1 + (i * 7) % 12 / 12.0));
    const QString wav = dir.filePath("music.wav"), mp3 = dir.filePath("music.mp3");
    mv::test::writeToneWav(wav, tones, 0.5);
    const bool haveMp3 =
        QProcess::execute(QStringLiteral("lame"), {"--quiet", "-b", "128", wav, mp3}) == 0;
    const QString file = haveMp3 ? mp3 : wav;
    auto measure = [&](double rate) {
        mv::MpvPlayer p(QStringLiteral("null"));
        p.setURL(file);
        p.setSettingsRate(rate);
        bench::runFor(500); // loaded and running
        const double cpu0 = bench::cpuSeconds();
        QElapsedTimer t;
        t.start();
        bench::runFor(seconds * 1000);
        return 100.0 * (bench::cpuSeconds() - cpu0) / (t.nsecsElapsed() / 1e9);
    };
    std::printf("format: %s\n", haveMp3 ? "mp3" : "wav");
    std::printf("cpu_pct_speed1: %.2f %%\n", measure(1.0));
    std::printf("cpu_pct_speed05: %.2f %%\n", measure(0.5));
    return 0;
}
