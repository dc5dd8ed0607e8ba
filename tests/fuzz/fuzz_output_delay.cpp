// "OutputDelay.txt" on any bytes, read through the file table as start-up
// reads it: the reading ends, every delay lies within -500..1000, and what
// is written back reads back the same.
#include "core/file_numbers.h"
#include "core/output_delay.h"
#include "fuzz_session.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QString path = mv::fuzz::scratchPath(QStringLiteral("OutputDelay.txt"));
    {
        QFile f(path);
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            f.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    mv::FileTable files;
    mv::OutputDelays d;
    if (!d.read(files, path)) return 0;
    for (const QString& line : d.lines()) {
        const int ms = line.section(u'\t', 0, 0).toInt();
        if (ms < mv::kOutputDelayMin || ms > mv::kOutputDelayMax) std::abort();
    }
    d.write(files, path);
    mv::OutputDelays back;
    if (!back.read(files, path) || !(back == d)) std::abort();
    return 0;
}
