#include "sync/clock_offset.h"

#include <algorithm>
#include <cmath>

namespace mv {

const ClockOffset::Sample& ClockOffset::best() const {
    return *std::min_element(
        samples_.begin(), samples_.end(),
        [](const Sample& a, const Sample& b) { return a.roundTrip < b.roundTrip; });
}

double ClockOffset::roundTripMs() const { return samples_.empty() ? 0 : best().roundTrip; }

void ClockOffset::reset() {
    samples_.clear();
    offset_ = 0;
    known_ = false;
    taken_ = 0;
}

bool ClockOffset::add(double sentMs, double serverMs, double receivedMs) {
    const double roundTrip = receivedMs - sentMs;
    if (!(roundTrip >= 0 && roundTrip <= kMaxRoundTripMs) || !std::isfinite(serverMs)) return false;
    const Sample sample{serverMs - (sentMs + receivedMs) / 2, roundTrip};
    // The server stamped its clock between our two readings, so the true
    // offset lies within half the round trip of this sample's.  An estimate
    // outside those bounds belongs to a clock that has since jumped.
    if (known_ && std::abs(sample.offset - offset_) > roundTrip / 2 + kJumpSlackMs) {
        reset();
        ++jumps_;
    }
    samples_.push_back(sample);
    if (samples_.size() > size_t(kWindow)) samples_.pop_front();
    const double target = best().offset;
    if (!known_ || ++taken_ < kSettleSamples)
        offset_ = target;
    else
        offset_ += (target - offset_) * kSmoothing;
    known_ = true;
    return true;
}

} // namespace mv
