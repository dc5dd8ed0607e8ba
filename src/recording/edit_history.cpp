#include "recording/edit_history.h"

#include "core/session_state.h"
#include "core/values.h"
#include "recording/edit_mode.h"

#include <QUndoCommand>
#include <algorithm>

namespace mv {

namespace {

constexpr int kRows = TicTable::kRows;

// A cell's text as a number when it spells one (sign, digits, point).
bool spellsNumber(const QString& t) {
    const QString s = t.trimmed();
    if (s.isEmpty()) return false;
    const QChar c = s[0];
    return c.isDigit() || c == u'-' || c == u'+' || c == u'.';
}

bool sameValue(const QString& a, const QString& b) {
    if (a == b || a.trimmed() == b.trimmed()) return true;
    return spellsNumber(a) && spellsNumber(b) && val(a) == val(b);
}

bool sameValues(const TicRow& a, const TicRow& b) {
    for (size_t c = 0; c < a.size(); ++c)
        if (!sameValue(a[c], b[c])) return false;
    return true;
}

bool rowsEqual(const TicTable& a, int i, const TicTable& b, int j) {
    return a.Tic[size_t(i)] == b.Tic[size_t(j)] && a.X[size_t(i)] == b.X[size_t(j)] &&
           a.Y[size_t(i)] == b.Y[size_t(j)] && a.Scr[size_t(i)] == b.Scr[size_t(j)] &&
           a.Nxt[size_t(i)] == b.Nxt[size_t(j)] && a.Prv[size_t(i)] == b.Prv[size_t(j)];
}

void copyRow(TicTable& t, int to, int from) {
    for (auto* col : {&t.Tic, &t.X, &t.Y, &t.Scr, &t.Nxt, &t.Prv})
        (*col)[size_t(to)] = (*col)[size_t(from)];
}

// Replaces `oldLen` rows at `at` by `block`; the rows behind move by the
// difference; rows that come in at the end are `endRows`.
void replaceBlock(TicTable& t, int at, int oldLen, const std::vector<TicRow>& block,
                  const std::vector<TicRow>& endRows) {
    const int newLen = int(block.size());
    const int shift = newLen - oldLen;
    if (shift > 0) {
        for (int i = kRows - 1; i >= at + newLen; --i)
            copyRow(t, i, i - shift);
    } else if (shift < 0) {
        for (int i = at + newLen; i <= kRows - 1 + shift; ++i)
            copyRow(t, i, i - shift);
        for (int k = 0; k < -shift; ++k)
            setRow(t, kRows + shift + k, endRows[size_t(k)]);
    }
    for (int k = 0; k < newLen; ++k)
        setRow(t, at + k, block[size_t(k)]);
}

std::vector<TicRow> rowsOf(const TicTable& t, int from, int to) {
    std::vector<TicRow> rows;
    rows.reserve(size_t(std::max(0, to - from)));
    for (int i = from; i < to; ++i)
        rows.push_back(rowOf(t, i));
    return rows;
}

} // namespace

TicRow rowOf(const TicTable& t, int row) {
    const auto r = size_t(row);
    return {t.Tic[r], t.X[r], t.Y[r], t.Scr[r], t.Nxt[r], t.Prv[r]};
}

void setRow(TicTable& t, int row, const TicRow& c) {
    const auto r = size_t(row);
    t.Tic[r] = c[0];
    t.X[r] = c[1];
    t.Y[r] = c[2];
    t.Scr[r] = c[3];
    t.Nxt[r] = c[4];
    t.Prv[r] = c[5];
}

TableChange TableChange::between(const TicTable& from, const TicTable& to) {
    TableChange c;
    int p = 0;
    while (p < kRows && rowsEqual(from, p, to, p))
        ++p;
    if (p == kRows) return c;
    // The tail that stayed, for each way the rows behind may have moved:
    // `q` is where it starts in `to`.
    int q0 = kRows;
    while (q0 > p && rowsEqual(from, q0 - 1, to, q0 - 1))
        --q0;
    int qDown = kRows; // rows moved down one: to[i] == from[i - 1]
    while (qDown - 2 >= p && rowsEqual(to, qDown - 1, from, qDown - 2))
        --qDown;
    int qUp = kRows - 1; // rows moved up one: to[i] == from[i + 1], the last row new
    while (qUp - 1 >= p && rowsEqual(to, qUp - 1, from, qUp))
        --qUp;
    const int cost0 = 2 * (q0 - p);
    const int costDown = qDown - p >= 1 ? 2 * (qDown - p) - 1 : kRows * 4;
    const int costUp = 2 * (qUp - p) + 1;
    c.at = p;
    if (cost0 <= costDown && cost0 <= costUp) {
        c.before = rowsOf(from, p, q0);
        c.after = rowsOf(to, p, q0);
    } else if (costDown <= costUp) {
        c.before = rowsOf(from, p, qDown - 1);
        c.after = rowsOf(to, p, qDown);
        c.dropped = {rowOf(from, kRows - 1)};
    } else {
        c.before = rowsOf(from, p, qUp + 1);
        c.after = rowsOf(to, p, qUp);
        c.added = {rowOf(to, kRows - 1)};
    }
    return c;
}

bool TableChange::changesValues() const {
    if (before.size() != after.size()) return true;
    for (size_t k = 0; k < before.size(); ++k)
        if (!sameValues(before[k], after[k])) return true;
    return false;
}

void TableChange::redo(TicTable& t) const { replaceBlock(t, at, int(before.size()), after, added); }

void TableChange::undo(TicTable& t) const {
    replaceBlock(t, at, int(after.size()), before, dropped);
}

int pageOfRow(const TicTable& t, int row) {
    int page = 0;
    for (int i = 0; i <= std::min(row, kRows - 1); ++i)
        page += int(isTrueText(t.Nxt[size_t(i)])) - int(isTrueText(t.Prv[size_t(i)]));
    return page;
}

// One recorded step.  It is pushed after the edit has been made, so its
// first redo, which the stack runs on the push, has nothing to do.
class TableStep : public QUndoCommand {
  public:
    TableStep(EditHistory& h, TableChange c, int rowBefore, int rowAfter, int typedCell,
              const QString& what)
        : QUndoCommand(what), h_(h), change_(std::move(c)), rowBefore_(rowBefore),
          rowAfter_(rowAfter), typedCell_(typedCell) {}

