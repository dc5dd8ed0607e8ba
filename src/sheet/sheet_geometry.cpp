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

TwipRect placeOnScreens(TwipRect want, const std::vector<TwipRect>& screens,
                        const TwipRect& fallback) {
    if (screens.empty()) return want;
    const TwipRect* best = nullptr;
    double bestArea = 0;
    for (const TwipRect& sc : screens) {
        const double w = std::min(want.right(), sc.right()) - std::max(want.left, sc.left);
        const double h = std::min(want.bottom(), sc.bottom()) - std::max(want.top, sc.top);
        if (w > 0 && h > 0 && w * h > bestArea) {
            bestArea = w * h;
            best = &sc;
        }
    }
    if (best) return fitInto(want, *best);
    // A fallback without a size keeps the wanted size.
    TwipRect r = fallback;
    if (r.width <= 0 || r.height <= 0) r.width = want.width, r.height = want.height;
    return fitInto(r, screens.front());
}

TwipRect placeBeside(double width, double height, const TwipRect& screen,
                     const std::vector<TwipRect>& taken, double minWidth, const TwipRect& cover) {
    double leftEdge = screen.right(), rightEdge = screen.left;
    for (const TwipRect& t : taken) {
        leftEdge = std::min(leftEdge, std::max(t.left, screen.left));
        rightEdge = std::max(rightEdge, std::min(t.right(), screen.right()));
    }
    if (taken.empty()) leftEdge = rightEdge = screen.left;
    const double roomLeft = leftEdge - screen.left, roomRight = screen.right() - rightEdge;
    const double room = std::max(roomLeft, roomRight);
    if (room >= minWidth && room > 0) {
        const double left = roomRight >= roomLeft ? rightEdge : screen.left;
        return fitInto({left, screen.top, std::min(width, room), height}, screen);
    }
    return fitInto(cover, screen);
}

TwipRect sheetOnePlace(const Session& s, bool placeFileRead, const TwipRect& screen) {
    const VelmorState& v = s.velmor;
    TwipRect r{screen.left, 1, v.PDFWidth.value(), screen.height};
    if (placeFileRead) {
        r = {s.adobeF.Left, s.adobeF.Top, v.PDFWidth.value(), v.PDFHeight.value()};
        // Narrower rather than moved: a window moved left at each start
        // would walk away from where it was left.  With less than half its
        // width of room it moves.
        const double room = screen.right() - r.left;
        if (r.left >= screen.left && room >= r.width / 2) r.width = std::min(r.width, room);
    } else {
        r.left =
            v.FrameRight > 0 ? v.FrameRight + 15 : v.WindowLeft + v.WindowWidth.get() + kFrameGap;
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
