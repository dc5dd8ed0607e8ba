// What the desktop's media controls take from outside: a music file's bytes
// (its length) and the arguments of D-Bus calls (any double, any offset, any
// track id, in any order).  Nothing may fail, and volume and rate stay in
// their ranges.
#include "desktop/media_controls.h"
#include "desktop/media_length.h"
#include "fuzz_session.h"

#include <QCoreApplication>
#include <cmath>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    if (mv::mediaLengthUs(bytes, size % 3 ? -1 : int64_t(size) * 7) < -1) std::abort();

    mv::fuzz::FuzzSession f;
    f.s.velmor.File1List.set({QStringLiteral("a.mp3"), QStringLiteral("b.pdf")});
    f.s.File1_MouseDown = [](int, int, double, double) {};
    mv::MediaControls c(f.s);
    size_t at = 0;
    while (at + 9 <= size) {
        const uint8_t op = data[at];
        double d;
        int64_t n;
        std::memcpy(&d, data + at + 1, 8);
        std::memcpy(&n, data + at + 1, 8);
        at += 9;
        switch (op % 8) {
        case 0: c.setVolume(d); break;
        case 1: c.setRate(d); break;
        case 2: c.seek(n); break;
        case 3: c.setPosition(QString::fromLatin1(bytes.mid(qsizetype(at), op % 32)), n); break;
        case 4: c.next(); break;
        case 5: c.previous(); break;
        case 6: f.s.velmor.File1ListIndex.set(int(n % 3) - 1); break;
        default: c.playPause(); break;
        }
        QCoreApplication::processEvents();
        if (c.volume() < 0.01 || c.volume() > 1) std::abort();
        if (!(c.rate() >= mv::MediaControls::kMinimumRate &&
              c.rate() <= mv::MediaControls::kMaximumRate))
            std::abort();
    }
    c.flush();
    return 0;
}
