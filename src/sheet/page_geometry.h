#pragma once
// Where a PDF page lands in the viewer's area.  Stored maps depend on these
// numbers: every page is drawn alike from the top of the viewer's area, one
// fixed margin down, centred in the viewer's width; at zoom 100 one PDF point
// is 20 twips (96 dpi at 15 twips a pixel), and a smaller zoom shrinks the
// page about the middle of the width.  All results in twips, relative to the
// viewer's own top-left corner.

#include <QPointF>
#include <QSizeF>

namespace mv::page {

constexpr double kTwipsPerPoint = 20.0;   // at zoom 100
constexpr double kTopMarginTwips = 300.0; // 20 pixels

// Twips per PDF point at `zoomPercent`.
constexpr double scale(double zoomPercent) { return kTwipsPerPoint * zoomPercent / 100.0; }

// Left edge of the page in a viewer `viewerWidth` twips wide.
constexpr double pageLeft(double viewerWidth, double pageWidthPt, double zoomPercent) {
    return (viewerWidth - pageWidthPt * scale(zoomPercent)) / 2.0;
}

// A point of the page (PDF points from the page's top-left corner) in the
// viewer's area.
inline QPointF pointInViewer(QPointF pt, QSizeF pageSizePt, double viewerWidth,
                             double zoomPercent) {
    return {pageLeft(viewerWidth, pageSizePt.width(), zoomPercent) + pt.x() * scale(zoomPercent),
            kTopMarginTwips + pt.y() * scale(zoomPercent)};
}

} // namespace mv::page
