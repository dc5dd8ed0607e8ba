#pragma once
// The setup screen of the main window "Media Player": its three sizes
// (small, the setup panel, the notation viewer's fields), the large list of
// the "Zoom" menu, "Restore Settings", About, the keys and presses of the
// main window, and the tool tips of the setup controls.  All of it works on
// Session::velmor; the window mirrors the sizes and visibilities.

#include <QString>
#include <utility>
#include <vector>

class QChar;

namespace mv {

struct Session;

// Wires the change behaviours of the setup's check boxes (LoadPDF, CNWC,
// ShowB, ShowVB, FootControl).  Call once.
void installSetupScreen(Session& s);

// The window's columns as widths in twips: the small window, the setup
// panel's right edge, the notation viewer's fields' right edge.
constexpr double kSmallWidth = 4785, kSetupRight = 9950, kNwcRight = 16000;

// The main window's three columns in pixels, each as wide as its controls
// need at the present font and at least its width in twips.  The window's
// width in twips (WindowWidth) maps onto them column by column, so that the
// setup logic keeps comparing the widths it knows (8750, 10990) while each
// column is wide enough for its captions.  A width below the small column
// is the small column: the list and its buttons always show whole.
struct WindowColumns {
    int small = 319, setup = 344, nwc = 403;
    // The window's width in pixels for a width in twips.
    int pixels(double twips) const;
    // The inverse, for a width the frame gave: a width inside a column is
    // the same share of that column in twips; from kNwcRight on 15 twips a
    // pixel.
    double twips(int pixels) const;
};

// SS "Setup": back to the small list first, then the panel opens or closes.
void SS_Click(Session& s);
// Label20, the empty label: the notation viewer's fields and back.
void Label20_Click(Session& s);
// ZM "Zoom": the large list ("-Zoom") and back ("Zoom").
void ZM_Click(Session& s);
// Command11 "Restore Settings": the built-in values, except the folders,
// the network fields, BeepX, Pitch, PDFLeftD and NoScroll.
void Command11_Click(Session& s);
// ABT "About".
void ABT_Click(Session& s);
// IamaServer, mouse up: the warning when it is now checked.
void IamaServer_MouseUp(Session& s);
// The main window got the focus or a press: the overlay is disarmed.
void Velmor_Activity(Session& s);
// A key on the main window (also while its list has the focus): "n", "/"
// and "?" Next PG, "p" and "z" Prev PG, "m" Manual Scroll, "a" Auto Scroll of
// sheet window 1.  True when the key was one of these.
bool Velmor_KeyPress(Session& s, QChar key);

// The tool tips of the main window's controls, by control name.
const std::vector<std::pair<const char*, const char*>>& setupToolTips();
// Text3's tip while its text changes (the pointer gives the other one).
inline constexpr const char* kText3ChangeTip = "Enter the path to the NWC Viewer executable.";

} // namespace mv
