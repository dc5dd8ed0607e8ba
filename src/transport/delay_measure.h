#pragma once
// "Measure…" of Output Delay: the beeper plays 16 clicks at a steady beat
// and the musician taps the space bar with what they hear.  Each tap's
// difference to its click is what the output adds (plus the musician's own
// scatter, about 30 ms); the median of the differences is the delay.
//
// Which click a tap belongs to: the first tap counted belongs to the first
// click (it may come from kOutputDelayMin to kOutputDelayMax ms after it,
// else it is passed over); every later tap belongs to the click nearest to
// the tap less the median so far, when it is within half a beat of it and
// that click has no tap yet.  So a missed click or a doubled tap costs one
// difference, and delays longer than a beat are measured as they are.

#include <cstdint>
#include <optional>
#include <vector>

namespace mv {

struct Session;

class DelayMeasure {
  public:
    static constexpr int kClicks = 16;
    static constexpr int kBeatMs = 600;  // 100 a minute
    static constexpr int kLeadMs = 1000; // from the start to the first click
    static constexpr int kClickMs = 30;
    // After the last click, the time left for its tap.
    static constexpr int kTailMs = 1200;

    explicit DelayMeasure(Session& s) : s_(s) {}

    // Plays the clicks through the session's beeper (its "Beep" pitch), each
    // at its moment on the tick clock, serving events in between (the taps
    // come as events), and returns kTailMs after the last one; at once after
    // cancel() or when the program closes.  The taps of an earlier run are
    // forgotten at the start.
    void run();
    void cancel() { cancelled_ = true; }
    bool running() const { return running_; }
    bool cancelled() const { return cancelled_; }

    // A tap of the space bar that happened at tick `at`; passed over unless
    // a run has started and it belongs to a click (see above).
    void tap(int64_t at);

    // Each counted tap's difference to its click, ms, in the order tapped.
    const std::vector<int64_t>& differences() const { return diffs_; }
    // The median of the differences (the mean of the middle two for an even
    // count, rounded); nothing without a counted tap.
    std::optional<int> median() const;
    // The standard deviation of the differences, ms; 0 below two taps.
    double spread() const;

  private:
    Session& s_;
    std::vector<int64_t> clicks_; // the moment of each click: due, then played
    std::vector<bool> tapped_;
    std::vector<int64_t> diffs_;
    bool running_ = false;
    bool cancelled_ = false;
};

} // namespace mv
