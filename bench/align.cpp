// Map alignment: tightening simulated taps and carrying maps between
// renditions of the demo songs whose true measure times are known.
// The renditions are those demo/renditions.sh made (LilyPond and FluidSynth:
// slower, faster with noise added here at 20 dB SNR, rubato; other
// instruments and lead-ins), committed in demo/renditions beside the
// shipped recordings; the work folder (argument 1, default "bench-align" in
// the current folder) takes the noisy and the 10-minute files made here.
// Exits 2 when a rendition is missing, 1 when the onsets found miss the
// true measure times (the ground truth or the detector is wrong).

#include "align/audio.h"
#include "align/features.h"
#include "align/operations.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <sndfile.h>

using namespace mv::align;

namespace {

struct Rendition {
    QString wav;
    std::vector<double> truth; // measure starts, ms into the recording
    double minutes = 0;
};

double minutes(const Audio& a) { return double(a.samples.size()) / a.rate / 60; }

void writeWav(const QString& path, const Audio& a) {
    SF_INFO info{};
    info.samplerate = a.rate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* f = sf_open(path.toLocal8Bit().constData(), SFM_WRITE, &info);
    sf_write_float(f, a.samples.data(), sf_count_t(a.samples.size()));
    sf_close(f);
}

// The demo songs' measure times in their shipped recordings: the layout's
// times are from the press of Play under the built-in settings.
std::map<QString, std::vector<double>> demoTruth(const QString& src) {
    std::map<QString, std::vector<double>> t;
    QFile f(src + QStringLiteral("/demo/layout.tsv"));
    f.open(QIODevice::ReadOnly);
    f.readLine();
    while (!f.atEnd()) {
        const QList<QByteArray> c = f.readLine().trimmed().split('\t');
        if (c.size() > 5) t[QString::fromUtf8(c[0])].push_back(0.995 * c[5].toDouble() - 4000);
    }
    return t;
}

// The true measure times of the extra renditions (demo/renditions.tsv).
std::map<QString, std::map<QString, std::vector<double>>> renditionTruth(const QString& src) {
    std::map<QString, std::map<QString, std::vector<double>>> t;
    QFile f(src + QStringLiteral("/demo/renditions.tsv"));
    if (!f.open(QIODevice::ReadOnly)) return t;
    f.readLine();
    while (!f.atEnd()) {
        const QList<QByteArray> c = f.readLine().trimmed().split('\t');
        if (c.size() > 3)
            t[QString::fromUtf8(c[0])][QString::fromUtf8(c[1])].push_back(c[3].toDouble());
    }
    return t;
}

// The shipped recording and the renditions in demo/renditions; the fast one
// gets white noise 20 dB below its RMS (fixed seed), written to `dir`.
// Empty when one is missing.
std::vector<Rendition> makeRenditions(const QString& src, const QString& dir, const QString& song,
                                      const std::vector<double>& truth,
                                      const std::map<QString, std::vector<double>>& others) {
    const QString mp3 = src + QStringLiteral("/demo/songs/") + song + QStringLiteral(".mp3");
    std::vector<Rendition> out;
    out.push_back({mp3, truth, minutes(decodeAudio(mp3))});
    for (const auto& [tag, t] : others) {
        QString path = src + QStringLiteral("/demo/renditions/") + song + QLatin1Char(' ') + tag +
                       QStringLiteral(".mp3");
        if (!QFile::exists(path)) {
            std::fprintf(stderr, "align_bench: missing %s (demo/renditions.sh makes it)\n",
                         qPrintable(path));
            return {};
        }
        Audio a = decodeAudio(path);
        if (tag == QStringLiteral("fast")) {
            path = dir + QLatin1Char('/') + QString(song).replace(QLatin1Char(' '), '_') +
                   QStringLiteral(".fast-noise.wav");
            double e = 0;
            for (float v : a.samples)
                e += double(v) * v;
            const double rms = std::sqrt(e / double(a.samples.size()));
            std::mt19937 rng(7);
            std::normal_distribution<double> g(0, rms / 10);
            for (float& v : a.samples)
                v = float(std::clamp(v + g(rng), -1.0, 1.0));
            writeWav(path, a);
        }
        out.push_back({path, t, minutes(a)});
    }
    return out;
}

// The measures that begin with a note tied over from the measure before:
// nothing is struck on their first beat, so no onset can mark them (from
// demo/scores: Amazing Grace holds the last note of each verse's second and
// fourth line).
const std::vector<int>& heldMeasures(const QString& song) {
    static const std::vector<int> none, grace{9, 17, 25, 33, 41, 49, 57, 65};
    return song == QStringLiteral("Amazing Grace") ? grace : none;
}

struct Errors {
    std::vector<double> e;
    void add(double v) { e.push_back(std::abs(v)); }
    double pct(double p) {
        std::sort(e.begin(), e.end());
        return e.empty() ? 0 : e[std::min(e.size() - 1, size_t(p * double(e.size())))];
    }
    double within(double ms) const {
        return 100.0 *
               double(std::count_if(e.begin(), e.end(), [ms](double v) { return v <= ms; })) /
               double(std::max<size_t>(1, e.size()));
    }
    long failures() const {
        return long(std::count_if(e.begin(), e.end(), [](double v) { return v > 500; }));
    }
    void print(const char* name) {
        std::printf("%s_median_ms: %.1f ms\n%s_p95_ms: %.1f ms\n", name, pct(0.5), name, pct(0.95));
        std::printf("%s_within_30ms: %.1f %%\n%s_within_50ms: %.1f %%\n%s_within_100ms: %.1f %%\n",
                    name, within(30), name, within(50), name, within(100));
        std::printf("%s_failures: %ld count\n", name, failures());
    }
};

QByteArray mapFor(const std::vector<double>& positions, const PlayTiming& t) {
    QByteArray b = "100@\r\n0%\r\n#1\r\n#2\r\n#3\r\n#4\r\n#5\r\n#6\r\n 80^\r\n";
    for (long tic : ticsForPositions(positions, t))
        b += QByteArray::number(qlonglong(tic)) + "\r\n 1000 \r\n 2000 \r\n0\r\nFalse\r\nFalse\r\n";
    return b;
}

std::vector<double> positionsOf(const QByteArray& map, const PlayTiming& t) {
    return musicPositions(MapText::parse(map).tics, t);
}

// One transfer of a 10-minute pair in this process: prints its peak RSS.
int rssPair(const QString& a, const QString& b, const std::vector<double>& truth) {
    const PlayTiming t;
    transferMap(a, mapFor(truth, t), b, t, {}, 1e9);
    // The peak of this process image (VmHWM): getrusage's maximum is kept
    // across fork and exec, so it would report the bench's own peak.
    QFile status(QStringLiteral("/proc/self/status"));
    double kb = 0;
    if (status.open(QIODevice::ReadOnly))
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith("VmHWM:"))
                kb = line.mid(6).trimmed().split(' ').value(0).toDouble();
    std::printf("align_peak_rss_mb: %.1f MB\n", kb / 1024);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc == 5 && QByteArray(argv[1]) == "--rss-pair") {
        std::vector<double> truth;
        for (int k = 0; k < 200; ++k)
            truth.push_back(1000 + 2500.0 * k);
        return rssPair(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]), truth);
    }
    const QString src = QStringLiteral(MELLIVANE_SOURCE_DIR);
    const QString dir =
        QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("bench-align"))
            .absolutePath();
    QDir().mkpath(dir);
    const PlayTiming timing;
    const bool verbose = qEnvironmentVariableIsSet("ALIGN_VERBOSE");
    std::map<QString, std::vector<Rendition>> songs;
    const auto others = renditionTruth(src);
    const std::map<QString, std::vector<double>> none;
    // ALIGN_SONG=NAME measures that song alone (the figures after the
    // transfer's are then left out).
    const QString only = qEnvironmentVariable("ALIGN_SONG");
    for (const auto& [song, truth] : demoTruth(src)) {
        if (!only.isEmpty() && song != only) continue;
        songs[song] =
            makeRenditions(src, dir, song, truth, others.count(song) ? others.at(song) : none);
        if (songs[song].size() < 2) {
            std::fprintf(stderr, "align_bench: no renditions of %s\n", qPrintable(song));
            return 2;
        }
    }
    if (songs.empty()) return 2;

    // Tighten: taps 60 ms late with ±50 ms jitter.
    Errors raw, tight, onsetCheck;
    std::mt19937 rng(22);
    std::uniform_real_distribution<double> jitter(-50, 50);
    for (auto& [song, rends] : songs)
        for (const Rendition& r : rends) {
            std::vector<double> taps;
            for (double t : r.truth)
                taps.push_back(t + 60 + jitter(rng));
            for (size_t k = 0; k < taps.size(); ++k)
                raw.add(taps[k] - r.truth[k]);
            const MapResult m = tightenMap(r.wav, mapFor(taps, timing), timing);
            const std::vector<double> got = positionsOf(m.bytes, timing);
            Errors oneT;
            for (size_t k = 0; k < got.size(); ++k) {
                tight.add(got[k] - r.truth[k]);
                oneT.add(got[k] - r.truth[k]);
            }
            if (verbose)
                std::printf("# tighten %s: median %.1f p95 %.1f\n", qPrintable(r.wav),
                            oneT.pct(0.5), oneT.pct(0.95));
            // The truth against the audio: the nearest onset to each true time
            // where a note is struck on the measure's first beat.
            const std::vector<Onset> on = detectOnsets(decodeAudio(r.wav));
            Errors one;
            const std::vector<int>& held = heldMeasures(song);
            for (size_t m = 0; m < r.truth.size(); ++m) {
                if (std::find(held.begin(), held.end(), int(m) + 1) != held.end()) continue;
                const double t = r.truth[m];
                double best = 1e9;
                for (const Onset& o : on)
                    if (std::abs(o.ms - t) < std::abs(best)) best = o.ms - t;
                onsetCheck.add(best);
                one.add(best);
                if (qEnvironmentVariableIntValue("ALIGN_VERBOSE") > 1)
                    std::printf("#  measure %zu at %.1f: nearest onset %+.1f\n", m + 1, t, best);
            }
            if (verbose)
                std::printf("# %s: truth within 5 ms %.0f %%, onsets %zu\n", qPrintable(r.wav),
                            one.within(5), on.size());
        }
    std::printf("truth_onset_within_5ms: %.1f %%\n", onsetCheck.within(5));
    const bool truthHolds = onsetCheck.within(5) >= 95;
    if (!truthHolds)
        std::fprintf(stderr, "align_bench: fewer than 95 %% of the true measure times have an "
                             "onset within 5 ms\n");
    std::printf("truth_onset_median_ms: %.1f ms\n", onsetCheck.pct(0.5));
    raw.print("untightened");
    tight.print("tighten");

    if (qEnvironmentVariableIsSet("ALIGN_TIGHTEN_ONLY")) return truthHolds ? 0 : 1;
    const bool costOnly = qEnvironmentVariableIsSet("ALIGN_COST_ONLY");
    // Transfer: each rendition's true map to each other rendition of the song.
    Errors moved;
    std::vector<double> same, other;
    for (auto& [song, rends] : songs)
        for (const Rendition& a : rends)
            for (const Rendition& b : rends) {
                if (&a == &b) continue;
                const MapResult m =
                    transferMap(a.wav, mapFor(a.truth, timing), b.wav, timing, {}, 1e9);
                same.push_back(m.pathCost);
                const std::vector<double> got = positionsOf(m.bytes, timing);
                Errors one;
                for (size_t k = 0; k < got.size(); ++k) {
                    moved.add(got[k] - b.truth[k]);
                    one.add(got[k] - b.truth[k]);
                    if (qEnvironmentVariableIntValue("ALIGN_VERBOSE") > 1 &&
                        std::abs(got[k] - b.truth[k]) > 100)
                        std::printf("#  measure %zu off by %+.1f\n", k + 1, got[k] - b.truth[k]);
                }
                if (verbose)
                    std::printf("# %s -> %s: median %.1f p95 %.1f max %.1f cost %.3f matched %.2f "
                                "spread %.3f\n",
                                qPrintable(a.wav), qPrintable(b.wav), one.pct(0.5), one.pct(0.95),
                                one.pct(1), m.pathCost, m.matchedShare, m.tempoSpread);
            }
    if (!only.isEmpty()) {
        moved.print("transfer");
        return truthHolds ? 0 : 1;
    }
    if (!costOnly) {
        moved.print("transfer");

        // Time: one transfer, the longest song to another rendition of it.
        const std::vector<Rendition>& ag = songs.at(QStringLiteral("Amazing Grace"));
        QElapsedTimer clock;
        clock.start();
        transferMap(ag[0].wav, mapFor(ag[0].truth, timing), ag[1].wav, timing);
        std::printf("align_ms_per_audio_minute: %.0f ms\n",
                    double(clock.elapsed()) / (ag[0].minutes + ag[1].minutes));

        // Peak memory of a 10-minute pair, in a process of its own.
        const QString longA = dir + QStringLiteral("/long_a.wav"),
                      longB = dir + QStringLiteral("/long_b.wav");
        for (const auto& [path, r] : {std::pair{longA, &ag[0]}, std::pair{longB, &ag[1]}}) {
            const Audio one = decodeAudio(r->wav);
            Audio ten;
            ten.rate = one.rate;
            while (minutes(ten) < 10)
                ten.samples.insert(ten.samples.end(), one.samples.begin(), one.samples.end());
            writeWav(path, ten);
        }
        std::fflush(stdout); // the child writes to the same file
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--rss-pair"), longA, longB, QStringLiteral("-")});
        child.waitForFinished(-1);
    }
    // The alignment cost of the same piece (every transfer above) and of
    // different pieces (each song's shipped recording to
    // the others' shipped and slow renditions).
    for (auto& [s1, r1] : songs)
        for (auto& [s2, r2] : songs)
            if (s1 != s2)
                for (const Rendition* r : {&r2.front(), &r2.back()}) {
                    const MapResult m = transferMap(r1[0].wav, mapFor(r1[0].truth, timing), r->wav,
                                                    timing, {}, 1e9);
                    other.push_back(m.pathCost);
                    const double lastMatched = m.matchedShare;
                    if (verbose)
                        std::printf("# %s -> %s: cost %.3f matched %.2f spread %.3f\n",
                                    qPrintable(r1[0].wav), qPrintable(r->wav), other.back(),
                                    lastMatched, m.tempoSpread);
                }
    std::sort(same.begin(), same.end());
    std::sort(other.begin(), other.end());
    if (verbose) {
        std::printf("# same piece:");
        for (double c : same)
            std::printf(" %.3f", c);
        std::printf("\n# different pieces:");
        for (double c : other)
            std::printf(" %.3f", c);
        std::printf("\n");
    }
    std::printf("same_piece_cost_max: %.3f cost\ndifferent_piece_cost_min: %.3f cost\n",
                same.back(), other.front());
    return truthHolds ? 0 : 1;
}
