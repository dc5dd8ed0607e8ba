#include "transport/delay_measure_window.h"

#include "core/messages.h"
#include "core/output_delay.h"
#include "core/session_state.h"
#include "core/window_registry.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace mv {

DelayMeasureWindow::DelayMeasureWindow(Session& s, QWidget* parent)
    : QWidget(parent, Qt::Window), s_(s), measure_(s) {
    setWindowTitle(QStringLiteral("Measure Output Delay"));
    setWindowModality(Qt::ApplicationModal);
    auto* rows = new QVBoxLayout(this);
    auto* prompt =
        new QLabel(QStringLiteral("Tap the space bar with each of the %1 clicks you hear.")
                       .arg(DelayMeasure::kClicks),
                   this);
    prompt->setObjectName(QStringLiteral("Prompt"));
    prompt->setWordWrap(true);
    rows->addWidget(prompt);
    taps_ = new QListWidget(this);
    taps_->setObjectName(QStringLiteral("Taps"));
    taps_->setAccessibleName(QStringLiteral("Each tap's difference"));
    taps_->setFocusPolicy(Qt::NoFocus);
    taps_->setMinimumHeight(160);
    rows->addWidget(taps_, 1);
    result_ = new QLabel(this);
    result_->setObjectName(QStringLiteral("Result"));
    rows->addWidget(result_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    ok_ = new QPushButton(QStringLiteral("OK"), this);
    ok_->setObjectName(QStringLiteral("OKB"));
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("CancelB"));
    for (QPushButton* b : {ok_, cancel}) {
        b->setFocusPolicy(Qt::NoFocus); // the space bar is a tap, never a button
        buttons->addWidget(b);
    }
    rows->addLayout(buttons);
    connect(ok_, &QPushButton::clicked, this,
            [this] { runGuarded(s_.messages, [this] { OKB_Click(); }); });
    connect(cancel, &QPushButton::clicked, this,
            [this] { runGuarded(s_.messages, [this] { CancelB_Click(); }); });
    setFocusPolicy(Qt::StrongFocus);
    refresh();
}

void DelayMeasureWindow::start() {
    show();
    raise();
    activateWindow();
    setFocus(Qt::OtherFocusReason);
    if (measure_.running()) return;
    taps_->clear();
    result_->setText(QStringLiteral("Listen: the clicks begin in a second."));
    ok_->setEnabled(false);
    measure_.run();
    refresh();
}

void DelayMeasureWindow::refresh() {
    // Written anew each time: a later tap may change which earlier ones count.
    const std::vector<int64_t>& d = measure_.differences();
    taps_->clear();
    for (size_t n = 0; n < d.size(); ++n)
        taps_->addItem(QStringLiteral("Tap %1: %2 ms").arg(n + 1).arg(d[n]));
    const std::optional<int> m = measure_.median();
    if (measure_.running()) {
        result_->setText(
            QStringLiteral("%1 of %2 taps counted").arg(d.size()).arg(DelayMeasure::kClicks));
    } else if (m) {
        result_->setText(QStringLiteral("Delay %1 ms (median of %2 taps), spread %3 ms")
                             .arg(*m)
                             .arg(d.size())
                             .arg(std::lround(measure_.spread())));
    } else if (!measure_.cancelled() && taps_->count() == 0 && isVisible()) {
        result_->setText(QStringLiteral("No tap was counted: try again."));
    }
    ok_->setEnabled(!measure_.running() && m.has_value());
}

void DelayMeasureWindow::keyPressEvent(QKeyEvent* e) {
    if (e->key() != Qt::Key_Space) return QWidget::keyPressEvent(e);
    if (e->isAutoRepeat()) return;
    // The key's own moment: a tap handled late (the GUI busy) counts when it
    // happened.  Under a virtual clock the handling is the moment.
    const int64_t at =
        tapTime_.toTick(s_.clock.isVirtual() ? 0 : e->timestamp(), s_.clock.tickMs());
    measure_.tap(at);
    refresh();
}

void DelayMeasureWindow::OKB_Click() {
    const std::optional<int> m = measure_.median();
    if (measure_.running() || !m) return;
    s_.velmor.OutputDelay.setNumber(std::clamp(*m, kOutputDelayMin, kOutputDelayMax));
    close();
}

void DelayMeasureWindow::CancelB_Click() {
    measure_.cancel();
    close();
}

void DelayMeasureWindow::closeEvent(QCloseEvent* e) {
    measure_.cancel();
    QWidget::closeEvent(e);
}

void MeasureB_Click(Session& s) {
    if (!s.windows) return;
    if (auto* w = dynamic_cast<DelayMeasureWindow*>(s.windows->get(QStringLiteral("MeasureDelay"))))
        w->start();
}

void installOutputDelay(Session& s, WindowRegistry& windows) {
    windows.define(QStringLiteral("MeasureDelay"), [&s] { return new DelayMeasureWindow(s); });
}

} // namespace mv
