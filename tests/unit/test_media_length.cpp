// The music's length read from its bytes: constant bit rate, a Xing/Info
// frame count, an ID3 tag in front, WAV, and bytes that are neither.

#include "desktop/media_length.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace mv;

namespace {

// MPEG-1 layer III, 128 kbit/s, 44100 Hz, joint stereo.
const QByteArray kFrame = QByteArray::fromHex("fffb9064");

QByteArray be32(uint32_t v) {
    return QByteArray(1, char(v >> 24)) + char(v >> 16) + char(v >> 8) + char(v);
}
QByteArray le32(uint32_t v) {
    return QByteArray(1, char(v)) + char(v >> 8) + char(v >> 16) + char(v >> 24);
}

QByteArray cbr(qsizetype size) { return kFrame + QByteArray(size - 4, '\0'); }

QByteArray xing(const char* tag, uint32_t frames) {
    QByteArray b = kFrame + QByteArray(32, '\0') + tag + be32(1) + be32(frames);
    return b + QByteArray(400, '\0');
}

QByteArray wav(uint32_t byteRate, uint32_t dataSize) {
    QByteArray fmt = QByteArray::fromHex("01000200") + le32(44100) + le32(byteRate) +
                     QByteArray::fromHex("04001000");
    return "RIFF" + le32(36 + dataSize) + "WAVE" + "fmt " + le32(16) + fmt + "LIST" + le32(3) +
           "abc" + '\0' + "data" + le32(dataSize);
}

TEST(MediaLength, ReadsTheFormatsAndRefusesWhatIsNone) {
    const QByteArray id3 = QByteArray("ID3\x04\x00\x00", 6) + QByteArray::fromHex("00000102") +
                           QByteArray(130, '\0'); // a syncsafe size of 130
    struct Case {
        const char* what;
        QByteArray bytes;
        int64_t fileSize;
        int64_t us;
    };
    const Case cases[] = {
        {"cbr", cbr(16000), -1, 1'000'000},
        {"cbr, head of a larger file", cbr(1000), 32000, 2'000'000},
        {"junk before the first frame", QByteArray(7, 'x') + cbr(16000), -1, 1'000'000},
        {"id3 tag skipped", id3 + cbr(16000), -1, 1'000'000},
        {"xing frame count", xing("Xing", 441), -1, 441 * 1152 * 1'000'000LL / 44100},
        {"info frame count", xing("Info", 0), -1, 0},
        {"wav, after another chunk", wav(176400, 352800), -1, 2'000'000},
        {"wav without fmt", QByteArray("RIFF\0\0\0\0WAVEdata\0\0\0\0", 20), -1, -1},
        {"text", "just some text, no frames here", -1, -1},
        {"empty", {}, -1, -1},
        {"reserved bit rate", QByteArray::fromHex("fffbf064") + QByteArray(100, '\0'), -1, -1},
        {"tag larger than the bytes", QByteArray("ID3\x04\x00\x00\x7f\x7f\x7f\x7f", 10), -1, -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(mediaLengthUs(c.bytes, c.fileSize), c.us) << c.what;
}

TEST(MediaLength, AgreesWithThePlayerOnADemoSong) {
    // mpv reports 53.080816 s for this recording.
    const QString demo =
        qEnvironmentVariable("MELLIVANE_SOURCE_DIR") + "/demo/songs/Greensleeves.mp3";
    EXPECT_EQ(mediaFileLengthUs(demo), 53'080'816);
    EXPECT_EQ(mediaFileLengthUs("/nonexistent/song.mp3"), -1);
}

} // namespace
