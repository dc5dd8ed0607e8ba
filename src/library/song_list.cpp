#include "library/song_list.h"

#include "core/messages.h"
#include "core/session_state.h"

#include <QDir>
#include <QRegularExpression>
#include <algorithm>

namespace mv {

bool validPattern(const QString& pattern) {
    const QString p = pattern.trimmed();
    return !p.isEmpty() && !p.contains(u'/') && !p.contains(u'\\');
}

QStringList listSongs(const QString& folder, const QString& pattern) {
    const QDir dir(folder);
    if (folder.isEmpty() || !dir.exists()) return {};
    QList<QRegularExpression> res;
    for (const QString& p : pattern.split(u';', Qt::SkipEmptyParts))
        res << QRegularExpression(QRegularExpression::wildcardToRegularExpression(p.trimmed()),
                                  QRegularExpression::CaseInsensitiveOption);
    QStringList out;
    // Hidden files (".name") are no songs.
    for (const QString& name : dir.entryList(QDir::Files, QDir::Unsorted)) { // sorted below
        for (const auto& re : res)
            if (re.match(name).hasMatch()) {
                out << name;
                break;
            }
    }
    std::sort(out.begin(), out.end(), [](const QString& a, const QString& b) {
        const int c = a.compare(b, Qt::CaseInsensitive);
        return c != 0 ? c < 0 : a < b;
    });
    return out;
}

void SetPath(Session& s) {
    const QString pattern = s.velmor.Text2.text().trimmed();
    if (!validPattern(pattern)) {
        s.messages.msgBox(QStringLiteral("Type is invalid"));
        return;
    }
    const QString folder = s.velmor.Text1.text().trimmed();
    if (folder.isEmpty() || !QDir(folder).exists()) {
        s.messages.msgBox(QStringLiteral("Path is invalid"));
        return;
    }
    s.velmor.File1Path = folder;
    s.velmor.File1Pattern = pattern;
    refreshList(s);
}

void refreshList(Session& s) {
    s.velmor.File1ListIndex.set(-1);
    s.velmor.File1List.set(listSongs(s.velmor.File1Path, s.velmor.File1Pattern));
}

void SetZ(Session& s) {
    VelmorState& v = s.velmor;
    v.SuppressLoad = kTrue;
    v.ZCount = 0;
    const QStringList& list = v.File1List.get();
    for (int i = int(list.size()) - 1; i >= 1; --i) {
        v.File1ListIndex.set(i);
        if (!list[i].startsWith(u'Z')) {
            v.SuppressLoad = 0;
            return;
        }
        ++v.ZCount;
    }
}

} // namespace mv
