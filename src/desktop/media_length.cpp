#include "desktop/media_length.h"

#include <QFile>
#include <array>

namespace mv {

namespace {

uint32_t be32(const QByteArray& b, qsizetype at) {
    return (uint32_t(uint8_t(b[at])) << 24) | (uint32_t(uint8_t(b[at + 1])) << 16) |
           (uint32_t(uint8_t(b[at + 2])) << 8) | uint32_t(uint8_t(b[at + 3]));
}
uint32_t le32(const QByteArray& b, qsizetype at) {
    return uint32_t(uint8_t(b[at])) | (uint32_t(uint8_t(b[at + 1])) << 8) |
           (uint32_t(uint8_t(b[at + 2])) << 16) | (uint32_t(uint8_t(b[at + 3])) << 24);
}

int64_t wavLength(const QByteArray& b) {
    uint32_t byteRate = 0;
    qsizetype at = 12;
    while (at + 8 <= b.size()) {
        const QByteArray id = b.mid(at, 4);
        const uint32_t size = le32(b, at + 4);
        if (id == "fmt " && at + 20 <= b.size()) byteRate = le32(b, at + 16);
        if (id == "data") {
            if (byteRate == 0) return -1;
            return int64_t(size) * 1'000'000 / byteRate;
        }
        // Chunks are padded to an even size.
        const int64_t next = int64_t(at) + 8 + size + (size & 1);
        if (next > b.size()) return -1;
        at = qsizetype(next);
    }
    return -1;
}

struct FrameHeader {
    int version = 0;    // 1 MPEG-1, 2 MPEG-2, 25 MPEG-2.5
    int bitrate = 0;    // kbit/s
    int sampleRate = 0; // Hz
    int samples = 0;    // per frame
    bool mono = false;
};

// The layer III frame header at `at`, if it is one.
bool frameHeader(const QByteArray& b, qsizetype at, FrameHeader& h) {
    if (at + 4 > b.size()) return false;
    const uint32_t w = be32(b, at);
    if ((w & 0xFFE00000u) != 0xFFE00000u) return false;
    const int ver = (w >> 19) & 3, layer = (w >> 17) & 3, rate = (w >> 12) & 15,
              freq = (w >> 10) & 3;
    if (ver == 1 || layer != 1 || rate == 0 || rate == 15 || freq == 3) return false;
    static constexpr std::array<int, 15> v1 = {0,   32,  40,  48,  56,  64,  80, 96,
                                               112, 128, 160, 192, 224, 256, 320};
    static constexpr std::array<int, 15> v2 = {0,  8,  16, 24,  32,  40,  48, 56,
                                               64, 80, 96, 112, 128, 144, 160};
    static constexpr std::array<int, 3> f1 = {44100, 48000, 32000};
    h.version = ver == 3 ? 1 : ver == 2 ? 2 : 25;
    h.bitrate = h.version == 1 ? v1[rate] : v2[rate];
    h.sampleRate = f1[freq] / (h.version == 1 ? 1 : h.version == 2 ? 2 : 4);
    h.samples = h.version == 1 ? 1152 : 576;
    h.mono = ((w >> 6) & 3) == 3;
    return true;
}

int64_t mp3Length(const QByteArray& b, int64_t fileSize) {
    qsizetype at = 0;
    if (b.startsWith("ID3") && b.size() >= 10) {
        // A syncsafe size: seven bits a byte.
        const uint32_t size = (uint32_t(b[6] & 0x7f) << 21) | (uint32_t(b[7] & 0x7f) << 14) |
                              (uint32_t(b[8] & 0x7f) << 7) | uint32_t(b[9] & 0x7f);
        at = 10 + qsizetype(size) + ((b[5] & 0x10) ? 10 : 0);
    }
    FrameHeader h;
    // The first frame lies close behind the tag; junk before it is passed over.
    const qsizetype limit = std::min(b.size(), at + 64 * 1024);
    while (at < limit && !frameHeader(b, at, h))
        ++at;
    if (at >= limit) return -1;
    // A Xing/Info header stands after the side information.
    const qsizetype side = h.version == 1 ? (h.mono ? 17 : 32) : (h.mono ? 9 : 17);
    const qsizetype xing = at + 4 + side;
    if (xing + 12 <= b.size()) {
        const QByteArray tag = b.mid(xing, 4);
        if ((tag == "Xing" || tag == "Info") && (be32(b, xing + 4) & 1)) {
            const uint32_t frames = be32(b, xing + 8);
            return int64_t(frames) * h.samples * 1'000'000 / h.sampleRate;
        }
    }
    const qsizetype vbri = at + 4 + 32;
    if (vbri + 18 <= b.size() && b.mid(vbri, 4) == "VBRI") {
        const uint32_t frames = be32(b, vbri + 14);
        return int64_t(frames) * h.samples * 1'000'000 / h.sampleRate;
    }
    // A constant bit rate: the bytes after the first frame's start.
    const int64_t total = fileSize >= 0 ? fileSize : b.size();
    if (total <= at) return -1;
    return (total - at) * 8'000 / h.bitrate;
}

} // namespace

int64_t mediaLengthUs(const QByteArray& bytes, int64_t fileSize) {
    if (bytes.size() >= 12 && bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WAVE")
        return wavLength(bytes);
    return mp3Length(bytes, fileSize);
}

int64_t mediaFileLengthUs(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return -1;
    const QByteArray head = f.read(256 * 1024);
    if (head.startsWith("ID3") && head.size() >= 10) {
        // A tag with a large picture: read on from the tag's end.
        const int64_t tagEnd = 10 +
                               ((int64_t(head[6] & 0x7f) << 21) | (int64_t(head[7] & 0x7f) << 14) |
                                (int64_t(head[8] & 0x7f) << 7) | int64_t(head[9] & 0x7f)) +
                               ((head[5] & 0x10) ? 10 : 0);
        if (tagEnd + 4 > head.size() && tagEnd < f.size() && f.seek(tagEnd))
            return mediaLengthUs(f.read(256 * 1024), f.size() - tagEnd);
    }
    return mediaLengthUs(head, f.size());
}

} // namespace mv
