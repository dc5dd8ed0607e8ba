#pragma once
// Undo and redo in edit mode.  The history keeps the table as it stood at
// the last recorded step; each edit operation, when done, records the
// difference between that and the table now as one step on a QUndoStack.
// A difference is kept as the block of rows that changed, before and after,
// with the rows after it moved up or down by one (Insert, Delete), so a step
// costs the rows it touched, not the table.  Entering edit mode starts the
// history; leaving ends it.

#include "cursormap/tic_table.h"

#include <QString>
#include <QUndoStack>
#include <array>
#include <memory>
#include <vector>

namespace mv {

struct Session;

// One row of the table: Tic, X, Y, Scr, Nxt, Prv.
using TicRow = std::array<QString, 6>;
TicRow rowOf(const TicTable& t, int row);
void setRow(TicTable& t, int row, const TicRow& cells);

// How one state of the table became another: rows [at, at + before.size())
// of the old state were replaced by `after`, and the rows behind them moved
// by after.size() - before.size() (-1, 0 or 1).  Rows pushed past row 5000
// are kept in `dropped`, rows that came in at the end in `added`, so both
// directions restore every cell exactly.
struct TableChange {
    int at = 0;
    std::vector<TicRow> before, after;
    std::vector<TicRow> dropped, added;

    // The smallest such change from `from` to `to`; empty (no rows) when they
    // are equal.
    static TableChange between(const TicTable& from, const TicTable& to);
    bool empty() const { return before.empty() && after.empty(); }
    // True when some cell changed its value, not just its spelling: " 2000 "
    // and "2000" are one value, "" and "0" are not.
    bool changesValues() const;
    // Turns the old state into the new one, and back.
    void redo(TicTable& t) const;
    void undo(TicTable& t) const;
};

// The page a row is shown on, counted from row 0's: each row up to and
// including `row` with NXT "True" is one page on, with PRV "True" one back.
// A row outside the table counts as the last row.
int pageOfRow(const TicTable& t, int row);

class EditHistory {
  public:
    explicit EditHistory(Session& s);
    ~EditHistory();

    QUndoStack& stack() { return stack_; }
    bool active() const { return active_; }

    // Starts a history at the table as it is now; an earlier one is gone.
    void begin();
    // Ends the history: nothing to undo or redo until the next begin.
    void end();

    // Records the table's change since the last step as one step named
    // `what`, the row `rowBefore` on show before it and CursorIndex after.
    // A change of spelling only (a step trims the cells it shows) is no
    // step: it waits and goes with the next one.  `typedCell` (not 0) names
    // a cell being typed in: steps with the same one in a row, on the same
    // row, are one step, as the field keeps its own keystrokes.  Nothing
    // outside a history.
    void record(const QString& what, int rowBefore, int typedCell = 0);

    // Undoes or redoes one step: the table as it was, and the row on show
    // then shown again, the sheet turned to its page.  A change not recorded
    // yet is first recorded as a step of its own (and so undone first);
    // one of spelling only is dropped.  Nothing while one runs already.
    void undo();
    void redo();

  private:
    friend class TableStep;
    // Applies a step's change in one direction and notes the row to show.
    void apply(const TableChange& c, bool back, int row);
    void showNoted(int pageBefore);
    void settlePending();

    Session& s_;
    QUndoStack stack_;
    std::unique_ptr<TicTable> baseline_;
    bool active_ = false;
    bool running_ = false;
    int rowToShow_ = -1;
};

namespace adobeF {

// One edit of the table, from its construction to its end, recorded as one
// step named `what`.  Scopes inside another one (Adj's step forward) record
// nothing of their own.
class EditScope {
  public:
    EditScope(Session& s, QString what);
    ~EditScope();
    EditScope(const EditScope&) = delete;
    EditScope& operator=(const EditScope&) = delete;

  private:
    Session& s_;
    QString what_;
    int rowBefore_;
    bool outer_;
};

// A cell typed into by hand: "Text1" X, "Text2" Y, "Text4" TIC, "Text7" SCR,
// "Text9" NXT, "Text10" PRV.  Keystrokes in the same cell are one step.
void CellTyped(Session& s, const QString& field);

// "Undo" (UndoB, Ctrl+Z) and "Redo" (RedoB, Ctrl+Shift+Z, Ctrl+Y).
void UndoB_Click(Session& s);
void RedoB_Click(Session& s);

} // namespace adobeF

} // namespace mv
