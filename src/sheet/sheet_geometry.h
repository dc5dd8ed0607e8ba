#pragma once
// The geometry rules of sheet window 1 that live in the setup fields:
// ZoomIt (main window) and ZoomThis (sheet) mirror each other and a zoom
// above 25 goes to the viewer; PDFLeftD is copied to PDFLeftDefault.  The
// window's own reactions (size from PDFHeight/PDFWidth, carrier from
// PDFLeft) are in SheetWindow.

#include <vector>

namespace mv {

struct Session;

// A place on the screen, in twips.
struct TwipRect {
    double left = 0, top = 0, width = 0, height = 0;
    double right() const { return left + width; }
    double bottom() const { return top + height; }
};

// `r` made no larger than `screen` and moved inside it.
TwipRect fitInto(TwipRect r, const TwipRect& screen);

// `want` kept on the screens: fitted into the screen it overlaps most; when
// it overlaps none (a place stored on a screen that is gone), `fallback`
// (with `want`'s size when it has none) fitted into the first screen.  No screens: `want` as it is.
TwipRect placeOnScreens(TwipRect want, const std::vector<TwipRect>& screens,
                        const TwipRect& fallback);

// Where a window of `width` x `height` opens on `screen` beside the windows
// in `taken` (each clipped to the screen): the widest strip of the screen
// left or right of all of them, when it is at least `minWidth` wide (the
// window then takes at most its width); else over `cover`.  Fitted into
// the screen in the end.
TwipRect placeBeside(double width, double height, const TwipRect& screen,
                     const std::vector<TwipRect>& taken, double minWidth, const TwipRect& cover);

// Where sheet window 1 opens on `screen` (the part of the screen free of
// panels).  Top 1 and the screen's height; with "AdobeFx.ini" read
// (`placeFileRead`) the top and left it gave (Session::adobeF) and the
// setup's PDF Height and PDF Width, narrowed to the room right of that left
// edge when the room holds half the width or more; without it the built-in
// width, beside the main window at its place and size, so that neither
// hides the other.  Fitted into the screen in the end.
TwipRect sheetOnePlace(const Session& s, bool placeFileRead, const TwipRect& screen);

// Wires the change behaviours.  Call once.
void installSheetGeometry(Session& s);

// The whole part of ZoomIt for the viewer, or -1 when the text is not one
// clean number (then the viewer keeps its zoom: "30x" zooms nothing).
int viewerZoomOf(const Session& s);

} // namespace mv
