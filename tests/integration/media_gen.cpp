#include "media_gen.h"

#include <QFile>
#include <cmath>
#include <cstring>

namespace mv::test {

namespace {
void put16(QByteArray& b, int v) {
    b.append(char(v & 0xff));
    b.append(char((v >> 8) & 0xff));
}
void put32(QByteArray& b, quint32 v) {
    for (int i = 0; i < 4; ++i)
        b.append(char((v >> (8 * i)) & 0xff));
}
quint32 get32(const char* p) {
    return quint32(uchar(p[0])) | quint32(uchar(p[1])) << 8 | quint32(uchar(p[2])) << 16 |
           quint32(uchar(p[3])) << 24;
}
quint16 get16(const char* p) { return quint16(uchar(p[0]) | uchar(p[1]) << 8); }
} // namespace

void writeToneWav(const QString& path, const std::vector<double>& hz, double secondsEach,
                  double amp, int rate) {
    QByteArray data;
    double phase = 0;
    for (double f : hz) {
        const int n = int(secondsEach * rate);
        for (int i = 0; i < n; ++i) {
            phase += 2 * M_PI * f / rate;
            put16(data, int(std::lround(amp * 32767 * std::sin(phase))));
        }
    }
    QByteArray wav("RIFF");
    put32(wav, 36 + data.size());
    wav += "WAVEfmt ";
    put32(wav, 16);
    put16(wav, 1);
    put16(wav, 1);
    put32(wav, rate);
    put32(wav, rate * 2);
    put16(wav, 2);
    put16(wav, 16);
    wav += "data";
    put32(wav, data.size());
    wav += data;
    QFile f(path);
    if (f.open(QIODevice::WriteOnly)) f.write(wav);
}

Pcm readWav(const QString& path) {
    Pcm p;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) return p;
    const QByteArray b = f.readAll();
    if (b.size() < 12 || !b.startsWith("RIFF")) return p;
    qsizetype pos = 12;
    int bits = 16;
    while (pos + 8 <= b.size()) {
        const char* h = b.constData() + pos;
        quint32 len = get32(h + 4);
        if (std::memcmp(h, "fmt ", 4) == 0 && pos + 24 <= b.size()) {
            p.channels = get16(h + 10);
            p.rate = int(get32(h + 12));
            bits = get16(h + 22);
        } else if (std::memcmp(h, "data", 4) == 0) {
            // mpv's pcm output may leave the length at its maximum while
            // streaming: take what the file holds.
            const qsizetype avail = b.size() - pos - 8;
            if (len > quint32(avail) || len == 0) len = quint32(avail);
            if (bits != 16 || p.channels < 1) return p;
            const int frame = 2 * p.channels;
            for (qsizetype i = 0; i + frame <= qsizetype(len); i += frame)
                p.samples.push_back(qint16(get16(h + 8 + i)) / 32768.0);
            return p;
        }
        pos += 8 + len + (len & 1);
    }
    return p;
}

double frequency(const Pcm& p, size_t from, size_t count) {
    const size_t end = std::min(p.samples.size(), from + count);
    int crossings = 0;
    size_t first = 0, last = 0;
    for (size_t i = from + 1; i < end; ++i) {
        if (p.samples[i - 1] < 0 && p.samples[i] >= 0) {
            if (!crossings) first = i;
            last = i;
            ++crossings;
        }
    }
    if (crossings < 2) return 0;
    return double(crossings - 1) * p.rate / double(last - first);
}

double rms(const Pcm& p, size_t from, size_t count) {
    const size_t end = std::min(p.samples.size(), from + count);
    double sum = 0;
    for (size_t i = from; i < end; ++i)
        sum += p.samples[i] * p.samples[i];
    return end > from ? std::sqrt(sum / double(end - from)) : 0;
}

size_t firstSound(const Pcm& p, double threshold) {
    for (size_t i = 0; i < p.samples.size(); ++i)
        if (std::fabs(p.samples[i]) > threshold) return i;
    return p.samples.size();
}

} // namespace mv::test
