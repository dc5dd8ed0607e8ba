#include "align/warp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace mv::align {

namespace {

float cost(const Chroma& a, const Chroma& b) {
    float d = 0;
    for (size_t i = 0; i < 12; ++i)
        d += a[i] * b[i];
    return 1.f - d;
}

// Band DTW over rows i (source) with target columns lo[i]..hi[i] inclusive;
// lo and hi never decrease.  Steps (1,1), (1,0), (0,1), each adding the cost
// of the cell reached.
WarpPath bandDtw(const std::vector<Chroma>& a, const std::vector<Chroma>& b,
                 const std::vector<int>& lo, const std::vector<int>& hi,
                 const std::function<bool()>& cancelled, const std::vector<float>& oa,
                 const std::vector<float>& ob) {
    const bool onsets = oa.size() == a.size() && ob.size() == b.size();
    const int n = int(a.size());
    constexpr float inf = std::numeric_limits<float>::infinity();
    std::vector<size_t> base(size_t(n) + 1, 0);
    for (int i = 0; i < n; ++i)
        base[size_t(i) + 1] = base[size_t(i)] + size_t(hi[size_t(i)] - lo[size_t(i)] + 1);
    std::vector<uint8_t> dir(base[size_t(n)]); // 0 diagonal, 1 from above, 2 from the left
    std::vector<float> prev, cur;
    for (int i = 0; i < n; ++i) {
        if (cancelled && (i & 63) == 0 && cancelled()) return {};
        const int l = lo[size_t(i)], h = hi[size_t(i)];
        cur.assign(size_t(h - l + 1), inf);
        const int pl = i > 0 ? lo[size_t(i) - 1] : 0, ph = i > 0 ? hi[size_t(i) - 1] : -1;
        const auto up = [&](int j) { return (j >= pl && j <= ph) ? prev[size_t(j - pl)] : inf; };
        for (int j = l; j <= h; ++j) {
            float c = cost(a[size_t(i)], b[size_t(j)]);
            if (onsets) c += kOnsetWeight * std::abs(oa[size_t(i)] - ob[size_t(j)]);
            float best = inf;
            uint8_t d = 0;
            if (i == 0 && j == 0) {
                best = 0;
            } else {
                if (i > 0 && j > 0 && up(j - 1) < best) best = up(j - 1), d = 0;
                if (i > 0 && up(j) < best) best = up(j), d = 1;
                if (j > l && cur[size_t(j - 1 - l)] < best) best = cur[size_t(j - 1 - l)], d = 2;
            }
            cur[size_t(j - l)] = best + c;
            dir[base[size_t(i)] + size_t(j - l)] = d;
        }
        std::swap(prev, cur);
    }
    WarpPath p;
    int i = n - 1, j = int(b.size()) - 1;
    if (j < lo[size_t(i)] || j > hi[size_t(i)]) return {};
    double total = 0;
    for (;;) {
        p.steps.emplace_back(i, j);
        total += cost(a[size_t(i)], b[size_t(j)]);
        if (i == 0 && j == 0) break;
        const uint8_t d = dir[base[size_t(i)] + size_t(j - lo[size_t(i)])];
        if (d == 0)
            --i, --j;
        else if (d == 1)
            --i;
        else
            --j;
        if (i < 0 || j < 0) return {};
    }
    std::reverse(p.steps.begin(), p.steps.end());
    p.meanCost = total / double(p.steps.size());
    return p;
}

std::vector<Chroma> downsample(const std::vector<Chroma>& x, int f) {
    std::vector<Chroma> out((x.size() + size_t(f) - 1) / size_t(f));
    for (size_t k = 0; k < out.size(); ++k) {
        Chroma c{};
        for (size_t i = k * size_t(f); i < std::min(x.size(), (k + 1) * size_t(f)); ++i)
            for (size_t q = 0; q < 12; ++q)
                c[q] += x[i][q];
        double norm = 0;
        for (float v : c)
            norm += double(v) * v;
        norm = std::sqrt(std::max(norm, 1e-12));
        for (float& v : c)
            v = float(v / norm);
        out[k] = c;
    }
    return out;
}

std::vector<float> downsampleMax(const std::vector<float>& x, int f) {
    std::vector<float> out((x.size() + size_t(f) - 1) / size_t(f), 0.f);
    for (size_t i = 0; i < x.size(); ++i)
        out[i / size_t(f)] = std::max(out[i / size_t(f)], x[i]);
    return out;
}

} // namespace

