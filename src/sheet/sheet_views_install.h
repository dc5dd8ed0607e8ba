#pragma once
// Installs sheet window 2 ("AdobeF2"), the button panel ("BControl") and
// the touch overlay ("Form1") with their timers and the main window's hooks
// that reach them: showing window 2 (showSheet2), the reload after a missing
// second sheet, the panels' check boxes, the overlay's share of Timer1,
// Timer3, and the focus rule of Scrn(0)/Scrn(1).  Sheet window 1 itself is
// defined by the program; its opening raises the overlay and shows the
// horizontal panel here.

#include <QWidget>
#include <functional>

namespace mv {

struct Session;
class WindowRegistry;
class PdfViewer;

struct SheetViewHooks {
    // Makes window 2's viewer: the widget, and the viewer as the logic sees
    // it through `viewer`.
    std::function<QWidget*(PdfViewer*& viewer)> makeViewer;
    // The panel's "Manual Play" / "Stop Play" and "Cursor Play" / "Stop Play".
    std::function<void()> manualPlay, cursorPlay;
};

void installSheetViews(Session& s, WindowRegistry& windows, SheetViewHooks hooks);

} // namespace mv
