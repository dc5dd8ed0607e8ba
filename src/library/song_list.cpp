#include "library/song_list.h"

#include "core/messages.h"
#include "core/session_state.h"

#include <QCollator>
#include <QDir>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <vector>

namespace mv {

bool validPattern(const QString& pattern) {
    const QString p = pattern.trimmed();
    return !p.isEmpty() && !p.contains(u'/') && !p.contains(u'\\');
}

QStringList listSongs(const QString& folder, const QString& pattern, bool withHidden) {
    const QDir dir(folder);
    if (folder.isEmpty() || !dir.exists()) return {};
    QList<QRegularExpression> res;
    for (const QString& p : pattern.split(u';', Qt::SkipEmptyParts))
        res << QRegularExpression(QRegularExpression::wildcardToRegularExpression(p.trimmed()),
                                  QRegularExpression::CaseInsensitiveOption);
    QStringList out;
    const QDir::Filters filter = withHidden ? QDir::Files | QDir::Hidden : QDir::Files;
    for (const QString& name : dir.entryList(filter, QDir::Unsorted)) { // sorted below
        for (const auto& re : res)
            if (re.match(name).hasMatch()) {
                out << name;
                break;
            }
    }
    sortSongs(out, QLocale::system());
    return out;
}

void sortSongs(QStringList& names, const QLocale& locale) {
    // The C locale compares code points, which puts every accented letter
    // after "z": a neutral order keeps "Élan" beside "Elan" instead.
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    struct Entry {
        bool z;
        QCollatorSortKey key; // compared as bytes: a folder of thousands sorts fast
        QString name;
    };
    std::vector<Entry> entries;
    entries.reserve(size_t(names.size()));
    for (const QString& n : names)
        entries.push_back({n.startsWith(u'Z', Qt::CaseInsensitive), collator.sortKey(n), n});
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        if (a.z != b.z) return b.z;
        const int c = a.key.compare(b.key);
        return c != 0 ? c < 0 : a.name < b.name;
    });
    for (qsizetype i = 0; i < names.size(); ++i)
        names[i] = std::move(entries[size_t(i)].name);
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
