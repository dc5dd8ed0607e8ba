#pragma once
// "Measure…" of Output Delay: the beeper plays 16 clicks at a steady beat,
// two groups of eight with one beat of rest between them, and the musician
// taps the space bar with what they hear.  Each tap's difference to its
// click is what the output adds (plus the musician's own scatter, about
// 30 ms); the median of the differences is the delay.
//
// Which click a tap belongs to is settled over all the taps at once, anew
// with each tap: of the offsets from kOutputDelayMin to kOutputDelayMax ms
// that some tap has to some click, the one that lines up the most taps
// (each within kMatchMs of a click of its own) wins; among as many, the one
// they fit more closely, then the one nearer 0.  The taps it lines up are
// counted, the rest passed over.  So a missed click (the first one too) or
// a doubled tap costs one difference, and delays longer than a beat are
// measured as they are.  The rest is what tells "the first click missed"
// from "a beat later and the last click missed": at a beat without a gap
// both line up the same taps.

#include <cstdint>
#include <optional>
#include <vector>

namespace mv {

struct Session;

class DelayMeasure {
  public:
    static constexpr int kClicks = 16;
    static constexpr int kBeatMs = 600;  // 100 a minute
    static constexpr int kRestAfter = 8; // the beat after this many clicks is silent
    static constexpr int kMatchMs = 150; // a tap this close to its click lines up
    static constexpr int kMaxTaps = 64;  // taps beyond these are passed over
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

    // When click k (0 to kClicks - 1) is due, ms after the first one.
    static int64_t clickDue(int k) { return int64_t(k + (k >= kRestAfter)) * kBeatMs; }

    // A tap of the space bar that happened at tick `at`; kept once a run
    // has started, and counted when it belongs to a click (see above).
    void tap(int64_t at);

    // Each counted tap's difference to its click, ms, in the order tapped;
    // a later tap may change which earlier ones count.
    const std::vector<int64_t>& differences() const { return diffs_; }
    // The median of the differences (the mean of the middle two for an even
    // count, rounded); nothing without a counted tap.
    std::optional<int> median() const;
    // The standard deviation of the differences, ms; 0 below two taps.
    double spread() const;

  private:
    Session& s_;
    void assign();

    std::vector<int64_t> clicks_; // the moment of each click: due, then played
    std::vector<int64_t> taps_;   // every tap of the run, in the order tapped
    std::vector<int64_t> diffs_;
    bool running_ = false;
    bool cancelled_ = false;
};

} // namespace mv
