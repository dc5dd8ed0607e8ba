// The pure parts of map alignment: onsets and the snap on click tracks,
// the warp of a time through a path, and the map's text and timing.

#include "align/features.h"
#include "align/map_times.h"
#include "align/operations.h"
#include "align/snap.h"
#include "align/warp.h"
#include "align/waveform.h"
#include "cursormap/tic_table.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>
#include <gtest/gtest.h>
#include <memory>

#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <random>

using namespace mv::align;

namespace {

// A click track: a decaying 880 Hz tone burst at each time, over faint noise.
Audio clicks(const std::vector<double>& ms, double seconds) {
    Audio a;
    a.rate = 22050;
    a.samples.assign(size_t(seconds * a.rate), 0.f);
    std::mt19937 rng(1);
    std::normal_distribution<float> noise(0, 0.0005f);
    for (float& v : a.samples)
        v = noise(rng);
    for (double t : ms) {
        const size_t at = size_t(t * a.rate / 1000);
        for (size_t k = 0; k < size_t(a.rate / 5) && at + k < a.samples.size(); ++k)
            a.samples[at + k] +=
                0.5f * float(std::exp(-double(k) / 600) * std::sin(2 * M_PI * 880 * k / a.rate));
    }
    return a;
}

// A slurred melody, as a flute plays it: each note held over breath noise
// from its time to the next; the old note dies away in about 10 ms while
// the new one swells over 60 ms, with no attack of its own.
Audio slurred(const std::vector<double>& ms, double seconds) {
    Audio a;
    a.rate = 22050;
    a.samples.assign(size_t(seconds * a.rate), 0.f);
    for (size_t n = 0; n < ms.size(); ++n) {
        const double on = ms[n] / 1000, off = n + 1 < ms.size() ? ms[n + 1] / 1000 : seconds;
        const double hz = 440 * std::pow(2, double(n % 4) / 6);
        for (size_t i = size_t(on * a.rate); i < a.samples.size(); ++i) {
            const double t = double(i) / a.rate;
            const double g =
                std::min(1.0, (t - on) / 0.06) * (t > off ? std::exp(-(t - off) / 0.008) : 1.0);
            if (t > off && g < 1e-4) break;
            const double ph = 2 * M_PI * hz * (t - on);
            a.samples[i] += float(0.3 * g * (std::sin(ph) + 0.3 * std::sin(2 * ph)));
        }
    }
    std::mt19937 rng(1);
    std::normal_distribution<float> noise(0, 0.01f);
    for (float& v : a.samples)
        v += noise(rng);
    return a;
}

// `a` as a 16-bit WAV file.
void writeWav(const QString& path, const Audio& a) {
    QByteArray b;
    const auto u32 = [&b](quint32 v) { b.append(reinterpret_cast<const char*>(&v), 4); };
    const auto u16 = [&b](quint16 v) { b.append(reinterpret_cast<const char*>(&v), 2); };
    const quint32 data = quint32(a.samples.size() * 2);
    b += "RIFF";
    u32(36 + data);
    b += "WAVEfmt ";
    u32(16), u16(1), u16(1), u32(quint32(a.rate)), u32(quint32(a.rate * 2)), u16(2), u16(16);
    b += "data";
    u32(data);
    for (float v : a.samples)
        u16(quint16(qint16(std::lround(std::clamp(v, -1.f, 1.f) * 32767))));
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(b);
}

} // namespace

// Struck notes are found on their attacks; slurred ones where the old note
// gives way (the first comes out of silence: an attack).
TEST(Align, OnsetsFallOnTheNotes) {
    const std::vector<double> truth = {500, 1000, 1480, 2030, 2600, 3100};
    const std::vector<Onset> on = detectOnsets(clicks(truth, 4));
    ASSERT_EQ(on.size(), truth.size());
    for (size_t k = 0; k < truth.size(); ++k)
        EXPECT_NEAR(on[k].ms, truth[k], 5) << k;
    const std::vector<Onset> legato = detectOnsets(slurred(truth, 4));
    for (size_t k = 1; k < truth.size(); ++k) {
        double nearest = 1e9;
        for (const Onset& o : legato)
            if (std::abs(o.ms - truth[k]) < std::abs(nearest - truth[k])) nearest = o.ms;
        EXPECT_NEAR(nearest, truth[k], 5) << k;
    }
}

