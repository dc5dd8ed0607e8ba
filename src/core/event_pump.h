#pragma once
// Every wait of the program goes through here.  A wait serves the pending
// user, timer and socket events on the same stack and then sleeps inside the
// event loop until the next event or the deadline, whichever comes first: no
// polling.  Handlers served inside a wait may wait themselves; the outer wait
// then stands still until the inner one returns, by design.
//
// With a VirtualClock the pump never sleeps: when nothing is pending it moves
// the clock to the next scheduled action or to the deadline.

#include "core/clock.h"

#include <cstdint>

namespace mv {

class EventPump {
  public:
    explicit EventPump(Clock& clock) : clock_(clock) {}
    Clock& clock() const { return clock_; }

    // Serves the queue of pending events once and returns.
    void letEventsRun();
    // One round of a wait: serves pending events, then, unless the tick clock
    // has reached `deadline`, sleeps until it does or an event arrives.
    // Callers loop and look at their own condition between rounds.
    void waitRound(int64_t deadline);
    // Rounds until the tick clock has reached `deadline`.
    void waitUntil(int64_t deadline);
    // Waits `seconds` while serving events, unless the day clock stands at 20
    // or below (the first seconds of a day): every optional delay of the
    // program sits behind this guard.  Measured on the tick clock, so a wait
    // that crosses midnight ends on time.
    void guardedWait(double seconds);
    // The wait after a play: runs only while the day clock is below 80000.
    void waitAfterPlay(double seconds);

    // The program is closing: from now on every wait returns at once and no
    // more events are served, so that the handlers waiting on the stack
    // unwind to the event loop, which then ends.  A loop around waitRound
    // must look at quitting() too.  Cannot be undone.
    void quit() { quitting_ = true; }
    bool quitting() const { return quitting_; }

  private:
    Clock& clock_;
    bool quitting_ = false;
};

} // namespace mv
