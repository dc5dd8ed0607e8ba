#pragma once
// The player's control area on the main window: a strip whose first 30
// pixels are its Start button and the rest a stop area, with the playing
// position; and Label25 "%", which winds the music fast while held.  A press
// anywhere on the strip goes to `mouseDown` with the button (1 left, 2 right,
// 4 middle), the shift state and the pixel X: the start or the stop of a
// cursor play is decided there, at X 30.

#include <QLabel>
#include <QWidget>
#include <functional>

namespace mv {

class MediaPlayer;

class PlayerControlArea : public QWidget {
    Q_OBJECT
  public:
    explicit PlayerControlArea(MediaPlayer& player, QWidget* parent = nullptr);
    std::function<void(int button, int shift, double x, double y)> mouseDown;
    QSize sizeHint() const override { return {240, 26}; }

  protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* e) override;

  private:
    MediaPlayer& player_;
};

// "%": held, the music winds fast; released, it plays on.
class FastForwardLabel : public QLabel {
    Q_OBJECT
  public:
    explicit FastForwardLabel(MediaPlayer& player, QWidget* parent = nullptr);

  protected:
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;

  private:
    MediaPlayer& player_;
};

} // namespace mv
