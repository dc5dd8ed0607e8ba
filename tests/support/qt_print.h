#pragma once
// Readable gtest output for Qt strings.
#include <QString>
#include <QStringList>
#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
inline void PrintTo(const QList<QString>& l, std::ostream* os) {
    *os << "{";
    for (qsizetype i = 0; i < l.size(); ++i)
        *os << (i ? ", \"" : "\"") << l[i].toStdString() << '"';
    *os << "}";
}
