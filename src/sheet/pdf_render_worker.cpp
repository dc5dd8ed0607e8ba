#include "sheet/pdf_render_worker.h"

#include <QPainter>

namespace mv {

void PdfRenderWorker::render(quint64 serial, const QString& path, int page, QSize size) {
    if (!doc_ || path != path_) {
        delete doc_;
        doc_ = new QPdfDocument(this);
        path_ = path;
        doc_->load(path);
    }
    QImage out(size, QImage::Format_RGB32);
    out.fill(Qt::white);
    if (doc_->status() == QPdfDocument::Status::Ready && page < doc_->pageCount()) {
        // QtPdf draws black ink on a transparent ground: lay it on white.
        const QImage ink = doc_->render(page, size);
        QPainter g(&out);
        g.drawImage(0, 0, ink);
    }
    emit rendered(serial, page, size, out);
}

} // namespace mv
