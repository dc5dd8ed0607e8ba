#pragma once
// The logic of sheet window 2, "AdobeF2" (caption "Sheet 2"): a
// second PDF of the song on a second monitor, driven by the same map as
// sheet window 1.  Its cursor, scroll and pages follow window 1 in the
// operations of navigation, the play loop, the readouts and edit mode; what
// lives here is its own: opening, the viewer's shift per page (VScroll2
// "Adjust PDF"), the relative width drag, and the screen it stands on.
//
// When the second PDF has fewer pages than the first, its viewer stays on
// its last page while PageNR goes on counting (the viewer is never read
// back, and PageNR keeps the per-page shifts in step with window 1).  A turn
// back then turns its viewer back at once, so it stays behind by the pages
// it could not follow until it reaches its first page; song loading and the
// start of a play put both windows on page 1 again.

#include <QList>
#include <QString>

namespace mv {

struct Session;

// Wires VScroll2_Change to VScroll2 and to the text of PDFOffset (not while
// the opening reads "AdobeF2.ini").  Once.
void installSheetTwo(Session& s);

// The six steps of the opening, PageNR "" first: "AdobeF2.ini" (when there
// is one; its Offset applies once VScroll2 has its PDF value), VScroll2
// from PDFTop, the height from the screen, the viewer and carrier widths
// from the strip's anchor, the cursor and the viewer from window 1's.
// A PDFTop outside -5000..5000 is a Failure after step 1 (the file's texts
// stand).
void openSheetTwo(Session& s);

// The viewer's top inside the carrier = VScroll2 + PDFOffset; PDFTop and
// the MapHeaderLines slot of the page on show (PageNR rounded) take the
// slider's value.  A PageNR outside 0..36 is failure 9 after the viewer has
// moved.
void VScroll2_Change(Session& s);

// A press of any button on the window's free surface at x (twips).
void sheetTwoPress(Session& s, double x);
// A move to x with the right button held: the strip, the window, the
// carrier, the viewer and the cursor move by x - Sheet2DragX; a viewer
// narrower than 1000 doesn't shrink further.
void sheetTwoAdjustAll(Session& s, double x);

// A screen as the window remembers it: Qt's name (X screens of one server
// may all be called "screen"), its place in the list of screens and size.
struct ScreenRef {
    QString name;
    int index = 0;
    int width = 0, height = 0; // pixels
    bool operator==(const ScreenRef&) const = default;
};

// The index in `screens` of the screen to open on: the same name and size
// (the same index first when several match), else the same name at the same
// index; -1 when none matches (the primary screen then).
int chooseScreen(const ScreenRef& remembered, const QList<ScreenRef>& screens);

// "AdobeF2.screen" beside "AdobeF2.ini": name, index, width, height, one a
// line.  Reading a missing or broken file gives an empty name.
ScreenRef readSheetTwoScreen(const Session& s);
void writeSheetTwoScreen(Session& s, const ScreenRef& r);

} // namespace mv
