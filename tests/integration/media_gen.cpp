#include "media_gen.h"

#include <QDataStream>
#include <QFile>
#include <QtEndian>
#include <cmath>
#include <cstring>

namespace mv::test {

void writeToneWav(const QString& path, const std::vector<double>& hz, double secondsEach,
                  double amp, int rate) {
    QByteArray data, wav;
    QDataStream samples(&data, QIODevice::WriteOnly), out(&wav, QIODevice::WriteOnly);
    samples.setByteOrder(QDataStream::LittleEndian);
    out.setByteOrder(QDataStream::LittleEndian);
    double phase = 0;
    for (double f : hz) {
        const int n = int(secondsEach * rate);
        for (int i = 0; i < n; ++i) {
            phase += 2 * M_PI * f / rate;
            samples << qint16(std::lround(amp * 32767 * std::sin(phase)));
        }
    }
    // RIFF header, a 16-byte format chunk (PCM, mono, 16 bits), the data.
    out.writeRawData("RIFF", 4);
    out << quint32(36 + data.size());
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(1) << quint32(rate) << quint32(rate * 2)
        << quint16(2) << quint16(16);
    out.writeRawData("data", 4);
    out << quint32(data.size());
    out.writeRawData(data.constData(), int(data.size()));
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
        quint32 len = qFromLittleEndian<quint32>(h + 4);
        if (std::memcmp(h, "fmt ", 4) == 0 && pos + 24 <= b.size()) {
            p.channels = qFromLittleEndian<quint16>(h + 10);
            p.rate = int(qFromLittleEndian<quint32>(h + 12));
            bits = qFromLittleEndian<quint16>(h + 22);
        } else if (std::memcmp(h, "data", 4) == 0) {
            // mpv's pcm output may leave the length at its maximum while
            // streaming: take what the file holds.
            const qsizetype avail = b.size() - pos - 8;
            if (len > quint32(avail) || len == 0) len = quint32(avail);
            if (bits != 16 || p.channels < 1) return p;
            const int frame = 2 * p.channels;
            for (qsizetype i = 0; i + frame <= qsizetype(len); i += frame)
                p.samples.push_back(qint16(qFromLittleEndian<quint16>(h + 8 + i)) / 32768.0);
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
