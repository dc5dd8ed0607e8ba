#pragma once
// How far the server's tick clock stands from this computer's, learnt from
// round trips.  The client notes its own clock when it asks (sent) and when
// the answer comes (received); the server stamps its clock in between.  So
// the server's clock then stood between `server - received` and
// `server - sent` ahead of ours, whatever the delays on the way.  Every
// sample bounds the offset so; the recent samples together bound it much
// more tightly than the best one alone, because the lower bound comes from
// the quickest way back and the upper one from the quickest way out, which
// are seldom the same trip.  The estimate is the middle of what the recent
// samples leave.  Pure logic on milliseconds; the network sync feeds it.

#include <cstdint>
#include <deque>

namespace mv {

class ClockOffset {
  public:
    // Recent samples kept: with three asks every 2 s, about the last 20 s,
    // short enough that two clocks drifting 50 ppm apart move 1 ms in it.
    static constexpr int kWindow = 30;
    // The first samples after a (re)start are taken as they come; after
    // them a better estimate is approached by this share per sample, so that
    // one odd sample does not move a start by much.
    static constexpr int kSettleSamples = 5;
    static constexpr double kSmoothing = 0.25;
    // A sample whose own bounds miss the estimate by more than this means a
    // clock jumped (the server restarted): everything learnt is dropped.
    static constexpr double kJumpSlackMs = 50;
    // A round trip longer than this says nothing useful and is dropped.
    static constexpr double kMaxRoundTripMs = 5000;

    // One round trip, all in milliseconds.  False (and nothing learnt) for a
    // sample that cannot be: received before sent, or a round trip past
    // kMaxRoundTripMs.
    bool add(double sentMs, double serverMs, double receivedMs);
    // Forgets everything (a new connection).
    void reset();

    bool known() const { return known_; }
    // The server's clock minus ours; 0 while not known.
    double offsetMs() const { return offset_; }
    // Half the width of what the recent samples leave: the target the
    // estimate moves to is off by no more, while neither clock jumps or
    // drifts.  0 while not known.
    double boundMs() const { return bound_; }
    // A server instant on this computer's tick clock.
    double toLocal(double serverMs) const { return serverMs - offset_; }
    // How often a jump started the estimate over.
    int jumps() const { return jumps_; }

  private:
    struct Sample {
        double low, high; // the offset lies between them
    };
    // The middle of the newest samples' common bounds; older samples that
    // leave nothing in common with the newer ones (a drift, a clock
    // stepped by less than a jump) are dropped.
    double target();

    std::deque<Sample> samples_; // oldest first
    double offset_ = 0, bound_ = 0;
    bool known_ = false;
    int taken_ = 0; // samples since the last (re)start
    int jumps_ = 0;
};

} // namespace mv
