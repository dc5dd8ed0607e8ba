#include "sheet/panels.h"

#include "core/session_state.h"
#include "sheet/navigation.h"

#include <cstring>

namespace mv {

namespace {

bool is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

void layOut(Session& s, bool vertical, double top) {
    BControlState& b = s.bControl;
    b.Vertical.set(vertical);
    b.Top.set(top);
}

} // namespace

const PanelLayout& panelLayout(bool vertical) {
    static const PanelLayout horizontal{12065,
                                        1350,
                                        {{"Command1", 120, 0, 1935, 615},
                                         {"Command6", 120, 600, 1935, 615},
                                         {"Command2", 2160, 0, 1935, 1215},
                                         {"Command3", 4200, 0, 1935, 1215},
                                         {"Command5", 6240, 0, 1935, 1215},
                                         {"Command4", 8280, 0, 1935, 1215},
                                         {"Command17", 11400, 0, 495, 495}}};
    static const PanelLayout column{1935,
                                    8010,
                                    {{"Command1", 0, 120, 1935, 615},
                                     {"Command6", 0, 720, 1935, 615},
                                     {"Command2", 0, 1560, 1935, 1215},
                                     {"Command3", 0, 3000, 1935, 1215},
                                     {"Command5", 0, 4440, 1935, 1215},
                                     {"Command4", 0, 5880, 1935, 1215},
                                     {"Command17", 0, 7500, 495, 495}}};
    return vertical ? column : horizontal;
}

void ShowB_Click(Session& s) {
    VelmorState& v = s.velmor;
    BControlState& b = s.bControl;
    if (v.ShowB.get() != 1) return b.Visible.set(false);
    b.Visible.set(true);
    v.ShowVB.set(0); // its click hides the panel again
    layOut(s, false, s.adobeF.Top + s.adobeF.Height);
    b.Visible.set(true);
}

void ShowVB_Click(Session& s) {
    VelmorState& v = s.velmor;
    BControlState& b = s.bControl;
    if (v.ShowVB.get() != 1) return b.Visible.set(false);
    v.ShowB.set(0);
    layOut(s, true, 4000);
    b.Visible.set(true);
}

void Timer3_Timer(Session& s) {
    BControlState& b = s.bControl;
    const SheetOneState& f = s.adobeF;
    if (!b.Visible.get()) return;
    if (s.velmor.ShowB.get() == 1) {
        b.Top.set(f.Height + f.Top);
        b.Left.set(f.Left);
    } else {
        b.Top.set(500);
        b.Left.set(f.Width.get() + f.Left);
    }
}

void raiseOverlay(Session& s, bool inset) {
    OverlayState& o = s.form1;
    const SheetOneState& f = s.adobeF;
    o.Visible.set(true);
    o.Left = f.Left;
    o.Top = f.Top + (inset ? 400 : 0);
    o.Width = f.VScroll1Left.get() - 50; // the viewer's width
    o.Height = f.Height - (inset ? 800 : 0);
    o.Raised.set(o.Raised.get() + 1); // to the front, with the focus
}

void overlayTimerWork(Session& s) {
    Globals& g = s.g;
    if (!s.adobeF.Visible.get()) return;
    g.OverlayTicks += 1;
    if (g.OverlayTicks < 50) return;
    g.OverlayTicks = 0;
    const VelmorState& v = s.velmor;
    if ((v.ShowB.get() == 1 || v.ShowVB.get() == 1) && g.OverlayArmed == kTrue)
        raiseOverlay(s, true);
    else
        s.form1.Visible.set(false);
}

const char* touchZone(double x, double y, double width) {
    if (y < width / 6) return "Command3";
    if (x > width / 2) return "Command4";
    return "Command5";
}

void Form1_MouseDown(Session& s, double x, double y) {
    BControl_Click(s, touchZone(x, y, s.form1.Width));
}

void Form1_MouseUp(Session& s) { s.g.OverlayTicks = 51; }

void BControl_Click(Session& s, const char* name) {
    const bool foot = s.velmor.FootControl.get() == 1;
    if (is(name, "Command2"))
        Command6_Click(s);
    else if (is(name, "Command3"))
        Command14_Click(s);
    else if (is(name, "Command4") && !foot)
        Command3_Click(s);
    else if (is(name, "Command5") && !foot)
        Command4_Click(s);
}

void BControl_MouseDown(Session& s, const char* name) {
    if (is(name, "Command17"))
        s.g.OverlayArmed = 0;
    else
        s.g.OverlayTicks = 1;
}

void BControl_MouseUp(Session& s, const char* name) {
    s.g.OverlayTicks = is(name, "Command17") ? 1 : 51;
}

bool BControl_GotFocus(Session& s, const char* name) {
    if (s.velmor.FootControl.get() != 1) return false;
    if (is(name, "Command4"))
        Command3_Click(s);
    else if (is(name, "Command5"))
        Command4_Click(s);
    else
        return false;
    return true;
}

} // namespace mv