    void undo() override { h_.apply(change_, true, rowBefore_); }
    void redo() override {
        if (std::exchange(pushed_, false)) return;
        h_.apply(change_, false, rowAfter_);
    }
    int id() const override { return typedCell_ ? 1 : -1; }
    // Keystrokes in one cell of one row: the later ones join the first.
    bool mergeWith(const QUndoCommand* other) override {
        const auto* o = static_cast<const TableStep*>(other);
        const TableChange& n = o->change_;
        if (o->typedCell_ != typedCell_ || o->rowBefore_ != rowAfter_ || n.at != change_.at ||
            n.before.size() != 1 || change_.after.size() != 1 || change_.before.size() != 1 ||
            n.after.size() != 1)
            return false;
        change_.after = n.after;
        rowAfter_ = o->rowAfter_;
        setObsolete(change_.before == change_.after);
        return true;
    }

  private:
    EditHistory& h_;
    TableChange change_;
    int rowBefore_, rowAfter_, typedCell_;
    bool pushed_ = true;
};

EditHistory::EditHistory(Session& s) : s_(s), baseline_(std::make_unique<TicTable>()) {
    stack_.setUndoLimit(0); // no limit: the history lasts one edit session
}

EditHistory::~EditHistory() = default;

void EditHistory::begin() {
    stack_.clear();
    *baseline_ = s_.tic;
    active_ = true;
}

void EditHistory::end() {
    stack_.clear();
    active_ = false;
}

void EditHistory::record(const QString& what, int rowBefore, int typedCell) {
    if (!active_ || running_) return;
    TableChange c = TableChange::between(*baseline_, s_.tic);
    if (c.empty() || !c.changesValues()) return;
    c.redo(*baseline_); // the baseline is now the table, at the cost of the changed rows
    stack_.push(new TableStep(*this, std::move(c), rowBefore, s_.g.CursorIndex, typedCell, what));
}

void EditHistory::settlePending() {
    const TableChange c = TableChange::between(*baseline_, s_.tic);
    if (c.empty()) return;
    if (c.changesValues()) {
        const int row = s_.g.CursorIndex;
        record(QStringLiteral("Change"), row);
    } else {
        c.undo(s_.tic);
    }
}

void EditHistory::apply(const TableChange& c, bool back, int row) {
    back ? c.undo(s_.tic) : c.redo(s_.tic);
    back ? c.undo(*baseline_) : c.redo(*baseline_);
    rowToShow_ = row;
}

void EditHistory::showNoted(int pageBefore) {
    const int row = std::exchange(rowToShow_, -1);
    if (row < 0) return;
    adobeF::ShowRowAt(s_, row, pageOfRow(s_.tic, row) - pageBefore);
}

void EditHistory::undo() {
    if (!active_ || running_) return;
    settlePending();
    if (!stack_.canUndo()) return;
    const int page = pageOfRow(s_.tic, s_.g.CursorIndex);
    running_ = true;
    stack_.undo();
    running_ = false;
    showNoted(page);
}

void EditHistory::redo() {
    if (!active_ || running_) return;
    settlePending();
    if (!stack_.canRedo()) return;
    const int page = pageOfRow(s_.tic, s_.g.CursorIndex);
    running_ = true;
    stack_.redo();
    running_ = false;
    showNoted(page);
}

namespace adobeF {

namespace {
int scopeDepth = 0; // one GUI thread: the scopes open now
}

EditScope::EditScope(Session& s, QString what)
    : s_(s), what_(std::move(what)), rowBefore_(s.g.CursorIndex), outer_(scopeDepth == 0) {
    ++scopeDepth;
}

EditScope::~EditScope() {
    --scopeDepth;
    if (outer_ && s_.history) s_.history->record(what_, rowBefore_);
}

void CellTyped(Session& s, const QString& field) {
    static const QStringList cells = {"Text1", "Text2", "Text4", "Text7", "Text9", "Text10"};
    const int cell = int(cells.indexOf(field)) + 1;
    if (cell == 0 || !s.history || scopeDepth > 0) return;
    // The cell and its row name the step, so that typing on goes into it.
    s.history->record(QStringLiteral("Type"), s.g.CursorIndex,
                      cell * (TicTable::kRows + 1) + s.g.CursorIndex + 1);
}

void UndoB_Click(Session& s) {
    if (s.history) s.history->undo();
}

void RedoB_Click(Session& s) {
    if (s.history) s.history->redo();
}

} // namespace adobeF

} // namespace mv
