#pragma once
// The playing time of a song's music file, read from its bytes without a
// player: the desktop's media controls show it from the moment a song is
// selected, long before the player opens the file.

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace mv {

// The length in microseconds of an MP3 or WAV held in `bytes` (the whole
// file, or its head when `fileSize` gives the size of the whole).  MP3: an
// ID3v2 tag is skipped; a Xing/Info or VBRI header gives the frame count,
// else the first frame's bit rate is taken for the whole file.  WAV: the
// data chunk's size over the byte rate.  -1 when the bytes are neither, or
// say nothing usable; never fails.
int64_t mediaLengthUs(const QByteArray& bytes, int64_t fileSize = -1);

// The length of the file at `path` (its first 256 KiB read); -1 when it
// cannot be read or is no MP3 or WAV.
int64_t mediaFileLengthUs(const QString& path);

} // namespace mv
