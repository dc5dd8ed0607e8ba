#include "align/waveform.h"

#include "core/values.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <thread>

namespace mv::align {

namespace {

constexpr char kMagic[8] = {'M', 'V', 'P', 'E', 'A', 'K', 'S', '1'};
constexpr int kHeader = 8 + 8 + 8 + 4 + 4;
// A day of slices at the finest rate: more is no song.
constexpr qint64 kMaxSlices = qint64(24) * 3600 * 1000;

int8_t scaled(float v) { return int8_t(std::lround(std::clamp(v, -1.0f, 1.0f) * 127.0f)); }

template <class T> void put(QByteArray& b, T v) {
    v = qToLittleEndian(v);
    b.append(reinterpret_cast<const char*>(&v), sizeof v);
}

template <class T> T take(const char* at) {
    T v;
    std::memcpy(&v, at, sizeof v);
    return qFromLittleEndian(v);
}

// Cuts a stream of mono samples into slices of `per` samples (not always
// whole: slice k holds samples [k * per, (k + 1) * per)).
class Slicer {
  public:
    Slicer(Peaks& p, double per) : p_(p), per_(per), end_(per) {}
    void add(float v) {
        if (double(n_) >= end_) close();
        ++n_;
        if (!any_) {
            lo_ = hi_ = v;
            any_ = true;
        } else {
            lo_ = std::min(lo_, v);
            hi_ = std::max(hi_, v);
        }
    }
    void finish() {
        if (any_) close();
    }

