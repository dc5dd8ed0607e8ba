#include "core/clock.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTime>
#include <QTimer>
#include <climits>
#include <cmath>
#include <optional>
#include <thread>

namespace mv {

struct SystemClock::Impl {
    QElapsedTimer steady;
    QHash<int, QTimer*> timers;
    int nextId = 1;
    std::optional<double> pinnedDay; // seconds since midnight at steady 0, when pinned
};

SystemClock::SystemClock() : d(new Impl) { d->steady.start(); }

SystemClock::~SystemClock() {
    for (QTimer* t : std::as_const(d->timers))
        delete t;
    delete d;
}

int64_t SystemClock::tickMs() const {
    // Offset so that tick values look like an uptime and are never 0.
    return d->steady.elapsed() + 1000;
}

double SystemClock::preciseMs() const { return double(d->steady.nsecsElapsed()) / 1e6 + 1000; }

void SystemClock::pinDayClock(double seconds) {
    d->pinnedDay = seconds - double(d->steady.elapsed()) / 1000.0;
}

float SystemClock::dayClock() const {
    if (d->pinnedDay) {
        const double t = std::fmod(*d->pinnedDay + double(d->steady.elapsed()) / 1000.0, 86400.0);
        return static_cast<float>(t < 0 ? t + 86400.0 : t);
    }
    return static_cast<float>(QTime::currentTime().msecsSinceStartOfDay() / 1000.0);
}

int SystemClock::every(int periodMs, std::function<void()> fn) {
    auto* t = new QTimer;
    t->setTimerType(Qt::PreciseTimer);
    t->setInterval(periodMs);
    QObject::connect(t, &QTimer::timeout, t, std::move(fn));
    t->start();
    const int id = d->nextId++;
    d->timers.insert(id, t);
    return id;
}

void SystemClock::cancel(int id) { delete d->timers.take(id); }

void SystemClock::sleepBlocking(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

VirtualClock::VirtualClock(int64_t startTick, double dayStart)
    : now_(startTick), dayStart_(dayStart), startTick_(startTick) {}

float VirtualClock::dayClock() const {
    const double t = dayStart_ + double(now_ - startTick_) / 1000.0;
    return static_cast<float>(std::fmod(t, 86400.0));
}

int VirtualClock::every(int periodMs, std::function<void()> fn) {
    const int id = nextId_++;
    periods_[id] = periodMs;
    queue_[{now_ + periodMs, seq_++}] = Entry{std::move(fn), id};
    return id;
}

void VirtualClock::cancel(int id) {
    periods_.erase(id);
    for (auto it = queue_.begin(); it != queue_.end();) {
        if (it->second.periodicId == id)
            it = queue_.erase(it);
        else
            ++it;
    }
}

void VirtualClock::at(int64_t at, std::function<void()> fn) {
    queue_[{std::max(at, now_), seq_++}] = Entry{std::move(fn), 0};
}

int64_t VirtualClock::nextDue() const {
    return queue_.empty() ? INT64_MAX : queue_.begin()->first.first;
}

void VirtualClock::advanceTo(int64_t target) {
    while (!queue_.empty() && queue_.begin()->first.first <= target) {
        auto node = queue_.extract(queue_.begin());
        now_ = std::max(now_, node.key().first);
        Entry e = std::move(node.mapped());
        if (e.periodicId) {
            auto p = periods_.find(e.periodicId);
            if (p == periods_.end()) continue;
            queue_[{now_ + p->second, seq_++}] = Entry{e.fn, e.periodicId};
        }
        e.fn();
    }
    now_ = std::max(now_, target);
}

} // namespace mv
