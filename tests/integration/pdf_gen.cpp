#include "pdf_gen.h"

#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

namespace mv::test {

void writeMarkedPdf(const QString& path, const std::vector<QPointF>& marks) {
    QPdfWriter w(path);
    w.setPageLayout(QPageLayout(QPageSize(QPageSize::Letter), QPageLayout::Portrait, QMarginsF()));
    w.setResolution(72); // painter units are PDF points
    QPainter g(&w);
    for (size_t i = 0; i < marks.size(); ++i) {
        if (i) w.newPage();
        g.fillRect(QRectF(marks[i], QSizeF(kMarkSizePt, kMarkSizePt)), Qt::black);
        g.drawText(QPointF(300, 760), QString::number(i + 1));
    }
}

} // namespace mv::test
