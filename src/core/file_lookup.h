#pragma once
// How a song's siblings are named and found.  The siblings (map, sheet,
// second sheet, notation, the MP3 of a PDF entry) share the song's name up to
// the first "." of its file name and differ in extension.  They are found
// whatever their case: a folder copied from Windows holds "Song.PDF" beside
// "song.mp3", and the program asks for "song.pdf".  Every place that opens a
// sibling forms its name with siblingPath (or mapFileName) and finds it with
// existingPathIgnoringCase.

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

// `path` cut before the first "." of its file name; the folder part keeps its
// dots: "/songs/Vol. 2/Blue.Moon.mp3" -> "/songs/Vol. 2/Blue".
inline QString beforeFirstDotOfName(const QString& path) {
    const qsizetype dot = path.indexOf(u'.', path.lastIndexOf(u'/') + 1);
    return dot < 0 ? path : path.left(dot);
}

// The name of the sibling of `path` with the extension `ext`:
// ("/songs/Blue.Moon.mp3", "pdf") -> "/songs/Blue.pdf".
inline QString siblingPath(const QString& path, const QString& ext) {
    return beforeFirstDotOfName(path) + u'.' + ext;
}

inline bool existsIgnoringCase(const QString& path) {
    return QFileInfo::exists(existingPathIgnoringCase(path));
}

} // namespace mv
