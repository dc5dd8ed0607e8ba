#pragma once
// Multi-page test PDFs made with Qt's own PDF writer: on each page a black
// square mark at a known place (PDF points from the page's top-left).

#include <QPointF>
#include <QString>
#include <vector>

namespace mv::test {

constexpr double kMarkSizePt = 12;

// Letter pages (612 x 792 pt); page i (0-based) carries its mark at marks[i].
void writeMarkedPdf(const QString& path, const std::vector<QPointF>& marks);

} // namespace mv::test
