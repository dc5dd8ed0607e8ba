// Edit mode on a full map: a generated map of 5000 tics (a scroll change
// every 4, a page turn every 24) over a generated 50-page sheet in the real
// sheet window and PDF viewer, the real event loop and clock.  Times the
// entry into edit mode (the map read into the table), 1000 steps forward
// each with the events that follow it (the window's repaint), and the
// leaving with the table written back; entry and leaving five times each.
// Then the history: 1000 mixed edits on the map, each undone and redone
// (the sheet following); and the waveform strip: the peaks of a generated
// 10-minute song (decoded, no cache, then from the cache, on a worker
// thread as in the program) and the strip's drawing around the rows.
//   edit_table [rows]

#include "align/wave_strip.h"
#include "align/waveform.h"
#include "bench_util.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "fakes.h"
#include "pdf_gen.h"
#include "recording/edit_history.h"
#include "recording/edit_mode.h"
#include "recording/recording_install.h"
#include "recording/tic_ops.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"

#include <QApplication>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>
#include <sndfile.h>
#include <thread>

using namespace mv;

namespace {

double elapsedMs(const QElapsedTimer& t) { return double(t.nsecsElapsed()) / 1e6; }

// The calling thread's own CPU time: on a shared machine the wall clock also
// counts the time other programs had the core.
double threadCpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

// All threads' CPU: the peaks' decoding runs on two.
double processCpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

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

// A stereo 44.1 kHz 16-bit WAV of `seconds`: a tone that swells and fades.
// A stereo song of `seconds`, as an MP3 (encoded by libsndfile) or a WAV.
bool writeSong(const QString& path, int seconds, bool mp3) {
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format =
        mp3 ? SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III : SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* f = sf_open(path.toLocal8Bit().constData(), SFM_WRITE, &info);
    if (!f) return false;
    std::vector<short> block(size_t(44100) * 2);
    for (int sec = 0; sec < seconds; ++sec) {
        for (int i = 0; i < 44100; ++i) {
            const double t = sec + i / 44100.0;
            const double v = 12000 * std::sin(2 * M_PI * 220 * t) * (0.5 + 0.5 * std::sin(t));
            block[size_t(2 * i)] = block[size_t(2 * i + 1)] = short(v);
        }
        sf_writef_short(f, block.data(), 44100);
    }
    sf_close(f);
    return true;
}

// One mixed edit at a random row, through the handlers the buttons reach.
void mixedEdit(Session& s, std::mt19937& rng, int rows) {
    s.adobeF.Text3.setNumber(int(rng() % unsigned(rows - 2)) + 1);
    switch (rng() % 5) {
    case 0: adobeF::Command9_Click(s); break;  // Insert
    case 1: adobeF::Command10_Click(s); break; // Delete
    case 2: adobeF::AdjB_Click(s); break;
    case 3: adobeF::Label4_MouseDown(s, 1); break; // TIC halved
    default:
        s.adobeF.Text1.setNumber(100 + rng() % 9000); // X typed
        adobeF::CellTyped(s, QStringLiteral("Text1"));
    }
}

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
    // The history.
    pressEdit(window);
    QApplication::processEvents();
    std::vector<double> records, undos, redos, undoCpu, redoCpu;
    constexpr int kEdits = 1000;
    QElapsedTimer t;
    for (int i = 0; i < kEdits; ++i) {
        t.restart();
        mixedEdit(s, rng, rows);
        records.push_back(elapsedMs(t));
    }
    const int historySteps = s.history->stack().count();
    const QByteArray edited = s.tic.Tic[size_t(rows / 2)].toLatin1();
    for (int i = 0; i < historySteps; ++i) {
        t.restart();
        const double cpu = threadCpuMs();
        adobeF::UndoB_Click(s);
        QApplication::processEvents();
        undoCpu.push_back(threadCpuMs() - cpu);
        undos.push_back(elapsedMs(t));
    }
    const bool undoneAll = !s.history->stack().canUndo();
    for (int i = 0; i < historySteps; ++i) {
        t.restart();
        const double cpu = threadCpuMs();
        adobeF::RedoB_Click(s);
        QApplication::processEvents();
        redoCpu.push_back(threadCpuMs() - cpu);
        redos.push_back(elapsedMs(t));
    }
    if (!undoneAll || s.history->stack().canRedo() || s.tic.Tic[size_t(rows / 2)] != edited) {
        std::fprintf(stderr, "edit_table: undo and redo did not walk the whole history\n");
        return 1;
    }
    adobeF::Command7_MouseDown(s, 2); // leave without saving

