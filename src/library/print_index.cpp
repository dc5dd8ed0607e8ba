#include "library/print_index.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/values.h"
#include "library/library.h"

#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <algorithm>

namespace mv {

namespace {

constexpr int kColumnWidth = 45, kNameKept = 40, kLinesPerPage = 60, kHeadLines = 4;
const QString kCrLf = QStringLiteral("\r\n");

QString headLines() { return kCrLf.repeated(kHeadLines); }

} // namespace

QStringList indexEntries(const QStringList& list) {
    QStringList out;
    for (qsizetype i = 1; i < list.size(); ++i) {
        const QString base = list[i].section(u'.', 0, 0);
        if (base.right(3).toUpper() == u"MIX") continue;
        out << base.left(kNameKept).leftJustified(kColumnWidth, u' ');
    }
    return out;
}

QString indexText(const QStringList& list) {
    const QStringList e = indexEntries(list);
    // Entries(1..): index i of the layout is e[i - 1]; past the end empty.
    auto entry = [&e](qsizetype i) { return i >= 1 && i <= e.size() ? e[i - 1] : QString(); };
    const qsizetype last = list.size() - 1;
    QString text = headLines();
    int line = 0;
    for (qsizetype i = 1; i <= last && !entry(i).isEmpty(); ++i) {
        text += QStringLiteral("    ") + entry(i) + u' ' + entry(i + kLinesPerPage) + kCrLf;
        if (++line == kLinesPerPage) {
            line = 0;
            i += kLinesPerPage;
            if (i + 1 <= last && !entry(i + 1).isEmpty())
                text += kCrLf + QChar(12) + kCrLf + headLines();
        }
    }
    return text;
}

namespace {

QFont indexFont() {
    QFont f;
    bool found = false;
    for (const QString& family : QFontDatabase::families())
        if (family.startsWith(QLatin1String("Courier"), Qt::CaseInsensitive)) {
            f = QFont(family);
            found = true;
            break;
        }
    if (!found) f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    f.setPointSizeF(10);
    f.setFixedPitch(true);
    return f;
}

} // namespace

void renderIndex(QPagedPaintDevice& device, const QStringList& lines) {
    QPainter p;
    if (!p.begin(&device)) throw failures::pathFileAccess();
    const QFont font(indexFont(), &device);
    p.setFont(font);
    const QFontMetricsF fm(font, &device);
    const double pageHeight = device.pageLayout().paintRectPixels(device.logicalDpiY()).height();
    // The pages as the form feeds part them.
    QList<QStringList> pages(1);
    for (const QString& l : lines) {
        if (l.contains(QChar(12)))
            pages.append(QStringList());
        else
            pages.last() << l;
    }
    for (qsizetype n = 0; n < pages.size(); ++n) {
        QStringList& page = pages[n];
        while (!page.isEmpty() && page.last().trimmed().isEmpty())
            page.removeLast(); // blank lines at the foot need no room
        if (n > 0) device.newPage();
        // A page of the index (64 lines) is a little taller than some paper
        // holds at the font's own line spacing: the lines close up to fit,
        // down to 80 % of it; a longer page (an edited text) goes on to the
        // next sheet instead.
        const double fit =
            page.isEmpty() ? fm.lineSpacing() : (pageHeight - fm.descent()) / page.size();
        const double pitch = std::max(std::min(fm.lineSpacing(), fit), fm.lineSpacing() * 0.8);
        double y = fm.ascent();
        for (const QString& l : page) {
            if (y + fm.descent() > pageHeight) {
                device.newPage();
                y = fm.ascent();
            }
            p.drawText(QPointF(0, y), l);
            y += pitch;
        }
    }
    p.end();
}

// The lines of the index text, without the empty piece after its last CR LF.
QStringList indexLines(const QString& text) {
    QStringList lines = text.split(kCrLf);
    if (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast();
    return lines;
}

void exportIndexPdf(const QString& text, const QString& path) {
    QPdfWriter pdf(path);
    pdf.setPageSize(QPageSize(QPageSize::Letter));
    pdf.setPageMargins(QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter);
    pdf.setTitle(QStringLiteral("Index"));
    renderIndex(pdf, indexLines(text));
}

void printIndex(Session& s, Library& lib) {
    VelmorState& v = s.velmor;
    v.SuppressLoad = kTrue;
    lib.indexForm.Visible.set(true);
    // The list is walked by selecting its entries, as the layout reads them.
    const QStringList list = v.File1List.get();
    for (qsizetype i = 1; i < list.size(); ++i)
        v.File1ListIndex.set(int(i));
    lib.indexForm.Text1.set(lib.indexForm.Text1.get() + indexText(list));
    v.SuppressLoad = 0;
}

void IndexForm_Print(Session& s, Library& lib) {
    try {
        s.files.close(1);
        QPrinter printer(QPrinter::HighResolution);
        printer.setDocName(QStringLiteral("Index"));
        if (!lib.printing || !lib.printing->choosePrinter(printer))
            throw Failure(32755, QStringLiteral("Cancel was selected."));
        // The text passes through the scratch file on its way to the printer.
        const QString scratch = configFile(s, QStringLiteral("VLvar.csv"));
        s.files.open(1, scratch, FileMode::Output);
        for (const QString& l : indexLines(lib.indexForm.Text1.get()))
            s.files.writeLine(1, l);
        s.files.commit(1);
        s.files.open(1, scratch, FileMode::Input);
        const QStringList lines = s.files.readRest(1);
        s.files.close(1);
        renderIndex(printer, lines);
    } catch (const Failure& f) {
        s.files.close(1);
        s.messages.msgBox(f.description());
    }
}

void IndexForm_ExportPdf(Session& s, Library& lib) {
    try {
        const std::optional<QString> path =
            lib.printing ? lib.printing->pdfFileName(QStringLiteral("Index.pdf")) : std::nullopt;
        if (!path || path->isEmpty()) return;
        exportIndexPdf(lib.indexForm.Text1.get(), *path);
        if (!QFileInfo(*path).isFile()) throw failures::pathFileAccess();
    } catch (const Failure& f) {
        s.messages.msgBox(f.description());
    }
}

void IndexForm_Close(Session&, Library& lib) {
    lib.indexForm.Visible.set(false);
    lib.indexForm.Text1.set(QString());
}

} // namespace mv
