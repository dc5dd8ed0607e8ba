#pragma once
// Pieces both sheet windows are made of: the cursor picture, placing a
// widget by twips, and a pixel rectangle in twips.

#include "sheet/sheet_geometry.h"

#include <QRect>
#include <QWidget>

namespace mv {

struct CursorPicture;

// The cursor picture Picture1: the plain marker, or the solid red square of
// a scroll change.
class CursorWidget : public QWidget {
  public:
    CursorWidget(CursorPicture& p, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent*) override;

  private:
    CursorPicture& p_;
};

// Places `w` at left, top (twips); a negative width or height keeps that
// side of the widget as it is.
void placeTwips(QWidget* w, double left, double top, double width = -1, double height = -1);

// A rectangle in pixels as twips.
TwipRect twipsOf(const QRect& r);

} // namespace mv
