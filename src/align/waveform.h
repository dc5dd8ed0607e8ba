#pragma once
// The waveform under the tics, without a window: the song's peaks (and
// their cache file), the tics as marks at the music positions a play fires
// them at, and moving one tic's mark.

#include "align/audio.h"
#include "align/map_times.h"
#include "cursormap/tic_table.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace mv::align {

// The lowest and highest sample of each slice of the song, scaled to
// -127..127; `perSecond` slices a second.
struct Peaks {
    int perSecond = 200;
    std::vector<int8_t> lo, hi;
    double seconds() const { return perSecond > 0 ? double(lo.size()) / perSecond : 0.0; }
    // The lowest and highest over the slices that [fromMs, toMs) touches;
    // false when none of them lies in the song.
    bool range(double fromMs, double toMs, int& low, int& high) const;
};

Peaks computePeaks(const Audio& a, int perSecond = 200);
// The same straight from the song file's decoder, at its own rate and
// without keeping the samples.  Throws as decodeAudio.
Peaks decodePeaks(const QString& song, const std::function<bool()>& cancelled = {},
                  int perSecond = 200);

// The cache file of a song's peaks: a header naming the song file's size
// and modification time, then the slices.  `parsePeaksCache` takes only a
// well-formed file made for that size and time; anything else is nothing.
QByteArray peaksCacheBytes(const Peaks& p, qint64 songSize, qint64 songTimeMs);
std::optional<Peaks> parsePeaksCache(const QByteArray& bytes, qint64 songSize, qint64 songTimeMs);
// Where the cache of `song` lives: "waveforms" beside the settings in
// `configDir`, one file per song path.
QString peaksCachePath(const QString& configDir, const QString& song);

// The song's peaks: from the cache when it matches the file, else decoded
// (and the cache written; a cache that cannot be written is passed over;
// without a `configDir` there is no cache).
// Throws std::runtime_error when the song cannot be decoded.  Runs on a
// worker thread; `cancelled` is asked while decoding.
Peaks loadPeaks(const QString& configDir, const QString& song,
                const std::function<bool()>& cancelled = {});

// One tic as the strip shows it.
struct WaveMark {
    enum Kind { Plain, Scroll, Page };
    int row = 0;
    double ms = 0; // music position, ms into the recording
    Kind kind = Plain;
};

// Every row of the table (up to its first empty Tic) at the music position
// a play with `timing` fires it.  A row whose NXT or PRV is "True" turns a
// page; one whose SCR differs from the row before it scrolls.
std::vector<WaveMark> ticMarks(const TicTable& t, const PlayTiming& timing);

// The first mark within `tolerance` of `ms`, the nearest one; -1 for none.
int markNear(const std::vector<WaveMark>& marks, double ms, double tolerance);

// Moves row `row`'s tic to the music position `toMs`, held between its
// neighbours' marks: its Tic changes, and the next row's by as much the
// other way, so that every later tic keeps its time.  Tics stay whole and
// not below 0.  False (and nothing changed) for a row outside the table.
bool moveTic(TicTable& t, int row, double toMs, const PlayTiming& timing);

} // namespace mv::align
