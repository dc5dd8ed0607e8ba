#pragma once
// File names found whatever their case: a folder copied from Windows holds
// "Song.PDF" beside "song.mp3", and the program asks for "song.pdf".

#include <QDir>
#include <QFileInfo>
#include <QString>

namespace mv {

// `path` itself when it exists; else the entry of its folder whose name
// equals its file name ignoring case; else `path` unchanged.
inline QString existingPathIgnoringCase(const QString& path) {
    const QFileInfo info(path);
    if (info.exists()) return path;
    const QDir dir = info.absoluteDir();
    if (!dir.exists()) return path;
    const QString name = info.fileName();
    const QStringList entries =
        dir.entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QString& e : entries)
        if (e.compare(name, Qt::CaseInsensitive) == 0) return dir.filePath(e);
    return path;
}

inline bool existsIgnoringCase(const QString& path) {
    return QFileInfo::exists(existingPathIgnoringCase(path));
}

} // namespace mv
