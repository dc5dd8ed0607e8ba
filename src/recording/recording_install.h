#pragma once
// Recording and editing, wired into the program: Timer1 with the record
// sampler, the search back of the Jump button, and the controls of sheet
// window 1 that record, edit, step and change tics.

namespace mv {

struct Session;
class SheetWindow;

// Starts Timer1 (every 100 ms on the session's clock) and installs the
// hooks other subsystems call.  Call once.
void installRecording(Session& s);
// Connects the recording and editing controls of sheet window 1.
void installRecordingControls(Session& s, SheetWindow& w);

} // namespace mv
