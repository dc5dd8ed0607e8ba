#pragma once
// Changes to the row on show in edit mode: Insert splits it, Delete takes
// it out, Adj moves half of its time to the next row, the TIC caption halves
// and adds back by hand, and the cursor can be dragged to a new place.  They
// change the tic table only; the map file changes when edit mode is left
// with the left button.

namespace mv {

struct Session;

namespace adobeF {

// "Insert": the row on show becomes two rows, each with half its time
// (rounded, ties to even), page flags on both; "New Time Inserted. ...".
// Edit mode only.  A row without a Tic has nothing to split and is left
// alone; at row 5000, which has no row after it, nothing is inserted and
// "There is no room after the last row of the table." is said.  The half is
// taken in 32 bits, so long tics split too.
void Command9_Click(Session& s);
// "Delete": the row on show goes, the rows after it come up one; "TIC
// Deleted".  Edit mode only.
void Command10_Click(Session& s);
// "Adj": half of the row's time goes to the next row (halve, StepForward,
// add back).  Edit mode only.
void AdjB_Click(Session& s);
// A press on the caption "TIC": the left button halves the TIC field and
// keeps the half in TicAdjust; another button adds TicAdjust back.  In any
// mode.
void Label4_MouseDown(Session& s, int button);

// The pointer moved over the cursor picture, at x, y in screen pixels, with
// the left button held or not.  With a zoom other than 100: "Change to 100
// percent in setup before trying to edit" and nothing else.  In edit mode
// with the left button held the cursor follows the pointer and X and Y take
// its place.
void Picture1_MouseMove(Session& s, bool leftDown, double x, double y);
// A button released over the cursor picture: the drag has ended.
void Picture1_MouseUp(Session& s);

} // namespace adobeF

} // namespace mv
