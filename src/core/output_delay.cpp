#include "core/output_delay.h"

#include "core/file_numbers.h"
#include "core/messages.h"
#include "core/session_state.h"

#include <algorithm>
#include <cmath>

namespace mv {

namespace {

const QString kDefault = QStringLiteral("Default");

int held(double ms) {
    // NaN and infinities from a damaged file end up at a bound, never in a cast.
    if (!(ms >= kOutputDelayMin)) return kOutputDelayMin;
    if (!(ms <= kOutputDelayMax)) return kOutputDelayMax;
    return int(std::lround(ms));
}

} // namespace

int outputDelayMs(const VelmorState& v) {
    const double ms = v.OutputDelay.value();
    return std::isnan(ms) ? 0 : held(ms);
}

QString outputName(const Session& s) {
    const QString name = s.velmor.AudioOutNames.value(s.g.SoundDevice);
    return s.g.SoundDevice < 0 || name.isEmpty() ? kDefault : name;
}

void OutputDelays::set(const QString& output, int ms) {
    // A name with a line end could not be read back from the file.
    if (output.contains(u'\r') || output.contains(u'\n')) return;
    ms_.insert(output.isEmpty() ? kDefault : output, held(ms));
}

OutputDelays OutputDelays::parse(const QStringList& lines) {
    OutputDelays d;
    for (const QString& line : lines) {
        const qsizetype tab = line.indexOf(u'\t');
        if (tab <= 0) continue;
        bool ok = false;
        const long long ms = line.left(tab).trimmed().toLongLong(&ok);
        const QString name = line.mid(tab + 1);
        if (!ok || name.isEmpty()) continue;
        d.ms_.insert(name, held(double(std::clamp<long long>(ms, -1'000'000, 1'000'000))));
    }
    return d;
}

QStringList OutputDelays::lines() const {
    QStringList out;
    for (auto it = ms_.cbegin(); it != ms_.cend(); ++it)
        out << QString::number(it.value()) + u'\t' + it.key();
    return out;
}

bool OutputDelays::read(FileTable& files, const QString& path) {
    QStringList lines;
    try {
        lines = files.readText(path);
    } catch (const Failure&) {
        return false;
    }
    *this = parse(lines);
    return true;
}

void OutputDelays::write(FileTable& files, const QString& path) const {
    files.writeText(path, lines());
}

} // namespace mv
