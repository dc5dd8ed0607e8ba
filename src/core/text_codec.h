#pragma once
// Text in files and on the wire.  Files made on Windows and peers that speak
// the old protocol use the single-byte Western code page (Windows-1252); what
// that code page cannot hold travels as UTF-8.  Readers tell the two apart by
// the bytes alone.

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace mv {

enum class TextEncoding { Windows1252, Utf8 };

// True when `bytes` are valid UTF-8 and hold at least one byte above 0x7F:
// only then are they taken as UTF-8 (plain ASCII reads the same either way).
bool looksUtf8(QByteArrayView bytes);

// Decodes `bytes` as UTF-8 when looksUtf8(), else as Windows-1252.  `used`,
// when given, receives the encoding taken; ASCII alone counts as
// Windows-1252.
QString decodeText(QByteArrayView bytes, TextEncoding* used = nullptr);

// Windows-1252 to text.  The five bytes the code page leaves undefined (0x81,
// 0x8D, 0x8F, 0x90, 0x9D) become the C1 controls of the same value, as Windows
// does, so that they survive a round trip.
QString fromWindows1252(QByteArrayView bytes);

// True when every character of `text` has a Windows-1252 byte.
bool fitsWindows1252(QStringView text);

// The Windows-1252 bytes of `text`; a character without one becomes "?".
QByteArray toWindows1252(QStringView text);

// `text` in the encoding `e`.
QByteArray encodeText(QStringView text, TextEncoding e);

// The encoding for text that has none yet (a new file, a token): Windows-1252
// when every character fits, else UTF-8.
TextEncoding preferredEncoding(QStringView text);

} // namespace mv
