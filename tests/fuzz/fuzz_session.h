#pragma once
// A session over fakes and a virtual clock for the fuzz targets, and the
// input written to a file the readers can open.

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "stage.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <unistd.h>

namespace mv::fuzz {

struct FuzzSession : test::Stage {
    test::FakeViewer viewer2;
    FuzzSession() {
        test::attachSheetOne(s, player, viewer);
        s.adobeF2.AcroPDF1 = &viewer2;
        player.setURL(QStringLiteral("fuzz.mp3"));
    }
};

// A path of this process under /tmp, removed (with what is below it) when
// the process ends.
inline QString scratchPath(const QString& name) {
    struct Scratch {
        QString path;
        ~Scratch() {
            QDir(path).removeRecursively();
            QFile::remove(path);
        }
    };
    static Scratch scratch{QStringLiteral("/tmp/mellivane-fuzz-%1").arg(getpid())};
    QDir().mkpath(scratch.path);
    return scratch.path + u'/' + name;
}

// Writes the input to a file of this process and returns its path.
inline QString inputFile(const uint8_t* data, size_t size) {
    static const QString path = scratchPath(QStringLiteral("input.map"));
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(reinterpret_cast<const char*>(data), qint64(size));
    return path;
}

} // namespace mv::fuzz
