// Makes the bundled demo songs from the melodies below: for each piece a
// sheet (PDF, engraved here with QPainter), a recording (WAV, synthesized
// here; demo/build.sh turns it into MP3) and a cursor map whose tics fall on
// the first beat of every measure, with half-page scrolls and page turns.
// Also writes layout.tsv, the measure positions the maps were made from.
//   make_demo <out songs dir> <out second-part dir>
//
// The melodies are traditional and in the public domain; the settings and
// recordings are ours.

#include "core/values.h"
#include "cursormap/tic_table.h"
#include "sheet/page_geometry.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QTextStream>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

struct Note {
    char letter;  // C D E F G A B, or R for a rest
    int octave;   // 4: the octave from middle C
    double beats; // 1 a quarter note
};

struct Piece {
    QString name;
    QString title;
    int beatsPerMeasure;
    double bpm;
    std::vector<Note> melody;
    int sharps = 0; // key signature (written notes stay diatonic)
};

// Sheet layout, in PDF points.
constexpr double kPageW = 612, kPageH = 792;
constexpr double kLeft = 60, kRight = 552;
constexpr double kLine = 8; // staff line distance
constexpr double kFirstSystem = 130, kSystemStep = 130;
constexpr int kSystemsPerPage = 5, kMeasuresPerSystem = 4;
constexpr double kClefArea = 44;
constexpr double kLeadIn = 1.0;   // seconds of silence before the first note
constexpr double kCountOff = 4.0; // the built-in PDF Delay the maps are made for
constexpr double kTicOffset = 0.995;

int diatonic(char letter, int octave) { return QByteArray("CDEFGAB").indexOf(letter) + 7 * octave; }
double midiHz(char letter, int octave, int sharps) {
    static const int semis[] = {0, 2, 4, 5, 7, 9, 11};
    int idx = QByteArray("CDEFGAB").indexOf(letter);
    int midi = 12 * (octave + 1) + semis[idx];
    // Key signature: F# then C# (enough for our keys).
    if ((sharps >= 1 && letter == 'F') || (sharps >= 2 && letter == 'C')) ++midi;
    return 440.0 * std::pow(2.0, (midi - 69) / 12.0);
}

struct Measure {
    int page, system;
    double x, staffTop; // first note head's centre x; the staff's top line
    double startSec;    // of its first beat in the recording
};

std::vector<Note> transposeUp(const std::vector<Note>& m, int steps) {
    std::vector<Note> out;
    for (Note n : m) {
        if (n.letter != 'R') {
            int d = diatonic(n.letter, n.octave) + steps;
            n.letter = "CDEFGAB"[d % 7];
            n.octave = d / 7;
        }
        out.push_back(n);
    }
    return out;
}

