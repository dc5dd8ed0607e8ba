#include "recording/tic_ops.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "recording/edit_history.h"
#include "recording/edit_mode.h"

namespace mv::adobeF {

namespace {

bool editMode(const Session& s) { return s.adobeF.Shape2.get(); }

void copyRow(TicTable& t, int to, int from) {
    for (auto* col : {&t.Tic, &t.X, &t.Y, &t.Scr, &t.Nxt, &t.Prv})
        (*col)[to] = (*col)[from];
}

// The operations' own failure handler: the failure's description.
template <class Fn> void guarded(Session& s, Fn fn) {
    try {
        fn();
    } catch (const Failure& f) {
        s.messages.msgBox(f.description());
    }
}

void halveTic(Session& s) {
    s.g.TicAdjust = roundLong(s.adobeF.Text4.value() / 2);
    s.adobeF.Text4.setNumber(s.g.TicAdjust);
}

void addBack(Session& s) { s.adobeF.Text4.setNumber(s.adobeF.Text4.value() + s.g.TicAdjust); }

} // namespace

void Command9_Click(Session& s) {
    if (!editMode(s)) return;
    EditScope edit(s, QStringLiteral("Insert"));
    guarded(s, [&] {
        TicTable& t = s.tic;
        const int c = s.g.CursorIndex;
        if (t.Tic[c].isEmpty()) return;
        if (c >= TicTable::kLastRow) {
            s.messages.msgBox(QStringLiteral("There is no room after the last row of the table."));
            return;
        }
        for (int i = TicTable::kLastRow; i > c; --i)
            copyRow(t, i, i - 1);
        const QString half = numberText(roundLong(val(t.Tic[c]) / 2));
        t.Tic[c] = half;
        t.Tic[c + 1] = half;
        s.adobeF.Text4.setText(half);
        s.messages.msgBox(QStringLiteral("New Time Inserted. The time was split between the two "
                                         "cursor positions. You should now edit the new entry"));
    });
}

void Command10_Click(Session& s) {
    if (!editMode(s)) return;
    EditScope edit(s, QStringLiteral("Delete"));
    TicTable& t = s.tic;
    for (int i = s.g.CursorIndex; i < TicTable::kLastRow; ++i)
        copyRow(t, i, i + 1);
    for (auto* col : {&t.Tic, &t.X, &t.Y, &t.Scr, &t.Nxt, &t.Prv})
        (*col)[TicTable::kLastRow].clear();
    s.messages.msgBox(QStringLiteral("TIC Deleted"));
}

void AdjB_Click(Session& s) {
    if (!editMode(s)) return;
    EditScope edit(s, QStringLiteral("Adj"));
    guarded(s, [&] {
        halveTic(s);
        StepForward(s);
        addBack(s);
    });
}

void Label4_MouseDown(Session& s, int button) {
    EditScope edit(s, button == 1 ? QStringLiteral("Halve") : QStringLiteral("Add back"));
    guarded(s, [&] { button == 1 ? halveTic(s) : addBack(s); });
}

void Picture1_MouseMove(Session& s, bool leftDown, double x, double y) {
    SheetOneState& f = s.adobeF;
    if (s.velmor.ZoomIt.value() != 100) {
        s.messages.msgBox(QStringLiteral("Change to 100 percent in setup before trying to edit"));
        return;
    }
    s.g.CursorDragging = kTrue;
    if (!leftDown || !editMode(s)) return;
    s.g.LastMouseX = x;
    s.g.LastMouseY = y;
    f.Picture1.Left.set(x * 15 - f.Left - 100);
    f.Text1.setNumber(f.Picture1.Left.get());
    f.Picture1.Top.set(y * 15 - f.Top - 500);
    f.Text2.setNumber(f.Picture1.Top.get());
}

void Picture1_MouseUp(Session& s) {
    s.g.CursorDragging = 0;
    // The whole drag is one step, recorded when the button comes up.
    if (editMode(s) && s.history) s.history->record(QStringLiteral("Drag"), s.g.CursorIndex);
}

} // namespace mv::adobeF
