#pragma once
// Notation mode: the NWC Viewer takes the place of the sheet window and is
// driven by keys.  These are its mode switches and key sequences, over a
// NotationDriver; the waits between keys go through the session's event
// pump.

#include <QString>

namespace mv {

struct Session;
class NotationDriver;

// The change of "Control NWCViewer" (CNWC), whoever made it.  Turned on:
// "Pause" (Command10) is hidden; if the program file in Text3 exists, sheet
// mode is turned off and the viewer is started (NWCId 0) or brought to the
// front.  Turned off with a viewer started: it is closed by Enter, Alt+F, X
// and NWCId becomes 0.  Failures of the driver are passed over: the click
// ends where it failed.  Where the desktop cannot drive another program,
// turning it on says so in a message and turns it off again; sheet mode
// stays as it was.
void CNWC_Click(Session& s, NotationDriver& d);

// "Load Sheet 1" (Command16): back to sheet mode with sheet window 1.
void Command16_Click(Session& s);
// "Load Sheet 2" (Command17 and the File menu's LA2): back to sheet mode
// with sheet window 2; `fromMenu` also keeps the overlay down.
void Command17_Click(Session& s, bool fromMenu = false);

// Opens the song `shortName` (the cleaned name without extension, no
// folder) in the viewer NWCId, with the waits the viewer needs between the
// keys; zooms it to 50% when "Zoom NWC to 50%" and "Load pdf" are both on.
// A failure (the viewer has gone) ends the sequence and reaches the caller.
void openSongInViewer(Session& s, NotationDriver& d, const QString& shortName);

// Closes the viewer NWCId at shut-down: each of Enter, Alt+F, X after
// activating it and half a second's wait, whatever the time of day.  A
// failure reaches the caller.
void closeViewer(Session& s, NotationDriver& d);

} // namespace mv
