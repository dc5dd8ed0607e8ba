#pragma once
// The cursor play loop: the last stage of a cursor play.  It reads the map
// open as file number 1 line by line (the play read), waits out each tic on
// the tick clock, scaled by "Tic Offset" (Text5) and divided by Speed, then
// writes the readouts, places the cursor, sets the scroll value and turns
// pages on both sheet windows.  Open loop: the player's position is never
// read.
//
// Entry: the map is open as file 1, the music has been started, and
// PlayStartTick holds the base of the first tic.  The loop leaves at the end
// of the map, at StopRequested (seen after a tic's move) or CursorPlaySwitch
// (seen at the top of a pass), then hides the overlay, waits 3 s (day clock
// below 80000), writes "0" to the readouts, goes one page back, hides the
// cursors and gives the focus to the main window.  Any failure (a read past
// the end where no test is made, a strict conversion of Speed or ZoomThis, a
// scroll value out of range) ends the loop silently: file 3 is closed and
// none of the steps after the loop run.  File 1 stays open.

namespace mv {

struct Session;

void playLoop(Session& s);

} // namespace mv
