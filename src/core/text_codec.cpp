#include "core/text_codec.h"

#include <QStringDecoder>
#include <array>

namespace mv {

namespace {
// Characters of the bytes 0x80..0x9F; the undefined bytes map to themselves.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The byte of one UTF-16 unit, or -1 when the code page has none.
int byteOf(char16_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return c;
    for (int i = 0; i < int(kHigh.size()); ++i)
        if (kHigh[i] == c) return 0x80 + i;
    return -1;
}
} // namespace

bool looksUtf8(QByteArrayView bytes) {
    bool high = false;
    for (char c : bytes)
        high = high || (static_cast<unsigned char>(c) & 0x80);
    if (!high) return false;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = utf8.decode(bytes); // decoding is lazy: make it happen
    return !utf8.hasError() && !decoded.isNull();
}

QString decodeText(QByteArrayView bytes, TextEncoding* used) {
    const bool utf8 = looksUtf8(bytes);
    if (used) *used = utf8 ? TextEncoding::Utf8 : TextEncoding::Windows1252;
    return utf8 ? QString::fromUtf8(bytes) : fromWindows1252(bytes);
}

QString fromWindows1252(QByteArrayView bytes) {
    QString out(bytes.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        out[i] = QChar(b >= 0x80 && b < 0xA0 ? kHigh[b - 0x80] : char16_t(b));
    }
    return out;
}

bool fitsWindows1252(QStringView text) {
    for (QChar c : text)
        if (byteOf(c.unicode()) < 0) return false;
    return true;
}

QByteArray toWindows1252(QStringView text) {
    QByteArray out;
    out.reserve(text.size());
    for (QChar c : text) {
        const int b = byteOf(c.unicode());
        out.append(b < 0 ? '?' : char(b));
    }
    return out;
}

QByteArray encodeText(QStringView text, TextEncoding e) {
    return e == TextEncoding::Utf8 ? text.toUtf8() : toWindows1252(text);
}

TextEncoding preferredEncoding(QStringView text) {
    return fitsWindows1252(text) ? TextEncoding::Windows1252 : TextEncoding::Utf8;
}

} // namespace mv
