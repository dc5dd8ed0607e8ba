// The header take of song loading on any bytes.
#include "cursormap/map_file.h"
#include "fuzz_session.h"
#include "transport/song_loading.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mv::fuzz::FuzzSession f;
    // The first byte chooses whether the second sheet window is visible.
    f.s.adobeF2.Visible.set(size > 0 && (data[0] & 1));
    mv::headerTake(f.s, mv::fuzz::inputFile(data, size),
                   [&f](const QString& line) { mv::applyMapVolume(f.s, line); });
    return 0;
}
