#include "library/z_marking.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/values.h"
#include "library/song_list.h"
#include "transport/stop_pause.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace mv {

QString nameWithZ(const QString& name) { return QStringLiteral("Z ") + name; }

QString nameWithoutZ(const QString& name) {
    const int cut = name.toUpper().startsWith(QLatin1String("Z ")) ? 2 : 1;
    return name.mid(cut).left(1024);
}

QStringList zSiblings(const QString& name) {
    return {name, siblingPath(name, QStringLiteral("NWC")),
            siblingPath(name, QStringLiteral("pdf")), siblingPath(name, QStringLiteral("map"))};
}

void renameByCopy(const QString& folder, const QString& from, const QString& to) {
    const QDir dir(folder);
    const QString source = existingPathIgnoringCase(dir.filePath(from));
    // A target that is there in any case is left alone, as is the source.
    if (!QFileInfo(source).isFile() ||
        QFileInfo::exists(existingPathIgnoringCase(dir.filePath(to))))
        return;
    if (!QFile::copy(source, dir.filePath(to))) throw failures::pathFileAccess();
    if (!QFile::remove(source)) throw failures::pathFileAccess();
}

namespace {

// Closes the files a rename must not leave open: the map a running play or
// an edit load reads (the play ends at its next read), and the record
// stream only when it writes one of the files renamed.
void closeForRenaming(Session& s, const QString& folder, const QString& name) {
    s.files.closeReads();
    const QString stream = QFileInfo(s.files.path(2)).absoluteFilePath();
    for (const QString& sibling : zSiblings(name))
        if (stream.compare(QFileInfo(QDir(folder).filePath(sibling)).absoluteFilePath(),
                           Qt::CaseInsensitive) == 0)
            s.files.close(2);
}

void selectEntryOne(Session& s) {
    if (s.velmor.File1List.get().size() < 2) throw failures::invalidProperty();
    s.velmor.File1ListIndex.set(1);
}

void zOperation(Session& s, bool remove) {
    const QString name = s.velmor.File1FileName();
    const QString question =
        remove ? QStringLiteral("Are you sure you want to remove the Z at the beginning of '")
               : QStringLiteral("Are you sure you want to put a Z at the beginning of '");
    if (!s.messages.yesNo(question + name + QStringLiteral("'."))) return;
    try {
        // Files first on Set Z, the music first on Remove Z: either way a
        // running play loses its map at its next read.
        const QString folder = s.velmor.Text1.text() + u'/';
        if (remove) {
            stopForRenaming(s);
            closeForRenaming(s, folder, name);
        } else {
            closeForRenaming(s, folder, name);
            dropSource(s, true);
        }
        refreshList(s);
        selectEntryOne(s);
        for (const QString& sibling : zSiblings(name)) {
            // The new name is formed from the name as it stands in the folder.
            const QString found =
                QFileInfo(existingPathIgnoringCase(QDir(folder).filePath(sibling))).fileName();
            renameByCopy(folder, found, remove ? nameWithoutZ(found) : nameWithZ(found));
        }
        refreshList(s);
        selectEntryOne(s);
    } catch (const Failure& f) {
        s.messages.msgBox(f.description());
    }
}

} // namespace

void setZ(Session& s) { zOperation(s, false); }
void removeZ(Session& s) { zOperation(s, true); }

} // namespace mv
