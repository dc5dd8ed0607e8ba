#include "media_gen.h"

#include <QDataStream>
#include <QFile>
#include <QtEndian>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace mv::test {

void writeToneWav(const QString& path, const std::vector<double>& hz, double secondsEach,
                  double amp, int rate) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return;
    QDataStream out(&file);
    out.setByteOrder(QDataStream::LittleEndian);
    const int perTone = int(secondsEach * rate);
    const quint32 bytes = quint32(2 * perTone * hz.size());
    // RIFF header, a 16-byte format chunk (PCM, mono, 16 bits), the data.
    out.writeRawData("RIFF", 4);
    out << quint32(36 + bytes);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(1) << quint32(rate) << quint32(rate * 2)
        << quint16(2) << quint16(16);
    out.writeRawData("data", 4);
    out << bytes;
    double phase = 0;
    for (double f : hz)
        for (int i = 0; i < perTone; ++i) {
            phase += 2 * M_PI * f / rate;
            out << qint16(std::lround(amp * 32767 * std::sin(phase)));
        }
}

std::vector<double> firstChannel16(const QByteArray& frames, int channels) {
    std::vector<double> out;
    for (qsizetype i = 0; channels > 0 && i + 2 * channels <= frames.size(); i += 2 * channels)
        out.push_back(qint16(qFromLittleEndian<quint16>(frames.constData() + i)) / 32768.0);
    return out;
}

Pcm readWav(const QString& path) {
    Pcm p;
    QFile f(path);
    const QByteArray b = f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    const qsizetype fmt = b.indexOf("fmt "), data = b.indexOf("data", fmt);
    if (!b.startsWith("RIFF") || fmt < 0 || data < 0 || fmt + 24 > b.size()) return p;
    p.channels = qFromLittleEndian<quint16>(b.constData() + fmt + 10);
    p.rate = int(qFromLittleEndian<quint32>(b.constData() + fmt + 12));
    // The samples run to the end of the file: mpv's pcm output writes no
    // chunk after them and may leave the data length at 0 or its maximum.
    if (qFromLittleEndian<quint16>(b.constData() + fmt + 22) == 16)
        p.samples = firstChannel16(b.mid(data + 8), p.channels);
    return p;
}

double frequency(const Pcm& p, size_t from, size_t count) {
    // Rising zero crossings: how many, the first and the last.
    size_t crossings = 0, first = 0, last = 0;
    for (size_t i = from + 1; i < std::min(p.samples.size(), from + count); ++i)
        if (p.samples[i - 1] < 0 && p.samples[i] >= 0) {
            first = crossings++ ? first : i;
            last = i;
        }
    return crossings < 2 ? 0 : double(crossings - 1) * p.rate / double(last - first);
}

double rms(const Pcm& p, size_t from, size_t count) {
    const size_t end = std::min(p.samples.size(), from + count);
    if (end <= from) return 0;
    const auto b = p.samples.begin() + qsizetype(from), e = p.samples.begin() + qsizetype(end);
    return std::sqrt(std::inner_product(b, e, b, 0.0) / double(end - from));
}

} // namespace mv::test
