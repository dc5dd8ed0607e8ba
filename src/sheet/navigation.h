#pragma once
// Page and scroll navigation of sheet window 1: the one way to turn and
// scroll, for buttons, keys, panels, touch zones and network tokens alike.
// A page is read in two positions: the top (V = ScrollOffset + Text8) and
// the half page (AutoScroll).  In edit mode (the Edit light on) Next PG and
// Prev PG toggle the page flags of the current tic instead.
//
// Each of the four button operations runs under one failure handler: a
// failure (V out of 0..32767, a PageNR beyond 36, the focus given to a hidden
// window) shows its description in a message and ends the operation with
// what was done standing.

#include <QChar>

namespace mv {

struct Session;

// Installs the operations into Session::adobeF_Command3_Click, ..._Command4,
// ..._Command6 and ..._Command14.
void installNavigation(Session& s);

void Command3_Click(Session& s);  // "Next PG"
void Command4_Click(Session& s);  // "Prev PG"
void Command14_Click(Session& s); // "Auto Scroll": the smooth scroll to the half page
void Command6_Click(Session& s);  // "Manual Scroll": the jump to the half page
// "Jump": walks the tic table forward to the next scroll change or page flag,
// applying every tic passed.  A failure ends the walk where it stands, with a
// message.
void JumpNext(Session& s);
// A press on JumpB: in edit mode the left button (1) walks forward; any other
// button searches back (installed by edit mode; nothing without it).
void JumpB_MouseDown(Session& s, int button);

// The sheet's page and scroll keys, one row per operation: the characters
// that run it, exact (capitals do nothing), and the heading of its topic in
// the help texts.  "/" and "?" are one key, with and without Shift.  The
// space bar runs Auto Scroll as the activation of the focused Command14,
// not through sheetKeyPress; it is listed so that help and keys agree.
struct SheetKeyRow {
    const char* helpTopic; // "NEXT PAGE"
    const char* keys;      // "n/?"
    void (*operation)(Session&);
};
struct SheetKeyTable {
    SheetKeyRow rows[4];
};
const SheetKeyTable& sheetKeys();

// The key tests of the sheet window, its Command14 and Command1 and the main
// window, by the table above.  True when the key was one of them.
bool sheetKeyPress(Session& s, QChar key);

} // namespace mv
