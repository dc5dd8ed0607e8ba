// Edit mode on a full map: a generated map of 5000 tics (a scroll change
// every 4, a page turn every 24) over a generated 50-page sheet in the real
// sheet window and PDF viewer, the real event loop and clock.  Times the
// entry into edit mode (the map read into the table), 1000 steps forward
// each with the events that follow it (the window's repaint), and the
// leaving with the table written back; entry and leaving five times each.
//   edit_table [rows]

#include "bench_util.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "fakes.h"
#include "pdf_gen.h"
#include "recording/edit_mode.h"
#include "recording/recording_install.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"

#include <QApplication>
#include <QFile>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <cstdio>
#include <random>

using namespace mv;

namespace {

double elapsedMs(const QElapsedTimer& t) { return double(t.nsecsElapsed()) / 1e6; }

// A left press on the Edit button, as the user gives it.
void pressEdit(SheetWindow& w) {
    QWidget* b = w.findChild<QWidget*>(QStringLiteral("Command7"));
    const QPointF at(2, 2);
    QMouseEvent e(QEvent::MouseButtonPress, at, b->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                  Qt::NoModifier);
    QApplication::sendEvent(b, &e);
}

// Counts the paints of a widget.
struct PaintCounter : QObject {
    int paints = 0;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++paints;
        return false;
    }
};

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int rows = argc > 1 ? std::clamp(atoi(argv[1]), 1, 5000) : 5000;
    constexpr int kPages = 50, kSteps = 1000, kCycles = 5;

    QTemporaryDir dir;
    std::vector<QPointF> marks;
    for (int i = 0; i < kPages; ++i)
        marks.push_back(QPointF(60 + (i * 37) % 400, 90 + (i * 53) % 600));
    const QString pdf = dir.filePath(QStringLiteral("Song.pdf"));
    test::writeMarkedPdf(pdf, marks);
    QStringList lines{"100@", "0%", "#1", "#2", "#3", "#4", "#5", "#6", " 80^"};
    std::mt19937 rng(11);
    std::uniform_int_distribution<int> tic(150, 2500);
    for (int i = 0; i < rows; ++i)
        lines << QString::number(tic(rng)) << printFormSingle(1500 + (i % 4) * 2100)
              << printFormSingle(1800 + (i / 4 % 3) * 2600) << QString::number(i / 4 % 2 * 8000)
              << boolText(i % 24 == 23) << QStringLiteral("False");
    const QString mapPath = dir.filePath(QStringLiteral("Song.map"));
    writeLinesAtomically(mapPath, lines);

    SystemClock clock;
    test::FakeMessages messages;
    Session s(clock, messages);
    test::FakePlayer player(clock);
    auto* viewer = new QtPdfViewer;
    SheetWindow window(s, viewer);
    test::attachSheetOne(s, player, *viewer);
    installSheetGeometry(s);
    installRecording(s);
    installRecordingControls(s, window);
    s.velmor.Text1.setText(dir.path());
    s.velmor.File1List.set({QStringLiteral("Song.pdf")});
    s.velmor.File1ListIndex.set(0);
    s.g.SongBase = dir.filePath(QStringLiteral("Song.mp3"));
    int shown = 0;
    QObject::connect(viewer, &QtPdfViewer::pagePainted, [&](int p) { shown = p; });
    viewer->LoadFile(pdf);
    bench::runUntil([&] { return shown == 1; }, 10000);
    PaintCounter cursorPaints;
    window.cursorWidget()->installEventFilter(&cursorPaints);

    std::vector<double> loads, writes, steps;
    int turns = 0, turnsPaintedInStep = 0, stepsPainted = 0;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        bench::runFor(50);
        QElapsedTimer t;
        t.start();
        pressEdit(window);
        QApplication::processEvents();
        loads.push_back(elapsedMs(t));
        if (!s.adobeF.Shape2.get() || s.tic.Tic[rows - 1].isEmpty()) {
            std::fprintf(stderr, "edit_table: edit mode did not load the map\n");
            return 1;
        }
        for (int i = 0; cycle == 0 && i < kSteps; ++i) {
            bench::runFor(int(rng() % 12)); // the pause between two presses
            const int page = viewer->currentPage();
            const int paintsBefore = cursorPaints.paints;
            t.restart();
            adobeF::StepForward(s);
            QApplication::processEvents();
            steps.push_back(elapsedMs(t));
            stepsPainted += cursorPaints.paints > paintsBefore;
            if (viewer->currentPage() != page) {
                ++turns;
                turnsPaintedInStep += shown == viewer->currentPage();
            }
        }
        if (cycle == 0 && s.g.CursorIndex != kSteps) {
            std::fprintf(stderr, "edit_table: stepped to row %d\n", int(s.g.CursorIndex));
            return 1;
        }
        bench::runFor(50);
        t.restart();
        pressEdit(window);
        writes.push_back(elapsedMs(t));
        QFile f(mapPath);
        const QStringList written =
            f.open(QIODevice::ReadOnly) ? splitLines(f.readAll()) : QStringList();
        if (s.adobeF.Shape2.get() || written.size() != lines.size() - 2) {
            // "@" and "%" are left out at zoom 100 and left 0
            std::fprintf(stderr, "edit_table: the map was not written back (%d lines)\n",
                         int(written.size()));
            return 1;
        }
    }
    std::printf("rows: %d count\n", rows);
    std::printf("edit_load_ms: %.2f ms\n", bench::percentile(loads, 0.5));
    std::printf("edit_load_max_ms: %.2f ms\n", bench::percentile(loads, 1.0));
    std::printf("step_p50_ms: %.2f ms\n", bench::percentile(steps, 0.5));
    std::printf("step_p99_ms: %.2f ms\n", bench::percentile(steps, 0.99));
    std::printf("step_max_ms: %.2f ms\n", bench::percentile(steps, 1.0));
    std::printf("steps_painted: %d count\n", stepsPainted);
    std::printf("page_turns: %d count\n", turns);
    std::printf("page_turns_painted_in_step: %d count\n", turnsPaintedInStep);
    std::printf("table_write_ms: %.2f ms\n", bench::percentile(writes, 0.5));
    std::printf("table_write_max_ms: %.2f ms\n", bench::percentile(writes, 1.0));
    return 0;
}
