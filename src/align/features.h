#pragma once
// What the alignment looks at in a recording: note onsets (time and
// strength) and a chroma sequence (12 pitch classes every 20 ms).

#include "align/audio.h"

#include <array>
#include <vector>

namespace mv::align {

struct Onset {
    double ms = 0;       // time in the recording
    double strength = 0; // height of the novelty peak above its local median
};

// Note onsets: peaks, at least 50 ms apart and above an adaptive threshold,
// of a log-compressed spectral flux on 23 ms frames that compares each bin
// with its neighbours in the frame before (vibrato is no onset); each is
// then timed on the peak of the same flux on 11.6 ms frames (1.45 ms hop)
// just before it, refined by a parabola.  In a recording played legato
// (many short dips in the loudness, as a slurring flute makes) the dips
// mark the note changes instead, and the flux peaks near them are dropped.
// Sorted by time; silence gives none.
std::vector<Onset> detectOnsets(const Audio& a);

// The detector's delay: a flux peak falls this much after the attack
// (measured on the demo renditions against their MIDI note times).
constexpr double kOnsetDelayMs = 0.0;

using Chroma = std::array<float, 12>;

// Unit-length chroma vectors every `kChromaHopMs` (frame n centred at
// n * kChromaHopMs); a silent frame is the even vector, so that silence
// matches silence.
constexpr double kChromaHopMs = 20.0;
std::vector<Chroma> chromaSequence(const Audio& a);

// The onsets on the chroma frames: each onset's strength (relative to the
// recording's loud onsets, at most 1) on its frame, half of it on the two
// beside.  Tells apart where a note is struck again on the same pitch,
// which chroma alone cannot see.
std::vector<float> onsetFrames(const std::vector<Onset>& onsets, size_t frames);

} // namespace mv::align
