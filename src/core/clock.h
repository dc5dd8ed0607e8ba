#pragma once
// The one source of time.  The tick clock counts milliseconds on a steady,
// 64-bit scale that never wraps; the day clock is seconds since midnight and
// is only consulted by the guards of optional waits.  Tests replace the
// system clock by a VirtualClock and run whole plays in virtual time.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>

namespace mv {

class Clock {
  public:
    virtual ~Clock() = default;
    // Milliseconds on a steady scale; never goes back, never wraps.
    virtual int64_t tickMs() const = 0;
    // The tick clock with its fraction of a millisecond, for waking on time.
    virtual double preciseMs() const { return double(tickMs()); }
    // Seconds since local midnight, single precision: 0 <= t < 86400.
    virtual float dayClock() const = 0;
    // Calls fn every periodMs on the GUI thread until the clock dies or the id
    // is cancelled.  Used for the 100 ms timers of the windows.
    virtual int every(int periodMs, std::function<void()> fn) = 0;
    virtual void cancel(int id) = 0;
    // Holds the thread for ms without serving any event (the beep's hold).
    virtual void sleepBlocking(int ms) = 0;
    // True when this clock jumps ahead by itself while the program waits.
    virtual bool isVirtual() const { return false; }
    // A virtual clock's jump while the program waits with nothing pending:
    // to `deadline` or to the next action scheduled before it.  A real
    // clock runs by itself and does nothing here.
    virtual void advanceIdle(int64_t deadline) { (void)deadline; }
};

// The operating system's clocks and Qt timers.
class SystemClock final : public Clock {
  public:
    SystemClock();
    ~SystemClock() override;
    int64_t tickMs() const override;
    double preciseMs() const override;
    float dayClock() const override;
    int every(int periodMs, std::function<void()> fn) override;
    void cancel(int id) override;
    void sleepBlocking(int ms) override;
    // From now on the day clock reads `seconds` (taken modulo a day) and runs
    // on with the steady clock, whatever the time of day: a scripted run's
    // optional waits then do not depend on the hour it runs at.
    void pinDayClock(double seconds);

  private:
    struct Impl;
    Impl* d;
};

// A clock that only moves when told to, or when the event pump waits for a
// deadline while nothing is pending.  Scheduled actions and periodic timers
// fire in time order as time passes over them; actions due at the same
// millisecond fire in the order they were scheduled.
class VirtualClock final : public Clock {
  public:
    // Starts at tick `startTick` and at `dayStart` seconds past midnight.
    explicit VirtualClock(int64_t startTick = 1'000'000, double dayStart = 12 * 3600.0);
    int64_t tickMs() const override { return now_; }
    float dayClock() const override;
    int every(int periodMs, std::function<void()> fn) override;
    void cancel(int id) override;
    // Time passes; what falls due meanwhile fires at the next wait, late.
    void sleepBlocking(int ms) override { now_ += ms; }
    bool isVirtual() const override { return true; }
    void advanceIdle(int64_t deadline) override { advanceTo(std::min(deadline, nextDue())); }

    // Runs fn once when the clock reaches tick `at` (absolute) / after `ms`.
    void at(int64_t at, std::function<void()> fn);
    void after(int64_t ms, std::function<void()> fn) { at(now_ + ms, std::move(fn)); }
    // The earliest scheduled tick, or INT64_MAX when nothing is scheduled.
    int64_t nextDue() const;
    // Moves time forward to `target`, firing everything due on the way at its
    // own time.  An action may itself wait (nested); time then runs on inside
    // it and never goes back.
    void advanceTo(int64_t target);
    void advanceBy(int64_t ms) { advanceTo(now_ + ms); }

  private:
    struct Entry {
        std::function<void()> fn;
        int periodicId = 0; // 0: one-shot
    };
    int64_t now_;
    double dayStart_;
    int64_t startTick_;
    uint64_t seq_ = 0;
    int nextId_ = 1;
    // key: (due tick, sequence) keeps same-tick actions in order
    std::map<std::pair<int64_t, uint64_t>, Entry> queue_;
    std::map<int, int> periods_; // id -> period
};

} // namespace mv
