#pragma once
// Edit mode: the only time a map is held in memory.  Entering reads the
// song's map into the tic table; leaving with the left button writes the
// table back over the file, with the right button throws it away.  The Step
// buttons put one row at a time on show, as a play would show that tic,
// through the readout fields that are also the table's editing fields.

namespace mv {

struct Session;

namespace adobeF {

// "Edit", pressed with `button` (2 right, anything else left).  Left: enters,
// or leaves saving the table; ignored over a running play unless an append
// runs; refused while recording ("You should complete the recording before
// trying to edit. Click record to end the session.").  Right: leaves without
// saving and stops the music, in any mode.  A map that cannot be written on
// leaving is said in a message and edit mode stays on with the table as it
// is, so no change is lost.
void Command7_MouseDown(Session& s, int button);

// "Step >" (left: StepForward, other: SearchForward) and "Step <" (left:
// StepBack, other: SearchBack).
void Command5_MouseDown(Session& s, int button);
void Command8_MouseDown(Session& s, int button);

// One row on, at most row 5000, in edit mode with a map.
void StepForward(Session& s);
// Rows on until one changes the scroll or turns a page; stops before a row
// whose Tic is 0 or empty (the end of the table), and at row 5000.  Works
// outside edit mode too, on whatever the table holds.
void SearchForward(Session& s);
// One row back, at least row 0 (row 0 is shown again, offsets added again).
void StepBack(Session& s);
// Rows back until one changes the scroll or turns a page; ends after showing
// row 0 when no such row comes first.
void SearchBack(Session& s);

// Puts `row` on show as a step to it shows it, without adding the offset
// fields and without changing the table: the readouts, the cursor, the
// scroll, and `pageTurns` page turns (forward when positive, back when
// negative).  Used where the row is chosen rather than stepped to (undo,
// the waveform's marks).  Edit mode only; a row outside 0..5000 is ignored.
void ShowRowAt(Session& s, int row, int pageTurns);

// File "Save": through the Edit button, so the map is written with the
// present zoom, left offset and volume; then the settings.
void SAV_Click(Session& s);

} // namespace adobeF

} // namespace mv
