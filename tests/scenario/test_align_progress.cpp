// The alignment's worker behind its progress dialog, offscreen: the GUI
// thread serves events while the work runs, Cancel ends it with no result,
// and a failure of the work becomes a message.

#include "align/align_window.h"
#include "core/clock.h"
#include "core/session_state.h"
#include "fakes.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <thread>

using namespace mv;
using namespace mv::align;

namespace {

QProgressDialog* progressDialog() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QProgressDialog*>(w); d && d->isVisible()) return d;
    return nullptr;
}

// Work that runs until it is cancelled (or for ten seconds at most).
MapResult untilCancelled(const Progress& p) {
    for (int i = 0; i < 10000 && !p.cancelled(); ++i) {
        p.at(i % 100);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    MapResult r;
    r.cancelled = p.cancelled();
    return r;
}

} // namespace

TEST(AlignProgress, CancelEndsTheWorkAndTheGuiThreadStaysLive) {
    SystemClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    QWidget parent;
    parent.show();
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(10);
    QTimer::singleShot(200, [] {
        if (QProgressDialog* d = progressDialog())
            if (auto* cancel = d->findChild<QPushButton*>()) cancel->click();
    });
    const std::optional<MapResult> r =
        runWithProgress(s, &parent, QStringLiteral("Working"), untilCancelled);
    EXPECT_FALSE(r.has_value());
    EXPECT_GE(ticks, 5); // the timer ran while the work did
    EXPECT_EQ(progressDialog(), nullptr);
    EXPECT_TRUE(messages.shown.isEmpty());
}

TEST(AlignProgress, AFailureOfTheWorkIsSaid) {
    SystemClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    const std::optional<MapResult> r =
        runWithProgress(s, nullptr, QStringLiteral("Working"), [](const Progress&) -> MapResult {
            throw AlignError("The map has no tics.");
        });
    EXPECT_FALSE(r.has_value());
    EXPECT_EQ(messages.shown, QStringList{QStringLiteral("The map has no tics.")});
}
