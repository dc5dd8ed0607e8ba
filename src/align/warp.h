#pragma once
// Dynamic time warping of two chroma sequences, coarse to fine, and the
// warp of a time through the path it finds.

#include "align/features.h"

#include <functional>
#include <utility>
#include <vector>

namespace mv::align {

struct WarpPath {
    // Monotone steps (source frame, target frame) from (0, 0) to the last
    // frames of both, at kChromaHopMs.
    std::vector<std::pair<int, int>> steps;
    // Mean cost (1 - cosine of the two chroma vectors) along the path:
    // near 0 for two renditions of one piece, larger for different pieces.
    double meanCost = 0;
    // meanCost over the mean cost of the same path moved 1, 2 and 3 s
    // either way along the target: small for two renditions of one piece,
    // near 1 for two pieces (the path finds cheap cells anywhere).
    double relativeCost = 0;
};

// Aligns `from` to `to`: a full warp at 10x the frame hop (200 ms), then a
// warp at the full rate inside a band of ±`radius` frames around the coarse
// path.  Memory is one byte per cell visited: for a 10-minute pair about
// 9 MB coarse and a few MB fine.  `cancelled` is asked between rows; a
// cancelled run returns an empty path.
// With onset frames (onsetFrames) for both, a cell also costs
// kOnsetWeight times the difference of the two onsets, so that a note
// struck again is matched with its strike; empty vectors leave them out.
// (At 0.5 the guitar's Greensleeves carried to the marimba lost five of its
// repeated and long notes by 500-800 ms; at 3 none.)
constexpr float kOnsetWeight = 3.0f;
WarpPath alignChroma(const std::vector<Chroma>& from, const std::vector<Chroma>& to,
                     int radius = 25, const std::function<bool()>& cancelled = {},
                     const std::vector<float>& fromOnsets = {},
                     const std::vector<float>& toOnsets = {});

// The time in the target of a source time (ms), through the path: the mean
// target frame of the source frame, interpolated between frames; before the
// first and after the last frame the offset at that end carries on.
// An empty path returns the time unchanged.
double warpTime(const WarpPath& path, double sourceMs);

} // namespace mv::align
