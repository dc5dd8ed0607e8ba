#include "sync/clock_offset.h"

#include <algorithm>
#include <cmath>

namespace mv {

void ClockOffset::reset() {
    samples_.clear();
    offset_ = bound_ = 0;
    known_ = false;
    taken_ = 0;
}

double ClockOffset::target() {
    double low = samples_.back().low, high = samples_.back().high;
    for (auto it = samples_.rbegin() + 1; it != samples_.rend(); ++it) {
        const double l = std::max(low, it->low), h = std::min(high, it->high);
        if (l > h) {
            samples_.erase(samples_.begin(), it.base());
            break;
        }
        low = l;
        high = h;
    }
    bound_ = (high - low) / 2;
    return (low + high) / 2;
}

bool ClockOffset::add(double sentMs, double serverMs, double receivedMs) {
    const double roundTrip = receivedMs - sentMs;
    if (!(roundTrip >= 0 && roundTrip <= kMaxRoundTripMs) || !std::isfinite(serverMs)) return false;
    const Sample sample{serverMs - receivedMs, serverMs - sentMs};
    // An estimate outside this sample's bounds belongs to a clock that has
    // since jumped.
    if (known_ && (offset_ < sample.low - kJumpSlackMs || offset_ > sample.high + kJumpSlackMs)) {
        reset();
        ++jumps_;
    }
    samples_.push_back(sample);
    if (samples_.size() > size_t(kWindow)) samples_.pop_front();
    const double goal = target();
    if (!known_ || ++taken_ < kSettleSamples)
        offset_ = goal;
    else
        offset_ += (goal - offset_) * kSmoothing;
    known_ = true;
    return true;
}

} // namespace mv
