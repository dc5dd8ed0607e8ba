#pragma once
// Maps the moment an input event carries (milliseconds on the window
// system's clock) onto the tick clock, so that a press handled late (the GUI
// was busy rendering a page or serving the network) still counts from when
// it happened.

#include <cstdint>

namespace mv {

class InputTime {
  public:
    // The tick at which an event stamped `eventMs` happened, given that it is
    // handled at tick `handledTick`.  `eventMs` 0 means the event carries no
    // time (synthetic events): the handling tick is the answer.  The answer
    // is never later than `handledTick`, never earlier than the answer
    // before, and never more than kMaxDelayMs before `handledTick`.
    int64_t toTick(uint64_t eventMs, int64_t handledTick);
    // Takes what any input event tells of the offset between the clocks
    // (a move, a release, a key), so that a press that comes while the GUI
    // is busy already has a good estimate.  `eventMs` 0 tells nothing.
    void observe(uint64_t eventMs, int64_t handledTick);

    // A delay longer than this is no delay: the event clock jumped (a
    // restart, the 32-bit wrap of X time) and the estimate starts over.
    static constexpr int64_t kMaxDelayMs = 1000;
    // How fast the estimate is let rise between events: far above any real
    // drift between two clocks (1 ms per second), so that a clock of the
    // events that runs slow is followed, and small enough that a press
    // between two others keeps its exact time.
    static constexpr double kDriftPerMs = 1e-3;

  private:
    // Takes a stamped event into the estimate; the offset to use for it.
    int64_t update(uint64_t eventMs, int64_t handledTick);
    bool known_ = false;
    int64_t offset_ = 0;   // handling tick minus event time of the least delayed event
    int64_t offsetAt_ = 0; // the handling tick when offset_ was taken
    int64_t last_ = INT64_MIN;
};

} // namespace mv
