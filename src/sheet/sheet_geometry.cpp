#include "sheet/sheet_geometry.h"

#include "core/session_state.h"
#include "sheet/pdf_viewer.h"

#include <algorithm>
#include <cmath>

namespace mv {

namespace {
// Room for the window manager's frame between the main window and the
// sheet window.
constexpr double kFrameGap = 300;
} // namespace

TwipRect fitInto(TwipRect r, const TwipRect& screen) {
    r.width = std::min(r.width, screen.width);
    r.height = std::min(r.height, screen.height);
    r.left = std::clamp(r.left, screen.left, screen.right() - r.width);
    r.top = std::clamp(r.top, screen.top, screen.bottom() - r.height);
    return r;
}

TwipRect sheetOnePlace(const Session& s, bool placeFileRead, const TwipRect& screen) {
    const VelmorState& v = s.velmor;
    TwipRect r{screen.left, 1, v.PDFWidth.value(), screen.height};
    if (placeFileRead) {
        r = {s.adobeF.Left, s.adobeF.Top, v.PDFWidth.value(), v.PDFHeight.value()};
    } else {
        r.left = v.WindowLeft + v.WindowWidth.get() + kFrameGap;
        r.width = std::min(r.width, screen.right() - r.left);
    }
    return fitInto(r, screen);
}

int viewerZoomOf(const Session& s) {
    try {
        const double z = std::trunc(strictNumber(s.velmor.ZoomIt.text()));
        return z > 1e6 ? -1 : static_cast<int>(z);
    } catch (const Failure&) {
        return -1;
    }
}

void installSheetGeometry(Session& s) {
    s.adobeF.ZoomThis.always([&s] { s.velmor.ZoomIt.setText(s.adobeF.ZoomThis.text()); });
    s.velmor.ZoomIt.always([&s] {
        if (s.velmor.ZoomIt.value() > 25) {
            const int z = viewerZoomOf(s);
            if (z > 0 && s.adobeF.AcroPDF1) s.adobeF.AcroPDF1->setZoom(static_cast<float>(z));
        }
        s.adobeF.ZoomThis.setText(s.velmor.ZoomIt.text());
    });
    // Either left field moves the carrier and the viewer in it.
    s.velmor.PDFLeft.always([&s] { s.adobeF.Picture3Left.set(s.velmor.PDFLeft.value()); });
    s.velmor.PDFLeftD.always([&s] {
        s.adobeF.Picture3Left.set(s.velmor.PDFLeftD.value());
        s.g.PDFLeftDefault = s.velmor.PDFLeftD.text();
    });
}

} // namespace mv
