#include "sheet/sheet_two.h"

#include "core/session_state.h"
#include "core/settings_files.h"

#include <QFile>
#include <QSaveFile>
#include <QTextStream>

namespace mv {

void installSheetTwo(Session& s) {
    s.adobeF2.VScroll2.always([&s] { VScroll2_Change(s); });
    s.adobeF2.PDFOffset.always([&s] {
        if (!s.adobeF2.Opening) VScroll2_Change(s);
    });
}

void openSheetTwo(Session& s) {
    SheetTwoState& w = s.adobeF2;
    const SheetOneState& f = s.adobeF;
    // Each opening counts its pages afresh: a page number left from before
    // would take the first slider change as that page's shift.
    w.PageNR.setText(QString());
    // The file's Offset would run the slider's change mid-read and put the
    // slider's old value over the PDF it has just read.
    const QString offset = w.PDFOffset.text();
    w.Opening = true;
    try {
        readAdobeF2(s); // 1
    } catch (...) {
        w.Opening = false;
        throw;
    }
    w.Opening = false;
    const int before = w.VScroll2.get();
    w.VScroll2.set(roundWord(w.PDFTop.value())); // 2
    // A slider already at that value ran no change: the Offset read applies now.
    if (w.PDFOffset.text() != offset && w.VScroll2.get() == before) VScroll2_Change(s);
    w.Height = s.screenHeight - 1000;               // 3
    w.AcroPDF1Width.set(w.VScroll1Left.get() - 50); // 4
    w.Picture3Width.set(w.VScroll1Left.get() - 50);
    w.Picture1.Left.set(f.Picture1.Left.get()); // 5
    w.Picture1.Top.set(f.Picture1.Top.get());
    w.Picture1.Height.set(f.Picture1.Height.get());
    w.AcroPDF1Top.set(0); // 6: window 1's viewer
    w.AcroPDF1Left.set(f.Picture3Left.get());
    w.AcroPDF1Width.set(f.VScroll1Left.get() - 50);
    w.AcroPDF1Height.set(f.AcroPDF1Height.get());
}

void VScroll2_Change(Session& s) {
    SheetTwoState& w = s.adobeF2;
    w.AcroPDF1Top.set(w.VScroll2.get() + w.PDFOffset.value());
    const QString v = numberText(w.VScroll2.get());
    w.PDFTop.setText(v);
    const int p = roundWord(w.PageNR.value());
    if (p < 0 || p > 36) throw failures::subscriptOutOfRange();
    s.g.MapHeaderLines[p] = v;
}

void sheetTwoPress(Session& s, double x) { s.g.Sheet2DragX = x; }

void sheetTwoAdjustAll(Session& s, double x) {
    SheetTwoState& w = s.adobeF2;
    double& from = s.g.Sheet2DragX;
    if (w.AcroPDF1Width.get() < 1000 && x < from) return;
    const double d = x - from;
    w.Width.set(w.Width.get() + d);
    w.VScroll1Left.set(w.VScroll1Left.get() + d); // the strip stands on it
    w.Picture3Width.set(w.Picture3Width.get() + d);
    w.AcroPDF1Width.set(w.AcroPDF1Width.get() + d);
    w.Picture1.Left.set(w.Picture1.Left.get() + d);
    from = x;
}

int chooseScreen(const ScreenRef& remembered, const QList<ScreenRef>& screens) {
    if (remembered.name.isEmpty()) return -1;
    auto sameSize = [&](const ScreenRef& r) {
        return r.name == remembered.name && r.width == remembered.width &&
               r.height == remembered.height;
    };
    if (remembered.index >= 0 && remembered.index < screens.size() &&
        sameSize(screens[remembered.index]))
        return remembered.index;
    for (int i = 0; i < screens.size(); ++i)
        if (sameSize(screens[i])) return i;
    if (remembered.index >= 0 && remembered.index < screens.size() &&
        screens[remembered.index].name == remembered.name)
        return remembered.index;
    return -1;
}

ScreenRef readSheetTwoScreen(const Session& s) {
    QFile f(configFile(s, QStringLiteral("AdobeF2.screen")));
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text)) return {};
    const QStringList l = QString::fromUtf8(f.read(4096)).split(u'\n');
    bool ok[3] = {};
    ScreenRef r{l.value(0).trimmed(), l.value(1).toInt(&ok[0]), l.value(2).toInt(&ok[1]),
                l.value(3).toInt(&ok[2])};
    if (!ok[0] || !ok[1] || !ok[2]) return {};
    return r;
}

void writeSheetTwoScreen(Session& s, const ScreenRef& r) {
    QSaveFile f(configFile(s, QStringLiteral("AdobeF2.screen")));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Text)) return; // the place is a convenience
    QTextStream out(&f);
    out << r.name << '\n' << r.index << '\n' << r.width << '\n' << r.height << '\n';
    out.flush();
    f.commit();
}

} // namespace mv
