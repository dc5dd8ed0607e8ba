#pragma once
// The main window "Velmor" (caption "Media Player"): the player's control
// area, the song list File1, the transport buttons and the setup fields as
// live controls, all mirrors of Session state.  Handlers stay thin: they
// call the subsystems.

#include "core/observable.h"

#include <QWidget>
#include <functional>
#include <vector>

class QCheckBox;
class QListWidget;
class QFormLayout;
class QPushButton;

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
    void closeEvent(QCloseEvent* e) override;

  private:
    void addField(const char* name, const QString& caption, Field& f);
    QCheckBox* addCheck(const char* name, const QString& caption, Prop<int>& c);
    QPushButton* button(const char* name, const QString& caption, void (*handler)(Session&));
    void fillList();

    Session& s_;
    QListWidget* file1_;
    QFormLayout* setup_;
    std::vector<Subscription> subs_;
};

} // namespace mv
