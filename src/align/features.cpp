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
// noisy note makes small peaks between the attacks, a fifth or less of a
// loud attack's.
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
        const double clear = 0.2 * s[s.size() / 20];
        std::erase_if(out, [clear](const Onset& o) { return o.strength < clear; });
    }
    return out;
}

} // namespace

std::vector<Onset> detectOnsets(const Audio& a) {
    if (a.rate <= 0 || a.samples.empty()) return {};
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
