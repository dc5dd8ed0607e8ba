#include "core/keyed_settings.h"

#include "core/file_numbers.h"
#include "core/messages.h"

#include <algorithm>

namespace mv {

void KeyedSettings::add(const QString& key, std::function<QString()> get,
                        std::function<void(const QString&)> set) {
    auto it = std::find_if(entries_.begin(), entries_.end(),
                           [&key](const Entry& e) { return e.key == key; });
    if (it != entries_.end()) entries_.erase(it);
    entries_.push_back({key, std::move(get), std::move(set)});
    unknown_.remove(key);
}

void KeyedSettings::add(const QString& key, Field& field) {
    add(
        key, [&field] { return field.text(); }, [&field](const QString& t) { field.setText(t); });
}

void KeyedSettings::add(const QString& key, CheckBox& box) {
    add(
        key, [&box] { return QString::number(box.get()); },
        [&box](const QString& t) {
            if (t == u"0" || t == u"1") box.set(t.toInt());
        });
}

bool KeyedSettings::read(FileTable& files, const QString& path) {
    QStringList lines;
    try {
        lines = files.readText(path);
    } catch (const Failure&) {
        return false;
    }
    for (const QString& line : lines) {
        const qsizetype eq = line.indexOf(u'=');
        if (eq <= 0) continue;
        const QString key = line.left(eq).trimmed();
        const QString value = line.mid(eq + 1);
        auto it = std::find_if(entries_.begin(), entries_.end(),
                               [&key](const Entry& e) { return e.key == key; });
        if (it == entries_.end())
            unknown_.insert(key, value);
        else
            it->set(value);
    }
    return true;
}

void KeyedSettings::write(FileTable& files, const QString& path) const {
    // Nothing kept: no file, so a program without keyed settings leaves
    // the folder as it was.
    if (entries_.empty() && unknown_.isEmpty()) return;
    QMap<QString, QString> all = unknown_;
    for (const Entry& e : entries_)
        all.insert(e.key, e.get());
    QStringList lines;
    for (auto it = all.cbegin(); it != all.cend(); ++it)
        lines << it.key() + u'=' + it.value();
    files.writeText(path, lines);
}

} // namespace mv
