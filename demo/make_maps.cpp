// Makes the demo maps from the engraved sheets (see build.sh).
//   make_maps <links.tsv> <songs dir> <layout.tsv out>
// links.tsv holds the point-and-click links of the measuring engraving: song,
// page, the rectangle in PDF points from the bottom-left, and the link
// "textedit://<file>:<line>:<column>:<end>".  Each link is one note head or
// rest.  The sources write one measure to a line, so a measure starts where
// the source line changes (or the column goes back, when a passage is played
// again from a variable).  The staves come from the shipped sheet itself: its
// pages are rendered and the rows of ink that run across the page are the
// staff lines.  Each map has one tic per measure, on the first beat, with the
// cursor centred over the measure's first note and just above its staff.

#include "core/values.h"
#include "sheet/page_geometry.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPdfDocument>
#include <QTextStream>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <vector>

namespace {

struct Song {
    QString name;
    double beatsPerMeasure; // in quarters
    double bpm;             // quarters a minute
    double pickup;          // quarters before the first bar line, 0 for none
    int measures;           // counting a pickup as one
};

const Song kSongs[] = {
    {"Ode to Joy", 4, 120, 0, 16},
    {"Twinkle Twinkle", 4, 100, 0, 24},
    {"Greensleeves", 3, 120, 1, 33},
    {"Amazing Grace", 3, 100, 1, 65},
};

constexpr double kLeadIn = 1.0;   // seconds of silence before the first note
constexpr double kCountOff = 4.0; // the built-in PDF Delay the maps are made for
constexpr double kTicOffset = 0.995;
constexpr double kViewerWidth = 14280 - 50; // AcroPDF1 at the built-in strip position
constexpr double kScrollOffset = 500;
constexpr double kHalfPage = 8000;
constexpr double kCursorW = 495, kCursorH = 135, kAboveStaff = 90;
constexpr int kRenderScale = 4; // pixels per point when looking for staff lines

struct Head {
    int page;
    double x, y;  // the centre, in points from the page's top-left
    QString line; // the source file and line
    int column;
    int staff = -1;
};

struct Staff {
    int page;
    double top, bottom; // the top and bottom lines
};

[[noreturn]] void fail(const QString& what) {
    std::fprintf(stderr, "make_maps: %s\n", qPrintable(what));
    std::exit(1);
}

// Staves: five evenly spaced rows of ink each running over half the page.
std::vector<Staff> findStaves(QPdfDocument& doc) {
    std::vector<Staff> out;
    for (int p = 0; p < doc.pageCount(); ++p) {
        const QSizeF size = doc.pagePointSize(p);
        const QImage img =
            doc.render(p, (size * kRenderScale).toSize()).convertToFormat(QImage::Format_ARGB32);
        std::vector<double> lines;
        int runStart = -1;
        for (int y = 0; y <= img.height(); ++y) {
            int ink = 0;
            if (y < img.height()) {
                const auto* row = reinterpret_cast<const QRgb*>(img.constScanLine(y));
                for (int x = 0; x < img.width(); ++x)
                    ink += qAlpha(row[x]) > 128;
            }
            const bool line = ink > img.width() / 2;
            if (line && runStart < 0) runStart = y;
            if (!line && runStart >= 0) {
                lines.push_back((runStart + y) / 2.0 / kRenderScale);
                runStart = -1;
            }
        }
        if (lines.size() % 5 != 0)
            fail(QStringLiteral("page %1: %2 staff lines").arg(p + 1).arg(lines.size()));
        for (size_t i = 0; i < lines.size(); i += 5)
            out.push_back({p + 1, lines[i], lines[i + 4]});
    }
    return out;
}

std::map<QString, std::vector<Head>> readLinks(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) fail("cannot read " + path);
    std::map<QString, std::vector<Head>> out;
    for (const QString& l : QString::fromUtf8(f.readAll()).split('\n', Qt::SkipEmptyParts)) {
        const QStringList c = l.split('\t');
        if (c.size() != 7) fail("bad link line: " + l);
        // textedit://<file>:<line>:<column>:<end column>
        const QString line = c[6].section(':', 0, -3);
        bool ok = false;
        const int column = c[6].section(':', -2, -2).toInt(&ok);
        if (!ok || !line.startsWith("textedit://")) fail("bad link: " + c[6]);
        // The page height is the Letter page's; checked against the sheet.
        out[c[0]].push_back({c[1].toInt(), (c[2].toDouble() + c[4].toDouble()) / 2,
                             792 - (c[3].toDouble() + c[5].toDouble()) / 2, line, column});
    }
    return out;
}

