#pragma once
// The touch panels of the sheet: the floating button panel BControl
// ("Button Control") and the see-through overlay Form1 that turns presses on
// the music into page turns.  Neither turns or scrolls by itself: both call
// the navigation operations.  The panel's two play buttons belong to play
// start (BControl_Command1_Click, BControl_Command6_Click); their release
// and press timing is here.
//
// The overlay is raised every 50 ticks of Timer1 (5 s) while ShowB or
// ShowVB is on and OverlayArmed is -1, at the sheet window's opening and at
// every pass of a cursor play; OverlayTicks steers the next raising:
//   1  nearly 5 s from now (a panel press, About, release of Disp List)
//   40 one second from now (song loading, leaving record or edit)
//   51 at the next tick (a release on the panel or the overlay, the setup
//      panel closed)

namespace mv {

struct Session;

// The panel's two layouts, in twips.
struct PanelLayout {
    double width, height;
    struct Place {
        const char* name;
        double left, top, width, height;
    };
    Place buttons[7];
};
const PanelLayout& panelLayout(bool vertical);

// The clicks of the setup's "Show Horizontal Buttons" and "Show Vertical
// Buttons": the one turned on shows the panel in its layout and turns the
// other off; turned off, the panel goes.
void ShowB_Click(Session& s);
void ShowVB_Click(Session& s);

// Timer3 (100 ms): the visible panel stays below sheet window 1 (ShowB) or
// right of it at top 500.
void Timer3_Timer(Session& s);

// The overlay's share of a Timer1 tick (window 2 hidden): counts
// OverlayTicks and at 50 raises or hides the overlay.
void overlayTimerWork(Session& s);

// Raises the overlay over sheet window 1: with `inset` (Timer1) 400 twips
// below its top and 800 shorter, else over its whole height.
void raiseOverlay(Session& s, bool inset);

// Which panel button a press on the overlay at x, y (twips, the overlay's
// own) stands for, given the overlay's width: "Command3" (the top zone:
// above a sixth of the width), "Command4" (the right half), "Command5".
const char* touchZone(double x, double y, double width);
// A press and a release on the overlay.
void Form1_MouseDown(Session& s, double x, double y);
void Form1_MouseUp(Session& s);

// The panel's buttons: "Command2" Manual Scroll, "Command3" Auto Scroll,
// "Command4" Next, "Command5" Previous (nothing with Foot Control on),
// "Command17" Disp List (`showSongList` brings the main window's list back).
void BControl_Click(Session& s, const char* name);
// Presses and releases of the buttons Command1..Command6 and Command17.
void BControl_MouseDown(Session& s, const char* name);
void BControl_MouseUp(Session& s, const char* name);
// With Foot Control on, Command4 and Command5 act on receiving the focus;
// true when the button acted (the focus then goes to Command17).
bool BControl_GotFocus(Session& s, const char* name);

} // namespace mv
