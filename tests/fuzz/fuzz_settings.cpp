// Start-up on any bytes as the settings files: the same input stands as
// "Mellivane.ini", "AdobeFx.ini", "AdobeF2.ini", "AdobeF2.screen" and
// "PlayedList.txt" of a working directory of this process.  Start-up and the
// opening of sheet window 2 must end, whatever they read.
#include "core/settings_files.h"
#include "core/startup.h"
#include "fuzz_session.h"
#include "sheet/sheet_two.h"

#include <QDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QString dir = mv::fuzz::scratchPath(QStringLiteral("config"));
    QDir().mkpath(dir);
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const char* name :
         {"Mellivane.ini", "AdobeFx.ini", "AdobeF2.ini", "AdobeF2.screen", "PlayedList.txt"}) {
        QFile f(dir + u'/' + QLatin1StringView(name));
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(bytes);
    }
    mv::fuzz::FuzzSession f;
    f.s.configDir = dir;
    mv::startUp(f.s, {}, QStringLiteral("/nonexistent-demo"));
    mv::readAdobeFx(f.s);
    mv::readAdobeF2(f.s);
    mv::readSheetTwoScreen(f.s);
    try {
        mv::installSheetTwo(f.s);
        mv::openSheetTwo(f.s); // a PDFTop out of the slider's range is a Failure
    } catch (const mv::Failure&) {
    }
    return 0;
}
