#include "core/event_pump.h"

#include "core/clock.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

namespace mv {

void EventPump::letEventsRun() {
    if (quitting_) return;
    if (QCoreApplication::instance()) QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void EventPump::waitRound(int64_t deadline) {
    if (quitting_) return;
    letEventsRun();
    const int64_t now = clock_.tickMs();
    if (now >= deadline) return;
    if (clock_.isVirtual()) {
        clock_.advanceIdle(deadline);
        return;
    }
    if (!QCoreApplication::instance()) return;
    const double remaining = double(deadline) - clock_.preciseMs();
    if (remaining < 1.0) {
        // Timers count whole milliseconds; the last fraction is slept here,
        // without events, so that the wake-up is not a millisecond late.
        if (remaining > 0)
            std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(remaining));
        return;
    }
    // A timer of our own per round: a nested wait must not disturb the timer
    // of the wait it runs inside.
    QTimer wake;
    wake.setTimerType(Qt::PreciseTimer);
    wake.setSingleShot(true);
    wake.start(static_cast<int>(std::min(std::floor(remaining), double(1 << 30))));
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void EventPump::waitUntil(int64_t deadline) {
    while (!quitting_ && clock_.tickMs() < deadline)
        waitRound(deadline);
}

void EventPump::guardedWait(double seconds) {
    if (!(clock_.dayClock() > 20.0f)) return;
    waitUntil(clock_.tickMs() + static_cast<int64_t>(std::llround(seconds * 1000.0)));
}

void EventPump::waitAfterPlay(double seconds) {
    if (!(clock_.dayClock() < 80000.0f)) return;
    waitUntil(clock_.tickMs() + static_cast<int64_t>(std::llround(seconds * 1000.0)));
}

} // namespace mv