// Engraves the piece; returns the measures with their places.
std::vector<Measure> engrave(const Piece& p, const QString& pdfPath) {
    QPdfWriter w(pdfPath);
    w.setPageLayout(QPageLayout(QPageSize(QPageSize::Letter), QPageLayout::Portrait, QMarginsF()));
    w.setResolution(72);
    w.setTitle(p.title);
    w.setCreator(QStringLiteral("Mellivane demo"));
    QPainter g(&w);
    g.setRenderHint(QPainter::Antialiasing);
    const double measureW = (kRight - kLeft - kClefArea) / kMeasuresPerSystem;
    std::vector<Measure> measures;
    double beat = 0, sec = kLeadIn;
    const double secPerBeat = 60.0 / p.bpm;
    int lastPage = -1, lastSystem = -1;
    size_t i = 0;
    auto staffTopOf = [](int system) { return kFirstSystem + system * kSystemStep; };
    while (i < p.melody.size()) {
        const int index = int(measures.size());
        const int page = index / (kSystemsPerPage * kMeasuresPerSystem);
        const int system = (index / kMeasuresPerSystem) % kSystemsPerPage;
        const int col = index % kMeasuresPerSystem;
        const double top = staffTopOf(system);
        if (page != lastPage) {
            if (lastPage >= 0) w.newPage();
            g.setPen(Qt::black);
            g.setFont(QFont(QStringLiteral("DejaVu Serif"), page == 0 ? 20 : 11));
            g.drawText(QRectF(0, 40, kPageW, 40), Qt::AlignCenter,
                       page == 0 ? p.title : p.title + QStringLiteral(" (continued)"));
            g.setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
            g.drawText(QRectF(0, kPageH - 40, kPageW, 20), Qt::AlignCenter,
                       QString::number(page + 1));
            lastPage = page;
        }
        if (system != lastSystem) {
            g.setPen(QPen(Qt::black, 0.7));
            for (int l = 0; l < 5; ++l)
                g.drawLine(QPointF(kLeft, top + l * kLine), QPointF(kRight, top + l * kLine));
            g.drawLine(QPointF(kLeft, top), QPointF(kLeft, top + 4 * kLine));
            // A plain G-clef sign and the key and time signatures.
            g.setFont(QFont(QStringLiteral("DejaVu Serif"), 26));
            g.drawText(QRectF(kLeft + 2, top - 12, 20, 56), Qt::AlignCenter, QStringLiteral("G"));
            g.setFont(QFont(QStringLiteral("DejaVu Sans"), 11));
            const double sharpY[] = {top - 1, top + 11}; // F and C lines
            for (int k = 0; k < p.sharps; ++k)
                g.drawText(QPointF(kLeft + 21 + k * 6, sharpY[k] + 4), QStringLiteral("\u266F"));
            if (index == 0) {
                g.setFont(QFont(QStringLiteral("DejaVu Sans"), 12, QFont::Bold));
                g.drawText(QPointF(kLeft + 34, top + 14), QString::number(p.beatsPerMeasure));
                g.drawText(QPointF(kLeft + 34, top + 30), QStringLiteral("4"));
            }
            lastSystem = system;
        }
        const double mx = kLeft + kClefArea + col * measureW;
        g.setPen(QPen(Qt::black, 0.8));
        g.drawLine(QPointF(mx + measureW, top), QPointF(mx + measureW, top + 4 * kLine));
        Measure m{page, system, 0, top, sec};
        double inMeasure = 0;
        bool first = true;
        while (i < p.melody.size() && inMeasure < p.beatsPerMeasure - 1e-9) {
            const Note& n = p.melody[i];
            const double x = mx + 14 + inMeasure * (measureW - 22) / p.beatsPerMeasure;
            if (first) m.x = x;
            first = false;
            if (n.letter == 'R') {
                g.fillRect(QRectF(x - 3, top + 12, 6, 4), Qt::black);
            } else {
                const int step = diatonic(n.letter, n.octave) - diatonic('E', 4);
                const double y = top + 4 * kLine - step * kLine / 2;
                for (int s = -2; s >= step; s -= 2) // ledger lines below
                    g.drawLine(QPointF(x - 7, top + 4 * kLine - s * kLine / 2),
                               QPointF(x + 7, top + 4 * kLine - s * kLine / 2));
                for (int s = 10; s <= step; s += 2) // and above
                    g.drawLine(QPointF(x - 7, top + 4 * kLine - s * kLine / 2),
                               QPointF(x + 7, top + 4 * kLine - s * kLine / 2));
                const bool hollow = n.beats >= 2;
                QPainterPath head;
                head.addEllipse(QPointF(x, y), 4.6, 3.4);
                g.setPen(QPen(Qt::black, 1.2));
                g.setBrush(hollow ? Qt::NoBrush : QBrush(Qt::black));
                g.drawPath(head);
                g.setBrush(Qt::NoBrush);
                if (n.beats < 4) {
                    const bool up = step < 4;
                    const double sx = up ? x + 4.3 : x - 4.3;
                    g.drawLine(QPointF(sx, y), QPointF(sx, up ? y - 24 : y + 24));
                    if (n.beats <= 0.5)
                        g.drawLine(QPointF(sx, up ? y - 24 : y + 24),
                                   QPointF(sx + 6, up ? y - 16 : y + 16));
                }
                const double frac = n.beats - std::floor(n.beats);
                if (frac == 0.5 && n.beats > 1) g.drawEllipse(QPointF(x + 8, y - 1), 1.0, 1.0);
            }
            inMeasure += n.beats;
            beat += n.beats;
            ++i;
        }
        sec = kLeadIn + beat * secPerBeat;
        measures.push_back(m);
    }
    return measures;
}

// A soft plucked-string voice: a few harmonics under a falling envelope.
void addTone(std::vector<float>& buf, int rate, double startSec, double durSec, double hz,
             double amp) {
    const size_t start = size_t(startSec * rate);
    const size_t n = size_t((durSec + 0.25) * rate);
    if (buf.size() < start + n) buf.resize(start + n, 0);
    for (size_t k = 0; k < n; ++k) {
        const double t = double(k) / rate;
        const double attack = std::min(1.0, t / 0.01);
        const double release = t > durSec ? std::exp(-(t - durSec) * 30) : 1.0;
        const double env = attack * release * std::exp(-t * 1.8);
        const double ph = 2 * M_PI * hz * t;
        buf[start + k] +=
            float(amp * env * (std::sin(ph) + 0.35 * std::sin(2 * ph) + 0.12 * std::sin(3 * ph)));
    }
}

