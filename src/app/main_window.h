#pragma once
// The main window "Velmor" (caption "Media Player"): the song list File1,
// the setup fields as live controls (mirrors of Session::velmor), and the
// player's control area.  Handlers stay thin: they call the subsystems.

#include "core/observable.h"

#include <QWidget>
#include <vector>

class QListWidget;
class QFormLayout;

namespace mv {

struct Session;

class MainWindow : public QWidget {
    Q_OBJECT
  public:
    explicit MainWindow(Session& s, QWidget* parent = nullptr);
    QListWidget* File1() const { return file1_; }
    // Puts a widget (the player's control area) above the list.
    void setPlayerArea(QWidget* area);

  private:
    void addField(const char* name, const QString& caption, class Field& f);
    void addCheck(const char* name, const QString& caption, Prop<int>& c);

    Session& s_;
    QListWidget* file1_;
    QFormLayout* setup_;
    std::vector<Subscription> subs_;
};

} // namespace mv
