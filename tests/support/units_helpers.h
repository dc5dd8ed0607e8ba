#pragma once
// Readouts gathered into one list of texts, so that a test compares a whole
// set of values at once and a failure shows every one of them side by side;
// a row of the cursor table read the same way.

#include "cursormap/tic_table.h"

#include <QString>
#include <QStringList>
#include <type_traits>

namespace mv::test {

inline QString readout(const QString& v) { return v; }
inline QString readout(const char* v) { return QString::fromUtf8(v); }
inline QString readout(bool v) { return v ? "true" : "false"; }
// Numbers in their shortest form: 1234.5, 40, -1.
template <class N>
requires std::is_arithmetic_v<N> QString readout(N v) { return QString::number(v); }

template <class... T> QStringList readouts(const T&... v) { return {readout(v)...}; }

// Row i of the cursor table: Tic, X, Y, Scr, Nxt, Prv.
inline QStringList ticRow(const TicTable& t, int i) {
    return {t.Tic[i], t.X[i], t.Y[i], t.Scr[i], t.Nxt[i], t.Prv[i]};
}

} // namespace mv::test
