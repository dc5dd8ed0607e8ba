#pragma once
// Another computer's tick clock on the same virtual time: it reads `shiftMs`
// more than the clock it follows, and everything else (the day clock, the
// timers, the waits) is that clock's.  Two sessions on one VirtualClock then
// run at one pace but disagree about the tick, as two machines do.

#include "core/clock.h"

namespace mv::test {

class ShiftedClock final : public Clock {
  public:
    ShiftedClock(Clock& base, int64_t shiftMs) : base_(base), shift_(shiftMs) {}
    int64_t tickMs() const override { return base_.tickMs() + shift_; }
    double preciseMs() const override { return base_.preciseMs() + double(shift_); }
    float dayClock() const override { return base_.dayClock(); }
    int every(int periodMs, std::function<void()> fn) override {
        return base_.every(periodMs, std::move(fn));
    }
    void cancel(int id) override { base_.cancel(id); }
    void sleepBlocking(int ms) override { base_.sleepBlocking(ms); }
    bool isVirtual() const override { return base_.isVirtual(); }
    void advanceIdle(int64_t deadline) override { base_.advanceIdle(deadline - shift_); }

  private:
    Clock& base_;
    int64_t shift_;
};

} // namespace mv::test
