#pragma once
// The main window "Velmor" (caption "Media Player"): the player's control
// area, the song list File1, the transport buttons and the setup fields as
// live controls, all mirrors of Session state.  Handlers stay thin: they
// call the subsystems.  Its three sizes come from the setup's logic
// (core/setup_screen.h): small, the list and the buttons; with "Setup" the
// setup panel beside them; with the empty label Label20 the notation
// viewer's fields too.  The large list of "Zoom" fills the window.

#include "core/observable.h"
#include "core/setup_screen.h"

#include <QWidget>
#include <functional>
#include <vector>

class QListWidget;
class QFormLayout;
class QPushButton;
class QLabel;

namespace mv {

struct Session;
class Field;
class MediaPlayer;

class MainWindow : public QWidget {
    Q_OBJECT
  public:
    MainWindow(Session& s, MediaPlayer& player, QWidget* parent = nullptr);
    QListWidget* File1() const { return file1_; }
    // Runs when the window is closed by the user (the program's shut-down).
    std::function<void()> onClose;

  protected:
    bool eventFilter(QObject* watched, QEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void changeEvent(QEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;

  private:
    void buildMenu(QLayout* outer);
    QWidget* buildHead(MediaPlayer& player);
    QWidget* buildFoot();
    QWidget* buildSetup();
    QWidget* buildNwcFields();
    // A field with its caption (and a unit after it); the line edit.
    QWidget* addField(QFormLayout* form, const char* name, const QString& caption, Field& f,
                      const QString& unit = {}, const char* labelName = nullptr,
                      const char* unitName = nullptr);
    QWidget* addCheck(QFormLayout* form, const char* name, const QString& caption, Prop<int>& c);
    QPushButton* button(const char* name, const QString& caption, void (*handler)(Session&));
    void fillList();
    // Places the areas for the window's size and the list's place (twips).
    void layoutAreas();
    // The columns' widths and the fixed heights at the present fonts.
    void measureColumns();
    // The window's height: the setup's, or what the player, a few list
    // entries and the buttons need when that is more.
    int pixelHeight() const;
    // Moves the frame back inside the screen's free part; a window that
    // grew comes to the front.
    void keepOnScreen(bool grew);
    // A page key of the window, also while the list has the focus.
    bool pageKey(QKeyEvent* e);
    // Every handler of a user event runs under the last guard (runGuarded).
    void guarded(const std::function<void()>& handler);

    Session& s_;
    QWidget* body_ = nullptr; // everything under the menu bar
    QWidget* head_ = nullptr; // the player's area and the sliders
    QListWidget* file1_ = nullptr;
    QWidget* foot_ = nullptr;  // speed, pitch and the buttons
    QWidget* setup_ = nullptr; // the setup panel
    QWidget* nwc_ = nullptr;   // the notation viewer's fields
    WindowColumns columns_;
    int footHeight_ = 0, headHeight_ = 0;
    std::vector<Subscription> subs_;
};

} // namespace mv
