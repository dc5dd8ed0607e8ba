// Any bytes as "PlayList.txt" and as a `.SSS` set: the play list loads it,
// the set chooser loads it, and the play list writes it back; nothing may
// fail but with a message, and what was read must write back and read the
// same.
#include "fuzz_session.h"
#include "library/library.h"
#include "library/play_list.h"

#include <QDir>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QString dir = mv::fuzz::scratchPath(QStringLiteral("lists"));
    QDir().mkpath(dir);
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const char* name : {"PlayList.txt", "Set.SSS"}) {
        QFile f(dir + u'/' + QLatin1StringView(name));
        if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(bytes);
    }
    mv::fuzz::FuzzSession f;
    mv::Library lib;
    f.s.configDir = dir;
    f.s.velmor.Text1.setText(dir);
    f.s.velmor.File1List.set({QStringLiteral("a.mp3"), QStringLiteral("b.mp3")});
    mv::installLibrary(f.s, lib);
    mv::showPlayLst(f.s, lib);
    mv::List1_LeftPress(f.s, lib, 0);
    mv::Dirx_Load(f.s, lib);
    lib.dirx.File1Index.set(int(lib.dirx.File1.get().indexOf(QStringLiteral("Set.SSS"))));
    mv::Dirx_Go(f.s, lib);
    // A set read with its empty items writes back to the same list.
    const mv::ListFile read = mv::playListOf(f.s);
    mv::writeListFile(f.s, dir + QStringLiteral("/Back.SSS"), read);
    const mv::ListFile again = mv::readListFile(f.s, dir + QStringLiteral("/Back.SSS"), true);
    if (again.items != read.items || again.closeSelect != read.closeSelect ||
        again.closeDelete != read.closeDelete || again.delItem != read.delItem)
        std::abort();
    mv::PlayLst_Unload(f.s, lib);
    return 0;
}
