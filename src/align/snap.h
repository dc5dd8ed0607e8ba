#pragma once
// Moving taps onto the onsets they were meant for.

#include "align/features.h"

#include <vector>

namespace mv::align {

struct SnapResult {
    std::vector<double> ms; // the tightened times, one per tap
    double lagMs = 0;       // the constant correction found (onset minus tap)
    int snapped = 0;        // taps that found an onset in the window
};

// The player's constant lag or lead: the median of (strongest onset within
// ±`searchMs` of a tap) minus the tap, over the taps that have one; 0 when
// none has.  Then each tap plus that lag goes to the best onset within
// ±`windowMs` (the strongest, less for distance); a tap with no onset there
// keeps its time plus the lag.  `onsets` sorted by time.
SnapResult snapToOnsets(const std::vector<double>& tapsMs, const std::vector<Onset>& onsets,
                        double windowMs = 70, double searchMs = 150, bool estimateLag = true);

} // namespace mv::align
