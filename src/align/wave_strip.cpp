#include "align/wave_strip.h"

#include "align/align_window.h"
#include "align/operations.h"
#include "core/messages.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "recording/edit_history.h"
#include "recording/edit_mode.h"
#include "sheet/sheet_window.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace mv::align {

namespace {

bool editMode(const Session& s) { return s.adobeF.Shape2.get(); }

// The view's narrowest and widest spans.
constexpr double kMinSpanMs = 1000, kMaxSpanMs = 120000;
// A press this near a mark takes it; a move this far makes it a drag.
constexpr double kGrabPx = 5, kDragPx = 3;

WaveView viewOf(const Session& s, const std::vector<WaveMark>& marks, double span, int width) {
    WaveView v;
    v.spanMs = span;
    v.width = std::max(1, width);
    if (!marks.empty()) {
        const int row = std::clamp(int(s.g.CursorIndex), 0, int(marks.size()) - 1);
        v.centerMs = marks[size_t(row)].ms;
    } else {
        v.centerMs = span / 2;
    }
    return v;
}

void showRow(Session& s, int row) {
    const int turns = pageOfRow(s.tic, row) - pageOfRow(s.tic, s.g.CursorIndex);
    adobeF::ShowRowAt(s, row, turns);
}

} // namespace

void Wave_Click(Session& s, int row) {
    if (!editMode(s) || row < 0 || row >= s.tic.length()) return;
    showRow(s, row);
}

void Wave_Drag(Session& s, int row, double toMs) {
    if (!editMode(s) || row < 0 || row >= s.tic.length()) return;
    adobeF::EditScope edit(s, QStringLiteral("Move tic"));
    showRow(s, row);
    if (!moveTic(s.tic, row, toMs, playTimingOf(s))) return;
    // The readout shows the row's new tic (and writes it back unchanged).
    s.adobeF.Text4.setText(s.tic.Tic[size_t(row)]);
}

WaveStrip::WaveStrip(Session& s, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("Wave"));
    nameControl(this, QStringLiteral("Waveform"));
    setToolTip(QStringLiteral("The music around this tic. Click a tic to show it, drag it to "
                              "move it; the wheel zooms."));
    setAttribute(Qt::WA_OpaquePaintEvent);
    // The row on show and its cells: the view follows.
    SheetOneState& f = s.adobeF;
    for (Field* field : {&f.Text3, &f.Text4, &f.Text7, &f.Text9, &f.Text10})
        subs_.push_back(field->subscribe([this] { update(); }));
}

WaveStrip::~WaveStrip() { stopWorker(); }

WaveView WaveStrip::view() { return viewOf(s_, marks(), spanMs_, width()); }

const std::vector<WaveMark>& WaveStrip::marks() {
    const TicTable& t = s_.tic;
    const int n = std::min(t.length(), TicTable::kLastRow);
    const PlayTiming timing = playTimingOf(s_);
    // Comparing the cells is far cheaper than reading their numbers again.
    bool same = marksOf_.size() == size_t(4 * (n + 1)) && timing.ticFactor == timingOf_.ticFactor &&
                timing.speed == timingOf_.speed && timing.musicStartMs == timingOf_.musicStartMs &&
                timing.firstNoteMs == timingOf_.firstNoteMs;
    for (int r = 0; same && r <= n; ++r) {
        const auto i = size_t(4 * r), k = size_t(r);
        same = marksOf_[i] == t.Tic[k] && marksOf_[i + 1] == t.Scr[k] &&
               marksOf_[i + 2] == t.Nxt[k] && marksOf_[i + 3] == t.Prv[k];
    }
    if (same) return marks_;
    marksOf_.clear();
    marksOf_.reserve(size_t(4 * (n + 1)));
    for (int r = 0; r <= n; ++r)
        for (const auto* col : {&t.Tic, &t.Scr, &t.Nxt, &t.Prv})
            marksOf_.push_back((*col)[size_t(r)]);
    timingOf_ = timing;
    marks_ = ticMarks(t, timing);
    return marks_;
}

void WaveStrip::setPeaks(std::shared_ptr<const Peaks> peaks, const QString& song) {
    peaks_ = std::move(peaks);
    song_ = song;
    failed_.clear();
    update();
}

void WaveStrip::stopWorker() {
    if (!worker_.joinable()) return;
    cancel_->store(true);
    worker_.join();
}

void WaveStrip::loadSong(const QString& song) {
    if (song.isEmpty() || song == loading_ || (song == song_ && (peaks_ || !failed_.isEmpty())))
        return;
    stopWorker();
    peaks_.reset();
    failed_.clear();
    loading_ = song;
    cancel_ = std::make_shared<std::atomic<bool>>(false);
    // The worker computes only; the result comes back through the event
    // queue.  The destructor joins it, so `this` outlives the posting.
    worker_ = std::thread([this, song, dir = s_.configDir, cancel = cancel_] {
        std::shared_ptr<const Peaks> p;
        QString error;
        try {
            p = std::make_shared<const Peaks>(
                loadPeaks(dir, song, [cancel] { return cancel->load(); }));
        } catch (const std::exception& e) {
            error = QString::fromUtf8(e.what());
        }
        if (cancel->load()) return;
        QMetaObject::invokeMethod(
            this,
            [this, p, song, error] {
                if (loading_ != song) return;
                loading_.clear();
                if (p) return setPeaks(p, song);
                song_ = song;
                failed_ = error;
                update();
            },
            Qt::QueuedConnection);
    });
    update();
}