// With the right button: the tics before the current row keep their text,
// the others move onto the clicks, the first of them counted from the
// unmoved one before it.
TEST(Align, TightenFromARowLeavesTheRowsBefore) {
    std::vector<double> truth;
    for (int k = 0; k < 12; ++k)
        truth.push_back(600 + 500.0 * k);
    QTemporaryDir dir;
    const QString wav = dir.filePath(QStringLiteral("clicks.wav"));
    writeWav(wav, clicks(truth, 7));
    std::vector<double> taps;
    for (size_t k = 0; k < truth.size(); ++k)
        taps.push_back(truth[k] + 60 + (k % 2 ? 20 : -20));
    const PlayTiming t;
    QByteArray map = "100@\r\n0%\r\n#1\r\n#2\r\n#3\r\n#4\r\n#5\r\n#6\r\n 80^\r\n";
    for (long tic : ticsForPositions(taps, t))
        map += QByteArray::number(qlonglong(tic)) + "\r\n 10 \r\n 20 \r\n0\r\nFalse\r\nFalse\r\n";
    const MapText in = MapText::parse(map);
    const MapResult r = tightenMap(wav, map, t, 5);
    EXPECT_NEAR(r.medianShiftMs, 80, 10); // over the tics in range only (40 or 80 ms each)
    const MapText out = MapText::parse(r.bytes);
    ASSERT_EQ(out.tics.size(), truth.size());
    for (size_t k = 0; k < 5; ++k)
        EXPECT_EQ(out.tics[k], in.tics[k]) << k;
    const std::vector<double> got = musicPositions(out.tics, t);
    for (size_t k = 5; k < truth.size(); ++k)
        EXPECT_NEAR(got[k], truth[k], 5) << k;
}

TEST(Align, SnapRemovesTheLagAndTheJitter) {
    std::vector<double> truth;
    for (int k = 0; k < 20; ++k)
        truth.push_back(500 + 450.0 * k);
    const std::vector<Onset> on = detectOnsets(clicks(truth, 10));
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> jitter(-50, 50);
    std::vector<double> taps;
    for (double t : truth)
        taps.push_back(t + 60 + jitter(rng));
    taps.push_back(9800); // nothing sounds there: the tap keeps its time plus the lag
    const SnapResult r = snapToOnsets(taps, on);
    EXPECT_NEAR(r.lagMs, -60, 30);
    for (size_t k = 0; k < truth.size(); ++k)
        EXPECT_NEAR(r.ms[k], truth[k], 5) << k;
    EXPECT_DOUBLE_EQ(r.ms.back(), 9800 + r.lagMs);
    EXPECT_EQ(r.snapped, int(truth.size()));
}

TEST(Align, WarpFollowsThePath) {
    // Target runs at half speed after a 100 ms (5 frame) lead: j = 5 + 2i.
    WarpPath p;
    p.steps.emplace_back(0, 0);
    for (int j = 1; j <= 5; ++j)
        p.steps.emplace_back(0, j);
    for (int i = 1; i <= 50; ++i) {
        p.steps.emplace_back(i, 5 + 2 * i - 1);
        p.steps.emplace_back(i, 5 + 2 * i);
    }
    // Frame i covers target frames 4+2i and 5+2i; frame 0 covers 0..5.
    EXPECT_NEAR(warpTime(p, 10 * kChromaHopMs), 24 * kChromaHopMs, 1e-9);
    EXPECT_NEAR(warpTime(p, 10.5 * kChromaHopMs), 25 * kChromaHopMs, 1e-9);
    EXPECT_NEAR(warpTime(p, 0.5 * kChromaHopMs), 3 * kChromaHopMs, 1e-9);
    EXPECT_NEAR(warpTime(p, 53 * kChromaHopMs), (106 + 2) * kChromaHopMs, 1e-9);
    EXPECT_DOUBLE_EQ(warpTime(WarpPath{}, 1234), 1234);
}

