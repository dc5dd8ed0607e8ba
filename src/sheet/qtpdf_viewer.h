#pragma once
// The PDF viewer on QtPdf: a passive page renderer for the sheet windows.
// Pages are placed by page_geometry.h (20 twips a point at zoom 100, one
// fixed top margin, centred in the width).  The viewer's area may be much
// taller than the window; only the exposed part is painted.  The page on
// show and its neighbours are rendered ahead on a worker thread, so a page
// turn paints at once from the cache; at most a few pages are kept.

#include "sheet/pdf_viewer.h"

#include <QHash>
#include <QImage>
#include <QPdfDocument>
#include <QPointer>
#include <QThread>
#include <QWidget>

namespace mv {

class PdfRenderWorker;

class QtPdfViewer : public QWidget, public PdfViewer {
    Q_OBJECT
    Q_PROPERTY(int currentPage READ currentPage) // what a test script reads
  public:
    explicit QtPdfViewer(QWidget* parent = nullptr);
    ~QtPdfViewer() override;

    void LoadFile(const QString& path) override;
    void unloadFile() override;
    void gotoFirstPage() override;
    void gotoNextPage() override;
    void gotoPreviousPage() override;
    void setPageMode(const QString& mode) override;
    void setZoom(float percent) override;

    // For the host and for tests.
    int currentPage() const { return page_ + 1; } // 1-based; 0 with no document
    int pageCount() const { return doc_.pageCount(); }
    float zoom() const { return zoom_; }
    // Where a point of the page on show (PDF points from its top-left) lands
    // in this widget, in pixels.
    QPointF pointToWidget(QPointF pt) const;
    // The page's rectangle in this widget, in pixels.
    QRectF pageRect() const;
    // Pages kept in the cache (for the memory bound).
    int cachedPages() const { return int(cache_.size()); }
    // The bytes of the rendered pages kept.
    qint64 cachedBytes() const;
    // The most pixels one page is rendered with: at a zoom that asks for
    // more (above about 430 % on A4) the page is rendered at this size and
    // drawn enlarged, so that memory stays bounded (a zoom of 3000 asked
    // for 1.8 billion pixels, 7 GB, a page).  64 MB a page, five kept.
    static constexpr qint64 kMaxRenderPixels = 16'000'000;

  signals:
    // The page on show has been painted at its exact size.
    void pagePainted(int page);
    void renderRequested(quint64 serial, const QString& path, int page, QSize size);

  protected:
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;

  private:
    struct Key {
        int page;
        QSize size;
        bool operator==(const Key& o) const { return page == o.page && size == o.size; }
    };
    friend size_t qHash(const Key& k, size_t seed) {
        return qHashMulti(seed, k.page, k.size.width(), k.size.height());
    }
    // The page's size on screen at the zoom, in pixels.
    QSize imageSize(int page) const;
    // The size it is rendered at: imageSize, no more than kMaxRenderPixels.
    QSize renderSize(int page) const;
    void requestAround();
    void onRendered(quint64 serial, int page, QSize size, const QImage& image);
    void showPage(int page);

    QPdfDocument doc_;
    QString path_;
    int page_ = 0;
    float zoom_ = 100;
    quint64 serial_ = 0;
    QHash<Key, QImage> cache_;
    QHash<Key, bool> pending_;
    QThread thread_;
    PdfRenderWorker* worker_ = nullptr;
};

} // namespace mv
