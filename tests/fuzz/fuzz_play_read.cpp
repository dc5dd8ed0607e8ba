// A whole cursor play of any bytes, in virtual time: the loop must end, by
// the end of the file or by its silent failure handler, and never crash.
#include "cursormap/play_loop.h"
#include "fuzz_session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mv::fuzz::FuzzSession f;
    f.s.adobeF2.Visible.set(size > 0 && (data[0] & 1));
    f.s.velmor.NoScroll.set(size > 1 && (data[1] & 1));
    f.s.velmor.NoCursor.set(size > 1 && (data[1] & 2));
    f.s.files.open(1, mv::fuzz::inputFile(data, size), mv::FileMode::Input);
    f.s.g.PlayStartTick = f.clock.tickMs();
    mv::playLoop(f.s);
    return 0;
}
