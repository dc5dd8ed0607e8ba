#include "align/features.h"

#include <algorithm>
#include <cmath>
#include <fftw3.h>
#include <mutex>

namespace mv::align {

namespace {

// FFTW's planner is not thread-safe; the transforms themselves are.
std::mutex& planMutex() {
    static std::mutex m;
    return m;
}

// A real forward transform of a fixed size with a Hann window.
class Spectrum {
  public:
    explicit Spectrum(int n) : n_(n), win_(size_t(n)) {
        in_ = fftwf_alloc_real(size_t(n));
        out_ = fftwf_alloc_complex(size_t(n / 2 + 1));
        {
            const std::lock_guard lock(planMutex());
            plan_ = fftwf_plan_dft_r2c_1d(n, in_, out_, FFTW_ESTIMATE);
        }
        for (int i = 0; i < n; ++i)
            win_[size_t(i)] = float(0.5 - 0.5 * std::cos(2 * M_PI * i / n));
    }
    ~Spectrum() {
        const std::lock_guard lock(planMutex());
        fftwf_destroy_plan(plan_);
        fftwf_free(in_);
        fftwf_free(out_);
    }
    Spectrum(const Spectrum&) = delete;
    Spectrum& operator=(const Spectrum&) = delete;

    // Magnitudes of the frame centred at sample `centre` (zeros beyond the ends).
    void magnitudes(const std::vector<float>& x, long centre, std::vector<float>& mag) {
        const long start = centre - n_ / 2;
        for (int i = 0; i < n_; ++i) {
            const long k = start + i;
            in_[i] = (k >= 0 && k < long(x.size())) ? x[size_t(k)] * win_[size_t(i)] : 0.f;
        }
        fftwf_execute(plan_);
        mag.resize(size_t(n_ / 2 + 1));
        for (int i = 0; i <= n_ / 2; ++i)
            mag[size_t(i)] = std::hypot(out_[i][0], out_[i][1]);
    }