void WaveStrip::paintEvent(QPaintEvent*) {
    QPainter g(this);
    g.fillRect(rect(), QColor(28, 28, 32));
    const std::vector<WaveMark>& marks = this->marks();
    const WaveView v = viewOf(s_, marks, spanMs_, width());
    const int mid = height() / 2;
    const double scale = std::max(1, mid - 2) / 127.0;
    if (peaks_) {
        std::vector<QLine> lines;
        lines.reserve(size_t(width()));
        for (int x = 0; x < width(); ++x) {
            int lo = 0, hi = 0;
            if (peaks_->range(v.msAt(x), v.msAt(x + 1), lo, hi))
                lines.emplace_back(x, mid - int(hi * scale), x, mid - int(lo * scale));
        }
        g.setPen(QColor(90, 150, 200));
        g.drawLines(lines.data(), int(lines.size()));
    } else {
        g.setPen(QColor(170, 170, 170));
        g.drawText(rect().adjusted(6, 2, -6, -2), Qt::AlignLeft | Qt::AlignTop,
                   !failed_.isEmpty()    ? QStringLiteral("No waveform: ") + failed_
                   : !loading_.isEmpty() ? QStringLiteral("Reading the waveform…")
                                         : QString());
    }
    // The marks in view: plain tics grey, scroll changes green and dashed,
    // page turns orange and wide; the row on show red over them all.
    const QPen pens[] = {QPen(QColor(200, 200, 200), 1),
                         QPen(QColor(80, 210, 120), 2, Qt::DashLine),
                         QPen(QColor(240, 160, 40), 3)};
    auto first = std::lower_bound(marks.begin(), marks.end(), v.startMs(),
                                  [](const WaveMark& m, double ms) { return m.ms < ms; });
    const int current = s_.g.CursorIndex;
    for (auto it = first; it != marks.end() && it->ms <= v.startMs() + v.spanMs; ++it) {
        if (it->row == current) continue;
        g.setPen(pens[it->kind]);
        const int x = int(std::lround(v.xOf(it->ms)));
        g.drawLine(x, 0, x, height());
    }
    if (current >= 0 && current < int(marks.size())) {
        g.setPen(QPen(QColor(230, 40, 40), 3));
        const int x = int(std::lround(v.xOf(marks[size_t(current)].ms)));
        g.drawLine(x, 0, x, height());
    }
    if (dragX_ >= 0) {
        g.setPen(QPen(QColor(250, 230, 60), 2));
        g.drawLine(int(dragX_), 0, int(dragX_), height());
    }
}

void WaveStrip::wheelEvent(QWheelEvent* e) {
    const int steps = e->angleDelta().y() / 120;
    if (steps == 0) return;
    spanMs_ = std::clamp(spanMs_ * std::pow(1.25, -steps), kMinSpanMs, kMaxSpanMs);
    update();
}

void WaveStrip::mousePressEvent(QMouseEvent* e) {
    pressRow_ = -1;
    dragX_ = -1;
    if (e->button() != Qt::LeftButton) return;
    const std::vector<WaveMark>& marks = this->marks();
    const WaveView v = viewOf(s_, marks, spanMs_, width());
    pressX_ = e->position().x();
    pressRow_ = markNear(marks, v.msAt(pressX_), kGrabPx * v.spanMs / v.width);
}

void WaveStrip::mouseMoveEvent(QMouseEvent* e) {
    if (pressRow_ < 0 || !(e->buttons() & Qt::LeftButton)) return;
    const double x = e->position().x();
    if (dragX_ >= 0 || std::abs(x - pressX_) >= kDragPx) {
        dragX_ = x;
        update();
    }
}

void WaveStrip::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton || pressRow_ < 0) return;
    const int row = std::exchange(pressRow_, -1);
    const double x = e->position().x();
    const bool dragged = dragX_ >= 0 || std::abs(x - pressX_) >= kDragPx;
    dragX_ = -1;
    // The view the press was made in: the row on show has not moved since.
    const double toMs = view().msAt(x);
    runGuarded(s_.messages, [&] { dragged ? Wave_Drag(s_, row, toMs) : Wave_Click(s_, row); });
    update();
}

void installWaveStrip(Session& s, SheetWindow& w) {
    auto* strip = new WaveStrip(s, &w);
    w.setBottomStrip(strip);
    SheetOneState& f = s.adobeF;
    auto shown = [&s, &w, strip] {
        strip->setVisible(s.adobeF.Shape2.get());
        if (!s.adobeF.Shape2.get()) return;
        w.placeBottomStrip();
        strip->loadSong(recordingOf(s.g.SongFile, s.g.SongBase));
    };
    shown();
    strip->hold(f.Shape2.subscribe(shown));
    strip->hold(f.WaveHeight.subscribe([&w] { w.placeBottomStrip(); }));
    if (s.history)
        QObject::connect(&s.history->stack(), &QUndoStack::indexChanged, strip,
                         qOverload<>(&QWidget::update));
}

} // namespace mv::align
