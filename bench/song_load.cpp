// From a press on the song list to the first page of a 10-page sheet being
// painted, less the half second the load waits on purpose.

#include "bench_util.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "pdf_gen.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"
#include "transport/song_loading.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    std::vector<QPointF> marks(10, QPointF(100, 100));
    mv::SystemClock clock;
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    mv::test::FakePlayer player(clock);
    s.player = &player;
    auto* viewer = new mv::QtPdfViewer;
    s.adobeF.AcroPDF1 = viewer;
    mv::installReadoutFields(s);
    mv::installSheetGeometry(s);
    mv::installSongLoading(s);
    mv::SheetWindow w(s, viewer);
    s.adobeF.Visible.set(true);
    s.velmor.Text1.setText(dir.path());
    std::vector<double> loads;
    for (int i = 0; i < 10; ++i) {
        const QString name = QStringLiteral("Song%1").arg(i);
        mv::test::writeMarkedPdf(dir.filePath(name + ".pdf"), marks);
        QFile map(dir.filePath(name + ".map"));
        map.open(QIODevice::WriteOnly);
        map.write("90@\r\n0%\r\n 80^\r\n1000\r\n1\r\n2\r\n0\r\nFalse\r\nFalse\r\n");
        map.close();
        s.velmor.File1List.set({name + ".pdf"});
        s.velmor.File1ListIndex.set(0);
        bool painted = false;
        auto c = QObject::connect(viewer, &mv::QtPdfViewer::pagePainted,
                                  [&](int p) { painted = p == 1; });
        QElapsedTimer t;
        t.start();
        s.File1_MouseDown(1, 0, 0, 0);
        bench::runUntil([&] { return painted; }, 10000);
        loads.push_back(t.nsecsElapsed() / 1e6 - 500);
        QObject::disconnect(c);
    }
    std::printf("load_ms: %.1f ms\n", bench::percentile(loads, 0.5));
    std::printf("load_max_ms: %.1f ms\n", bench::percentile(loads, 1.0));
    return 0;
}
