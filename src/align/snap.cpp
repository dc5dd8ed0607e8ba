#include "align/snap.h"

#include <algorithm>
#include <cmath>

namespace mv::align {

namespace {

// Index range of the onsets within [lo, hi].
std::pair<size_t, size_t> within(const std::vector<Onset>& o, double lo, double hi) {
    const auto first =
        std::lower_bound(o.begin(), o.end(), lo, [](const Onset& x, double t) { return x.ms < t; });
    const auto last =
        std::upper_bound(o.begin(), o.end(), hi, [](double t, const Onset& x) { return t < x.ms; });
    return {size_t(first - o.begin()), size_t(last - o.begin())};
}

// The best onset near `t`: strength weighted down linearly to half at the
// window's edge, so that a clear note near the tap beats a slightly louder
// one further off.  -1 when there is none.
long best(const std::vector<Onset>& o, double t, double window) {
    const auto [a, b] = within(o, t - window, t + window);
    long pick = -1;
    double score = 0;
    for (size_t k = a; k < b; ++k) {
        const double s = o[k].strength * (1 - 0.5 * std::abs(o[k].ms - t) / window);
        if (pick < 0 || s > score) pick = long(k), score = s;
    }
    return pick;
}

} // namespace

SnapResult snapToOnsets(const std::vector<double>& taps, const std::vector<Onset>& onsets,
                        double windowMs, double searchMs, bool estimateLag) {
    SnapResult r;
    if (estimateLag) {
        std::vector<double> d;
        for (double t : taps) {
            const auto [a, b] = within(onsets, t - searchMs, t + searchMs);
            long pick = -1;
            for (size_t k = a; k < b; ++k)
                if (pick < 0 || onsets[k].strength > onsets[size_t(pick)].strength) pick = long(k);
            if (pick >= 0) d.push_back(onsets[size_t(pick)].ms - t);
        }
        if (!d.empty()) {
            std::nth_element(d.begin(), d.begin() + long(d.size() / 2), d.end());
            r.lagMs = d[d.size() / 2];
        }
    }
    r.ms.reserve(taps.size());
    for (double t : taps) {
        const double moved = t + r.lagMs;
        const long k = best(onsets, moved, windowMs);
        if (k >= 0) {
            r.ms.push_back(onsets[size_t(k)].ms);
            ++r.snapped;
        } else {
            r.ms.push_back(moved);
        }
    }
    return r;
}

} // namespace mv::align
