#include "core/input_time.h"

#include <algorithm>

namespace mv {

int64_t InputTime::update(uint64_t eventMs, int64_t handledTick) {
    // Each event is handled no earlier than it happened, so handling tick
    // minus event time is the true offset plus a delay >= 0: the smallest
    // seen is the best estimate.  It is let rise slowly with time, so that
    // the two clocks may drift apart without the estimate going stale.
    const int64_t seen = handledTick - static_cast<int64_t>(eventMs);
    int64_t estimate = seen;
    if (known_) {
        const auto aged =
            offset_ + static_cast<int64_t>(double(handledTick - offsetAt_) * kDriftPerMs);
        if (seen - aged <= kMaxDelayMs) estimate = std::min(seen, aged);
    }
    if (!known_ || estimate == seen || estimate < offset_) {
        offset_ = estimate;
        offsetAt_ = handledTick;
    }
    known_ = true;
    return estimate;
}

void InputTime::observe(uint64_t eventMs, int64_t handledTick) {
    if (eventMs != 0) update(eventMs, handledTick);
}

int64_t InputTime::toTick(uint64_t eventMs, int64_t handledTick) {
    if (eventMs == 0) return last_ = std::max(last_, handledTick);
    const int64_t at = static_cast<int64_t>(eventMs) + update(eventMs, handledTick);
    return last_ = std::max(last_, std::min(at, handledTick));
}

} // namespace mv
