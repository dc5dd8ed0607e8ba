#include "align/operations.h"

#include "align/audio.h"
#include "align/features.h"
#include "align/snap.h"
#include "align/warp.h"
#include "core/session_state.h"

#include <QElapsedTimer>
#include <QSaveFile>
#include <algorithm>
#include <cmath>
#include <iterator>

namespace mv::align {

namespace {

// A source tic counts as struck with a clear onset this close; a clear
// onset has at least this share of the recording's loud ones.
constexpr double kStruckMs = 50;
constexpr double kClearShare = 0.3;

Audio decode(const QString& path, const Progress& p) {
    try {
        return decodeAudio(path, [&p] { return p.cancelled(); });
    } catch (const std::runtime_error& e) {
        throw AlignError(e.what());
    }
}

MapText parseMap(const QByteArray& map) {
    MapText m = MapText::parse(map);
    if (m.tics.empty()) throw AlignError("The map has no tics.");
    return m;
}

// Fills the counts and shifts from the positions before and after; the
// shifts of the tics from `first` on (those the operation worked on).
void summarise(MapResult& r, const std::vector<double>& before, const std::vector<double>& after,
               const MapText& m, const std::vector<long>& tics, size_t first = 0) {
    std::vector<double> shift;
    for (size_t k = first; k < before.size(); ++k)
        shift.push_back(std::abs(after[k] - before[k]));
    r.tics = int(m.tics.size());
    for (size_t k = 0; k < tics.size(); ++k)
        if (double(tics[k]) != m.tics[k]) ++r.moved;
    if (!shift.empty()) {
        std::sort(shift.begin(), shift.end());
        r.medianShiftMs = shift[shift.size() / 2];
        r.maxShiftMs = shift.back();
    }
}

// The onsets of at least kClearShare of the strength 5 % of them reach:
// noise, breath and a flute's wavering make weak ones everywhere, and only a
// clear one marks a note.
std::vector<Onset> clearOnsets(const std::vector<Onset>& onsets) {
    std::vector<double> s;
    for (const Onset& o : onsets)
        s.push_back(o.strength);
    std::sort(s.begin(), s.end(), std::greater<>());
    const double clear = s.empty() ? 0 : kClearShare * s[s.size() / 20];
    std::vector<Onset> out;
    std::copy_if(onsets.begin(), onsets.end(), std::back_inserter(out),
                 [clear](const Onset& o) { return o.strength >= clear; });
    return out;
}

// A tic on a held note (tied over, or a rest) has no clear onset in the
// source: the warp is free to put it anywhere along the held sound, which
// has the same chroma throughout.  Such a tic is placed by placeHeldTics.
void followHeldTics(const std::vector<double>& source, const std::vector<Onset>& sourceOnsets,
                    std::vector<double>& target) {
    const std::vector<Onset> clear = clearOnsets(sourceOnsets);
    std::vector<bool> held(source.size());
    for (size_t k = 0; k < source.size(); ++k) {
        const auto it = std::lower_bound(clear.begin(), clear.end(), source[k] - kStruckMs,
                                         [](const Onset& o, double t) { return o.ms < t; });
        held[k] = it == clear.end() || it->ms > source[k] + kStruckMs;
    }
    placeHeldTics(source, held, target);
}

// A struck tic the warp carried where the target has no onset: on a note
// held long or struck again on the same pitch the chroma cannot tell where
// the strike is, and the path may stray by most of a note.  Such a tic is
// placed by its share of the time between the nearest tics that did find an
// onset, as in the source (after the last of them: their tempo), on the
// onset within 70 ms of that place if there is one.  (Where none sounds, a
// note held over the bar, the place by the tempo beats the path, which is
// free to wander along the held sound.)
void refindLostTics(const std::vector<double>& source, const std::vector<double>& warped,
                    const std::vector<Onset>& onsets, std::vector<double>& target) {
    const size_t n = source.size();
    std::vector<bool> found(n);
    for (size_t k = 0; k < n; ++k)
        found[k] = target[k] != warped[k];
    for (size_t k = 0; k < n; ++k) {
        if (found[k]) continue;
        size_t a = k, b = k;
        while (a > 0 && !found[a])
            --a;
        while (b + 1 < n && !found[b])
            ++b;
        if (!found[a]) continue;
        if (!found[b]) {
            // None found after it: the tempo of the two found tics before.
            size_t c = a;
            while (c > 0 && (c == a || !found[c]))
                --c;
            if (c == a || !found[c]) continue;
            b = a, a = c;
        }
        if (source[b] <= source[a]) continue;
        const double share = (source[k] - source[a]) / (source[b] - source[a]);
        const double guess = target[a] + share * (target[b] - target[a]);
        const SnapResult s = snapToOnsets({guess}, onsets, 70, 150, false);
        target[k] = s.snapped == 1 ? s.ms[0] : guess;
    }
}

double tempoSpread(const std::vector<double>& source, const std::vector<double>& target) {
    std::vector<double> ratio;
    for (size_t k = 1; k < source.size(); ++k)
        if (source[k] - source[k - 1] > 1 && target[k] - target[k - 1] > 1)
            ratio.push_back(std::log((target[k] - target[k - 1]) / (source[k] - source[k - 1])));
    if (ratio.empty()) return 0;
    std::vector<double> sorted = ratio;
    std::nth_element(sorted.begin(), sorted.begin() + long(sorted.size() / 2), sorted.end());
    const double mid = sorted[sorted.size() / 2];
    for (double& v : ratio)
        v = std::abs(v - mid);
    std::nth_element(ratio.begin(), ratio.begin() + long(ratio.size() / 2), ratio.end());
    return ratio[ratio.size() / 2];
}

// Above this ratio of the stretches of a tic's two spans the tic is
// taken to be on the wrong note (a tempo change in a rubato rendition stays
// under 1.35).
constexpr double kUneven = 1.5;

} // namespace

void evenOutTics(const std::vector<double>& source, const std::vector<double>& warped,
                 const std::vector<Onset>& onsets, std::vector<double>& target) {
    const size_t n = source.size();
    std::vector<size_t> found;
    for (size_t k = 0; k < n; ++k)
        if (target[k] != warped[k]) found.push_back(k);
    const std::vector<double> snapped = target;
    for (size_t f = 1; f + 1 < found.size(); ++f) {
        const size_t a = found[f - 1], k = found[f], b = found[f + 1];
        const double s1 = source[k] - source[a], s2 = source[b] - source[k];
        if (s1 <= 0 || s2 <= 0 || snapped[b] <= snapped[a]) continue;
        const double r1 = (snapped[k] - snapped[a]) / s1, r2 = (snapped[b] - snapped[k]) / s2;
        if (r1 > 0 && r2 > 0 && std::max(r1, r2) < kUneven * std::min(r1, r2)) continue;
        const double guess = snapped[a] + s1 / (s1 + s2) * (snapped[b] - snapped[a]);
        const SnapResult s = snapToOnsets({guess}, onsets, 70, 150, false);
        if (s.snapped == 1) target[k] = s.ms[0];
    }
}

void placeHeldTics(const std::vector<double>& source, const std::vector<bool>& held,
                   std::vector<double>& target) {
    const size_t n = std::min({source.size(), held.size(), target.size()});
    // The piece's usual stretch: the median of target/source over the spans
    // between consecutive struck tics.
    std::vector<double> ratio;
    for (size_t k = 1; k < n; ++k)
        if (!held[k] && !held[k - 1] && source[k] - source[k - 1] > 1 &&
            target[k] - target[k - 1] > 1)
            ratio.push_back((target[k] - target[k - 1]) / (source[k] - source[k - 1]));
    std::sort(ratio.begin(), ratio.end());
    const double stretch = ratio.empty() ? 0 : ratio[ratio.size() / 2];
    for (size_t k = 0; k < n; ++k) {
        if (!held[k]) continue;
        size_t a = k, b = k;
        while (a > 0 && held[a])
            --a;
        while (b + 1 < n && held[b])
            ++b;
        if (held[a] || source[k] < source[a]) continue;
        if (held[b]) {
            // None struck after it: nothing in either recording marks where
            // it falls (a note held to the end), and the span just before
            // may have its own tempo (a change on the held note's bar), so
            // the usual stretch of the piece carries it on.
            if (stretch > 0) target[k] = target[a] + stretch * (source[k] - source[a]);
            continue;
        }
        if (source[b] <= source[a]) continue;
        const double share = (source[k] - source[a]) / (source[b] - source[a]);
        target[k] = target[a] + share * (target[b] - target[a]);
    }
}

std::vector<double> tightenPositions(const std::vector<double>& positions,
                                     const std::vector<Onset>& onsets) {
    return snapToOnsets(positions, onsets).ms;
}

MapResult tightenMap(const QString& song, const QByteArray& map, const PlayTiming& timing,
                     int fromTic, const Progress& progress) {
    QElapsedTimer clock;
    clock.start();
    const MapText m = parseMap(map);
    progress.at(5);
    const Audio a = decode(song, progress);
    MapResult r;
    if (progress.cancelled()) return r.cancelled = true, r;
    progress.at(60);
    const std::vector<Onset> onsets = detectOnsets(a);
    progress.at(90);
    const std::vector<double> before = musicPositions(m.tics, timing);
    const size_t first = size_t(std::clamp(fromTic, 0, int(before.size())));
    const std::vector<double> part(before.begin() + long(first), before.end());
    std::vector<double> after = before;
    const std::vector<double> moved = snapToOnsets(part, onsets).ms;
    std::copy(moved.begin(), moved.end(), after.begin() + long(first));
    std::vector<long> tics = ticsForPositions(after, timing);
    // The tics before the first one moved keep their stored times.
    for (size_t k = 0; k < first; ++k)
        tics[k] = std::lround(m.tics[k]);
    if (first > 0 && first < tics.size()) {
        // The first moved tic counts from the unchanged one before it.
        double total = 0;
        for (size_t k = 0; k < first; ++k)
            total += m.tics[k];
        const std::vector<long> whole = ticsForPositions(after, timing);
        long sum = 0;
        for (size_t k = 0; k <= first; ++k)
            sum += whole[k];
        tics[first] = std::max(0L, sum - std::lround(total));
    }
    r.bytes = m.withTics(tics);
    summarise(r, before, musicPositions(std::vector<double>(tics.begin(), tics.end()), timing), m,
              tics, first);
    r.seconds = double(clock.elapsed()) / 1000.0;
    progress.at(100);
    return r;
}

MapResult transferMap(const QString& fromSong, const QByteArray& fromMap, const QString& toSong,
                      const PlayTiming& timing, const Progress& progress, double maxCost) {
    QElapsedTimer clock;
    clock.start();
    const MapText m = parseMap(fromMap);
    MapResult r;
    std::vector<Chroma> ca, cb;
    std::vector<Onset> onsets, sourceOnsets;
    std::vector<float> oa, ob;
    {
        const Audio a = decode(fromSong, progress);
        if (progress.cancelled()) return r.cancelled = true, r;
        progress.at(20);
        ca = chromaSequence(a);
        sourceOnsets = detectOnsets(a);
        oa = onsetFrames(sourceOnsets, ca.size());
    }
    progress.at(30);
    {
        const Audio b = decode(toSong, progress);
        if (progress.cancelled()) return r.cancelled = true, r;
        progress.at(50);
        cb = chromaSequence(b);
        onsets = detectOnsets(b);
        ob = onsetFrames(onsets, cb.size());
    }
    progress.at(70);
    const WarpPath path = alignChroma(
        ca, cb, 25, [&progress] { return progress.cancelled(); }, oa, ob);
    if (progress.cancelled()) return r.cancelled = true, r;
    const auto notTheSame = [](double cost) {
        return AlignError(
            QStringLiteral("The recordings do not seem to be the same piece (alignment cost %1).")
                .arg(cost, 0, 'f', 2)
                .toStdString());
    };
    if (path.steps.empty()) throw notTheSame(1);
    progress.at(90);
    const std::vector<double> before = musicPositions(m.tics, timing);
    std::vector<double> warped;
    for (double p : before)
        warped.push_back(warpTime(path, p));
    // A tic goes only onto a clear onset: a weak one (noise, a wavering held
    // note) near where the path strayed would pass for the note.
    const std::vector<Onset> targetClear = clearOnsets(onsets);
    const SnapResult snap = snapToOnsets(warped, targetClear, 70, 150, false);
    std::vector<double> after = snap.ms;
    r.matchedShare = double(snap.snapped) / double(std::max<size_t>(1, warped.size()));
    evenOutTics(before, warped, targetClear, after);
    followHeldTics(before, sourceOnsets, after);
    refindLostTics(before, warped, targetClear, after);
    r.tempoSpread = tempoSpread(before, after);
    r.pathCost = path.relativeCost + r.tempoSpread;
    if (r.pathCost > maxCost) throw notTheSame(r.pathCost);
    const std::vector<long> tics = ticsForPositions(after, timing);
    r.bytes = m.withTics(tics);
    summarise(r, before, musicPositions(std::vector<double>(tics.begin(), tics.end()), timing), m,
              tics);
    r.seconds = double(clock.elapsed()) / 1000.0;
    progress.at(100);
    return r;
}

PlayTiming playTimingOf(const Session& s) {
    const VelmorState& v = s.velmor;
    PlayTiming t;
    t.ticFactor = v.Text5.value();
    t.speed = v.Speed.value();
    double start = 0;
    if (v.CNWC.get() == 1) start += 100 + 1000 * std::max(0.0, v.Text4.value());
    if (v.LoadPDF.get() == 1 && v.PDFDLY.value() > 0) start += 1000 * v.PDFDLY.value();
    t.musicStartMs = start;
    t.firstNoteMs = v.FirstNote.value() > 0 ? std::floor(v.FirstNote.value()) + 1 : 0;
    return t;
}

bool writeFileAtomically(const QString& path, const QByteArray& bytes) {
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly)) return false;
    if (f.write(bytes) != bytes.size()) {
        f.cancelWriting();
        return false;
    }
    return f.commit();
}

} // namespace mv::align