  private:
    int n_;
    std::vector<float> win_;
    float* in_;
    fftwf_complex* out_;
    fftwf_plan plan_;
};

int pow2AtLeast(double v) {
    int n = 16;
    while (n < v)
        n *= 2;
    return n;
}

} // namespace

namespace {

// Log-compressed spectral flux with a Hann window of about `windowSec`,
// eight hops a window; each bin is compared with the largest of the `widen`
// bins each side of it in the frame before.  Log compression makes a soft attack count as much
// as a loud one.
std::vector<float> spectralFlux(const Audio& a, double windowSec, double& hopMs, size_t widen = 0) {
    const int win = pow2AtLeast(a.rate * windowSec);
    const int hop = std::max(1, win / 8);
    hopMs = 1000.0 * hop / a.rate;
    Spectrum sp(win);
    std::vector<float> mag, prev;
    const long frames = long(a.samples.size()) / hop + 1;
    std::vector<float> flux(size_t(frames), 0.f);
    for (long f = 0; f < frames; ++f) {
        sp.magnitudes(a.samples, f * hop, mag);
        for (float& m : mag)
            m = std::log1p(100.f * m);
        if (!prev.empty()) {
            float sum = 0;
            for (size_t k = 1; k < mag.size(); ++k) {
                float p = prev[k];
                for (size_t d = 1; d <= widen; ++d)
                    p = std::max(
                        {p, prev[k - std::min(k, d)], prev[std::min(mag.size() - 1, k + d)]});
                sum += std::max(0.f, mag[k] - p);
            }
            flux[size_t(f)] = sum;
        }
        std::swap(prev, mag);
    }
    return flux;
}

// Peaks of `flux` at least `apartMs` apart, above an adaptive threshold
// (the median around each frame, ±100 ms, plus a share of the loud peaks),
// refined by a parabola; then only the clear ones: a reverberating or
// noisy note makes small peaks between the attacks, a tenth or less of a
// loud attack's.  (A fifth lost the soft repeated notes of a harpsichord
// once encoded as MP3.)
std::vector<Onset> pickPeaks(const std::vector<float>& flux, double hopMs, double apartMs) {
    const long frames = long(flux.size());
    if (frames < 3) return {};
    const int medHalf = int(std::lround(100.0 / hopMs));
    const int apart = std::max(1, int(std::lround(apartMs / hopMs)));
    std::vector<float> sorted(flux);
    std::sort(sorted.begin(), sorted.end());
    const float loud = sorted[size_t(double(sorted.size() - 1) * 0.99)];
    const float floorLevel = 0.05f * loud;
    std::vector<Onset> out;
    std::vector<float> window;
    for (long f = 1; f + 1 < frames; ++f) {
        const float v = flux[size_t(f)];
        if (v < floorLevel) continue;
        bool peak = true;
        for (long k = std::max(0L, f - apart); k <= std::min(frames - 1, f + apart) && peak; ++k)
            if (flux[size_t(k)] > v || (flux[size_t(k)] == v && k < f)) peak = false;
        if (!peak) continue;
        window.assign(flux.begin() + std::max(0L, f - medHalf),
                      flux.begin() + std::min(frames, f + medHalf + 1));
        std::nth_element(window.begin(), window.begin() + long(window.size() / 2), window.end());
        const float med = window[window.size() / 2];
        if (v - med < floorLevel) continue;
        const double l = flux[size_t(f - 1)], c = v, r = flux[size_t(f + 1)];
        const double den = l - 2 * c + r;
        const double off = den < 0 ? std::clamp(0.5 * (l - r) / den, -0.5, 0.5) : 0.0;
        out.push_back({(double(f) + off) * hopMs, double(v - med)});
    }
    if (!out.empty()) {
        std::vector<double> s;
        for (const Onset& o : out)
            s.push_back(o.strength);
        std::sort(s.begin(), s.end(), std::greater<>());
        const double clear = 0.1 * s[s.size() / 20];
        std::erase_if(out, [clear](const Onset& o) { return o.strength < clear; });
    }
    return out;
}

// Loudness in dB every `hopMs`, on a Hann window of 11.6 ms.
std::vector<float> loudness(const Audio& a, double& hopMs) {
    const long hop = std::max(1L, std::lround(a.rate * 0.00145));
    const long half = std::max(2L, std::lround(a.rate * 0.0058));
    hopMs = 1000.0 * double(hop) / a.rate;
    std::vector<double> win(size_t(2 * half));
    double sum = 0;
    for (long k = -half; k < half; ++k)
        sum += win[size_t(k + half)] = 0.5 + 0.5 * std::cos(M_PI * double(k) / double(half));
    const long n = long(a.samples.size()) / hop;
    std::vector<float> db(static_cast<size_t>(std::max(0L, n)));
    for (long f = 0; f < n; ++f) {
        double e = 0;
        for (long k = -half; k < half; ++k) {
            const long i = f * hop + k;
            if (i >= 0 && i < long(a.samples.size()))
                e += win[size_t(k + half)] * double(a.samples[size_t(i)]) * a.samples[size_t(i)];
        }
        db[size_t(f)] = float(10 * std::log10(e / sum + 1e-10));
    }
    return db;
}

// Where one held note gives way to the next without a new attack (a flute
// slurring): the old note's release makes a short dip in the loudness
// before the new one swells, and the spectral flux shows nothing clear.  A
// dip is a low point (the lowest within 15 ms) at least 4 dB under the
// loudest of the 60 ms before and of the 60 ms after it, where the 50 ms
// before the fall held steady within 2 dB: a note held, not a struck one
// dying away.  Its time is where the fall passes 2 dB under that level,
// less 5.3 ms: on the demo's flute the release starts there, at the next
// note's MIDI time (within ±2.5 ms for 9 dips in 10).  Strength: the
// depth in dB.
std::vector<Onset> loudnessDips(const Audio& a) {
    double hopMs = 0;
    const std::vector<float> e = loudness(a, hopMs);
    const long n = long(e.size()), side = std::lround(60 / hopMs), lowest = std::lround(15 / hopMs),
               steady = std::lround(50 / hopMs);
    constexpr float kDepthDb = 4, kSteadyDb = 2, kFallDb = 2;
    std::vector<Onset> out;
    for (long m = side; m + side < n; ++m) {
        const float v = e[size_t(m)];
        if (v < -60) continue; // silence
        bool low = true;
        for (long k = m - lowest; k <= m + lowest && low; ++k)
            if (e[size_t(k)] < v || (e[size_t(k)] == v && k < m)) low = false;
        if (!low) continue;
        const long before =
            long(std::max_element(e.begin() + (m - side), e.begin() + m) - e.begin());
        const float level = e[size_t(before)];
        const float after = *std::max_element(e.begin() + m, e.begin() + m + side + 1);
        if (level - v < kDepthDb || after - v < kDepthDb) continue;
        const auto [lo, hi] =
            std::minmax_element(e.begin() + std::max(0L, before - steady), e.begin() + before + 1);
        if (*hi - *lo > kSteadyDb) continue;
        long k = before;
        while (k < m && e[size_t(k)] > level - kFallDb)
            ++k;
        out.push_back({double(k) * hopMs - 5.3, double(std::min(level, after) - v)});
    }
    return out;
}

// Spectral flux onsets, as below, before the dips are considered.
std::vector<Onset> fluxOnsets(const Audio& a);

} // namespace

std::vector<Onset> detectOnsets(const Audio& a) {
    if (a.rate <= 0 || a.samples.empty()) return {};
    std::vector<Onset> flux = fluxOnsets(a);
    const std::vector<Onset> dips = loudnessDips(a);
    // A recording played legato shows many dips (the demo's flute 70 a
    // minute; struck and plucked instruments 5 or fewer); there the dips
    // mark the notes and the flux peaks within 50 ms of one are breath
    // noise.  Strengths on one scale: flux relative to the loud onsets
    // (at most 1), dips from 1 up.
    const double minutes = double(a.samples.size()) / a.rate / 60;
    if (double(dips.size()) < 20 * minutes) return flux;
    std::vector<double> s;
    for (const Onset& o : flux)
        s.push_back(o.strength);
    std::sort(s.begin(), s.end(), std::greater<>());
    const double loud = s.empty() ? 1 : std::max(1e-9, s[s.size() / 20]);
    std::vector<Onset> out;
    size_t d = 0;
    for (const Onset& o : flux) {
        while (d < dips.size() && dips[d].ms < o.ms - 50)
            ++d;
        if (d < dips.size() && dips[d].ms <= o.ms + 50) continue;
        out.push_back({o.ms, std::min(1.0, o.strength / loud)});
    }
    for (const Onset& dip : dips)
        out.push_back({dip.ms, 1 + (dip.strength - 4) / 4});
    std::sort(out.begin(), out.end(), [](const Onset& x, const Onset& y) { return x.ms < y.ms; });
    return out;
}

namespace {

std::vector<Onset> fluxOnsets(const Audio& a) {
    double fineHop = 0;
    const std::vector<float> fine = spectralFlux(a, 0.0116, fineHop);
    // Found on a window twice as long, against the frame before widened by
    // a bin each way (a vibrato moves energy to the next bin without a new
    // note), at least 50 ms apart; then placed on the short window's flux
    // peak from 25 ms before to 10 ms after.  On the flute of the demo this
    // halves the false onsets; elsewhere the times stay.
    double coarseHop = 0;
    const std::vector<float> coarse = spectralFlux(a, 0.023, coarseHop, 1);
    std::vector<Onset> out = pickPeaks(coarse, coarseHop, 50);
    for (Onset& o : out) {
        const long lo = std::max(0L, long((o.ms - 25) / fineHop));
        const long hi = std::min(long(fine.size()) - 1, long((o.ms + 10) / fineHop));
        long at = -1;
        for (long f = lo; f <= hi; ++f)
            if (at < 0 || fine[size_t(f)] > fine[size_t(at)]) at = f;
        if (at > 0 && at + 1 < long(fine.size())) {
            const double l = fine[size_t(at - 1)], c = fine[size_t(at)], r = fine[size_t(at + 1)];
            const double den = l - 2 * c + r;
            const double off = den < 0 ? std::clamp(0.5 * (l - r) / den, -0.5, 0.5) : 0.0;
            o.ms = (double(at) + off) * fineHop + kOnsetDelayMs;
        }
    }
    return out;
}

} // namespace

std::vector<Chroma> chromaSequence(const Audio& a) {
    if (a.rate <= 0 || a.samples.empty()) return {};
    const int win = pow2AtLeast(a.rate * 0.09);
    const double hop = a.rate * kChromaHopMs / 1000.0;
    Spectrum sp(win);
    // Each bin's pitch class, for the bins between 55 Hz and 2 kHz.
    std::vector<int> cls(size_t(win / 2 + 1), -1);
    for (int k = 1; k <= win / 2; ++k) {
        const double hz = double(k) * a.rate / win;
        if (hz < 55 || hz > 2000) continue;
        const long midi = std::lround(69 + 12 * std::log2(hz / 440.0));
        cls[size_t(k)] = int(((midi % 12) + 12) % 12);
    }
    const long frames = long(double(a.samples.size()) / hop) + 1;
    std::vector<Chroma> out(static_cast<size_t>(frames));
    std::vector<float> mag;
    const float even = float(1 / std::sqrt(12.0));
    for (long f = 0; f < frames; ++f) {
        sp.magnitudes(a.samples, std::lround(double(f) * hop), mag);
        Chroma c{};
        for (size_t k = 0; k < mag.size(); ++k)
            if (cls[k] >= 0) c[size_t(cls[k])] += mag[k] * mag[k];
        double norm = 0;
        for (float& v : c) {
            v = std::log1p(v); // compress the energy so quiet notes count
            norm += double(v) * v;
        }
        norm = std::sqrt(norm);
        Chroma& o = out[size_t(f)];
        if (norm < 1e-3) {
            o.fill(even);
        } else {
            for (size_t i = 0; i < 12; ++i)
                o[i] = float(c[i] / norm);
        }
    }
    return out;
}

std::vector<float> onsetFrames(const std::vector<Onset>& onsets, size_t frames) {
    std::vector<float> out(frames, 0.f);
    if (onsets.empty() || frames == 0) return out;
    std::vector<double> s;
    for (const Onset& o : onsets)
        s.push_back(o.strength);
    std::sort(s.begin(), s.end(), std::greater<>());
    const double loud = std::max(1e-9, s[s.size() / 20]);
    for (const Onset& o : onsets) {
        const long f = std::lround(o.ms / kChromaHopMs);
        const float v = float(std::min(1.0, o.strength / loud));
        for (long d = -1; d <= 1; ++d) {
            const long k = f + d;
            if (k >= 0 && k < long(frames))
                out[size_t(k)] = std::max(out[size_t(k)], d == 0 ? v : v / 2);
        }
    }
    return out;
}

} // namespace mv::align
