#pragma once
// Making a map by clicking along with the music.  Record streams the clicks
// of sheet window 1 to the song's map file as they come; Append writes them
// into the tic table after the row on show, in edit mode.  Both take their
// clicks from the record sampler, which Timer1 runs every 100 ms.

namespace mv {

struct Session;

namespace adobeF {

// "Record": starts a recording (the music starts, the map is emptied and held
// open), or ends the one that runs.  Refused without a selected song, over a
// running play, in edit mode ("You should exit the edit mode before starting
// a new recording.") and on a locked map ("Recording is locked. Click the
// Unlock button before you can record over this file").  A map that cannot be
// opened for writing is said in a message and nothing starts.
void Command2_Click(Session& s);
// "Unlock": switches the lock light; changes no file.
void Command12_Click(Session& s);
// "Append", any button: in edit mode starts the music at the time of the row
// on show (the sum of the tics before it) and takes the following clicks
// into the rows after it; a second press ends that.  Outside edit mode: "You
// should be in edit mode at the append cursor position."
void Command13_MouseDown(Session& s, int button);
// Ends an append that runs (the music stops) and makes the rows it took one
// undo step, "Append", undone with the row on show when it began.  Nothing
// when no append runs.
void endAppend(Session& s);

// One tick of Timer1: nothing at all while sheet window 2 is visible; the
// overlay's share; then, recording or appending, takes at most one click.
// A click counts when it is a fresh left press on the sheet, not on the pixel
// of the click taken before and left of the button strip.  Its time is taken
// from the press's own moment, so every tic is exact to the millisecond
// whatever the 100 ms of the sampler.
void Timer1_Timer(Session& s);

} // namespace adobeF

} // namespace mv
