#pragma once
// The window "MeasureDelay" (caption "Measure Output Delay") of the setup's
// "Measure…": it plays the clicks of a DelayMeasure and takes the space
// bar's taps, each at the moment its key event carries (InputTime); it shows
// each tap's difference, the median and the spread.  "OK" puts the median
// into Output Delay, "Cancel" (or closing the window) ends the measuring
// and changes nothing.  The buttons take no focus, so the space bar always
// reaches the window as a tap.

#include "core/input_time.h"
#include "transport/delay_measure.h"

#include <QWidget>

class QLabel;
class QListWidget;
class QPushButton;

namespace mv {

struct Session;
class WindowRegistry;

class DelayMeasureWindow : public QWidget {
  public:
    explicit DelayMeasureWindow(Session& s, QWidget* parent = nullptr);
    // Shows the window and runs the clicks; returns when they are over or
    // cancelled.  A second call while they run only raises the window.
    void start();
    const DelayMeasure& measure() const { return measure_; }

  protected:
    void keyPressEvent(QKeyEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

  private:
    void OKB_Click();
    void CancelB_Click();
    void refresh();

    Session& s_;
    DelayMeasure measure_;
    InputTime tapTime_;
    QLabel* result_;
    QListWidget* taps_;
    QPushButton* ok_;
};

// "Measure…" (MeasureB) of the setup: opens "MeasureDelay" and runs it.
void MeasureB_Click(Session& s);

// Defines the window "MeasureDelay" in the registry.
void installOutputDelay(Session& s, WindowRegistry& windows);

} // namespace mv
