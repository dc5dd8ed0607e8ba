// The waveform cache reader on any bytes: no crash, and what it takes
// writes back to the very same bytes.  The size and time it is asked for
// are those the bytes name, so the reader gets past its header check.
#include "align/waveform.h"

#include <QtEndian>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace mv::align;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    qint64 songSize = 0, songTime = 0;
    if (size >= 24) {
        std::memcpy(&songSize, data + 8, 8);
        std::memcpy(&songTime, data + 16, 8);
    }
    songSize = qFromLittleEndian(songSize);
    songTime = qFromLittleEndian(songTime);
    const std::optional<Peaks> p = parsePeaksCache(bytes, songSize, songTime);
    if (p && peaksCacheBytes(*p, songSize, songTime) != bytes) std::abort();
    return 0;
}
