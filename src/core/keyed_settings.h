#pragma once
// "Mellivane.conf": the settings that came after the positional files, one
// "Key=value" line each.  Each subsystem adds the controls it keeps there,
// under keys of its own, in its install function (before start-up reads the
// file).  A key the file lacks leaves its control at its built-in value; a
// line whose key nobody added (a newer program's) is kept and written back,
// so a file shared between versions loses nothing.

#include "core/field.h"

#include <QMap>
#include <QString>
#include <functional>
#include <vector>

namespace mv {

class FileTable;

class KeyedSettings {
  public:
    // Keeps a value under `key`: `get` gives the text written, `set` takes the
    // text read.  Adding a key again replaces the earlier entry.
    void add(const QString& key, std::function<QString()> get,
             std::function<void(const QString&)> set);
    // A text field kept as its text; a check box as 0 or 1 (anything else
    // read is passed over).  The control must outlive this object.
    void add(const QString& key, Field& field);
    void add(const QString& key, CheckBox& box);

    // Reads `path`: each added key found sets its control.  No file or an
    // unreadable one changes nothing and is false; lines without "=" are
    // passed over; the last of two lines with one key counts.
    bool read(FileTable& files, const QString& path);
    // Writes every added key and every unknown one read, sorted by key;
    // nothing at all when there are none.
    // Failure 75 or 76 as FileTable::writeText; the old file then stands.
    void write(FileTable& files, const QString& path) const;

  private:
    struct Entry {
        QString key;
        std::function<QString()> get;
        std::function<void(const QString&)> set;
    };
    std::vector<Entry> entries_;
    QMap<QString, QString> unknown_;
};

} // namespace mv
