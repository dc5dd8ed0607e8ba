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
