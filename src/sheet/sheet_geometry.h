#pragma once
// The geometry rules of sheet window 1 that live in the setup fields:
// ZoomIt (main window) and ZoomThis (sheet) mirror each other and a zoom
// above 25 goes to the viewer; PDFLeftD is copied to PDFLeftDefault.  The
// window's own reactions (size from PDFHeight/PDFWidth, carrier from
// PDFLeft) are in SheetWindow.

namespace mv {

struct Session;

// Wires the change behaviours.  Call once.
void installSheetGeometry(Session& s);

// The whole part of ZoomIt for the viewer, or -1 when the text is not one
// clean number (then the viewer keeps its zoom: "30x" zooms nothing).
int viewerZoomOf(const Session& s);

} // namespace mv