    // The waveform: a 10-minute song, an MP3 as real songs are, decoded and
    // reduced without a cache, then read from the cache; each on a worker
    // thread, waited for.  The same from a WAV for comparison.
    const QString song = dir.filePath(QStringLiteral("Long.mp3"));
    const QString wav = dir.filePath(QStringLiteral("Long.wav"));
    if (!writeSong(song, 600, true) || !writeSong(wav, 600, false)) {
        std::fprintf(stderr, "edit_table: cannot write the song\n");
        return 1;
    }
    double workerCpu = 0;
    auto timedLoad = [&](const QString& file, align::Peaks& out) {
        QElapsedTimer w;
        w.start();
        const double cpu = processCpuMs();
        std::thread worker([&] { out = align::loadPeaks(dir.path(), file); });
        worker.join();
        workerCpu = processCpuMs() - cpu;
        return elapsedMs(w);
    };
    align::Peaks peaks, cached, wavPeaks;
    const double peaksMs = timedLoad(song, peaks);
    const double peaksCpu = workerCpu;
    const double cachedMs = timedLoad(song, cached);
    const double wavMs = timedLoad(wav, wavPeaks);
    if (peaks.lo.size() < size_t(599 * peaks.perSecond) || cached.hi != peaks.hi) {
        std::fprintf(stderr, "edit_table: the peaks are not the song's\n");
        return 1;
    }
    // Drawing: the strip in edit mode over the 5000-row map, rendered at
    // each of 300 rows, at the default view and zoomed out to a minute.
    // The tics (about 1.3 s each) spread over the 10 minutes.
    s.velmor.Text5.setText(QStringLiteral("0.09"));
    align::installWaveStrip(s, window);
    auto* strip = window.findChild<align::WaveStrip*>(QStringLiteral("Wave"));
    pressEdit(window);
    QApplication::processEvents();
    strip->setPeaks(std::make_shared<const align::Peaks>(peaks), song);
    strip->resize(900, 110);
    QImage image(strip->size(), QImage::Format_ARGB32_Premultiplied);
    std::vector<double> draws, drawCpu;
    for (int zoom = 0; zoom < 2; ++zoom) {
        if (zoom == 1) {
            QWheelEvent out(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, -120 * 9),
                            Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(strip, &out);
        }
        for (int i = 0; i < 300; ++i) {
            s.g.CursorIndex = int16_t(i * (rows - 1) / 300);
            t.restart();
            const double cpu = threadCpuMs();
            strip->render(&image);
            drawCpu.push_back(threadCpuMs() - cpu);
            draws.push_back(elapsedMs(t));
        }
    }
    adobeF::Command7_MouseDown(s, 2);

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
    std::printf("history_steps: %d count\n", historySteps);
    std::printf("edit_record_p99_ms: %.2f ms\n", bench::percentile(records, 0.99));
    std::printf("undo_p99_ms: %.2f ms\n", bench::percentile(undos, 0.99));
    std::printf("redo_p99_ms: %.2f ms\n", bench::percentile(redos, 0.99));
    std::printf("undo_max_ms: %.2f ms\n", bench::percentile(undos, 1.0));
    std::printf("undo_cpu_p99_ms: %.2f ms\n", bench::percentile(undoCpu, 0.99));
    std::printf("redo_cpu_p99_ms: %.2f ms\n", bench::percentile(redoCpu, 0.99));
    std::printf("waveform_peaks_ms: %.1f ms\n", peaksMs);
    std::printf("waveform_peaks_cpu_ms: %.1f ms\n", peaksCpu);
    std::printf("waveform_peaks_cached_ms: %.1f ms\n", cachedMs);
    std::printf("waveform_peaks_wav_ms: %.1f ms\n", wavMs);
    std::printf("waveform_draw_p99_ms: %.2f ms\n", bench::percentile(draws, 0.99));
    std::printf("waveform_draw_cpu_p99_ms: %.2f ms\n", bench::percentile(drawCpu, 0.99));
    std::printf("waveform_draw_p50_ms: %.2f ms\n", bench::percentile(draws, 0.5));
    return 0;
}
