#include "sheet/qtpdf_viewer.h"

#include "core/values.h"
#include "sheet/page_geometry.h"
#include "sheet/pdf_render_worker.h"

#include <QFileInfo>
#include <QPaintEvent>
#include <QPainter>
#include <cmath>

namespace mv {

namespace {
constexpr int kAhead = 2; // pages kept and rendered on each side of the one on show
constexpr double kTwipsPerPixel = 15.0;
} // namespace

QtPdfViewer::QtPdfViewer(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("AcroPDF1"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    worker_ = new PdfRenderWorker;
    worker_->moveToThread(&thread_);
    connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
    connect(this, &QtPdfViewer::renderRequested, worker_, &PdfRenderWorker::render,
            Qt::QueuedConnection);
    connect(worker_, &PdfRenderWorker::rendered, this, &QtPdfViewer::onRendered,
            Qt::QueuedConnection);
    thread_.start();
}

QtPdfViewer::~QtPdfViewer() {
    thread_.quit();
    thread_.wait();
}

void QtPdfViewer::unloadFile() {
    ++serial_; // answers for the old document are dropped
    cache_.clear();
    pending_.clear();
    path_.clear();
    page_ = 0;
    doc_.close();
    shownPage.set(0);
    update();
}

void QtPdfViewer::LoadFile(const QString& path) {
    unloadFile();
    if (!QFileInfo(path).isFile()) throw Failure(53, QStringLiteral("File not found: ") + path);
    const QPdfDocument::Error err = doc_.load(path);
    if (err != QPdfDocument::Error::None || doc_.pageCount() < 1) {
        doc_.close();
        const QString why = err == QPdfDocument::Error::IncorrectPassword
                                ? QStringLiteral("The PDF is protected by a password: ")
                                : QStringLiteral("The file cannot be read as a PDF: ");
        throw Failure(75, why + path);
    }
    path_ = path;
    shownPage.set(1);
    requestAround();
}

void QtPdfViewer::showPage(int page) {
    if (doc_.pageCount() < 1) return;
    page = std::clamp(page, 0, doc_.pageCount() - 1);
    if (page == page_) return;
    page_ = page;
    shownPage.set(page_ + 1);
    requestAround();
    update();
}

void QtPdfViewer::gotoFirstPage() { showPage(0); }
void QtPdfViewer::gotoNextPage() { showPage(page_ + 1); }
void QtPdfViewer::gotoPreviousPage() { showPage(page_ - 1); }
void QtPdfViewer::setPageMode(const QString&) {} // no side panels exist

void QtPdfViewer::setZoom(float percent) {
    if (!(percent > 0) || percent == zoom_) return;
    zoom_ = percent;
    requestAround();
    update();
}

QSize QtPdfViewer::imageSize(int page) const {
    const QSizeF pt = doc_.pagePointSize(page);
    const double pxPerPoint = page::scale(zoom_) / kTwipsPerPixel;
    return QSize(std::max(1, int(std::lround(pt.width() * pxPerPoint))),
                 std::max(1, int(std::lround(pt.height() * pxPerPoint))));
}

QSize QtPdfViewer::renderSize(int page) const {
    const QSize full = imageSize(page);
    const double pixels = double(full.width()) * full.height();
    if (pixels <= double(kMaxRenderPixels)) return full;
    const double f = std::sqrt(double(kMaxRenderPixels) / pixels);
    return QSize(std::max(1, int(full.width() * f)), std::max(1, int(full.height() * f)));
}

qint64 QtPdfViewer::cachedBytes() const {
    qint64 sum = 0;
    for (const QImage& i : cache_)
        sum += i.sizeInBytes();
    return sum;
}

QRectF QtPdfViewer::pageRect() const {
    if (doc_.pageCount() < 1) return {};
    const QSizeF pt = doc_.pagePointSize(page_);
    const double left =
        page::pageLeft(width() * kTwipsPerPixel, pt.width(), zoom_) / kTwipsPerPixel;
    const QSize size = imageSize(page_);
    return QRectF(std::round(left), page::kTopMarginTwips / kTwipsPerPixel, size.width(),
                  size.height());
}

QPointF QtPdfViewer::pointToWidget(QPointF pt) const {
    const QRectF r = pageRect();
    const double pxPerPoint = page::scale(zoom_) / kTwipsPerPixel;
    return {r.left() + pt.x() * pxPerPoint, r.top() + pt.y() * pxPerPoint};
}

void QtPdfViewer::requestAround() {
    if (path_.isEmpty()) return;
    // Drop what lies too far from the page on show, or at another size.
    for (auto it = cache_.begin(); it != cache_.end();) {
        // The page on show keeps an older size until the new one is there.
        const bool keep = std::abs(it.key().page - page_) <= kAhead &&
                          (it.key().size == renderSize(it.key().page) || it.key().page == page_);
        it = keep ? std::next(it) : cache_.erase(it);
    }
    const int order[] = {0, 1, -1, 2, -2};
    for (int d : order) {
        const int p = page_ + d;
        if (p < 0 || p >= doc_.pageCount()) continue;
        const Key k{p, renderSize(p)};
        if (cache_.contains(k) || pending_.contains(k)) continue;
        pending_.insert(k, true);
        emit renderRequested(serial_, path_, p, k.size);
    }
}

void QtPdfViewer::onRendered(quint64 serial, int page, QSize size, const QImage& image) {
    const Key k{page, size};
    pending_.remove(k);
    if (serial != serial_ || std::abs(page - page_) > kAhead || size != renderSize(page)) return;
    for (auto it = cache_.begin(); it != cache_.end();)
        it = it.key().page == page ? cache_.erase(it) : std::next(it);
    cache_.insert(k, image);
    if (page == page_) update();
}

void QtPdfViewer::resizeEvent(QResizeEvent*) { requestAround(); }

void QtPdfViewer::paintEvent(QPaintEvent* e) {
    QPainter g(this);
    g.fillRect(e->rect(), QColor(128, 128, 128));
    if (doc_.pageCount() < 1) return;
    const QRectF r = pageRect();
    if (!r.intersects(e->rect())) return;
    const Key k{page_, renderSize(page_)};
    const auto exact = cache_.constFind(k);
    if (exact != cache_.constEnd()) {
        // Drawn enlarged where the zoom asks for more than is rendered.
        if (k.size == r.size().toSize())
            g.drawImage(r.topLeft(), *exact);
        else
            g.drawImage(r, *exact);
        emit pagePainted(page_ + 1);
        return;
    }
    // Not rendered yet at this size: an older rendering scaled, or white.
    for (auto it = cache_.constBegin(); it != cache_.constEnd(); ++it) {
        if (it.key().page == page_) {
            g.drawImage(r, *it);
            return;
        }
    }
    g.fillRect(r, Qt::white);
}

} // namespace mv
