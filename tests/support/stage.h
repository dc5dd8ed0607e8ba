#pragma once
// The usual ground of a test: a session on a virtual clock (tick and time
// of day chosen by the test), its messages recorded, a fake player and a
// fake viewer at hand (attachSheetOne makes them sheet window 1's).

#include "fakes.h"

namespace mv::test {

struct Stage {
    explicit Stage(int64_t tick = 1'000'000, double day = 12 * 3600.0) : clock(tick, day) {}
    VirtualClock clock;
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player{clock};
    FakeViewer viewer;
};

} // namespace mv::test
