#pragma once
// Whether a window and everything in it can be seen whole: each visible
// control's caption or text fits the control at its font, across and down
// (labels, buttons, fields, spin and combo boxes, group-box titles; a
// wrapped label at the height its lines take), no visible control lies
// outside its window or over a sibling, no menu title hides behind the menu
// bar's overflow, and the window's frame lies inside the free part of its
// screen.  Shared by the action script's `checkfit` and the tests.

#include <QStringList>

class QWidget;

namespace mv {

// The width in pixels the caption of a label or button needs at its font,
// as the fit check measures it (its margins included); 0 for other widgets,
// for a word-wrapped label (its width is free, its height follows) and for
// an empty caption.  Places that size controls to their captions
// use it, so that they and the check agree.
int captionWidth(const QWidget* w);

// One line per fault, "<window>.<control>: <what is cut>"; empty when
// everything fits.  A hidden window has no faults.  Children of a scroll
// area count as inside when they lie within its scrolled surface in the
// directions it can scroll.  Text shown elided counts as cut.  Siblings
// may share a line of pixels (stacked frames); more they may overlap only
// on a surface larger than its window by design (the
// property "mvClipped") or when one lies above the others on purpose, as
// the cursor and the overlay do (the property "mvAbove").
QStringList fitProblems(const QWidget* window);

} // namespace mv
