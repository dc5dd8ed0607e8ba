// How late the cursor moves against its due time in a real play: the real
// event loop and clock, two 100 ms timers beside the loop, a generated map
// (default 1000 tics of 20-250 ms, a page turn every 16 tics), fake player
// and viewer.  Prints lateness percentiles and the CPU share of the play.
//   play_timing [tics]

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "fakes.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <sys/resource.h>

using namespace mv;

namespace {

double nowMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

// The system clock with sub-millisecond reads for the measurement; the loop
// itself sees whole milliseconds, as in the program.
class BenchClock final : public Clock {
  public:
    int64_t tickMs() const override { return static_cast<int64_t>(nowMs()); }
    double preciseMs() const override { return nowMs(); }
    float dayClock() const override { return 43200; }
    int every(int periodMs, std::function<void()> fn) override {
        auto* t = new QTimer;
        t->setTimerType(Qt::PreciseTimer);
        QObject::connect(t, &QTimer::timeout, t, std::move(fn));
        t->start(periodMs);
        timers_.push_back(t);
        return int(timers_.size());
    }
    void cancel(int id) override { delete timers_.at(id - 1); }
    void sleepBlocking(int) override {}

  private:
    std::vector<QTimer*> timers_;
};

double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

double percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(p * (v.size() - 1) + 0.5))];
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int tics = argc > 1 ? std::max(1, atoi(argv[1])) : 1000;

    QTemporaryDir dir;
    const QString path = dir.filePath("bench.map");
    QStringList lines{"100@", "0%", "#1", "#2", "#3", "#4", "#5", "#6", " 80^"};
    std::mt19937 rng(42);
    std::uniform_int_distribution<int> ms(20, 250);
    std::vector<int> ticMs;
    for (int i = 0; i < tics; ++i) {
        ticMs.push_back(ms(rng));
        lines << QString::number(ticMs.back()) << printFormSingle(1000 + (i % 20) * 600)
              << printFormSingle(2000 + (i % 4) * 1500) << QString::number(i % 2 ? 8000 : 0)
              << boolText(i % 16 == 15) << QStringLiteral("False");
    }
    writeLinesAtomically(path, lines);

    BenchClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    test::FakePlayer player(clock);
    test::FakeViewer viewer;
    test::attachSheetOne(s, player, viewer);
    player.setURL(QStringLiteral("bench.mp3"));
    int timerTicks = 0;
    clock.every(100, [&] { ++timerTicks; }); // Timer1
    clock.every(100, [&] { ++timerTicks; }); // Timer3

    // Each move is due at the base of its tic plus the tic times Tic Offset;
    // the loop moves the base to the move's moment just before the cursor.
    // (The fields report changes only, so the tic is taken from the map.)
    double base = 0;
    std::vector<double> lateness;
    s.adobeF.Text1.always([&] {
        if (s.adobeF.Text1.text() == u"0" || lateness.size() >= ticMs.size()) return;
        const double due = base + ticMs[lateness.size()] * s.velmor.Text5.value();
        lateness.push_back(nowMs() - due);
        base = double(s.g.PlayStartTick);
    });

    s.files.open(1, path, FileMode::Input);
    QTimer::singleShot(0, [&] {
        const double cpu0 = cpuSeconds();
        const double wall0 = nowMs();
        s.g.PlayStartTick = clock.tickMs();
        base = double(s.g.PlayStartTick);
        s.velmor.Text5.setText(".995");
        // The 3 s after the map are part of a real play but not of this
        // measure: stop at the end of the map.
        s.pump.letEventsRun();
        playLoop(s);
        const double wall = (nowMs() - wall0 - 3000) / 1000.0;
        const double cpu = cpuSeconds() - cpu0;
        std::printf("tics: %zu count\n", lateness.size());
        std::printf("lateness_p50_ms: %.3f ms\n", percentile(lateness, 0.50));
        std::printf("lateness_p99_ms: %.3f ms\n", percentile(lateness, 0.99));
        std::printf("lateness_max_ms: %.3f ms\n",
                    *std::max_element(lateness.begin(), lateness.end()));
        std::printf("cpu_pct: %.2f %%\n", 100.0 * cpu / (wall + 3.0));
        std::printf("timer_ticks: %d count\n", timerTicks);
        QApplication::quit();
    });
    return app.exec();
}