WarpPath alignChroma(const std::vector<Chroma>& from, const std::vector<Chroma>& to, int radius,
                     const std::function<bool()>& cancelled, const std::vector<float>& fromOnsets,
                     const std::vector<float>& toOnsets) {
    if (from.empty() || to.empty()) return {};
    constexpr int f = 10;
    const std::vector<Chroma> ca = downsample(from, f), cb = downsample(to, f);
    const std::vector<int> clo(ca.size(), 0), chi(ca.size(), int(cb.size()) - 1);
    const WarpPath coarse = bandDtw(ca, cb, clo, chi, cancelled, downsampleMax(fromOnsets, f),
                                    downsampleMax(toOnsets, f));
    if (coarse.steps.empty()) return {};
    // The band: every fine cell under a coarse cell of the path, widened.
    const int n = int(from.size()), m = int(to.size());
    std::vector<int> lo(size_t(n), m), hi(size_t(n), -1);
    for (const auto& [ci, cj] : coarse.steps)
        for (int i = ci * f; i < std::min(n, (ci + 1) * f); ++i) {
            lo[size_t(i)] = std::min(lo[size_t(i)], std::max(0, cj * f - radius));
            hi[size_t(i)] = std::max(hi[size_t(i)], std::min(m - 1, (cj + 1) * f - 1 + radius));
        }
    lo[0] = 0;
    hi[size_t(n) - 1] = m - 1;
    for (int i = 1; i < n; ++i)
        lo[size_t(i)] = std::max(lo[size_t(i)], lo[size_t(i) - 1]);
    for (int i = n - 2; i >= 0; --i)
        hi[size_t(i)] = std::min(hi[size_t(i)], hi[size_t(i) + 1]);
    for (int i = 0; i < n; ++i) // the band stays connected: each row reaches the last
        if (i > 0 && lo[size_t(i)] > hi[size_t(i) - 1] + 1) lo[size_t(i)] = hi[size_t(i) - 1] + 1;
    WarpPath p = bandDtw(from, to, lo, hi, cancelled, fromOnsets, toOnsets);
    // The same path moved 1 to 3 s either way along the target: a path
    // through the same piece meets other notes there and costs far more;
    // one through another piece fares about as well moved as not.
    double shifted = 0;
    long counted = 0;
    for (const auto& [i, j] : p.steps)
        for (int s : {-150, -100, -50, 50, 100, 150}) {
            if (j + s < 0 || j + s >= m) continue;
            shifted += cost(from[size_t(i)], to[size_t(j + s)]);
            ++counted;
        }
    p.relativeCost = counted > 0 && shifted > 1e-9 ? p.meanCost / (shifted / double(counted)) : 1.0;
    return p;
}

double warpTime(const WarpPath& path, double sourceMs) {
    if (path.steps.empty()) return sourceMs;
    const int n = path.steps.back().first + 1;
    // The stretch of the target each source frame covers: a horizontal run
    // spreads the frame over the run's cells; rows sharing one target cell
    // (a vertical run) share that cell in equal parts.
    std::vector<int> jmin(size_t(n), std::numeric_limits<int>::max()), jmax(size_t(n), -1);
    for (const auto& [i, j] : path.steps) {
        jmin[size_t(i)] = std::min(jmin[size_t(i)], j);
        jmax[size_t(i)] = std::max(jmax[size_t(i)], j);
    }
    std::vector<double> from(static_cast<size_t>(n)), to(static_cast<size_t>(n));
    for (int i = 0; i < n;) {
        int e = i + 1;
        while (e < n && jmin[size_t(e)] == jmax[size_t(e)] && jmin[size_t(i)] == jmax[size_t(i)] &&
               jmin[size_t(e)] == jmin[size_t(i)])
            ++e;
        const int m = e - i;
        for (int r = 0; r < m; ++r) {
            if (m == 1) {
                from[size_t(i)] = jmin[size_t(i)];
                to[size_t(i)] = jmax[size_t(i)] + 1;
            } else {
                from[size_t(i + r)] = jmin[size_t(i)] + double(r) / m;
                to[size_t(i + r)] = jmin[size_t(i)] + double(r + 1) / m;
            }
        }
        i = e;
    }
    const double x = sourceMs / kChromaHopMs;
    if (x < 0) return (from[0] + x) * kChromaHopMs;
    if (x >= n) return (to[size_t(n) - 1] + (x - n)) * kChromaHopMs;
    const int i = int(std::floor(x));
    return (from[size_t(i)] + (x - i) * (to[size_t(i)] - from[size_t(i)])) * kChromaHopMs;
}

} // namespace mv::align