TEST(Align, HeldTicsFollowTheStruckOnes) {
    // Source measures of 1000 ms; the target plays them at 1.5x except the
    // last struck span (a tempo change there: 1200 ms).  Tics 2 and 5 are
    // held; the carried places of the held ones are wherever the path put them.
    const std::vector<double> source{0, 1000, 2000, 3000, 4000, 5000};
    const std::vector<bool> held{false, false, true, false, false, true};
    std::vector<double> target{0, 1500, 2222, 4500, 5700, 6000};
    placeHeldTics(source, held, target);
    // Between struck tics: its share of their time in the target.
    EXPECT_DOUBLE_EQ(target[2], 3000);
    // After the last struck tic: the usual stretch (1.5), not the last span's.
    EXPECT_DOUBLE_EQ(target[5], 5700 + 1500);
    // Struck tics are not moved.
    EXPECT_EQ(target[3], 4500);
}

TEST(Align, ATicOnTheWrongNoteRejoinsTheTempo) {
    // Measures of 1000 ms carried at 1.5x, with notes a beat (500 ms) apart.
    // Tic 2 went to the note a beat early; tic 5 follows a slowing (1.3x the
    // stretch before it), which is no mistake, and keeps its place though a
    // note sounds where the tempo before would put it.
    const std::vector<double> source{0, 1000, 2000, 3000, 4000, 5000, 6000};
    std::vector<double> target{0, 1500, 2500, 4500, 6000, 7500, 9450};
    std::vector<Onset> onsets;
    for (double t : {0, 500, 1000, 1500, 2000, 2500, 3000, 4500, 6000, 7500, 7725, 9450})
        onsets.push_back({t, 1});
    std::vector<double> warped = target;
    for (double& t : warped)
        t += 20;
    evenOutTics(source, warped, onsets, target);
    EXPECT_EQ(target, (std::vector<double>{0, 1500, 3000, 4500, 6000, 7500, 9450}));
}

TEST(Align, TwoRenditionsOfOneToneRowAlign) {
    // The same chroma row, the second twice as slow with a lead of silence.
    std::vector<Chroma> a, b;
    const auto note = [](int pc) {
        Chroma c{};
        c[size_t(pc)] = 1;
        return c;
    };
    Chroma silent;
    silent.fill(float(1 / std::sqrt(12.0)));
    for (int i = 0; i < 30; ++i)
        b.push_back(silent);
    for (int n = 0; n < 40; ++n)
        for (int k = 0; k < 25; ++k) {
            a.push_back(note(n * 5 % 12));
            b.push_back(note(n * 5 % 12));
            b.push_back(note(n * 5 % 12));
        }
    const WarpPath p = alignChroma(a, b);
    ASSERT_FALSE(p.steps.empty());
    EXPECT_LT(p.meanCost, 0.05);
    for (int n = 1; n < 40; ++n) // each note's start lands on its start
        EXPECT_NEAR(warpTime(p, n * 25 * kChromaHopMs), (30 + n * 50) * kChromaHopMs,
                    2 * kChromaHopMs)
            << n;
}

TEST(Align, MapKeepsEveryLineButTheTics) {
    const QByteArray map = "100@\r\n0%\r\n350#1#1\r\n#2\r\n#3\r\n#4\r\n#5\r\n#6\r\n 80^\r\n"
                           "2340\r\n 1650 \r\n 2280 \r\n0\r\nFalse\r\nFalse\r\n"
                           " 1875 \r\n 4110 \r\n 2280 \r\n8000\r\nTrue\r\nFalse\r\n";
    const MapText m = MapText::parse(map);
    ASSERT_EQ(m.tics, (std::vector<double>{2340, 1875}));
    const QByteArray out = m.withTics({2300, 1900});
    QByteArray want = map;
    want.replace("2340\r\n", "2300\r\n").replace(" 1875 \r\n", "1900\r\n");
    EXPECT_EQ(out, want);
    EXPECT_EQ(m.withTics({2340, 1875}), QByteArray(map).replace(" 1875 ", "1875"));
}

