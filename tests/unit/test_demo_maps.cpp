// The bundled demo songs: every map fits the layout measured on its sheet
// (one tic per measure, the cursor within 2 px over the measure's first note,
// the half-page scrolls and page turns where the layout has them, the times
// of the first beats), the sheet really has a note head where the layout
// says, and the siblings the name conventions need are all there.

#include "core/file_numbers.h"
#include "core/values.h"
#include "qt_print.h"
#include "sheet/page_geometry.h"
#include "test_files.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPdfDocument>
#include <gtest/gtest.h>

using namespace mv;

namespace {

struct Row {
    int page;
    double x, top, scr;
    long long due;
    bool nxt;
    double headY;
};

QString demoDir() { return qEnvironmentVariable("MELLIVANE_SOURCE_DIR") + "/demo"; }

QMap<QString, QList<Row>> layout() {
    QMap<QString, QList<Row>> out;
    QFile f(demoDir() + "/layout.tsv");
    EXPECT_TRUE(f.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(f.readAll()).split('\n', Qt::SkipEmptyParts);
    for (const QString& l : lines.mid(1)) {
        const QStringList c = l.split('\t');
        out[c[0]].append({c[2].toInt(), c[3].toDouble(), c[4].toDouble(), c[6].toDouble(),
                          c[5].toLongLong(), c[7] == "True", c[8].toDouble()});
    }
    return out;
}

} // namespace

// Every map fits its measures, and the sheet has a note head (or a rest)
// where the layout says: there a bare staff line inks under a fifth of a box
// about the size of a head; 2 px (1.5 pt) off to either side the box is no
// longer centred on it.
TEST(DemoSongs, EachMapFitsTheLayoutOfItsSheetAndTheSheetHasTheHeads) {
    const auto songs = layout();
    ASSERT_EQ(songs.size(), 4);
    const double viewerWidth = 14280 - 50; // the viewer at the built-in strip position
    constexpr int kScale = 4;              // pixels per point
    for (auto it = songs.begin(); it != songs.end(); ++it) {
        SCOPED_TRACE(it.key().toStdString());
        const QByteArray map = mv::test::readFile(demoDir() + "/songs/" + it.key() + ".map");
        EXPECT_TRUE(map.endsWith("\r\n"));
        const QStringList lines = splitLines(map);
        ASSERT_EQ(lines.mid(0, 9), mv::test::kMapHeader);
        ASSERT_EQ(lines.size(), 9 + 6 * it->size());
        QPdfDocument doc;
        ASSERT_EQ(doc.load(demoDir() + "/songs/" + it.key() + ".pdf"), QPdfDocument::Error::None);
        EXPECT_EQ(doc.pageCount(), it->last().page);
        QImage img;
        // The share of inked pixels in a box about the size of a note head.
        auto ink = [&img](double cx, double cy) {
            int n = 0, all = 0;
            for (int y = int((cy - 1.5) * kScale); y <= int((cy + 1.5) * kScale); ++y)
                for (int x = int((cx - 2.5) * kScale); x <= int((cx + 2.5) * kScale); ++x, ++all)
                    n += qAlpha(img.pixel(x, y)) > 128;
            return double(n) / all;
        };
        double sum = 0;
        bool scrolled = false;
        for (int k = 0; k < it->size(); ++k) {
            SCOPED_TRACE("measure " + std::to_string(k + 1));
            const Row& r = (*it)[k];
            const QStringList rec = lines.mid(9 + 6 * k, 6);
            sum += val(rec[0]);
            EXPECT_NEAR(sum, r.due, 5);
            // The cursor's middle over the note, its bottom just above the
            // staff, on the sheet as moved up by Scr + the built-in offset.
            const QPointF head = page::pointInViewer({r.x, r.top}, {612, 792}, viewerWidth, 100);
            EXPECT_NEAR(val(rec[1]) + 495.0 / 2, head.x(), 30);
            const double cursorBottom = val(rec[2]) + 135 + (val(rec[3]) + 500);
            EXPECT_GT(head.y() - cursorBottom, 0);
            EXPECT_LT(head.y() - cursorBottom, 200);
            // Nxt exactly where the page changes.
            const bool turn = k > 0 && r.page != (*it)[k - 1].page;
            EXPECT_EQ(rec.mid(3), (QStringList{numberText(r.scr), boolText(r.nxt), "False"}));
            EXPECT_TRUE(k == 0 || r.nxt == turn);
            scrolled |= r.scr > 0;
            if (k == 0 || turn) img = doc.render(r.page - 1, QSize(612 * kScale, 792 * kScale));
            EXPECT_GT(ink(r.x, r.headY), 0.35);
            EXPECT_GT(ink(r.x, r.headY),
                      std::max(ink(r.x - 1.5, r.headY), ink(r.x + 1.5, r.headY)) - 0.02);
        }
        EXPECT_TRUE(scrolled || it->size() <= 12) << "a long song has a half-page scroll";
    }
}

// The mix shares the plain name's map and sheet; the numbered copy shares
// Greensleeves' with "Ignore number" on; the second part has its own sheet.
TEST(DemoSongs, SiblingsFollowTheNameConventions) {
    EXPECT_EQ(QDir(demoDir() + "/songs").entryList(QDir::Files),
              (QStringList{"03 Greensleeves.mp3", "Amazing Grace.map", "Amazing Grace.mp3",
                           "Amazing Grace.pdf", "Greensleeves.map", "Greensleeves.mp3",
                           "Greensleeves.pdf", "Ode to Joy MIX.mp3", "Ode to Joy.map",
                           "Ode to Joy.mp3", "Ode to Joy.pdf", "Twinkle Twinkle.map",
                           "Twinkle Twinkle.mp3", "Twinkle Twinkle.pdf"}));
    EXPECT_EQ(QDir(demoDir() + "/songs-2").entryList(QDir::Files), QStringList{"Ode to Joy.pdf"});
}
