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
        clicks_.push_back(first + int64_t(k) * kBeatMs);
    tapped_.assign(kClicks, false);
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
}

void DelayMeasure::tap(int64_t at) {
    if (clicks_.empty()) return;
    size_t k = 0;
    if (diffs_.empty()) {
        const int64_t d = at - clicks_[0];
        if (d < kOutputDelayMin || d > kOutputDelayMax) return;
    } else {
        const int64_t heard = at - *median();
        const auto nearest =
            std::min_element(clicks_.begin(), clicks_.end(), [heard](int64_t a, int64_t b) {
                return std::llabs(a - heard) < std::llabs(b - heard);
            });
        if (std::llabs(*nearest - heard) > kBeatMs / 2) return;
        k = size_t(nearest - clicks_.begin());
    }
    if (tapped_[k]) return; // a second tap on one click
    tapped_[k] = true;
    diffs_.push_back(at - clicks_[k]);
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
