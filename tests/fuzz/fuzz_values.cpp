// The value rules on any text: the numeric value never fails, number text
// reads back as the same number, strict conversion only fails as told.
#include "core/values.h"

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromLatin1(reinterpret_cast<const char*>(data), qsizetype(size));
    const double v = mv::val(text);
    if (std::isfinite(v)) {
        const double back = mv::val(mv::numberText(v));
        if (std::fabs(back - v) > std::fabs(v) * 1e-14 + 1e-300) std::abort();
        (void)mv::printFormSingle(v);
    }
    try {
        (void)mv::roundWord(v);
    } catch (const mv::Failure& f) {
        if (f.number() != 6) std::abort();
    }
    try {
        (void)mv::strictNumber(text);
    } catch (const mv::Failure& f) {
        if (f.number() != 13 && f.number() != 6) std::abort();
    }
    return 0;
}