TEST(Align, TicTimesAndMusicPositions) {
    const PlayTiming t; // .995, speed 1, count-off 4 s, first note 500 ms
    struct Case {
        std::vector<double> tics, positions;
    } cases[] = {
        // The demo maps: map time t plays at .995 t - 4000.
        {{5025, 2010, 2010}, {0.995 * 5025 - 4000, 0.995 * 7035 - 4000, 0.995 * 9045 - 4000}},
        // A first tic the delays exceed falls due after the first-note delay.
        {{1000, 1000}, {500, 500 + 995}},
    };
    for (const Case& c : cases) {
        const std::vector<double> p = musicPositions(c.tics, t);
        ASSERT_EQ(p.size(), c.positions.size());
        for (size_t k = 0; k < p.size(); ++k)
            EXPECT_NEAR(p[k], c.positions[k], 1e-6) << k;
    }
    // Back and forth: the tics found fire at the positions asked, to the ms.
    PlayTiming slow = t;
    slow.speed = 0.8;
    for (const PlayTiming& pt : {t, slow}) {
        const std::vector<double> want = {300, 2500.4, 4999.6, 7010};
        const std::vector<long> tics = ticsForPositions(want, pt);
        const std::vector<double> got = musicPositions({tics.begin(), tics.end()}, pt);
        EXPECT_NEAR(got[0], 500 * pt.speed, 1); // inside the first-note delay
        for (size_t k = 1; k < want.size(); ++k)
            EXPECT_NEAR(got[k], want[k], 1.5) << k;
    }
}

// The strip's peaks: each slice's lowest and highest sample; the cache file
// read back only for the song's own size and time, and only whole.
// Page turns (NXT or PRV) and scroll changes (SCR unlike the row before)
// are marked apart from plain tics.
TEST(Waveform, TicMarksTellPagesAndScrollsApart) {
    const auto table = std::make_unique<mv::TicTable>(); // 5001 rows: on the heap
    mv::TicTable& t = *table;
    const char* scr[] = {"300", "300", "900", "900", "900", "0"};
    for (size_t r = 0; r < std::size(scr); ++r) {
        t.Tic[r] = "1000";
        t.Scr[r] = scr[r];
    }
    t.Nxt[3] = "True";
    t.Prv[4] = "True";
    std::vector<WaveMark::Kind> kinds;
    for (const WaveMark& m : ticMarks(t, PlayTiming{}))
        kinds.push_back(m.kind);
    using K = WaveMark::Kind;
    EXPECT_EQ(kinds, (std::vector<K>{K::Plain, K::Plain, K::Scroll, K::Page, K::Page, K::Scroll}));
}

TEST(Waveform, PeaksAndTheirCache) {
    Audio a;
    a.rate = 1000;
    for (int i = 0; i < 250; ++i) // a ramp from -1 up, 100 samples a slice at 10 a second
        a.samples.push_back(float(i) / 125 - 1);
    const Peaks p = computePeaks(a, 10);
    EXPECT_EQ(std::vector<int>(p.lo.begin(), p.lo.end()), (std::vector<int>{-127, -25, 76}));
    EXPECT_EQ(std::vector<int>(p.hi.begin(), p.hi.end()), (std::vector<int>{-26, 75, 126}));
    int lo = 0, hi = 0;
    EXPECT_TRUE(p.range(150, 250, lo, hi));
    EXPECT_EQ(std::pair(lo, hi), std::pair(-25, 126));
    EXPECT_FALSE(p.range(400, 500, lo, hi));
    EXPECT_FALSE(p.range(-300, -100, lo, hi)); // before 0 ms: no slice

    const QByteArray file = peaksCacheBytes(p, 1234, 99);
    const std::optional<Peaks> back = parsePeaksCache(file, 1234, 99);
    ASSERT_TRUE(back);
    EXPECT_EQ(std::tuple(back->perSecond, back->lo, back->hi), std::tuple(10, p.lo, p.hi));
    for (const auto& [bytes, size, time] :
         {std::tuple(file, 1235, 99), std::tuple(file, 1234, 98),
          std::tuple(file.chopped(1), 1234, 99), std::tuple(file + 'x', 1234, 99),
          std::tuple("X" + file.mid(1), 1234, 99)})
        EXPECT_FALSE(parsePeaksCache(bytes, size, time));
}

// A long song is decoded in two halves at once: they meet where one pass
// would cut the slices, so the peaks are the same.
TEST(Waveform, TheHalvesOfALongSongMeetAsOnePass) {
    QTemporaryDir dir;
    Audio a;
    a.rate = 22050; // 110.25 samples a slice: the halves meet on a whole one
    for (int i = 0; i < 25 * a.rate; ++i)
        a.samples.push_back(
            float(std::sin(i * 0.05) * (0.2 + 0.7 * std::fabs(std::sin(i * 1e-4)))));
    const QString wav = dir.filePath("Long.wav");
    writeWav(wav, a);
    const Peaks halves = decodePeaks(wav);
    const Peaks once = computePeaks(decodeAudio(wav));
    EXPECT_EQ(halves.lo, once.lo);
    EXPECT_EQ(halves.hi, once.hi);
}

