#pragma once
// How far the server's tick clock stands from this computer's, learnt from
// round trips.  The client notes its own clock when it asks (sent) and when
// the answer comes (received); the server stamps its clock in between.  The
// server's clock then stood `server - (sent + received) / 2` ahead of ours,
// wrong by at most half the round trip whatever the delays on the way: the
// sample with the shortest round trip among the recent ones is the best.
// Pure logic on milliseconds; the network sync feeds it.

#include <cstdint>
#include <deque>

namespace mv {

class ClockOffset {
  public:
    // Recent samples kept: with three asks every 2 s, the best of about 30 s.
    static constexpr int kWindow = 48;
    // The first samples after a (re)start are taken as they come, the best
    // so far; after them a better estimate is approached by this share per
    // sample, so that one lucky sample does not move a start by much.
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
    // The round trip of the best sample kept; 0 while not known.
    double roundTripMs() const;
    // A server instant on this computer's tick clock.
    double toLocal(double serverMs) const { return serverMs - offset_; }
    // How often a jump started the estimate over.
    int jumps() const { return jumps_; }

  private:
    struct Sample {
        double offset, roundTrip;
    };
    const Sample& best() const;

    std::deque<Sample> samples_;
    double offset_ = 0;
    bool known_ = false;
    int taken_ = 0; // samples since the last (re)start
    int jumps_ = 0;
};

} // namespace mv
