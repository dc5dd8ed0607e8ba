#pragma once
// The waveform strip `Wave` along the bottom of sheet window 1, shown in
// edit mode: the song around the row on show with every tic as a mark.  A
// click on a mark shows that row; dragging a mark moves that tic.

#include "align/waveform.h"
#include "core/observable.h"

#include <QWidget>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace mv {

struct Session;
class SheetWindow;

namespace align {

// A click on row `row`'s mark: that row on show, as if stepped to, its page
// turned to (no offsets added, the table unchanged).  Edit mode only.
void Wave_Click(Session& s, int row);
// Row `row`'s mark dragged to the music position `toMs`: the row on show and
// its tic moved (see moveTic), one undo step.  Edit mode only.
void Wave_Drag(Session& s, int row, double toMs);

// What the strip shows: `spanMs` of music centred on `centerMs` across
// `width` pixels.
struct WaveView {
    double centerMs = 0, spanMs = 8000;
    int width = 1;
    double startMs() const { return centerMs - spanMs / 2; }
    double xOf(double ms) const { return (ms - startMs()) * width / spanMs; }
    double msAt(double x) const { return startMs() + x * spanMs / width; }
};

class WaveStrip : public QWidget {
    Q_OBJECT
  public:
    explicit WaveStrip(Session& s, QWidget* parent = nullptr);
    ~WaveStrip() override;

    // The view as it stands: centred on the row on show.
    WaveView view();
    // The peaks of the song, once loaded (tests and the bench set them).
    void setPeaks(std::shared_ptr<const Peaks> peaks, const QString& song);
    // Starts loading the song's peaks on a worker thread unless they are
    // there already or on their way.
    void loadSong(const QString& song);
    // Keeps a subscription for as long as the strip lives.
    void hold(Subscription sub) { subs_.push_back(std::move(sub)); }

  protected:
    void paintEvent(QPaintEvent*) override;
    void wheelEvent(QWheelEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;

  private:
    void stopWorker();
    // The marks of the table as it stands, computed again only when a Tic,
    // SCR, NXT or PRV cell or the play's timing has changed since.
    const std::vector<WaveMark>& marks();

    Session& s_;
    double spanMs_ = 8000;
    std::shared_ptr<const Peaks> peaks_;
    QString song_, loading_, failed_;
    std::thread worker_;
    std::shared_ptr<std::atomic<bool>> cancel_;
    int pressRow_ = -1;
    double pressX_ = 0, dragX_ = -1;
    std::vector<Subscription> subs_;
    std::vector<WaveMark> marks_;
    std::vector<QString> marksOf_; // the cells the marks were computed from
    PlayTiming timingOf_;
};

// Adds the strip to sheet window 1: shown in edit mode, loading the song's
// peaks as it appears.
void installWaveStrip(Session& s, SheetWindow& w);

} // namespace align
} // namespace mv