// Dragging a mark: the tic takes the move, the next one gives it back, and
// the move stops at the neighbours' marks.
TEST(Waveform, MovingATicKeepsTheLaterOnes) {
    PlayTiming t;
    t.ticFactor = 1;
    t.musicStartMs = 0;
    t.firstNoteMs = 0;
    struct Case {
        int row;
        double toMs;
        std::vector<QString> tics;
    };
    // Marks at 1000, 3000, 6000.
    const Case cases[] = {
        {1, 3250, {"1000", "2250", "2750"}},
        {1, 500, {"1000", "0", "5000"}},     // not before the mark before it
        {1, 9000, {"1000", "5000", "0"}},    // nor after the one after it
        {0, 400, {"400", "2600", "3000"}},   // the first counts from the start
        {2, 7000, {"1000", "2000", "4000"}}, // the last has none after it
        {3, 7000, {"1000", "2000", "3000"}}, // no such row
    };
    for (const Case& c : cases) {
        mv::TicTable table;
        table.Tic[0] = "1000";
        table.Tic[1] = "2000";
        table.Tic[2] = "3000";
        EXPECT_EQ(moveTic(table, c.row, c.toMs, t), c.row < 3);
        EXPECT_EQ((std::vector<QString>{table.Tic[0], table.Tic[1], table.Tic[2]}), c.tics)
            << c.row << " to " << c.toMs;
    }
}

// The cache beside the settings: read back while the song file keeps its
// size and time, made again once the file changes.
TEST(Waveform, CacheFollowsTheSongFile) {
    QTemporaryDir dir;
    const QString song = dir.filePath("Song.wav");
    // One second of a 16-bit mono WAV at 8000 Hz: a square wave at half scale.
    auto writeWav = [&](int16_t level) {
        QByteArray pcm;
        for (int i = 0; i < 8000; ++i) {
            const int16_t v = qToLittleEndian<int16_t>(int16_t(i % 20 < 10 ? level : -level));
            pcm.append(reinterpret_cast<const char*>(&v), 2);
        }
        QByteArray h = "RIFF";
        auto u32 = [&h](quint32 v) {
            v = qToLittleEndian(v);
            h.append(reinterpret_cast<const char*>(&v), 4);
        };
        auto u16 = [&h](quint16 v) {
            v = qToLittleEndian(v);
            h.append(reinterpret_cast<const char*>(&v), 2);
        };
        u32(quint32(36 + pcm.size()));
        h += "WAVEfmt ";
        u32(16), u16(1), u16(1), u32(8000), u32(16000), u16(2), u16(16);
        h += "data";
        u32(quint32(pcm.size()));
        QFile f(song);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(h + pcm);
    };
    writeWav(16384);
    const Peaks first = loadPeaks(dir.path(), song);
    EXPECT_EQ(std::tuple(first.lo.size(), int(first.hi[0]), int(first.lo[0])),
              std::tuple(200, 64, -64));
    // A cache of other peaks for this very file is what the next load gives.
    Peaks other = first;
    other.hi[0] = 1;
    const QFileInfo info(song);
    QFile cache(peaksCachePath(dir.path(), song));
    ASSERT_TRUE(cache.exists());
    ASSERT_TRUE(cache.open(QIODevice::WriteOnly));
    cache.write(peaksCacheBytes(other, info.size(), info.lastModified().toMSecsSinceEpoch()));
    cache.close();
    EXPECT_EQ(loadPeaks(dir.path(), song).hi[0], 1);
    // The song rewritten louder, a second later: decoded again.
    writeWav(32000);
    QFile touched(song);
    ASSERT_TRUE(touched.open(QIODevice::ReadWrite));
    touched.setFileTime(info.lastModified().addSecs(1), QFileDevice::FileModificationTime);
    touched.close();
    EXPECT_EQ(int(loadPeaks(dir.path(), song).hi[0]), 124);
}
