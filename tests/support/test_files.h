#pragma once
// Small helpers the tests share: files written and read whole, maps built
// record by record, and waits that run a real event loop.

#include "core/values.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QStringList>
#include <QTimer>
#include <functional>

namespace mv::test {

// Each line ended by CR LF, in single-byte text: a map or settings file.
inline QByteArray crlf(const QStringList& lines) {
    QByteArray b;
    for (const QString& l : lines)
        b += l.toLatin1() + "\r\n";
    return b;
}

// The whole file, or "<missing>" when it cannot be opened.
inline QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

// Replaces the file with `bytes`; false when it cannot be written.
inline bool writeFile(const QString& path, const QByteArray& bytes = {}) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// The header of a map as the recorder writes it: zoom 100, left 0, the six
// second-sheet lines, volume 80.
inline const QStringList kMapHeader = {"100@", "0%", "#1", "#2", "#3", "#4", "#5", "#6", " 80^"};

// One record of a map: Tic, X, Y, Scr, Nxt, Prv.
inline QStringList rec(const QString& tic, const QString& x, const QString& y, const QString& scr,
                       bool nxt = false, bool prv = false) {
    return {tic, x, y, scr, boolText(nxt), boolText(prv)};
}

// Runs the event loop until `done` or `ms` have passed; true when done.
inline bool runUntil(const std::function<bool()>& done, int ms) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms) {
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return done();
}
inline void runFor(int ms) {
    runUntil([] { return false; }, ms);
}

} // namespace mv::test
