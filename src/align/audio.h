#pragma once
// Decoding a recording to one mono channel for analysis.

#include <QString>
#include <functional>
#include <vector>

namespace mv::align {

struct Audio {
    std::vector<float> samples; // mono, -1..1
    int rate = 0;               // samples per second
    double seconds() const { return rate > 0 ? double(samples.size()) / rate : 0.0; }
};

// Decodes `path` (MP3, WAV, FLAC, ... whatever libsndfile reads), mixes it to
// mono and brings it down to at most 22050 samples a second by an integer
// factor (averaging neighbours: onsets and pitch classes need no more).
// Throws std::runtime_error with a message naming the file when it is
// missing or cannot be decoded, or holds no sound.  `cancelled` is asked
// between blocks; when it says yes the decode stops with what it has.
Audio decodeAudio(const QString& path, const std::function<bool()>& cancelled = {});

// The decoder underneath: hands `take` the file's frames block by block
// (interleaved, `channels` a frame, at the file's own rate; `opened` gets
// the rate, the channels and the frames the file says it holds, first) and returns the number of
// frames.  Throws as decodeAudio for a file that cannot be opened or has fewer than 4000 frames a
// second; a read error after the start ends the blocks.  `cancelled` is asked between blocks.
// `from` and `count` (not -1) decode only that stretch of frames; a file
// that cannot seek to `from` throws.
using AudioBlock = std::function<void(const float* frames, size_t count)>;
long long decodeBlocks(const QString& path,
                       const std::function<void(int rate, int channels, long long frames)>& opened,
                       const AudioBlock& take, const std::function<bool()>& cancelled = {},
                       long long from = 0, long long count = -1);

} // namespace mv::align