// The first note or rest of every measure, in reading order.
std::vector<Head> firstOfMeasures(std::vector<Head> heads, const std::vector<Staff>& staves) {
    for (Head& h : heads) {
        double best = 1e9;
        for (size_t s = 0; s < staves.size(); ++s) {
            const double mid = (staves[s].top + staves[s].bottom) / 2;
            if (staves[s].page == h.page && std::abs(h.y - mid) < best) {
                best = std::abs(h.y - mid);
                h.staff = int(s);
            }
        }
        if (h.staff < 0) fail(QStringLiteral("no staff on page %1").arg(h.page));
    }
    std::sort(heads.begin(), heads.end(), [](const Head& a, const Head& b) {
        return a.staff != b.staff ? a.staff < b.staff : a.x < b.x;
    });
    std::vector<Head> out;
    for (size_t i = 0; i < heads.size(); ++i)
        if (i == 0 || heads[i].line != heads[i - 1].line || heads[i].column <= heads[i - 1].column)
            out.push_back(heads[i]);
    return out;
}

void writeSong(const Song& song, const std::vector<Head>& firsts, const std::vector<Staff>& staves,
               const QString& mapPath, QTextStream& layout) {
    QFile f(mapPath);
    if (!f.open(QIODevice::WriteOnly)) fail("cannot write " + mapPath);
    QStringList lines = {"100@", "0%", "#1", "#2", "#3", "#4", "#5", "#6", " 80^"};
    long long prevMs = 0;
    int prevPage = 1;
    const double secPerBeat = 60.0 / song.bpm;
    for (size_t k = 0; k < firsts.size(); ++k) {
        const Head& h = firsts[k];
        const Staff& st = staves[size_t(h.staff)];
        // The first beat of measure k+1 (a pickup is measure 1).
        double beat = 0;
        if (k > 0)
            beat = song.pickup > 0 ? song.pickup + (k - 1) * song.beatsPerMeasure
                                   : k * song.beatsPerMeasure;
        // Tics count from the press of Play (the first) or the tic before,
        // divided by the Tic Offset and rounded on the running total.
        const long long total =
            std::llround((kCountOff + kLeadIn + beat * secPerBeat) * 1000 / kTicOffset);
        const long long tic = total - prevMs;
        prevMs = total;
        // A staff in the lower half of the page is shown with the sheet
        // scrolled by half a page; the cursor must stay inside the view.
        const double scr = st.top > 792 / 2.0 ? kHalfPage : 0;
        const QPointF head =
            mv::page::pointInViewer(QPointF(h.x, st.top), QSizeF(612, 792), kViewerWidth, 100);
        const double x = head.x() - kCursorW / 2;
        const double y = head.y() - kCursorH - kAboveStaff - (scr + kScrollOffset);
        if (y < 0)
            fail(QStringLiteral("%1: the staff at %2 pt is hidden by the scroll")
                     .arg(song.name)
                     .arg(st.top));
        const bool nxt = h.page != prevPage;
        prevPage = h.page;
        lines << QString::number(tic) << mv::printFormSingle(x) << mv::printFormSingle(y)
              << mv::numberText(scr) << mv::boolText(nxt) << QStringLiteral("False");
        layout << song.name << '\t' << k + 1 << '\t' << h.page << '\t'
               << QString::number(h.x, 'f', 2) << '\t' << QString::number(st.top, 'f', 2) << '\t'
               << total << '\t' << scr << '\t' << (nxt ? "True" : "False") << '\t'
               << QString::number(h.y, 'f', 2) << '\n';
    }
    for (const QString& l : lines)
        f.write(l.toLatin1() + "\r\n");
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: make_maps <links.tsv> <songs dir> <layout.tsv>\n");
        return 2;
    }
    const auto links = readLinks(QString::fromLocal8Bit(argv[1]));
    const QString dir = QString::fromLocal8Bit(argv[2]);
    QFile layoutFile(QString::fromLocal8Bit(argv[3]));
    if (!layoutFile.open(QIODevice::WriteOnly)) return 1;
    QTextStream layout(&layoutFile);
    layout << "song\tmeasure\tpage\tx_pt\tstaff_top_pt\tdue_ms\tscr\tnxt\thead_y_pt\n";
    for (const Song& song : kSongs) {
        QPdfDocument doc;
        if (doc.load(dir + '/' + song.name + ".pdf") != QPdfDocument::Error::None)
            fail("cannot load the sheet of " + song.name);
        for (int p = 0; p < doc.pageCount(); ++p)
            if (doc.pagePointSize(p).toSize() != QSize(612, 792))
                fail(song.name + ": not a Letter page");
        const auto it = links.find(song.name);
        if (it == links.end()) fail("no links for " + song.name);
        const std::vector<Staff> staves = findStaves(doc);
        const std::vector<Head> firsts = firstOfMeasures(it->second, staves);
        if (int(firsts.size()) != song.measures)
            fail(QStringLiteral("%1: %2 measures found, %3 written")
                     .arg(song.name)
                     .arg(firsts.size())
                     .arg(song.measures));
        writeSong(song, firsts, staves, dir + '/' + song.name + ".map", layout);
        std::printf("%s: %d measures, %d page(s), %zu staves\n", qPrintable(song.name),
                    song.measures, doc.pageCount(), staves.size());
    }
    return 0;
}
