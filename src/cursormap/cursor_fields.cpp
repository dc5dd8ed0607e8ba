#include "cursormap/cursor_fields.h"

#include "core/session_state.h"

#include <cmath>

namespace mv {

namespace {

void toRedForm(CursorPicture& p) {
    p.bringToFront();
    p.Height.set(CursorPicture::kRedHeight);
    p.Red.set(true);
    p.Visible.set(true);
}

double zoomIt(const Session& s) { return s.velmor.ZoomIt.value(); }

} // namespace

double PosLeft(Session& s, double x) {
    const double z = zoomIt(s);
    if (z != 100) {
        double corrected;
        if (x < 0.4 * s.adobeF.Width.get())
            corrected = x * 30 / (30 - z / 30);
        else if (z >= 90)
            corrected = x * (z / 95);
        else
            corrected = x * (z / 90);
        if (std::isfinite(corrected)) x = corrected;
    }
    s.adobeF.Picture1.Left.set(x);
    return x;
}

double PosTop(Session& s, double y) {
    const double z = zoomIt(s);
    if (z != 100) {
        const double corrected = y * 100 / (100 - z / 100);
        if (std::isfinite(corrected)) y = corrected;
    }
    s.adobeF.Picture1.Top.set(y);
    return y;
}

void showRedCursor(Session& s) {
    toRedForm(s.adobeF.Picture1);
    s.pump.letEventsRun();
    s.g.ScrollMarkPending = kTrue;
    if (s.adobeF2.Visible.get()) {
        toRedForm(s.adobeF2.Picture1);
        s.pump.letEventsRun();
    }
}

void toNormalForm(CursorPicture& p) {
    if (!p.isRed()) return;
    p.Height.set(CursorPicture::kNormalHeight);
    p.Red.set(false);
}

void takeRedMarkBack(Session& s) {
    toNormalForm(s.adobeF.Picture1);
    if (s.adobeF2.Visible.get()) toNormalForm(s.adobeF2.Picture1);
}

void pageAdjustment(Session& s) {
    const int p = roundWord(s.adobeF2.PageNR.value());
    if (p < 0 || p > 36) throw failures::subscriptOutOfRange();
    if (s.velmor.NoPDFAdj.get() == 0 && !s.g.MapHeaderLines[p].isEmpty())
        s.adobeF2.VScroll2.set(roundWord(val(s.g.MapHeaderLines[p])));
}

void installReadoutFields(Session& s) {
    SheetOneState& f = s.adobeF;
    auto row = [&s]() -> int { return s.g.CursorIndex; };

    f.Text1.always([&s, &f, row] {
        s.tic.X[row()] = f.Text1.text();
        PosLeft(s, f.Text1.value() + s.velmor.XOffset.value());
        if (s.adobeF2.Visible.get())
            s.adobeF2.Picture1.Left.set(f.Text1.value() + s.velmor.XOffset.value() +
                                        s.adobeF2.AdjLeft.value());
        if (f.Picture1.isRed() && s.g.CursorDragging == 0) takeRedMarkBack(s);
    });
    f.Text2.always([&s, &f, row] {
        s.tic.Y[row()] = f.Text2.text();
        const double zoom = s.velmor.ZoomIt.value() / 100;
        PosTop(s, (f.Text2.value() + s.velmor.YOffset.value()) * zoom);
        if (s.adobeF2.Visible.get())
            s.adobeF2.Picture1.Top.set(
                (f.Text2.value() + s.velmor.YOffset.value() + s.adobeF2.ScrollOffset.value()) *
                zoom);
    });
    f.Text4.always([&s, &f, row] { s.tic.Tic[row()] = f.Text4.text(); });
    f.Text7.always([&s, &f, row] {
        s.tic.Scr[row()] = f.Text7.text();
        showRedCursor(s);
    });
    f.Text9.always([&s, &f, row] { s.tic.Nxt[row()] = f.Text9.text(); });
    f.Text10.always([&s, &f, row] { s.tic.Prv[row()] = f.Text10.text(); });
    f.Text3.always([&s, &f] {
        const double v = f.Text3.value();
        if (v >= 0 && v <= TicTable::kLastRow) s.g.CursorIndex = roundWord(v);
    });
}

} // namespace mv
