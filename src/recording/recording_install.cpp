#include "recording/recording_install.h"

#include "core/session_state.h"
#include "recording/edit_history.h"
#include "recording/edit_mode.h"
#include "recording/recorder.h"
#include "recording/tic_ops.h"
#include "sheet/sheet_window.h"

#include <QPushButton>

namespace mv {

void installRecording(Session& s) {
    s.adobeF.searchBack = [&s] { adobeF::SearchBack(s); };
    s.clock.every(100, [&s] { adobeF::Timer1_Timer(s); });
    // The history lives while edit mode is on: the Edit light.
    s.history = std::make_shared<EditHistory>(s);
    s.adobeF.Shape2.always([&s] { s.adobeF.Shape2.get() ? s.history->begin() : s.history->end(); });
}

void installRecordingControls(Session& s, SheetWindow& w) {
    using namespace adobeF;
    w.handlers[QStringLiteral("Command2")] = [&s] { Command2_Click(s); };   // "Record"
    w.handlers[QStringLiteral("Command12")] = [&s] { Command12_Click(s); }; // "Unlock"
    w.handlers[QStringLiteral("Command9")] = [&s] { Command9_Click(s); };   // "Insert"
    w.handlers[QStringLiteral("Command10")] = [&s] { Command10_Click(s); }; // "Delete"
    w.handlers[QStringLiteral("AdjB")] = [&s] { AdjB_Click(s); };           // "Adj"
    w.pressHandlers[QStringLiteral("Command7")] = [&s](int b) { Command7_MouseDown(s, b); };
    w.pressHandlers[QStringLiteral("Command13")] = [&s](int b) { Command13_MouseDown(s, b); };
    w.pressHandlers[QStringLiteral("Command5")] = [&s](int b) { Command5_MouseDown(s, b); };
    w.pressHandlers[QStringLiteral("Command8")] = [&s](int b) { Command8_MouseDown(s, b); };
    w.pressHandlers[QStringLiteral("Label4")] = [&s](int b) { Label4_MouseDown(s, b); }; // "TIC"
    w.cursorMoved = [&s](bool left, double x, double y) { Picture1_MouseMove(s, left, x, y); };
    w.cursorReleased = [&s] { Picture1_MouseUp(s); };
    w.fieldTyped = [&s](const QString& field) { CellTyped(s, field); };
    w.handlers[QStringLiteral("UndoB")] = [&s] { UndoB_Click(s); }; // "Undo"
    w.handlers[QStringLiteral("RedoB")] = [&s] { RedoB_Click(s); }; // "Redo"
    // The buttons say whether there is something to undo or redo.
    if (!s.history) return;
    QUndoStack& stack = s.history->stack();
    auto* undo = w.findChild<QPushButton*>(QStringLiteral("UndoB"));
    auto* redo = w.findChild<QPushButton*>(QStringLiteral("RedoB"));
    undo->setEnabled(stack.canUndo());
    redo->setEnabled(stack.canRedo());
    QObject::connect(&stack, &QUndoStack::canUndoChanged, undo, &QWidget::setEnabled);
    QObject::connect(&stack, &QUndoStack::canRedoChanged, redo, &QWidget::setEnabled);
}

} // namespace mv
