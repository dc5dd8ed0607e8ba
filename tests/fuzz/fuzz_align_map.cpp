// The alignment's map reader and the timing both ways, on any bytes: no
// crash, no hang, and the rewritten map keeps its line count.
#include "align/map_times.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace mv::align;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const MapText m =
        MapText::parse(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    PlayTiming t;
    if (size > 0) t.speed = double(data[0]) / 64.0; // 0 counts as 1
    const std::vector<double> pos = musicPositions(m.tics, t);
    const std::vector<long> tics = ticsForPositions(pos, t);
    const MapText back = MapText::parse(m.withTics(tics));
    if (back.lines.size() != m.lines.size()) std::abort();
    return 0;
}
