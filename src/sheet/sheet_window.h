#pragma once
// Sheet window 1, "AdobeF" (caption "Sheet"): the carrier Picture3
// holding the PDF viewer, moved up by the scroll value V; the cursor
// Picture1 above it in the window's own coordinates; the button strip with
// the readout fields, laid out by AdjustAll from the left edge of VScroll1.
// All state lives in Session::adobeF; this class mirrors it and forwards
// presses to the handlers installed in `handlers`.

#include "core/input_time.h"
#include "core/observable.h"

#include <cstdint>

#include <QHash>
#include <QWidget>
#include <functional>
#include <initializer_list>
#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;
class QCheckBox;
class QMouseEvent;

namespace mv {

struct Session;

class SheetWindow : public QWidget {
    Q_OBJECT
  public:
    // `viewer` becomes AcroPDF1 inside the carrier (the window owns it).
    SheetWindow(Session& s, QWidget* viewer, QWidget* parent = nullptr);
    ~SheetWindow() override;

    // Lays out the strip from the left edge of VScroll1 (twips); nothing
    // happens below 1000.
    void AdjustAll();
    // The button strip's left edge shown: VScroll1Left, or less when the
    // screen has no room for the strip right of it (never below 1000).
    double stripLeft() const;
    // The width of the strip right of VScroll1's left edge, in twips.
    static constexpr double kStripWidth = 2210;
    // The strip's buttons beyond its fixed places: rows under Jump, Adj and
    // ASC, each a list of control names from left to right, every button at
    // least 495 twips wide and as wide as its caption.  A button made with
    // `button()` is added to the strip by adding its name here.
    static constexpr std::initializer_list<const char*> kAddedRows[] = {{"TightenB", "AuditionB"}};
    static constexpr double kAddedRowPitch = 300; // twips from row to row
    // Left edge of VScroll1 in twips.
    double scrollBarLeft() const;
    void setScrollBarLeft(double twips);

    // Presses of the strip's buttons go to these, by control name
    // ("Command15", "Command3", ...); a name without a handler does nothing.
    QHash<QString, std::function<void()>> handlers;
    // Controls that act on the mouse press rather than on the click, with
    // the button (1 left, 2 right, 4 middle): "Command7", "Command5",
    // "Label4", ...  A press on such a control runs no click handler.
    QHash<QString, std::function<void(int button)>> pressHandlers;
    // The pointer moved over the cursor picture (x, y in screen pixels as
    // the sheet's presses count them), and a button was released over it.
    std::function<void(bool leftDown, double x, double y)> cursorMoved;
    std::function<void()> cursorReleased;
    // The user typed in one of the table's readouts ("Text1", "Text4", ...),
    // after the field has taken the text.
    std::function<void(const QString& field)> fieldTyped;

    // Puts `strip` along the bottom of the sheet, from the window's left edge
    // to the scroll bar, WaveHeight pixels high (40 to half the window); it
    // follows every resize.  The caller shows and hides it.
    void setBottomStrip(QWidget* strip);
    void placeBottomStrip();

    // Opens the window where sheetOnePlace says, on the screen it is on
    // (`placeFileRead`: "AdobeFx.ini" was read), and keeps it inside that
    // screen, frame included, once the window manager has framed it.
    void placeOnScreen(bool placeFileRead);

    // Raises and activates the window with the focus on Command14 "Auto
    // Scroll", so that the space bar scrolls (see giveKeys).
    void takeKeys();

    QWidget* carrier() const { return picture3_; }
    QWidget* viewer() const { return acroPDF1_; }
    QWidget* cursorWidget() const { return picture1_; }

  protected:
    void closeEvent(QCloseEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

  private:
    QPushButton* button(const char* name, const QString& caption);
    void place(QWidget* w, double left, double top, double width = -1, double height = -1);
    void placeCarrier();
    void placeCursor();
    // Sets the window's outer place (frame included) to `r`, in twips.
    void setOuterPlace(const struct TwipRect& r);
    // The window's size after a change of PDF Height or PDF Width, no larger
    // than the screen.
    void fitSize(double widthTwips, double heightTwips);
    // A mouse event on the carrier, the viewer or the cursor: left presses
    // are the sheet's clicks (recording takes them), the cursor's moves and
    // releases go to the drag.  True when the event is used up.
    bool sheetMouse(QWidget* watched, QMouseEvent* e);
    // Every handler of a user event runs under the last guard (runGuarded).
    void guarded(const std::function<void()>& handler);

    Session& s_;
    QWidget* picture3_;
    QWidget* acroPDF1_;
    QLabel* text11_;
    QScrollBar* vscroll1_;
    QWidget* picture1_;
    QHash<QString, QWidget*> controls_;
    QWidget* bottom_ = nullptr;
    std::vector<Subscription> subs_;
    int16_t widthDragging_ = 0; // WidthDragging: a press on the free surface, not yet released
};

} // namespace mv
