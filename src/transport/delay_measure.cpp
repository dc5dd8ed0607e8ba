#include "transport/delay_measure.h"

#include "core/beeper.h"
#include "core/output_delay.h"
#include "core/session_state.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace mv {

void DelayMeasure::run() {
    const int64_t first = s_.clock.tickMs() + kLeadMs;
    clicks_.clear();
    for (int k = 0; k < kClicks; ++k)
        clicks_.push_back(first + clickDue(k));
    taps_.clear();
    diffs_.clear();
    cancelled_ = false;
    running_ = true;
    const double beep = s_.velmor.BeepX.value();
    const int hz = beep >= 20 && beep <= 20000 ? int(std::lround(beep)) : 1000;
    auto waitFor = [this](int64_t due) {
        while (s_.clock.tickMs() < due) {
            if (cancelled_ || s_.pump.quitting()) return false;
            s_.pump.waitRound(due);
        }
        return !cancelled_ && !s_.pump.quitting();
    };
    for (int k = 0; k < kClicks; ++k) {
        if (!waitFor(clicks_[size_t(k)])) break;
        // The click counts from the moment it is sent, not from when it was due.
        clicks_[size_t(k)] = s_.clock.tickMs();
        if (s_.beeper) s_.beeper->beep(hz, kClickMs);
        if (k == kClicks - 1) waitFor(clicks_[size_t(k)] + kTailMs);
    }
    running_ = false;
    // The clicks' played moments may differ from when they were due.
    assign();
}

void DelayMeasure::tap(int64_t at) {
    if (clicks_.empty() || taps_.size() >= size_t(kMaxTaps)) return;
    taps_.push_back(at);
    assign();
}

void DelayMeasure::assign() {
    // For an offset, the click each tap lines up with (-1: none); of two
    // taps on one click the closer one counts.  Returns the count and the
    // summed distance of those counted.
    std::vector<int> best;
    int64_t bestOffset = 0;
    std::pair<size_t, int64_t> bestFit{0, 0};
    std::vector<int> owner(clicks_.size());
    std::vector<int> of(taps_.size());
    auto lineUp = [&](int64_t offset) {
        std::fill(owner.begin(), owner.end(), -1);
        std::fill(of.begin(), of.end(), -1);
        for (size_t t = 0; t < taps_.size(); ++t) {
            const int64_t heard = taps_[t] - offset;
            const auto nearest =
                std::min_element(clicks_.begin(), clicks_.end(), [heard](int64_t a, int64_t b) {
                    return std::llabs(a - heard) < std::llabs(b - heard);
                });
            if (std::llabs(*nearest - heard) > kMatchMs) continue;
            const size_t k = size_t(nearest - clicks_.begin());
            const int prev = owner[k];
            if (prev >= 0 && std::llabs(taps_[size_t(prev)] - offset - clicks_[k]) <=
                                 std::llabs(heard - clicks_[k]))
                continue; // the click already has a closer tap
            if (prev >= 0) of[size_t(prev)] = -1;
            owner[k] = int(t);
            of[t] = int(k);
        }
        std::pair<size_t, int64_t> fit{0, 0};
        for (size_t t = 0; t < taps_.size(); ++t)
            if (of[t] >= 0) {
                ++fit.first;
                fit.second += std::llabs(taps_[t] - offset - clicks_[size_t(of[t])]);
            }
        return fit;
    };
    for (int64_t tap : taps_)
        for (int64_t click : clicks_) {
            const int64_t offset = tap - click;
            if (offset < kOutputDelayMin || offset > kOutputDelayMax) continue;
            const auto fit = lineUp(offset);
            const bool better =
                fit.first > bestFit.first ||
                (fit.first == bestFit.first && fit.first > 0 &&
                 (fit.second < bestFit.second ||
                  (fit.second == bestFit.second && std::llabs(offset) < std::llabs(bestOffset))));
            if (better) {
                bestFit = fit;
                bestOffset = offset;
                best = of;
            }
        }
    diffs_.clear();
    for (size_t t = 0; t < best.size(); ++t)
        if (best[t] >= 0) diffs_.push_back(taps_[t] - clicks_[size_t(best[t])]);
}

std::optional<int> DelayMeasure::median() const {
    if (diffs_.empty()) return std::nullopt;
    std::vector<int64_t> d = diffs_;
    std::sort(d.begin(), d.end());
    const size_t n = d.size();
    const double m = n % 2 ? double(d[n / 2]) : (double(d[n / 2 - 1]) + double(d[n / 2])) / 2;
    return int(std::lround(m));
}

double DelayMeasure::spread() const {
    if (diffs_.size() < 2) return 0;
    double mean = 0;
    for (int64_t d : diffs_)
        mean += double(d);
    mean /= double(diffs_.size());
    double sq = 0;
    for (int64_t d : diffs_)
        sq += (double(d) - mean) * (double(d) - mean);
    return std::sqrt(sq / double(diffs_.size()));
}

} // namespace mv
