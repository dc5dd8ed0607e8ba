// How fast a page turn shows: a 20-page PDF in a viewer of the sheet
// window's built-in size, 200 turns at random moments, from the call to the
// new page's pixels being painted.  The same from a press on the touch
// overlay's side zones and from a pedal's Page Down / Page Up key on the real
// sheet window.  Also the render time of one page at zoom 100 and the memory
// with a 40-page PDF after visiting every page.

#include "bench_util.h"
#include "core/clock.h"
#include "core/session_state.h"
#include "core/window_registry.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "pdf_gen.h"
#include "sheet/navigation.h"
#include "sheet/panels.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_views_install.h"
#include "sheet/sheet_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPdfDocument>
#include <QTemporaryDir>
#include <cstdio>
#include <random>

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    std::vector<QPointF> marks;
    for (int i = 0; i < 40; ++i)
        marks.push_back(QPointF(50 + (i * 37) % 400, 80 + (i * 53) % 600));
    const QString pdf20 = dir.filePath("20.pdf"), pdf40 = dir.filePath("40.pdf");
    mv::test::writeMarkedPdf(pdf20, std::vector<QPointF>(marks.begin(), marks.begin() + 20));
    mv::test::writeMarkedPdf(pdf40, marks);

    // The viewer at the built-in size: 14230 twips wide, 1.55 screens tall.
    mv::QtPdfViewer v;
    v.resize(14230 / 15, int(1.55 * 1080));
    v.show();
    int painted = 0;
    QObject::connect(&v, &mv::QtPdfViewer::pagePainted, [&](int p) { painted = p; });
    v.LoadFile(pdf20);
    bench::runUntil([&] { return painted == 1; }, 5000);

    std::mt19937 rng(7);
    std::vector<double> turns;
    for (int i = 0; i < 200; ++i) {
        bench::runFor(int(rng() % 120)); // a random moment; render-ahead may run meanwhile
        const bool forward = v.currentPage() == 1 || (v.currentPage() < 20 && rng() % 3 != 0);
        QElapsedTimer t;
        t.start();
        painted = 0;
        forward ? v.gotoNextPage() : v.gotoPreviousPage();
        const int want = v.currentPage();
        bench::runUntil([&] { return painted == want; }, 5000);
        turns.push_back(t.nsecsElapsed() / 1e6);
    }
    // One page at zoom 100 (816 x 1056 px for Letter): a real engraved
    // sheet, the demo's, when the sources are at hand.
    QPdfDocument doc;
    const QString demo = QStringLiteral(MELLIVANE_SOURCE_DIR "/demo/songs/Twinkle Twinkle.pdf");
    const bool engraved = doc.load(demo) == QPdfDocument::Error::None;
    if (!engraved) doc.load(pdf20);
    std::vector<double> renders;
    for (int i = 0; i < 15; ++i) {
        QElapsedTimer t;
        t.start();
        const QImage img = doc.render(i % doc.pageCount(), QSize(816, 1056));
        renders.push_back(t.nsecsElapsed() / 1e6);
    }
    std::printf("render_source: %s\n", engraved ? "demo sheet" : "generated marks");
    v.LoadFile(pdf40);
    for (int p = 1; p < 40; ++p) {
        painted = 0;
        v.gotoNextPage();
        bench::runUntil([&] { return painted == p + 1; }, 5000);
    }
    bench::runFor(300);
    // The real sheet window over its own viewer, with the overlay raised.
    mv::SystemClock clock;
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    mv::WindowRegistry windows;
    auto* sheetViewer = new mv::QtPdfViewer;
    s.adobeF.AcroPDF1 = sheetViewer;
    mv::installReadoutFields(s);
    mv::installNavigation(s);
    windows.define("AdobeF", [&] { return new mv::SheetWindow(s, sheetViewer); });
    mv::installSheetViews(s, windows, {});
    QWidget* sheet = windows.get("AdobeF");
    sheet->resize(16505 / 15, 1000);
    sheet->show();
    s.adobeF.Visible.set(true);
    int sheetPainted = 0;
    QObject::connect(sheetViewer, &mv::QtPdfViewer::pagePainted, [&](int p) { sheetPainted = p; });
    sheetViewer->LoadFile(pdf20);
    bench::runUntil([&] { return sheetPainted == 1; }, 5000);
    mv::raiseOverlay(s, false);
    QWidget* overlay = windows.get("Form1");
    // One turn: `act` forward or back, timed to the new page painted.
    auto timedTurn = [&](const std::function<void(bool)>& act, std::vector<double>& out) {
        const int page = sheetViewer->currentPage();
        const bool forward = page == 1 || (page < 20 && rng() % 3 != 0);
        QElapsedTimer t;
        t.start();
        sheetPainted = 0;
        act(forward);
        const int want = page + (forward ? 1 : -1);
        bench::runUntil([&] { return sheetPainted == want; }, 5000);
        out.push_back(t.nsecsElapsed() / 1e6);
    };
    std::vector<double> overlayTurns, pedalTurns;
    for (int i = 0; i < 100; ++i) {
        bench::runFor(int(rng() % 120));
        timedTurn(
            [&](bool forward) {
                const QPointF at(forward ? overlay->width() * 0.75 : overlay->width() * 0.25,
                                 overlay->height() * 0.6);
                const QPointF global = overlay->mapToGlobal(at);
                QMouseEvent down(QEvent::MouseButtonPress, at, global, Qt::LeftButton,
                                 Qt::LeftButton, Qt::NoModifier);
                QApplication::sendEvent(overlay, &down);
                QMouseEvent up(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton,
                               Qt::NoModifier);
                QApplication::sendEvent(overlay, &up);
            },
            overlayTurns);
    }
    for (int i = 0; i < 60; ++i) {
        bench::runFor(300 + int(rng() % 60)); // a pedal's presses: past the bounce time
        timedTurn(
            [&](bool forward) {
                QKeyEvent key(QEvent::KeyPress, forward ? Qt::Key_PageDown : Qt::Key_PageUp,
                              Qt::NoModifier);
                QApplication::sendEvent(sheet, &key);
            },
            pedalTurns);
    }
    windows.unload("Form1");
    windows.unload("AdobeF");
    std::printf("turn_p50_ms: %.2f ms\n", bench::percentile(turns, 0.5));
    std::printf("turn_p99_ms: %.2f ms\n", bench::percentile(turns, 0.99));
    std::printf("overlay_turn_p50_ms: %.2f ms\n", bench::percentile(overlayTurns, 0.5));
    std::printf("overlay_turn_p99_ms: %.2f ms\n", bench::percentile(overlayTurns, 0.99));
    std::printf("pedal_turn_p50_ms: %.2f ms\n", bench::percentile(pedalTurns, 0.5));
    std::printf("pedal_turn_p99_ms: %.2f ms\n", bench::percentile(pedalTurns, 0.99));
    std::printf("render_page_ms: %.2f ms\n", bench::percentile(renders, 0.5));
    std::printf("rss_mb: %.1f MB\n", bench::rssMb());
    std::printf("cached_pages: %d count\n", v.cachedPages());
    return 0;
}
