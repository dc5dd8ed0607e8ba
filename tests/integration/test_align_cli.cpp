// `mellivane --tighten-map` and `--transfer-map` on "Ode to Joy" and its
// slower marimba rendition (demo/renditions), against the true measure times;
// the command line's answers that need no display.

#include "align/map_times.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <random>

using namespace mv::align;

namespace {

QString binary;
QString src() { return qEnvironmentVariable("MELLIVANE_SOURCE_DIR"); }
QString odeMp3() { return src() + QStringLiteral("/demo/songs/Ode to Joy.mp3"); }
QString odeMap() { return src() + QStringLiteral("/demo/songs/Ode to Joy.map"); }
QString slowMp3() { return src() + QStringLiteral("/demo/renditions/Ode to Joy slow.mp3"); }

struct Outcome {
    int code;
    QString out, err;
};

Outcome mellivane(const QTemporaryDir& config, QStringList args) {
    args << QStringLiteral("--config-dir") << config.path();
    QProcess p;
    p.start(binary, args);
    p.waitForFinished(120000);
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

std::vector<double> slowTruth() {
    std::vector<double> t;
    QFile f(src() + QStringLiteral("/demo/renditions.tsv"));
    EXPECT_TRUE(f.open(QIODevice::ReadOnly));
    while (!f.atEnd()) {
        const QList<QByteArray> c = f.readLine().trimmed().split('\t');
        if (c.size() > 3 && c[0] == "Ode to Joy" && c[1] == "slow") t.push_back(c[3].toDouble());
    }
    return t;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Median distance of the map's music positions (built-in settings) to the truth.
double medianError(const QByteArray& map, const std::vector<double>& truth) {
    const std::vector<double> got = musicPositions(MapText::parse(map).tics, PlayTiming{});
    EXPECT_EQ(got.size(), truth.size());
    std::vector<double> e;
    for (size_t k = 0; k < std::min(got.size(), truth.size()); ++k)
        e.push_back(std::abs(got[k] - truth[k]));
    std::sort(e.begin(), e.end());
    return e.empty() ? 1e9 : e[e.size() / 2];
}

// The lines that are not Tic lines, as they stand.
std::vector<QByteArray> otherLines(const QByteArray& map) {
    MapText m = MapText::parse(map);
    for (size_t i : m.ticLines)
        m.lines[i].clear();
    return m.lines;
}

} // namespace

TEST(AlignCli, TransferCarriesTheDemoMapToTheSlowRendition) {
    QTemporaryDir config, out;
    const QString map = out.filePath(QStringLiteral("slow.map"));
    const Outcome r =
        mellivane(config, {QStringLiteral("--transfer-map"), odeMp3(), odeMap(), slowMp3(), map});
    ASSERT_EQ(r.code, 0) << qPrintable(r.err);
    EXPECT_TRUE(r.out.contains(QStringLiteral("16 tics"))) << qPrintable(r.out);
    const QByteArray written = readAll(map);
    EXPECT_LE(medianError(written, slowTruth()), 30);
    EXPECT_EQ(otherLines(written), otherLines(readAll(odeMap())));
}

TEST(AlignCli, TightenPullsJitteredTapsOntoTheNotes) {
    QTemporaryDir config, out;
    const std::vector<double> truth = slowTruth();
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> jitter(-50, 50);
    std::vector<double> taps;
    for (double t : truth)
        taps.push_back(t + 60 + jitter(rng));
    MapText m = MapText::parse(readAll(odeMap()));
    const QString in = out.filePath(QStringLiteral("taps.map"));
    QFile f(in);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(m.withTics(ticsForPositions(taps, PlayTiming{})));
    f.close();
    ASSERT_GT(medianError(readAll(in), truth), 30); // the taps are off before
    const QString map = out.filePath(QStringLiteral("tight.map"));
    const Outcome r = mellivane(config, {QStringLiteral("--tighten-map"), slowMp3(), in, map});
    ASSERT_EQ(r.code, 0) << qPrintable(r.err);
    EXPECT_LE(medianError(readAll(map), truth), 30);
}

TEST(AlignCli, BadInputsExit2AndWriteNothing) {
    QTemporaryDir config, dir;
    const QString empty = dir.filePath(QStringLiteral("empty.map"));
    QFile(empty).open(QIODevice::WriteOnly);
    const QString text = dir.filePath(QStringLiteral("notes.mp3"));
    QFile t(text);
    t.open(QIODevice::WriteOnly);
    t.write("not a recording\n");
    t.close();
    const QString out = dir.filePath(QStringLiteral("out.map"));
    const QString missing = dir.filePath(QStringLiteral("missing.mp3"));
    const struct {
        QStringList args;
        const char* message;
    } cases[] = {
        {{QStringLiteral("--tighten-map"), missing, odeMap(), out}, "Cannot decode"},
        {{QStringLiteral("--tighten-map"), text, odeMap(), out}, "Cannot decode"},
        {{QStringLiteral("--tighten-map"), odeMp3(), empty, out}, "no tics"},
        {{QStringLiteral("--tighten-map"), odeMp3(), odeMap(),
          dir.filePath(QStringLiteral("no/out.map"))},
         "no such folder"},
        {{QStringLiteral("--tighten-map"), odeMp3(), odeMap()}, "Usage"},
        {{QStringLiteral("--transfer-map"), odeMp3(), odeMap(), text, out}, "Cannot decode"},
        {{QStringLiteral("--transfer-map"), src() + QStringLiteral("/demo/songs/Greensleeves.mp3"),
          src() + QStringLiteral("/demo/songs/Greensleeves.map"), slowMp3(), out},
         "do not seem to be the same piece"},
    };
    for (const auto& c : cases) {
        const Outcome r = mellivane(config, c.args);
        EXPECT_EQ(r.code, 2) << qPrintable(c.args.join(' '));
        EXPECT_TRUE(r.err.contains(QLatin1String(c.message))) << qPrintable(r.err);
        EXPECT_FALSE(QFile::exists(out)) << qPrintable(c.args.join(' '));
        EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("no/out.map"))));
    }
}

// Help, the version and a wrong command line are answered with no display
// at all, Qt's own options taken out first.
TEST(CommandLine, AnsweredWithoutADisplay) {
    const struct {
        QStringList args;
        int code;
        const char* says; // on standard output or error
    } cases[] = {
        {{QStringLiteral("--help-all")}, 0, "platformtheme"}, // Qt's GUI options too
        {{QStringLiteral("-platform"), QStringLiteral("wayland"), QStringLiteral("--version")},
         0,
         "Mellivane "},
        {{QStringLiteral("--bogus")}, 1, "Unknown option 'bogus'"},
        {{QStringLiteral("--style=Fusion"), QStringLiteral("--songs")}, 1, "Missing value"},
    };
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        env.remove(QString::fromLatin1(name));
    for (const auto& c : cases) {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(binary, c.args);
        p.waitForFinished(30000);
        const QString said =
            QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
        EXPECT_EQ(p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, c.code)
            << qPrintable(c.args.join(' ') + ": " + said);
        EXPECT_TRUE(said.contains(QLatin1String(c.says))) << qPrintable(said);
    }
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc < 2) return 2;
    binary = QString::fromLocal8Bit(argv[1]);
    return RUN_ALL_TESTS();
}
