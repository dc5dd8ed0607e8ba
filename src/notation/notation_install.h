#pragma once
// The notation viewer, wired into the program: the hooks through which song
// loading, play start, the fade, start-up and shut-down reach the viewer,
// and the mode switches of the main window (CNWC, LoadPDF, "Load Sheet 1",
// "Load Sheet 2").

namespace mv {

struct Session;
struct StartupHooks;
class NotationDriver;

// Installs the hooks over `driver`, which must outlive the session's use of
// them, and when given start-up's viewer steps.  Activations and keys of
// play start and the fade that fail are passed over there.  Call once,
// after installSetupScreen.
void installNotation(Session& s, NotationDriver& driver, StartupHooks* startup = nullptr);

} // namespace mv
