#pragma once
// The cursor of sheet window 1 and its readout fields.  The readouts and the
// tic table are one: every change of X, Y, TIC, SCR, NXT or PRV stores the
// field's whole text in the row under CursorIndex, whoever made the change;
// CNT moves CursorIndex.  A change of SCR shows the cursor red ("look here").

namespace mv {

struct Session;
struct CursorPicture;

// Wires the change behaviour of the readout fields of sheet window 1.  Call
// once, before anything writes them.
void installReadoutFields(Session& s);

// Horizontal place of the cursor of sheet window 1 for x = X + XOffset,
// corrected for the zoom in ZoomIt (the page shrinks about its middle); sets
// Picture1.Left and returns the corrected x.  At zoom 100 x is unchanged.  A
// zoom that makes the correction divide by 0 (900) leaves x as given.
double PosLeft(Session& s, double x);
// Vertical place for y = (Y + YOffset) * ZoomIt / 100; sets Picture1.Top and
// returns the corrected y.  A zoom of 10000 leaves y as given.
double PosTop(Session& s, double y);

// Shows the red form: to the front, height 495, visible whatever NoCursor
// says, events run, ScrollMarkPending set; the same on window 2 if visible.
void showRedCursor(Session& s);
// Returns one red cursor picture to the normal form: height 135, the plain
// image.  A normal one stays as it is.
void toNormalForm(CursorPicture& p);
// Returns a red cursor to the normal form (height 135), on window 2 too if
// it is visible.
void takeRedMarkBack(Session& s);

// The second sheet's adjustment for the page on show: with NoPDFAdj off and
// an entry in MapHeaderLines for its PageNR, its VScroll2 takes that entry's
// number.  A PageNR that rounds outside 0..36 is failure 9.
void pageAdjustment(Session& s);

} // namespace mv
