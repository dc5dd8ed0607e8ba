#include "recording/recording_install.h"

#include "core/session_state.h"
#include "recording/edit_mode.h"
#include "recording/recorder.h"
#include "recording/tic_ops.h"
#include "sheet/sheet_window.h"

namespace mv {

void installRecording(Session& s) {
    s.adobeF.searchBack = [&s] { adobeF::SearchBack(s); };
    s.clock.every(100, [&s] { adobeF::Timer1_Timer(s); });
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
}

} // namespace mv
