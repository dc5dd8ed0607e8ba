#pragma once
// The windows of the touch panels (logic in panels.h).
//
// ButtonPanel, "BControl" (caption "Button Control"): seven large buttons
// in a row or a column, placed by Session::bControl, in the tab order
// Command4, Command1, Command2, Command3, Command6, Command5, Command17 that
// a foot switch relies on.
//
// OverlayWidget, "Form1": a see-through child of sheet window 1 laid over
// its sheet (above the viewer, below the cursor).  It draws nothing and
// takes mouse and touch presses; one touch is one press (the mouse events Qt
// makes from a touch are passed over).  It never takes the focus: raised
// or pressed, the keyboard stays where it was (the panel, for a foot switch,
// or the sheet window's Command14).

#include "core/observable.h"

#include <QWidget>
#include <functional>
#include <vector>

class QPushButton;

namespace mv {

struct Session;

class ButtonPanel : public QWidget {
    Q_OBJECT
  public:
    explicit ButtonPanel(Session& s, QWidget* parent = nullptr);
    // The two play buttons (play start owns them) and Disp List's return to
    // the song list.
    std::function<void()> manualPlay, cursorPlay, showSongList;
    QPushButton* button(const QString& name) const;

  protected:
    bool eventFilter(QObject* watched, QEvent* e) override;
    void showEvent(QShowEvent* e) override;
    void moveEvent(QMoveEvent* e) override;

  private:
    void layOut();
    // Moves the panel to its place (BControl Left/Top), kept inside the
    // free part of the screen of sheet window 1.
    void placeOnScreen();
    void clicked(const QString& name);
    void guarded(const std::function<void()>& handler);

    Session& s_;
    std::vector<QPushButton*> buttons_;
    std::vector<Subscription> subs_;
};

class OverlayWidget : public QWidget {
    Q_OBJECT
  public:
    // `sheet` is sheet window 1.
    OverlayWidget(Session& s, QWidget* sheet);

  protected:
    bool event(QEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;

  private:
    void raiseOver();
    void press(QPointF at);
    void release();

    Session& s_;
    std::vector<Subscription> subs_;
};

} // namespace mv