  private:
    void close() {
        p_.lo.push_back(scaled(lo_));
        p_.hi.push_back(scaled(hi_));
        any_ = false;
        end_ = double(p_.lo.size() + 1) * per_;
    }
    Peaks& p_;
    double per_, end_;
    long long n_ = 0;
    float lo_ = 0, hi_ = 0;
    bool any_ = false;
};

} // namespace

bool Peaks::range(double fromMs, double toMs, int& low, int& high) const {
    const auto n = qint64(lo.size());
    auto first = qint64(std::floor(fromMs * perSecond / 1000));
    auto last = qint64(std::ceil(toMs * perSecond / 1000));
    if (last <= 0) return false; // all of it before the song starts: no sound there
    first = std::max<qint64>(first, 0);
    last = std::min(std::max(last, first + 1), n);
    if (first >= last) return false;
    int l = 127, h = -127;
    for (qint64 i = first; i < last; ++i) {
        l = std::min<int>(l, lo[size_t(i)]);
        h = std::max<int>(h, hi[size_t(i)]);
    }
    low = l;
    high = h;
    return true;
}

Peaks computePeaks(const Audio& a, int perSecond) {
    Peaks p;
    p.perSecond = perSecond;
    if (a.rate <= 0 || perSecond <= 0) return p;
    Slicer slices(p, double(a.rate) / perSecond);
    for (const float v : a.samples)
        slices.add(v);
    slices.finish();
    return p;
}

namespace {

// The peaks of frames [from, from + count) of `song` (count -1: to the end),
// the slices counted from `from`.  `total` gets the rate and the frames the
// file says it holds.
Peaks peaksOf(const QString& song, const std::function<bool()>& cancelled, int perSecond,
              long long from, long long count, std::pair<int, long long>* total = nullptr) {
    Peaks p;
    p.perSecond = perSecond;
    int channels = 1;
    std::optional<Slicer> slices;
    const long long frames = decodeBlocks(
        song,
        [&](int rate, int ch, long long all) {
            channels = ch;
            if (total) *total = {rate, all};
            const double per = double(rate) / perSecond;
            slices.emplace(p, per);
            const long long mine = count >= 0 ? count : all - from;
            if (mine > 0) {
                p.lo.reserve(size_t(double(mine) / per) + 1);
                p.hi.reserve(p.lo.capacity());
            }
        },
        [&](const float* block, size_t n) {
            const float share = 1.0f / float(channels);
            for (size_t i = 0; i < n; ++i) {
                const float* frame = block + i * size_t(channels);
                float v = frame[0];
                for (int c = 1; c < channels; ++c)
                    v += frame[c];
                slices->add(v * share);
            }
        },
        cancelled, from, count);
    if (frames == 0)
        throw std::runtime_error(
            QStringLiteral("Cannot decode \"%1\": no sound in it").arg(song).toStdString());
    slices->finish();
    return p;
}

} // namespace

Peaks decodePeaks(const QString& song, const std::function<bool()>& cancelled, int perSecond) {
    // Decoding is what costs (an MP3 most), so the second half of a long
    // song is decoded on a thread of its own while this one does the first.
    // The halves meet at a frame where a slice starts, so that each cuts its
    // slices as one pass would.  Straight from the decoder's blocks: no
    // copy of the song is kept.
    std::pair<int, long long> total{0, 0};
    {
        // The header only: the rate and length say where the halves meet.
        const long long got = decodeBlocks(
            song,
            [&](int rate, int, long long all) {
                total = {rate, all};
            },
            [](const float*, size_t) {}, {}, 0, 0);
        (void)got;
    }
    const auto [rate, frames] = total;
    // Slice k starts at frame k * rate / perSecond: whole for k a multiple of `step`.
    const long long step = perSecond / std::gcd(rate, perSecond);
    const long long slices = frames * perSecond / rate;
    const long long k = slices / 2 / step * step;
    const long long mid = k * rate / perSecond;
    constexpr long long kSplitFrom = 60LL * 8000; // shorter songs: one pass is quick
    if (frames < kSplitFrom || k <= 0) return peaksOf(song, cancelled, perSecond, 0, -1);
    std::optional<Peaks> second;
    std::exception_ptr failed;
    std::thread worker([&] {
        try {
            second = peaksOf(song, cancelled, perSecond, mid, -1);
        } catch (...) {
            failed = std::current_exception();
        }
    });
    Peaks p;
    try {
        p = peaksOf(song, cancelled, perSecond, 0, mid);
    } catch (...) {
        worker.join();
        throw;
    }
    worker.join();
    // A file that cannot seek, or a first half that fell short (a read
    // error, cancelled): the slices would not meet, so one pass decides.
    if (failed || !second || p.lo.size() != size_t(k)) {
        if (cancelled && cancelled()) return p;
        return peaksOf(song, cancelled, perSecond, 0, -1);
    }
    p.lo.insert(p.lo.end(), second->lo.begin(), second->lo.end());
    p.hi.insert(p.hi.end(), second->hi.begin(), second->hi.end());
    return p;
}

QByteArray peaksCacheBytes(const Peaks& p, qint64 songSize, qint64 songTimeMs) {
    QByteArray b(kMagic, sizeof kMagic);
    put<qint64>(b, songSize);
    put<qint64>(b, songTimeMs);
    put<qint32>(b, p.perSecond);
    put<qint32>(b, qint32(p.lo.size()));
    b.append(reinterpret_cast<const char*>(p.lo.data()), qsizetype(p.lo.size()));
    b.append(reinterpret_cast<const char*>(p.hi.data()), qsizetype(p.hi.size()));
    return b;
}

std::optional<Peaks> parsePeaksCache(const QByteArray& bytes, qint64 songSize, qint64 songTimeMs) {
    if (bytes.size() < kHeader || std::memcmp(bytes.constData(), kMagic, sizeof kMagic) != 0)
        return std::nullopt;
    const char* h = bytes.constData() + sizeof kMagic;
    const auto size = take<qint64>(h), time = take<qint64>(h + 8);
    const auto perSecond = take<qint32>(h + 16), count = take<qint32>(h + 20);
    if (size != songSize || time != songTimeMs || perSecond < 1 || perSecond > 1000 || count < 0 ||
        count > kMaxSlices || bytes.size() != kHeader + 2 * qint64(count))
        return std::nullopt;
    Peaks p;
    p.perSecond = perSecond;
    const auto* data = reinterpret_cast<const int8_t*>(bytes.constData() + kHeader);
    p.lo.assign(data, data + count);
    p.hi.assign(data + count, data + 2 * qint64(count));
    return p;
}

QString peaksCachePath(const QString& configDir, const QString& song) {
    const QByteArray key = QCryptographicHash::hash(QFileInfo(song).absoluteFilePath().toUtf8(),
                                                    QCryptographicHash::Sha1)
                               .toHex();
    return configDir + QStringLiteral("/waveforms/") + QString::fromLatin1(key) +
           QStringLiteral(".peaks");
}

Peaks loadPeaks(const QString& configDir, const QString& song,
                const std::function<bool()>& cancelled) {
    const QFileInfo info(song);
    const qint64 size = info.size();
    const qint64 time = info.lastModified().toMSecsSinceEpoch();
    if (configDir.isEmpty()) return decodePeaks(song, cancelled); // nowhere to keep a cache
    const QString cache = peaksCachePath(configDir, song);
    QFile in(cache);
    if (in.open(QIODevice::ReadOnly) && in.size() <= kHeader + 2 * kMaxSlices)
        if (auto p = parsePeaksCache(in.readAll(), size, time)) return *p;
    const Peaks p = decodePeaks(song, cancelled);
    if (cancelled && cancelled()) return p;
    QDir().mkpath(QFileInfo(cache).path());
    QSaveFile out(cache); // through a temporary file: a reader never sees half of one
    if (out.open(QIODevice::WriteOnly) && out.write(peaksCacheBytes(p, size, time)) >= 0)
        out.commit();
    return p;
}

std::vector<WaveMark> ticMarks(const TicTable& t, const PlayTiming& timing) {
    const int n = t.length();
    std::vector<double> tics(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        tics[size_t(i)] = val(t.Tic[size_t(i)]);
    const std::vector<double> pos = musicPositions(tics, timing);
    std::vector<WaveMark> marks(static_cast<size_t>(n));
    double scroll = 0;
    for (int i = 0; i < n; ++i) {
        const auto r = size_t(i);
        WaveMark& m = marks[r];
        m.row = i;
        m.ms = pos[r];
        const double scr = val(t.Scr[r]);
        if (isTrueText(t.Nxt[r]) || isTrueText(t.Prv[r]))
            m.kind = WaveMark::Page;
        else if (i > 0 && scr != scroll)
            m.kind = WaveMark::Scroll;
        scroll = scr;
    }
    return marks;
}

int markNear(const std::vector<WaveMark>& marks, double ms, double tolerance) {
    int best = -1;
    double bestGap = tolerance;
    // Positions rise with the rows: start from the first mark not before
    // the left end of the tolerance.
    auto it = std::lower_bound(marks.begin(), marks.end(), ms - tolerance,
                               [](const WaveMark& m, double v) { return m.ms < v; });
    for (; it != marks.end() && it->ms <= ms + tolerance; ++it)
        if (const double gap = std::abs(it->ms - ms);
            gap <= bestGap && (best < 0 || gap < bestGap)) {
            best = it->row;
            bestGap = gap;
        }
    return best;
}

bool moveTic(TicTable& t, int row, double toMs, const PlayTiming& timing) {
    const int n = t.length();
    if (row < 0 || row >= n) return false;
    const std::vector<WaveMark> marks = ticMarks(t, timing);
    const double lo = row > 0 ? marks[size_t(row - 1)].ms : -std::numeric_limits<double>::max();
    const double hi = row + 1 < n ? marks[size_t(row + 1)].ms : std::numeric_limits<double>::max();
    const double to = std::clamp(toMs, lo, hi);
    const double tic = val(t.Tic[size_t(row)]);
    const double factor = timing.ticFactor > 0 ? timing.ticFactor : 1;
    // A tic after the first fires its own share after the one before; the
    // first counts from the press of Play and may wait for the first note.
    long moved = row == 0 ? ticsForPositions({to}, timing).front()
                          : std::lround(tic + (to - marks[size_t(row)].ms) / factor);
    if (row + 1 < n) {
        const long pair = std::lround(tic + val(t.Tic[size_t(row + 1)]));
        moved = std::clamp(moved, 0L, pair);
        t.Tic[size_t(row + 1)] = numberText(double(pair - moved));
    }
    t.Tic[size_t(row)] = numberText(double(std::max(0L, moved)));
    return true;
}

} // namespace mv::align
