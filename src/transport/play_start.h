#pragma once
// Starting plays.  WindowsMediaPlayer1_MouseDown is the one way to start a
// cursor play (the player's control area, the sheet's Play button, the
// panel, a client's &START/): the checks, the count-off on the sheet, the
// music, the first-note delay, then the play loop; it returns when the play
// has ended.  A press at X 30 or more on the control area stops instead.
// Manual play starts the music alone.

namespace mv {

struct Session;

void WindowsMediaPlayer1_MouseDown(Session& s, int button, int shift, double x, double y);
// "Manual Play" (also "M Play" of the sheet and the panel's Manual Play).
void Command8_Click(Session& s);
// The panel's Cursor Play / Stop Play and Manual Play / Stop Play buttons.
void BControl_Command6_Click(Session& s);
void BControl_Command1_Click(Session& s);

// Installs WindowsMediaPlayer1_MouseDown into the session.
void installPlayStart(Session& s);

} // namespace mv
