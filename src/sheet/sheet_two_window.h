#pragma once
// Sheet window 2, "AdobeF2" (caption "Sheet 2"), on a second
// monitor.  Built like sheet window 1 (the carrier Picture3 moved up by
// VScroll1 holding the viewer AcroPDF1, the cursor Picture1 in the window's
// coordinates) with its own strip: PageNR "Page", ScrollOffset "Top" and
// AdjLeft "Left" under "Cursor Adj", PDFTop "PDF", PDFOffset "Offset",
// VScroll2 "Adjust PDF" and Command1 "CLOSE".  All state lives in
// Session::adobeF2 (logic in sheet_two.h); this class mirrors it.
//
// It remembers its screen ("AdobeF2.screen") when it closes and opens there
// again when that screen is present, else on the primary screen; when its
// screen goes away it follows the system to another one, and comes back
// when the screen does.  F11 toggles full screen on its monitor, F12 moves
// it to the next monitor.

#include "core/observable.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_two.h"

#include <QWidget>
#include <vector>

class QLabel;
class QScrollBar;
class QScreen;

namespace mv {

struct Session;

class SheetTwoWindow : public QWidget {
    Q_OBJECT
  public:
    // `viewer` becomes AcroPDF1 inside the carrier (the window owns it).
    SheetTwoWindow(Session& s, QWidget* viewer, QWidget* parent = nullptr);
    ~SheetTwoWindow() override;

    // Puts the window on the remembered screen, at its remembered place
    // fitted into that screen.
    void placeOnScreen();
    // With one screen: away from the windows in `taken` (their frames, in
    // twips) when the stored place covers one of them, in the widest free
    // strip beside them, else over `cover` (sheet window 1, whose window
    // comes back when this one closes).
    void standBeside(const std::vector<TwipRect>& taken, const TwipRect& cover);
    // Moves the window to screen `index` of the list (the user's choice:
    // it is remembered).
    void moveToScreen(int index);
    // The index of the screen the window stands on, -1 before it has one.
    int screenIndex() const;

    QWidget* carrier() const { return picture3_; }
    QWidget* viewer() const { return acroPDF1_; }

  protected:
    void closeEvent(QCloseEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void showEvent(QShowEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;

  private:
    void layoutStrip();
    void placeLayers();
    void placeCursor();
    void fitIntoScreen(QScreen* sc);
    // Moves and sizes the window so that its frame covers `r`.
    void setOuterPlace(const TwipRect& r);
    // Fits the frame into its screen's free part when it lies outside.
    void refitFrame();
    void screenRemoved(QScreen* sc);
    void screenAdded(QScreen* sc);
    void guarded(const std::function<void()>& handler);

    Session& s_;
    QWidget* picture3_;
    QWidget* acroPDF1_;
    QLabel* text11_;
    QScrollBar* vscroll1_;
    QScrollBar* vscroll2_;
    QWidget* picture1_;
    QList<QWidget*> strip_; // the strip's widgets and their offsets from the anchor
    std::vector<std::pair<double, double>> stripPlace_;
    bool refitting_ = false; // the fit after framing places once
    std::vector<Subscription> subs_;
    ScreenRef remembered_;    // the screen the user put the window on
    bool systemMove_ = false; // the window follows a screen that went away
};

} // namespace mv
