// How exact the recorded tics are: the real event loop and clock, the real
// sheet window with the record sampler on Timer1, a fake player.  Record is
// pressed, then left presses reach the sheet's carrier at random intervals
// (default 200 presses, 250-800 ms apart, each released 20-120 ms later);
// the moment of each delivery is read on a steady clock.  Each tic of the
// written map is compared with the true interval between its press and the
// one before (the first with the Record press).  A second recording does the
// same with a busy GUI: a 30 ms handler every 100 ms, the presses made on a
// thread of their own and stamped, as the window system stamps them, with
// the moment they happened (milliseconds on the steady clock).
//   record_timing [presses]

#include "bench_util.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "fakes.h"
#include "recording/recording_install.h"
#include "sheet/sheet_window.h"

#include <QApplication>
#include <QFile>
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <thread>

using namespace mv;

namespace {

double steadyMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

void mouse(QWidget* target, QWidget* window, QEvent::Type type, QPoint inWindow,
           Qt::MouseButtons held) {
    const QPointF at = target->mapFrom(window, inWindow);
    QMouseEvent e(type, at, target->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
    QApplication::sendEvent(target, &e);
}

// The tics of the map against the true intervals between the moments.
std::vector<double> ticErrors(const QString& map, const std::vector<double>& moments) {
    QFile f(map);
    const QStringList lines = f.open(QIODevice::ReadOnly) ? splitLines(f.readAll()) : QStringList();
    constexpr int kHeader = 9, kRecord = 6;
    const int records = std::max<int>(0, (lines.size() - kHeader) / kRecord);
    std::vector<double> errors;
    for (int i = 0; i < records && i + 1 < int(moments.size()); ++i) {
        const double tic = lines[kHeader + i * kRecord].toDouble();
        errors.push_back(std::abs(tic - (moments[i + 1] - moments[i])));
    }
    if (records != int(moments.size()) - 1) {
        std::fprintf(stderr, "record_timing: %d tics for %d presses\n", records,
                     int(moments.size()) - 1);
        errors.clear();
    }
    return errors;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int presses = argc > 1 ? std::max(1, atoi(argv[1])) : 200;

    QTemporaryDir dir;
    SystemClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    test::FakePlayer player(clock);
    test::FakeViewer viewer;
    SheetWindow window(s, nullptr);
    test::attachSheetOne(s, player, viewer);
    installRecording(s);
    installRecordingControls(s, window);
    s.velmor.Text1.setText(dir.path());
    s.velmor.File1List.set({QStringLiteral("Song.mp3")});
    s.velmor.File1ListIndex.set(0);
    s.g.SongBase = dir.filePath(QStringLiteral("Song.mp3"));
    QFile(s.g.SongBase).open(QIODevice::WriteOnly);

    std::mt19937 rng(7);
    std::uniform_int_distribution<int> gap(250, 800), hold(20, 120);
    QWidget* carrier = window.carrier();
    const int width = std::max(100, carrier->width() - 40);
    const int height = std::max(100, std::min(window.height(), carrier->height()) - 40);
    std::uniform_int_distribution<int> px(20, width), py(20, height);

    // moments[0] is the Record press, moments[i] the i-th sheet press.
    std::vector<double> moments;
    int pending = presses;
    // The loop sleeps between events; it ends 400 ms after the last press,
    // once the sampler has taken it.
    QEventLoop loop;
    std::function<void()> next = [&] {
        const QPoint at(px(rng), py(rng));
        moments.push_back(steadyMs());
        mouse(carrier, &window, QEvent::MouseButtonPress, at, Qt::LeftButton);
        QTimer::singleShot(hold(rng), Qt::PreciseTimer, carrier, [&, at] {
            mouse(carrier, &window, QEvent::MouseButtonRelease, at, Qt::NoButton);
        });
        if (--pending > 0)
            QTimer::singleShot(gap(rng), Qt::PreciseTimer, carrier, next);
        else
            QTimer::singleShot(400, &loop, &QEventLoop::quit);
    };
    auto* record = window.findChild<QPushButton*>(QStringLiteral("Command2"));
    QTimer::singleShot(200, [&] {
        moments.push_back(steadyMs());
        record->click();
        QTimer::singleShot(gap(rng), Qt::PreciseTimer, carrier, next);
    });
    loop.exec();
    record->click();
    const QString map = dir.filePath(QStringLiteral("Song.map"));
    const std::vector<double> errors = ticErrors(map, moments);
    std::printf("presses: %d count\n", int(moments.size()) - 1);
    if (errors.empty()) return 1;
    std::printf("tic_error_p50_ms: %.3f ms\n", bench::percentile(errors, 0.50));
    std::printf("tic_error_p99_ms: %.3f ms\n", bench::percentile(errors, 0.99));
    std::printf("tic_error_max_ms: %.3f ms\n", bench::percentile(errors, 1.0));

    // The busy GUI.  The places are taken here: widgets belong to this thread.
    std::vector<std::pair<QPointF, QPointF>> places;
    std::vector<int> gaps, holds;
    for (int i = 0; i < presses; ++i) {
        const QPointF at = carrier->mapFrom(&window, QPoint(px(rng), py(rng)));
        places.emplace_back(at, carrier->mapToGlobal(at));
        gaps.push_back(gap(rng));
        holds.push_back(hold(rng));
    }
    // Record is refused over music that plays and on the locked map.
    player.close();
    window.findChild<QPushButton*>(QStringLiteral("Command12"))->click();
    moments.assign(1, steadyMs());
    record->click();
    if (!s.adobeF.Shape1.get()) {
        std::fprintf(stderr, "record_timing: the second recording did not start\n");
        return 1;
    }
    QTimer busy;
    QObject::connect(&busy, &QTimer::timeout,
                     [] { std::this_thread::sleep_for(std::chrono::milliseconds(30)); });
    busy.start(100);
    std::thread presser([&] {
        auto post = [&](QEvent::Type type, int i, Qt::MouseButtons held, double at) {
            auto* e = new QMouseEvent(type, places[i].first, places[i].second, Qt::LeftButton, held,
                                      Qt::NoModifier);
            e->setTimestamp(static_cast<quint64>(at));
            QCoreApplication::postEvent(carrier, e);
        };
        auto sleepTo = [](double ms) {
            std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(ms - steadyMs()));
        };
        double next = moments[0];
        for (int i = 0; i < presses; ++i) {
            next += gaps[i];
            sleepTo(next);
            const double down = steadyMs();
            moments.push_back(down);
            post(QEvent::MouseButtonPress, i, Qt::LeftButton, down);
            sleepTo(down + holds[i]);
            post(QEvent::MouseButtonRelease, i, Qt::NoButton, steadyMs());
        }
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    presser.join();
    // The last press is taken by the sampler within 100 ms (and a busy turn).
    QEventLoop settle;
    QTimer::singleShot(400, &settle, &QEventLoop::quit);
    settle.exec();
    busy.stop();
    record->click();
    const std::vector<double> busyErrors = ticErrors(map, moments);
    if (busyErrors.empty()) return 1;
    std::printf("tic_error_busy_p50_ms: %.3f ms\n", bench::percentile(busyErrors, 0.50));
    std::printf("tic_error_busy_p99_ms: %.3f ms\n", bench::percentile(busyErrors, 0.99));
    std::printf("tic_error_busy_max_ms: %.3f ms\n", bench::percentile(busyErrors, 1.0));
    return 0;
}
