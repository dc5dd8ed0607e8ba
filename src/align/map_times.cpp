#include "align/map_times.h"

#include "core/values.h"

#include <cmath>

namespace mv::align {

namespace {

bool isHeaderLine(const QByteArray& l) {
    if (l.contains('@') || l.contains('%') || l.contains('~') || l.contains('^')) return true;
    if (l.endsWith('#')) return true;
    for (char k = '1'; k <= '6'; ++k)
        if (l.contains(QByteArray("#") + k)) return true;
    return false;
}

double speedOf(const PlayTiming& t) { return t.speed == 0 ? 1.0 : t.speed; }

} // namespace

MapText MapText::parse(const QByteArray& bytes) {
    MapText m;
    qsizetype from = 0;
    while (from < bytes.size()) {
        qsizetype end = bytes.indexOf('\n', from);
        if (end < 0) end = bytes.size();
        QByteArray line = bytes.mid(from, end - from);
        if (line.endsWith('\r')) line.chop(1);
        m.lines.push_back(line);
        from = end + 1;
    }
    size_t i = 0;
    while (i < m.lines.size()) {
        if (isHeaderLine(m.lines[i])) {
            ++i;
            continue;
        }
        m.ticLines.push_back(i);
        m.tics.push_back(val(QString::fromLatin1(m.lines[i])));
        i += 6;
    }
    return m;
}

QByteArray MapText::withTics(const std::vector<long>& tics) const {
    std::vector<QByteArray> out = lines;
    for (size_t k = 0; k < ticLines.size() && k < tics.size(); ++k)
        out[ticLines[k]] = QByteArray::number(qlonglong(tics[k]));
    QByteArray b;
    for (const QByteArray& l : out)
        b += l + "\r\n";
    return b;
}

std::vector<double> musicPositions(const std::vector<double>& tics, const PlayTiming& t) {
    const double sp = speedOf(t);
    std::vector<double> pos;
    double due = 0; // wall ms after the press of Play
    for (size_t n = 0; n < tics.size(); ++n) {
        due += tics[n] * t.ticFactor / sp;
        if (n == 0) due = std::max(due, t.musicStartMs + t.firstNoteMs);
        pos.push_back((due - t.musicStartMs) * sp);
    }
    return pos;
}

std::vector<long> ticsForPositions(const std::vector<double>& positions, const PlayTiming& t) {
    const double sp = speedOf(t);
    std::vector<long> tics;
    double stored = 0; // running total of the tics written, ms
    double fired = 0;  // wall ms at which the previous tic fires
    for (size_t n = 0; n < positions.size(); ++n) {
        const double wall = positions[n] / sp + t.musicStartMs;
        double total;
        if (n == 0) {
            total = std::max(0.0, wall * sp / t.ticFactor);
            const long tic = std::lround(total);
            tics.push_back(tic);
            stored = double(tic);
            fired = std::max(stored * t.ticFactor / sp, t.musicStartMs + t.firstNoteMs);
            continue;
        }
        // Later tics count from the moment the one before fired.
        total = stored + std::max(0.0, (wall - fired) * sp / t.ticFactor);
        const long tic = std::lround(total) - std::lround(stored);
        tics.push_back(std::max(0L, tic));
        stored += double(tics.back());
        fired += double(tics.back()) * t.ticFactor / sp;
    }
    return tics;
}

} // namespace mv::align
