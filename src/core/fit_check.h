#pragma once
// Whether a window and everything in it can be seen whole: each visible
// control's caption fits the control at its font, no visible control lies
// outside its window, no menu title hides behind the menu bar's overflow,
// and the window's frame lies inside the free part of its screen.  Shared
// by the action script's `checkfit` and the tests.

#include <QStringList>

class QWidget;

namespace mv {

// One line per fault, "<window>.<control>: <what is cut>"; empty when
// everything fits.  A hidden window has no faults.  Children of a scroll
// area count as inside when they lie within its scrolled surface in the
// directions it can scroll.  Text shown elided counts as cut.
QStringList fitProblems(const QWidget* window);

} // namespace mv
