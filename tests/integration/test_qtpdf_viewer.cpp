// The real QtPdf viewer on a PDF we make: a mark on the page lands where the
// placement rule says, at zoom 100 and 80, after page turns and with the
// sheet scrolled in sheet window 1; turns at the ends raise nothing; a bad
// file fails clearly and the viewer goes on working; unloaded, it is empty.

#include "core/qt_bind.h"
#include "core/session_state.h"
#include "fakes.h"
#include "pdf_gen.h"
#include "sheet/page_geometry.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_window.h"
#include "stage.h"
#include "test_files.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// Expects the top-left pixel of the dark square in `img` at `twips` (within
// a pixel), searching 20 px around it.
void expectMarkAt(const QImage& img, QPointF twips) {
    const QPoint want(int(std::lround(twips.x() / 15)), int(std::lround(twips.y() / 15)));
    const QRect area = QRect(want - QPoint(20, 20), QSize(60, 60)).intersected(img.rect());
    QPoint got(-1, -1);
    for (int y = area.top(); y <= area.bottom() && got.x() < 0; ++y)
        for (int x = area.left(); x <= area.right() && got.x() < 0; ++x)
            if (qGray(img.pixel(x, y)) < 60) got = {x, y};
    EXPECT_LE(std::max(std::abs(got.x() - want.x()), std::abs(got.y() - want.y())), 1)
        << got.x() << "," << got.y();
}

// Waits until the viewer has painted the page on show at its exact size.
bool painted(QtPdfViewer& v, QWidget& top) {
    QSignalSpy spy(&v, &QtPdfViewer::pagePainted);
    for (int i = 0; i < 200 && spy.isEmpty(); ++i) {
        top.repaint();
        QTest::qWait(10);
    }
    return !spy.isEmpty();
}

const std::vector<QPointF> kMarks = {{100, 100}, {400, 600}, {50, 300}};

class QtPdfViewerTest : public ::testing::Test {
  protected:
    QtPdfViewerTest() { writeMarkedPdf(dir.filePath("marks.pdf"), kMarks); }
    QTemporaryDir dir;
};

// Turns at the ends raise nothing and keep the page; on page 2 the mark
// lands by the placement rule at zoom 100 and 80.  A missing or bad file
// fails clearly, and the viewer shows nothing and goes on.
TEST_F(QtPdfViewerTest, MarkLandsByThePlacementRuleTurnsStopAtTheEndsBadFilesFailClearly) {
    QtPdfViewer v;
    v.resize(950, 1400);
    v.show();
    v.LoadFile(dir.filePath("marks.pdf"));
    EXPECT_EQ(v.pageCount(), 3);
    QList<int> pages;
    for (auto turn :
         {&QtPdfViewer::gotoPreviousPage, &QtPdfViewer::gotoNextPage, &QtPdfViewer::gotoNextPage,
          &QtPdfViewer::gotoNextPage, &QtPdfViewer::gotoFirstPage, &QtPdfViewer::gotoNextPage}) {
        (v.*turn)();
        pages << v.currentPage();
    }
    EXPECT_EQ(pages, QList<int>({1, 2, 3, 3, 1, 2}));
    ASSERT_TRUE(painted(v, v));
    for (float zoom : {100.0f, 80.0f}) {
        v.setZoom(zoom);
        ASSERT_TRUE(painted(v, v));
        SCOPED_TRACE(zoom);
        expectMarkAt(v.grab().toImage(),
                     page::pointInViewer(kMarks[1], QSizeF(612, 792), 950 * 15.0, zoom));
    }

    // A zoom of 3000 renders no page above the bound, and the mark stays
    // where the rule puts it.
    v.setZoom(3000);
    ASSERT_TRUE(painted(v, v));
    EXPECT_LE(v.cachedBytes(), 5 * QtPdfViewer::kMaxRenderPixels * 4);
    EXPECT_GT(v.pageRect().width(), 20000); // the page on screen at its full size
    v.setZoom(100);

    v.setPageMode("none");
    ASSERT_TRUE(writeFile(dir.filePath("bad.pdf"), "this is no pdf"));
    try {
        v.LoadFile(dir.filePath("bad.pdf"));
        ADD_FAILURE() << "no failure";
    } catch (const Failure& f) {
        EXPECT_TRUE(f.description().contains("cannot be read as a PDF"));
    }
    EXPECT_EQ(v.pageCount(), 0);
    EXPECT_THROW(v.LoadFile(dir.filePath("missing.pdf")), Failure);
    v.gotoNextPage(); // harmless with no document
    v.LoadFile(dir.filePath("marks.pdf"));
    EXPECT_EQ(v.pageCount(), 3);
    v.unloadFile(); // a song without a sheet
    EXPECT_EQ(v.pageCount(), 0);
}

TEST_F(QtPdfViewerTest, InSheetWindowTheMarkMovesUpWithV) {
    Stage st;
    Session& s = st.s;
    auto* viewer = new QtPdfViewer;
    s.adobeF.AcroPDF1 = viewer;
    SheetWindow w(s, viewer);
    s.adobeF.AcroPDF1Height.set(1.55 * 1080 * 15);
    s.adobeF.Picture3Height.set(2 * 1080 * 15);
    w.show();
    viewer->LoadFile(dir.filePath("marks.pdf"));
    viewer->gotoNextPage();
    s.adobeF.VScroll1.set(8500);
    ASSERT_TRUE(painted(*viewer, w));
    // In the window: the viewer's own position in the carrier, minus V.
    expectMarkAt(w.grab().toImage(),
                 page::pointInViewer(kMarks[1], QSizeF(612, 792), viewer->width() * 15.0, 100) -
                     QPointF(0, 8500));
}

} // namespace
