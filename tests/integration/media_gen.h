#pragma once
// Test media made by the tests themselves: 16-bit mono WAV files of tones,
// and the reading and measuring of what the player wrote.

#include <QByteArray>
#include <QString>
#include <vector>

namespace mv::test {

struct Pcm {
    int rate = 44100;
    int channels = 1;
    std::vector<double> samples; // first channel, -1..1
    double seconds() const { return rate ? double(samples.size()) / rate : 0; }
};

// Writes a tone of `hz[i]` for `secondsEach` seconds each, in order, at
// amplitude `amp` (0..1).
void writeToneWav(const QString& path, const std::vector<double>& hz, double secondsEach,
                  double amp = 0.5, int rate = 44100);
// The first channel of interleaved 16-bit little-endian frames; a part frame
// at the end is dropped.
std::vector<double> firstChannel16(const QByteArray& frames, int channels = 1);
// Reads a 16-bit PCM WAV (as mpv's pcm output writes it); empty on failure.
Pcm readWav(const QString& path);
// Frequency by zero crossings over samples [from, from + count).
double frequency(const Pcm& p, size_t from, size_t count);
// Root mean square over [from, from + count); 0 over no samples.
double rms(const Pcm& p, size_t from, size_t count);

} // namespace mv::test