void writeWav(const QString& path, const std::vector<float>& buf, int rate) {
    QByteArray data;
    for (float f : buf) {
        const int v = int(std::lround(std::clamp(f, -1.0f, 1.0f) * 32000));
        data.append(char(v & 0xff)).append(char((v >> 8) & 0xff));
    }
    QByteArray h("RIFF");
    auto u32 = [&h](quint32 v) {
        for (int i = 0; i < 4; ++i)
            h.append(char((v >> (8 * i)) & 0xff));
    };
    auto u16 = [&h](quint16 v) { h.append(char(v & 0xff)).append(char(v >> 8)); };
    u32(36 + data.size());
    h += "WAVEfmt ";
    u32(16);
    u16(1);
    u16(1);
    u32(rate);
    u32(rate * 2);
    u16(2);
    u16(16);
    h += "data";
    u32(data.size());
    QFile f(path);
    if (f.open(QIODevice::WriteOnly)) f.write(h + data);
}

std::vector<float> record(const Piece& p, bool withBass) {
    const int rate = 44100;
    std::vector<float> buf;
    double beat = 0;
    const double spb = 60.0 / p.bpm;
    for (const Note& n : p.melody) {
        if (n.letter != 'R')
            addTone(buf, rate, kLeadIn + beat * spb, n.beats * spb * 0.95,
                    midiHz(n.letter, n.octave, p.sharps), 0.45);
        beat += n.beats;
    }
    if (withBass) // the mix: a low tonic on every first beat
        for (double b = 0; b < beat; b += p.beatsPerMeasure)
            addTone(buf, rate, kLeadIn + b * spb, p.beatsPerMeasure * spb * 0.9,
                    midiHz('C', 3, 0) * (p.sharps ? 9.0 / 8 : 1), 0.25);
    buf.resize(buf.size() + rate / 2, 0);
    return buf;
}

// The map: one tic per measure, at its first beat, for a cursor play with
// the built-in count-off (PDF Delay 4 s, 1st Note Delay 500 ms, Tic Offset
// .995).  The first tic counts from the press of Play; each one after from
// the tic before.  Times are divided by the Tic Offset, and rounded on the
// running total so that no error piles up.
QStringList makeMap(const std::vector<Measure>& ms, QTextStream& layout, const QString& song) {
    QStringList lines = {"100@", "0%", "#1", "#2", "#3", "#4", "#5", "#6", " 80^"};
    constexpr double viewerWidth = 14280 - 50; // AcroPDF1 at the built-in strip position
    constexpr double scrollOffset = 500;
    long long prevMs = 0;
    int prevPage = 0;
    for (size_t k = 0; k < ms.size(); ++k) {
        const Measure& m = ms[k];
        const double due = (kCountOff + m.startSec) * 1000 / kTicOffset;
        const long long total = std::llround(due);
        const long long tic = total - prevMs;
        prevMs = total;
        const double scr = m.system >= 3 ? 8000 : 0; // the lower half of the page
        const QPointF head = mv::page::pointInViewer(QPointF(m.x, m.staffTop),
                                                     QSizeF(kPageW, kPageH), viewerWidth, 100);
        const double x = head.x() - 495.0 / 2; // the cursor centred over the note
        const double y = head.y() - 135 - 90 - (scr + scrollOffset); // just above the staff
        const bool nxt = m.page != prevPage;
        prevPage = m.page;
        lines << QString::number(tic) << mv::printFormSingle(x) << mv::printFormSingle(y)
              << mv::numberText(scr) << mv::boolText(nxt) << QStringLiteral("False");
        layout << song << '\t' << k + 1 << '\t' << m.page + 1 << '\t' << m.x << '\t' << m.staffTop
               << '\t' << total << '\t' << scr << '\t' << (nxt ? "True" : "False") << '\n';
    }
    return lines;
}

void writeMap(const QString& path, const QStringList& lines) {
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly)) return;
    for (const QString& l : lines)
        f.write(l.toLatin1() + "\r\n");
}

