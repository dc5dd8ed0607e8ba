#pragma once
// The song's map in memory: six columns of strings, rows 0 to 5000 (5001
// rows).  Cells hold the text as read from the file, blanks included, until
// an operation replaces them with trimmed number text; "True"/"False" stay
// text.  The table ends at the first row whose Tic is empty.

#include <QString>
#include <array>

namespace mv {

struct TicTable {
    static constexpr int kRows = 5001; // indices 0..5000
    static constexpr int kLastRow = 5000;
    std::array<QString, kRows> Tic, X, Y, Scr, Nxt, Prv;

    // All six cells of all rows empty.
    void clear() {
        for (auto* col : {&Tic, &X, &Y, &Scr, &Nxt, &Prv})
            for (QString& c : *col)
                c.clear();
    }
    // Rows before the first empty Tic.
    int length() const {
        int n = 0;
        while (n < kRows && !Tic[n].isEmpty())
            ++n;
        return n;
    }
};

} // namespace mv
