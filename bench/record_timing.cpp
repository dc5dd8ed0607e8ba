// How exact the recorded tics are: the real event loop and clock, the real
// sheet window with the record sampler on Timer1, a fake player.  Record is
// pressed, then left presses reach the sheet's carrier at random intervals
// (default 200 presses, 250-800 ms apart, each released 20-120 ms later);
// the moment of each delivery is read on a steady clock.  Each tic of the
// written map is compared with the true interval between its press and the
// one before (the first with the Record press).
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

    QFile f(dir.filePath(QStringLiteral("Song.map")));
    const QStringList lines = f.open(QIODevice::ReadOnly) ? splitLines(f.readAll()) : QStringList();
    constexpr int kHeader = 9, kRecord = 6;
    const int records = std::max<int>(0, (lines.size() - kHeader) / kRecord);
    std::vector<double> errors;
    for (int i = 0; i < records && i + 1 < int(moments.size()); ++i) {
        const double tic = lines[kHeader + i * kRecord].toDouble();
        errors.push_back(std::abs(tic - (moments[i + 1] - moments[i])));
    }
    std::printf("tics_recorded: %d count\n", records);
    std::printf("presses: %d count\n", int(moments.size()) - 1);
    if (errors.empty() || records != int(moments.size()) - 1) {
        std::fprintf(stderr, "record_timing: %d tics for %d presses\n", records,
                     int(moments.size()) - 1);
        return 1;
    }
    std::printf("tic_error_p50_ms: %.3f ms\n", bench::percentile(errors, 0.50));
    std::printf("tic_error_p99_ms: %.3f ms\n", bench::percentile(errors, 0.99));
    std::printf("tic_error_max_ms: %.3f ms\n", bench::percentile(errors, 1.0));
    return 0;
}