Piece odeToJoy() {
    const char* notes = "EEFG GFED CCDE E.D_D- EEFG GFED CCDE D.C_C- DDEC DE_F_EC DE_F_ED CDG3- "
                        "EEFG GFED CCDE D.C_C-";
    // Parse: letter = quarter; "." after a note makes it dotted (1.5), "_"
    // an eighth, "-" a half, "3" the low G (octave 3).
    Piece p{"Ode to Joy", "Ode to Joy", 4, 120, {}};
    for (const char* c = notes; *c; ++c) {
        if (*c == ' ') continue;
        if (std::strchr("CDEFGAB", *c))
            p.melody.push_back({*c, 4, 1});
        else if (*c == '.')
            p.melody.back().beats = 1.5;
        else if (*c == '_')
            p.melody.back().beats = 0.5;
        else if (*c == '-')
            p.melody.back().beats = 2;
        else if (*c == '3')
            p.melody.back().octave = 3;
    }
    return p;
}

Piece twinkle() {
    Piece p{"Twinkle Twinkle", "Twinkle, Twinkle, Little Star", 4, 100, {}};
    const char* verse[] = {"CCGG", "AAG-", "FFEE", "DDC-", "GGFF", "EED-",
                           "GGFF", "EED-", "CCGG", "AAG-", "FFEE", "DDC-"};
    for (int rep = 0; rep < 2; ++rep)
        for (const char* m : verse)
            for (const char* c = m; *c; ++c) {
                if (*c == '-')
                    p.melody.back().beats = 2;
                else
                    p.melody.push_back({*c, 4, 1});
            }
    return p;
}

Piece greensleeves() {
    // 3/4: a quarter pickup is folded into the first measure as a rest.
    Piece p{"Greensleeves", "Greensleeves", 3, 120, {}};
    const std::vector<Note> m = {
        {'R', 4, 2},   {'A', 4, 1},   {'C', 5, 2},   {'D', 5, 1},   {'E', 5, 1.5}, {'F', 5, 0.5},
        {'E', 5, 1},   {'D', 5, 2},   {'B', 4, 1},   {'G', 4, 1.5}, {'A', 4, 0.5}, {'B', 4, 1},
        {'C', 5, 2},   {'A', 4, 1},   {'A', 4, 1.5}, {'G', 4, 0.5}, {'A', 4, 1},   {'B', 4, 2},
        {'G', 4, 1},   {'E', 4, 2},   {'A', 4, 1},   {'C', 5, 2},   {'D', 5, 1},   {'E', 5, 1.5},
        {'F', 5, 0.5}, {'E', 5, 1},   {'D', 5, 2},   {'B', 4, 1},   {'G', 4, 1.5}, {'A', 4, 0.5},
        {'B', 4, 1},   {'C', 5, 1.5}, {'B', 4, 0.5}, {'A', 4, 1},   {'G', 4, 1.5}, {'F', 4, 0.5},
        {'G', 4, 1},   {'A', 4, 3},   {'A', 4, 3}};
    for (int rep = 0; rep < 2; ++rep)
        p.melody.insert(p.melody.end(), m.begin(), m.end());
    return p;
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: make_demo <songs dir> <second-part dir>\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1])), out2(QString::fromLocal8Bit(argv[2]));
    QDir().mkpath(out.path());
    QDir().mkpath(out2.path());
    QFile layoutFile(QDir(out.path() + QStringLiteral("/..")).filePath("layout.tsv"));
    if (!layoutFile.open(QIODevice::WriteOnly)) return 1;
    QTextStream layout(&layoutFile);
    layout << "song\tmeasure\tpage\tx_pt\tstaff_top_pt\tdue_ms\tscr\tnxt\n";

    for (const Piece& p : {odeToJoy(), twinkle(), greensleeves()}) {
        const std::vector<Measure> ms = engrave(p, out.filePath(p.name + ".pdf"));
        writeWav(out.filePath(p.name + ".wav"), record(p, false), 44100);
        writeMap(out.filePath(p.name + ".map"), makeMap(ms, layout, p.name));
        std::printf("%s: %zu measures, %d page(s)\n", qPrintable(p.name), ms.size(),
                    ms.back().page + 1);
    }
    // The mix of Ode to Joy shares its sheet and map; its second part, for
    // a B-flat instrument, is written a tone higher with two sharps.
    Piece ode = odeToJoy();
    writeWav(out.filePath("Ode to Joy MIX.wav"), record(ode, true), 44100);
    Piece trumpet = ode;
    trumpet.title = QStringLiteral("Ode to Joy - Trumpet in B\u266D");
    trumpet.melody = transposeUp(ode.melody, 1);
    trumpet.sharps = 2;
    engrave(trumpet, out2.filePath("Ode to Joy.pdf"));
    // A numbered copy: with "Ignore number" on it shares Greensleeves' files.
    QFile::remove(out.filePath("03 Greensleeves.wav"));
    QFile::copy(out.filePath("Greensleeves.wav"), out.filePath("03 Greensleeves.wav"));
    return 0;
}
