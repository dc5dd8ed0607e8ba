#pragma once
// The two map operations: tighten a map to its recording's onsets, and
// carry a map from one recording to another.  Pure work on bytes and audio
// files, safe on a worker thread; the caller writes the result.

#include "align/features.h"
#include "align/map_times.h"

#include <QByteArray>
#include <QString>
#include <atomic>
#include <functional>
#include <stdexcept>

namespace mv {
struct Session;
}

namespace mv::align {

// A bad input: the message says what and which file.
struct AlignError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Progress 0..100 and a cancel flag, both safe from the worker thread.
struct Progress {
    std::function<void(int)> report; // called on the worker thread; may be empty
    const std::atomic<bool>* cancel = nullptr;
    bool cancelled() const { return cancel && cancel->load(); }
    void at(int p) const {
        if (report) report(p);
    }
};

struct MapResult {
    QByteArray bytes;         // the new map, in the file's own form
    int tics = 0;             // tics in the map
    int moved = 0;            // tics whose time changed
    double medianShiftMs = 0; // median and largest change of a tic's music position
    double maxShiftMs = 0;
    double seconds = 0;      // time the work took
    double pathCost = 0;     // the not-the-same-piece measure (transfer only)
    double matchedShare = 0; // share of the carried tics that found a target onset (transfer)
    // How unevenly the transfer stretched the map (transfer): the median of
    // |log(target length / source length)| of the spans between tics, each
    // against the median of those ratios.
    double tempoSpread = 0;
    bool cancelled = false;
};

// The measure (MapResult::pathCost) above which two recordings are taken
// for different pieces: the path's relative cost (WarpPath::relativeCost)
// plus the tempo spread of the carried map.  A path through another piece
// costs about as much moved along the target as not, and stretches the
// measures unevenly.  On the demo songs (bench/align) the 48 transfers
// between renditions of one song reach 0.52 (relative cost alone 0.42);
// the shipped recordings to another song's shipped and slow renditions
// start at 0.71 (relative cost alone 0.435: a narrow gap, the spread widens it).
constexpr double kNotSamePieceCost = 0.59;

// Tightens the tics of `map` from tic `fromTic` on (0: all) to the onsets of
// `song`.  Throws AlignError for an undecodable song or a map with no tics.
MapResult tightenMap(const QString& song, const QByteArray& map, const PlayTiming& timing,
                     int fromTic = 0, const Progress& progress = {});

// Carries `fromMap` (made for `fromSong`) to `toSong`: every tic's music
// position moved through the alignment of the two recordings, then snapped
// to the target's onsets.  Throws AlignError for an undecodable song, a map
// with no tics, or recordings that do not seem to be the same piece.
MapResult transferMap(const QString& fromSong, const QByteArray& fromMap, const QString& toSong,
                      const PlayTiming& timing, const Progress& progress = {},
                      double maxCost = kNotSamePieceCost);

// Places the tics that sound no onset in the source (`held`), in place in
// `target` (the carried places of all tics): between two struck tics a held
// one keeps its share of their time, as in the source; after the last
// struck tic it carries on with the median stretch (target over source
// time) of the spans between consecutive struck tics.  Tics before the
// first struck one are left as they are, and so are those after the last
// when no two consecutive tics are struck.
void placeHeldTics(const std::vector<double>& source, const std::vector<bool>& held,
                   std::vector<double>& target);

// Moves carried tics that landed on the wrong one of two notes a beat apart
// (their chroma alike: a harpsichord's g sounds its d).  Such a tic breaks
// the tempo: the spans to the found tics on either side (those whose place
// in `target` differs from `warped`, the place the path gave) stretch by
// very different ratios against the source.  Where they differ by more than
// half, and an onset of `onsets` lies within 70 ms of the tic's share of
// the time between those neighbours (as in the source), the tic goes onto
// that onset; otherwise it stays.  Each tic is judged against the places
// before any was moved; the first and last found tics stay.
void evenOutTics(const std::vector<double>& source, const std::vector<double>& warped,
                 const std::vector<Onset>& onsets, std::vector<double>& target);

// Tightens a list of music positions on `song` (used by the bench too).
std::vector<double> tightenPositions(const std::vector<double>& positions,
                                     const std::vector<struct Onset>& onsets);

// The timing a play fires tics with under the session's settings: Tic
// Offset, Speed, the count-off (PDF Delay, or in notation mode the
// viewer's delay before it) and the first-note delay.
PlayTiming playTimingOf(const Session& s);

// Writes `bytes` to `path` through a temporary file and a rename.  False
// (and the old file untouched) when it cannot.
bool writeFileAtomically(const QString& path, const QByteArray& bytes);

} // namespace mv::align
