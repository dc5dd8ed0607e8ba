#include "core/setup_screen.h"

#include "core/messages.h"
#include "core/session_state.h"

namespace mv {

namespace {

constexpr double kSmallHeight = 7065;

void run(const std::function<void()>& hook) {
    if (hook) hook();
}

} // namespace

void installSetupScreen(Session& s) {
    VelmorState& v = s.velmor;
    // Sheet mode and notation mode exclude each other.
    v.LoadPDF.always([&s, &v] {
        if (v.LoadPDF.get() == 1) {
            run(s.showSheet1);
            v.CNWC.set(0);
            v.NWCId = 0;
        } else {
            run(s.unloadSheet1);
        }
    });
    v.CNWC.always([&s] { run(s.CNWC_Click); });
    v.ShowB.always([&s] { run(s.ShowB_Click); });
    v.ShowVB.always([&s] { run(s.ShowVB_Click); });
    v.FootControl.always([&s] { run(s.FootControl_Click); });
    // "Scrn1" and "Scrn 2" are option buttons: one or the other, or neither.
    v.Scrn0.always([&v] {
        if (v.Scrn0.get() == 1) v.Scrn1.set(0);
    });
    v.Scrn1.always([&v] {
        if (v.Scrn1.get() == 1) v.Scrn0.set(0);
    });
}

int WindowColumns::pixels(double twips) const {
    const double setupShare = (twips - kSmallWidth) / (kSetupRight - kSmallWidth);
    const double nwcShare = (twips - kSetupRight) / (kNwcRight - kSetupRight);
    if (twips <= kSmallWidth) return small;
    if (twips <= kSetupRight) return small + static_cast<int>(setupShare * setup + 0.5);
    if (twips <= kNwcRight) return small + setup + static_cast<int>(nwcShare * nwc + 0.5);
    return small + setup + nwc + static_cast<int>((twips - kNwcRight) / 15 + 0.5);
}

double WindowColumns::twips(int pixels) const {
    if (pixels <= small) return kSmallWidth;
    if (pixels <= small + setup)
        return kSmallWidth + double(pixels - small) / setup * (kSetupRight - kSmallWidth);
    if (pixels <= small + setup + nwc)
        return kSetupRight + double(pixels - small - setup) / nwc * (kNwcRight - kSetupRight);
    return kNwcRight + (pixels - small - setup - nwc) * 15.0;
}

void SS_Click(Session& s) {
    VelmorState& v = s.velmor;
    if (v.ZM.text() == u"-Zoom") ZM_Click(s);
    if (v.WindowWidth.get() >= 8750) {
        v.WindowWidth.set(kSmallWidth);
        v.WindowHeight.set(kSmallHeight);
        s.g.OverlayTicks = 51;
    } else {
        v.WindowWidth.set(9950);
        v.WindowHeight.set(7905);
        s.g.OverlayArmed = 0;
    }
}

void Label20_Click(Session& s) {
    VelmorState& v = s.velmor;
    const bool wide = v.WindowWidth.get() >= 10990;
    v.WindowWidth.set(wide ? 4455 : 16000);
    v.NWCFieldsVisible.set(!wide);
}

void ZM_Click(Session& s) {
    VelmorState& v = s.velmor;
    if (v.ZM.text() != u"Zoom") {
        v.WindowWidth.set(kSmallWidth);
        v.WindowHeight.set(kSmallHeight);
        v.File1Width.set(4320);
        v.File1Top.set(920);
        v.File1Height.set(3950);
        v.File1FontSize.set(10);
        v.ZM.setText(QStringLiteral("Zoom"));
    } else {
        v.ZM.setText(QStringLiteral("-Zoom"));
        v.WindowWidth.set(10250);
        v.WindowHeight.set(kSmallHeight);
        v.File1Width.set(9700);
        v.File1Top.set(0);
        v.File1Height.set(6550);
        v.File1FontSize.set(18);
    }
}

void Command11_Click(Session& s) {
    VelmorState& v = s.velmor;
    v.Text2.setText(QStringLiteral("*.PDF"));
    v.LoadPDF.set(1);
    v.CNWC.set(0);
    v.Text3.setText(QString());
    v.Text4.setText(QStringLiteral("4.5"));
    v.ZoomNWC.set(0);
    v.ZoomPDF.set(0);
    v.PDFView.setText(QString());
    v.IGNNR.set(0);
    v.IgnZ.set(1);
    v.IgnX.set(1);
    v.PDFDLY.setText(QStringLiteral("4"));
    v.ClientDelay.setText(QStringLiteral("3.5"));
    v.FirstNote.setText(QStringLiteral("500"));
    v.AddNext.setText(QStringLiteral("0"));
    v.Text5.setText(QStringLiteral(".995"));
    v.Text6.setText(QStringLiteral("1.55"));
    v.ScrollOffset.setText(QStringLiteral("500"));
    v.XOffset.setText(QString());
    v.YOffset.setText(QString());
    v.AutoScroll.setText(QStringLiteral("8000"));
    v.ScrollSpeed.setText(QStringLiteral(".01"));
    v.ScrollStep.setText(QStringLiteral("20"));
    v.FadeT.setText(QStringLiteral("3"));
    v.Speed.setText(QStringLiteral("1"));
    v.ZoomIt.setText(QStringLiteral("100"));
    v.ZoomAll.setText(QStringLiteral("100"));
    v.PDFHeight.setText(QStringLiteral("19500"));
    v.PDFWidth.setText(QStringLiteral("16505"));
    v.PDFLeft.setText(QStringLiteral("0"));
    v.NoPDFAdj.set(0);
    v.NoCursor.set(0);
    v.ShowB.set(0);
    v.ShowVB.set(0);
    v.FootControl.set(0);
    v.Scrn0.set(0);
    v.Scrn1.set(0);
}

void ABT_Click(Session& s) {
    s.g.OverlayTicks = 1;
    s.messages.msgBox(QStringLiteral("Mellivane Version 2.4"));
}

void IamaServer_MouseUp(Session& s) {
    if (s.velmor.IamaServer.get() == 1)
        s.messages.msgBox(
            QStringLiteral("Please make sure this is the only PC that is designated 'SERVER'"));
}

void Velmor_Activity(Session& s) { s.g.OverlayArmed = 0; }

bool Velmor_KeyPress(Session& s, QChar key) {
    s.g.OverlayArmed = 0;
    const std::function<void()>* op = nullptr;
    if (key == u'n' || key == u'/' || key == u'?') // "/" with or without Shift
        op = &s.adobeF_Command3_Click;
    else if (key == u'p' || key == u'z')
        op = &s.adobeF_Command4_Click;
    else if (key == u'm')
        op = &s.adobeF_Command6_Click;
    else if (key == u'a')
        op = &s.adobeF_Command14_Click;
    if (!op) return false;
    run(*op);
    return true;
}

const std::vector<std::pair<const char*, const char*>>& setupToolTips() {
    static const std::vector<std::pair<const char*, const char*>> tips = {
        {"AutoScroll", "Set the distance to scroll down when the scroll button is pressed"},
        {"CNWC", "Display music using the NWC Viewer. Turn off PDF mode"},
        {"Command2", "First enter the new path then click change to make the change take effect."},
        {"Command3", "This clears the 'Already Played List' so that songs can be selected again "
                     "when you click on 'Select Random MP3'"},
        {"ClockStart", "Server and clients start the music on one instant of the server's "
                       "clock. Tick it on the server and on every client."},
        {"Command4", "This button will pick a song at random and put put the name in a 'PLAYED' "
                     "list so that it will not be picked again. "},
        {"Command5", "This button puts a Z at the beginning the file name."},
        {"Command6", "This button removes the Z at the beginning of the file name"},
        {"Command7", "This button will cause the music to fade for the amount of time specified."},
        {"Command8", "This button will start the player in manual mode. Touch the space bar (or "
                     "auto scroll) to advance the screen"},
        {"Command9", "This button will display all of the MP3 files that are in the default "
                     "directory."},
        {"FadeT", "Set the value in seconds of the muisc fade feature"},
        {"FirstNote", "This delay is for the PDF files and is used to sync the PDF with the MP3"},
        {"IGNNR", "This feature allows you to put a number in front of your files"},
        {"IgnZ", "Putting a Z in front of the file moves it to the bottom of the list but is "
                 "ignored otherwise."},
        {"LoadPDF", "This checkbox puts the program into PDF mode and turns off NWC mode."},
        {"MeasureB", "Play 16 clicks and tap the space bar with them: the median difference "
                     "becomes the Output Delay"},
        {"NoScroll", "No half screen scroll. Used for full screen installations."},
        {"OutputDelay", "Milliseconds (-500 to 1000) the sound of this audio output comes late: "
                        "the cursor follows that much later, recorded taps count that much "
                        "earlier. Kept for each output."},
        {"PDFDLY", "Enter the number of seconds for the count off before the PDF and MP3 start"},
        {"ScrollOffset",
         "This value is used to match different screen resolutions from computer to computer"},
        {"SendAS", "As a server send AutoScroll info to clients"},
        {"StartLead", "How many milliseconds ahead a server with Clock Start announces a start"},
        {"Text1", "Enter the path to the NWC, MP3, and PDF files"},
        {"Text2", "Enter the music file file type. I.E. *.MP3"},
        {"Text3", "Enter the path to NWCViewer in this box."},
        {"Text4", "Change this value so that the MP3 and NWC view of the music are in sink"},
        {"Text6", "This value effects the position of the top of page when next page is clicked"},
        {"XOffset", "This value will offset the x postion of the cursor"},
        {"YOffset", "This value will offset the Y postion of the moving cursor"},
        {"ZoomNWC", "Zoom the NWC document to 50% on loading."}};
    return tips;
}

} // namespace mv
