#pragma once
// A map's tic times as moments of the music, and back.  The map's text is
// kept line for line: only the Tic lines are ever replaced.

#include <QByteArray>
#include <QString>
#include <vector>

namespace mv::align {

// The settings a play fires its tics with.
struct PlayTiming {
    double ticFactor = 0.995;   // "Tic Offset"
    double speed = 1;           // playing speed; 0 counts as 1, as the player does
    double musicStartMs = 4000; // from the press of Play to the music's start (count-off)
    double firstNoteMs = 500;   // the first-note delay after the music's start
};

// A map file's lines (CR LF or LF ends) and which of them are Tic lines,
// told apart as the readers do: at a record's start, lines holding a header
// marker ("@", "%", "~", "^", "#1".."#6", or ending in "#") are passed over;
// the next line is the Tic, and five lines follow it.
struct MapText {
    std::vector<QByteArray> lines;
    std::vector<size_t> ticLines; // indices into lines
    std::vector<double> tics;     // numeric value of each Tic line, ms

    static MapText parse(const QByteArray& bytes);
    // The bytes with every Tic line replaced by `tics` (trimmed whole
    // numbers), every other line exactly as read, CR LF after each.
    QByteArray withTics(const std::vector<long>& tics) const;
};

// The music positions (ms into the recording) at which a play fires the
// tics: tic n is due `ticFactor / speed` times the running sum after the
// press of Play; the music starts `musicStartMs` after the press and plays
// at `speed`; a first tic the delays exceed falls due at once after the
// first-note delay, and the later ones count from it.
std::vector<double> musicPositions(const std::vector<double>& tics, const PlayTiming& t);

// The inverse: tic times (whole ms, rounded on the running total) that a
// play with `t` fires at `positions`.  A first position inside the first-note
// delay cannot be reached; its tic falls due at once and the next ones count
// from there.
std::vector<long> ticsForPositions(const std::vector<double>& positions, const PlayTiming& t);

} // namespace mv::align
