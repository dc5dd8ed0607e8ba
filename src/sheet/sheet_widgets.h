#pragma once
// Pieces both sheet windows are made of: the cursor picture, placing a
// widget by twips, and a pixel rectangle in twips.

#include "sheet/sheet_geometry.h"

#include <QLabel>
#include <QRect>
#include <QWidget>

namespace mv {

struct CursorPicture;
struct Session;

// The small font of the sheet windows' strips: their places are fixed in
// twips, so their captions and fields do not follow the desktop's font.
QFont stripFont();

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

// The layers of a sheet window: the carrier Picture3, the viewer AcroPDF1
// on it (an empty widget when `viewer` is null) and the big number Text11
// with `text`, placed at left, top (twips) over the sheet.
struct SheetLayers {
    QWidget* picture3;
    QWidget* acroPDF1;
    QLabel* text11;
};
SheetLayers makeSheetLayers(QWidget* window, QWidget* viewer, const QString& text,
                            double text11Left, double text11Top);

// Gives the keyboard to a sheet window: raises and activates `window`, then
// puts its focus on `control` (none: the window keeps its own).  A hidden
// window is left alone.  With Foot Control on, the button panel "BControl",
// when it is the active window, keeps the keyboard (the foot switch works
// through its focus) and only the sheet's inner focus moves; with it off
// the panel is just buttons, and its Manual Play hands the keys on as the
// main window's does.  The window system may refuse the activation
// (Wayland): that is said once on standard error.
void giveKeys(const Session& s, QWidget* window, QWidget* control = nullptr);

// Whether a window can know its place on the screen: not on Wayland, where
// the stored places are then kept as they were.
bool windowPlaceKnown();

// Puts the frame of the window `w` at `topLeft` (pixels) once the window
// manager has framed it; a move made before lands it a border's width off.
// Nothing where windows cannot know their place.
void keepFramePlace(QWidget* w, QPoint topLeft);

// A rectangle in pixels as twips.
TwipRect twipsOf(const QRect& r);

// While `owner` lives, every stamped input event of the program (moves,
// releases, keys) refreshes Session::inputTime, so that the first sheet
// press after a busy spell already counts from its own moment.  Nothing
// under a virtual clock, which has nothing to do with the window system's.
void feedInputClock(Session& s, QObject* owner);

} // namespace mv
