#pragma once
// The windows on a Wayland desktop, where a window cannot place itself: the
// compositor decides where a window stands and ignores moves.  The nearest
// thing to what X11 allows, said once on stderr at the first such window:
// sheet window 2 goes full screen on the monitor it remembers by name (its
// screen chosen before it is shown, QWindow::setScreen, then full screen);
// the button panel becomes a tool window over sheet window 1, which the
// compositor places.  Everything else (the overlay, a child of sheet window
// 1, and every dialog) works as on X11.  On any other platform this does
// nothing.

namespace mv {

struct Session;
class WindowRegistry;

// True when the program's windows are Wayland windows.
bool onWayland();

// Wraps the making of "AdobeF2" and "BControl"; call after they are defined.
void installWaylandWindows(Session& s, WindowRegistry& windows);

} // namespace mv
