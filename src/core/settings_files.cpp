#include "core/settings_files.h"

#include "core/file_lookup.h"
#include "core/session_state.h"
#include "core/setup_screen.h"

#include <QDir>

namespace mv {

namespace {

const QString kSettings = QStringLiteral("Mellivane.ini");
const QString kKeyed = QStringLiteral("Mellivane.conf");
const QString kOutputDelays = QStringLiteral("OutputDelay.txt");

QString flag(int checked) {
    return checked == 1 ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
}
QString state(bool on) { return boolText(on); }
int readFlag(const QString& l) { return l == u"TRUE" ? 1 : 0; }
// A check box value read back: 0, 1 or 2 (grayed); anything else fails.
int readValue(const QString& l) {
    const int v = roundWord(val(l));
    if (v < 0 || v > 2) throw failures::invalidProperty();
    return v;
}

} // namespace

QString configFile(const Session& s, const QString& name) {
    return existingPathIgnoringCase(QDir(s.configDir).filePath(name));
}

namespace {

// Replaces the settings file `name` with `lines`, under no file number.
void writeConfigLines(Session& s, const QString& name, const QStringList& lines) {
    s.files.writeText(configFile(s, name), lines);
}

bool settingsEnd(const Session& s) {
    return !s.settingsIn.open || s.settingsIn.next >= s.settingsIn.lines.size();
}
QString nextSettingsLine(Session& s) { return s.settingsIn.lines[s.settingsIn.next++]; }

} // namespace

void closeSettings(Session& s) { s.settingsIn = {}; }

void SaveVelmor(Session& s) {
    VelmorState& v = s.velmor;
    const SheetOneState& f = s.adobeF;
    const QStringList lines = {v.Text1.text(),
                               v.Text2.text(),
                               flag(v.CNWC.get()),
                               v.Text3.text(),
                               v.Text4.text(),
                               numberText(v.WindowTop),
                               numberText(v.WindowLeft),
                               flag(v.IGNNR.get()),
                               flag(v.IgnZ.get()),
                               v.PDFView.text(),
                               flag(v.LoadPDF.get()),
                               flag(v.ZoomNWC.get()),
                               flag(v.ZoomPDF.get()),
                               v.FadeT.text(),
                               v.ScrollOffset.text(),
                               v.XOffset.text(),
                               v.YOffset.text(),
                               v.AutoScroll.text(),
                               v.Text5.text(),
                               v.PDFDLY.text(),
                               v.FirstNote.text(),
                               printForm(v.WindowLeft),
                               printForm(v.WindowTop),
                               v.Line24,
                               v.Text6.text(),
                               v.ZoomAll.text(),
                               printForm(s.g.ButtonStripLeft),
                               printForm(f.Left),
                               printForm(f.Top),
                               state(v.audioOutChecked(-1)),
                               state(v.audioOutChecked(0)),
                               state(v.audioOutChecked(1)),
                               state(v.audioOutChecked(2)),
                               state(v.audioOutChecked(3)),
                               state(v.audioOutChecked(4)),
                               state(v.audioOutChecked(5)),
                               state(v.audioOutChecked(6)),
                               v.IPAddress.text(),
                               v.PortNr.text(),
                               printForm(v.IamaServer.get()),
                               v.ClientDelay.text(),
                               printForm(v.NoCursor.get()),
                               v.Text7.text(),
                               printForm(v.NoPDFAdj.get()),
                               state(v.Scrn0.get() == 1),
                               state(v.Scrn1.get() == 1),
                               state(v.IgnX.get() == 1),
                               v.ScrollSpeed.text(),
                               v.ScrollStep.text(),
                               v.BeepX.text(),
                               flag(v.SendAS.get()),
                               flag(v.ShowB.get()),
                               v.PDFHeight.text(),
                               v.PDFWidth.text(),
                               flag(v.ShowVB.get()),
                               v.ZM.text(),
                               s.g.PDFLeftDefault,
                               flag(v.NoScroll.get()),
                               flag(v.FootControl.get()),
                               v.PDFLeftD.text()};
    writeConfigLines(s, kSettings, lines);
    s.keyed.write(s.files, configFile(s, kKeyed));
    s.outputDelays.write(s.files, configFile(s, kOutputDelays));
}

bool readKeyedSettings(Session& s) { return s.keyed.read(s.files, configFile(s, kKeyed)); }

bool readOutputDelays(Session& s) {
    const bool read = s.outputDelays.read(s.files, configFile(s, kOutputDelays));
    s.velmor.OutputDelay.setNumber(s.outputDelays.of(outputName(s)));
    return read;
}

bool openSettings(Session& s) {
    const QString path = configFile(s, kSettings);
    closeSettings(s);
    if (!QFileInfo(path).isFile()) return false;
    try {
        s.settingsIn.lines = s.files.readText(path);
    } catch (const Failure&) {
        return false;
    }
    s.settingsIn.open = true;
    return true;
}

bool readLines1to37(Session& s, const std::function<void()>& onShowSheet1) {
    VelmorState& v = s.velmor;
    for (int line = 1; line <= 37; ++line) {
        if (settingsEnd(s)) {
            closeSettings(s);
            return false;
        }
        const QString l = nextSettingsLine(s);
        try { // a bad line is passed over
            switch (line) {
            case 1: v.Text1.setText(l); break;
            case 2: v.Text2.setText(l); break;
            case 3: v.CNWC.set(0); break;
            case 4: v.Text3.setText(l); break;
            case 5: v.Text4.setText(l); break;
            case 6: {
                const double top = val(l);
                v.WindowTop = top >= 0 && top < s.screenHeight - 500
                                  ? top
                                  : s.screenHeight - v.WindowHeight.get();
                break;
            }
            case 7: v.WindowLeft = 1; break;
            case 8: v.IGNNR.set(readFlag(l)); break;
            case 9: v.IgnZ.set(readFlag(l)); break;
            case 10: v.PDFView.setText(l); break;
            case 11:
                v.LoadPDF.set(1);
                if (onShowSheet1) onShowSheet1();
                break;
            case 12: v.ZoomNWC.set(0); break;
            case 13:
                v.ZoomPDF.set(readFlag(l));
                if (v.ZoomPDF.get() == 1 && onShowSheet1) onShowSheet1();
                break;
            case 14: v.FadeT.setText(l); break;
            case 15: v.ScrollOffset.setText(l); break;
            case 16: v.XOffset.setText(l); break;
            case 17: v.YOffset.setText(l); break;
            case 18: v.AutoScroll.setText(l); break;
            case 19: v.Text5.setText(l); break;
            case 20: v.PDFDLY.setText(l); break;
            case 21: v.FirstNote.setText(l); break;
            case 22: v.WindowLeft = 1; break;
            case 23: {
                const double top = val(l);
                v.WindowTop =
                    !(s.screenHeight - 500 < top) ? top : s.screenHeight - v.WindowHeight.get();
                break;
            }
            case 24: v.Line24 = l; break;
            case 25:
                v.Text6.setText(l);
                v.File1Pattern = v.Text2.text().trimmed();
                break;
            case 26: v.ZoomAll.setText(l); break;
            case 27:
                s.g.ButtonStripLeft = val(l);
                s.adobeF.VScroll1Left.set(s.g.ButtonStripLeft);
                break;
            case 28: break; // the sheet window's left: only ever written
            case 29:
                s.adobeF.Top = 1;
                if (s.placeSheet1Top) s.placeSheet1Top();
                break;
            default:                 // 30..37: the Audio Out menu, TXDF then TXS0..TXS6
                if (l != u"False") { // each such line keeps its mark
                    v.AudioOutChecks.set(v.AudioOutChecks.get() | 1 << (line - 30));
                    s.g.SoundDevice = line - 31;
                }
                break;
            }
        } catch (const Failure&) {
        }
    }
    return true;
}

namespace {

// Line `line` (38..60) of "Mellivane.ini": a bad check box value fails.
void readLine38to60(Session& s, int line, const QString& l) {
    VelmorState& v = s.velmor;
    {
        switch (line) {
        case 38: v.IPAddress.setText(l); break;
        case 39: v.PortNr.setText(l); break;
        case 40: v.IamaServer.set(readValue(l)); break;
        case 41: v.ClientDelay.setText(l); break;
        case 42: v.NoCursor.set(readValue(l)); break;
        case 43: v.Text7.setText(l); break;
        case 44: v.NoPDFAdj.set(readValue(l)); break;
        case 45: v.Scrn0.set(l == u"True" ? 1 : 0); break;
        case 46: v.Scrn1.set(l == u"True" ? 1 : 0); break;
        case 47: v.IgnX.set(l == u"True" ? 1 : 0); break;
        case 48: v.ScrollSpeed.setText(l); break;
        case 49: v.ScrollStep.setText(l); break;
        case 50: v.BeepX.setText(l); break;
        case 51: v.SendAS.set(readFlag(l)); break;
        case 52: v.ShowB.set(readFlag(l)); break;
        case 53: v.PDFHeight.setText(l); break;
        case 54: v.PDFWidth.setText(l); break;
        case 55: v.ShowVB.set(readFlag(l)); break;
        case 56:
            // "-Zoom" brings the large list back through the menu's click.
            v.ZM.setText(l == u"-Zoom" ? QStringLiteral("Zoom") : l);
            if (l == u"-Zoom") ZM_Click(s);
            break;
        case 57:
            s.g.PDFLeftDefault = l;
            v.PDFLeftD.setText(l);
            break;
        case 58: v.NoScroll.set(readFlag(l)); break;
        case 59: v.FootControl.set(readFlag(l)); break;
        case 60: v.PDFLeftD.setText(l); break;
        }
    }
}

// The reading stops at line `line`, so the next rewrite would put built-in
// values over the lines after it: the file as read is kept beside it first.
// What the message adds about it.
QString keepAsRead(Session& s, int line) {
    const QString path = configFile(s, kSettings);
    const QString copy = path + QStringLiteral(".bak");
    const QString where =
        QStringLiteral(" (line %1 of \"%2\"").arg(line).arg(QFileInfo(path).fileName());
    try {
        s.files.layer().replace(copy, s.files.layer().read(path));
    } catch (const Failure& f) {
        return where + QStringLiteral("; the file could not be kept as \"") +
               QFileInfo(copy).fileName() + QStringLiteral("\": ") + f.description() + u')';
    }
    return where + QStringLiteral("; the file as read is kept as \"") + QFileInfo(copy).fileName() +
           QStringLiteral("\")");
}

} // namespace

void readLines38to60(Session& s, bool failuresEnd) {
    for (int line = 38; line <= 60; ++line) {
        if (settingsEnd(s)) break;
        const QString l = nextSettingsLine(s);
        try {
            readLine38to60(s, line, l);
        } catch (const Failure& f) {
            if (failuresEnd) {
                closeSettings(s);
                throw Failure(f.number(), f.description() + keepAsRead(s, line));
            }
        }
    }
    closeSettings(s);
}

namespace {

using LineTaker = std::function<void(const QString&)>;

// Reads a place file and hands its lines in order to `takers`, stopping
// where the file ends.  False without the file.
bool readPlaceFile(Session& s, const QString& name, std::initializer_list<LineTaker> takers) {
    const QString path = configFile(s, name);
    if (!QFileInfo(path).isFile()) return false;
    const QStringList lines = s.files.readText(path);
    auto line = lines.begin();
    for (const LineTaker& take : takers) {
        if (line == lines.end()) break;
        take(*line++);
    }
    return true;
}

// A window's top and left as the place files hold them: 0 when off the
// screen.
double placeTop(const Session& s, double top, double height) {
    return top >= 0 && top < s.screenHeight - height / 2 ? top : 0;
}
double placeLeft(const Session& s, double left) { return left < s.screenWidth ? left : 0; }

} // namespace

bool readAdobeFx(Session& s) {
    SheetOneState& f = s.adobeF;
    return readPlaceFile(
        s, QStringLiteral("AdobeFx.ini"),
        {[&](const QString& l) { f.Top = val(l); }, [&](const QString& l) { f.Left = val(l); }});
}

void writeAdobeFx(Session& s) {
    const SheetOneState& f = s.adobeF;
    writeConfigLines(s, QStringLiteral("AdobeFx.ini"),
                     {printForm(placeTop(s, f.Top, f.Height)), printForm(placeLeft(s, f.Left))});
}

bool readAdobeF2(Session& s) {
    SheetTwoState& w = s.adobeF2;
    return readPlaceFile(s, QStringLiteral("AdobeF2.ini"),
                         {[&](const QString& l) { w.ScrollOffset.setText(l); },
                          [&](const QString& l) { w.AdjLeft.setText(l); },
                          [&](const QString& l) { w.PDFTop.setText(l); },
                          [&](const QString& l) { w.Top = val(l); },
                          [&](const QString& l) { w.Left = val(l); },
                          [&](const QString& l) { w.PDFOffset.setText(l); }});
}

void writeAdobeF2(Session& s) {
    const SheetTwoState& w = s.adobeF2;
    writeConfigLines(s, QStringLiteral("AdobeF2.ini"),
                     {w.ScrollOffset.text(), w.AdjLeft.text(), w.PDFTop.text(),
                      printForm(placeTop(s, w.Top, w.Height)), printForm(placeLeft(s, w.Left)),
                      w.PDFOffset.text()});
}

} // namespace mv
