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

QStringList mapLines(const QString& song) {
    const QByteArray bytes = mv::test::readFile(demoDir() + "/songs/" + song + ".map");
    EXPECT_TRUE(bytes.endsWith("\r\n")) << song.toStdString();
    return splitLines(bytes);
}

} // namespace

TEST(DemoSongs, EachMapFitsTheLayoutOfItsSheet) {
    const auto songs = layout();
    ASSERT_EQ(songs.size(), 4);
    const double viewerWidth = 14280 - 50; // the viewer at the built-in strip position
    for (auto it = songs.begin(); it != songs.end(); ++it) {
        SCOPED_TRACE(it.key().toStdString());
        const QStringList lines = mapLines(it.key());
        ASSERT_EQ(lines.mid(0, 9), mv::test::kMapHeader);
        ASSERT_EQ(lines.size(), 9 + 6 * it->size());
        double sum = 0;
        bool scrolled = false;
        for (int k = 0; k < it->size(); ++k) {
            const Row& r = (*it)[k];
            const QStringList rec = lines.mid(9 + 6 * k, 6);
            sum += val(rec[0]);
            EXPECT_NEAR(sum, r.due, 5) << "measure " << k + 1;
            // The cursor's middle over the note, its bottom just above the
            // staff, on the sheet as moved up by Scr + the built-in offset.
            const QPointF head = page::pointInViewer({r.x, r.top}, {612, 792}, viewerWidth, 100);
            EXPECT_NEAR(val(rec[1]) + 495.0 / 2, head.x(), 30) << "measure " << k + 1;
            const double cursorBottom = val(rec[2]) + 135 + (val(rec[3]) + 500);
            EXPECT_GT(head.y() - cursorBottom, 0);
            EXPECT_LT(head.y() - cursorBottom, 200);
            EXPECT_EQ(val(rec[3]), r.scr);
            EXPECT_EQ(rec[4], r.nxt ? "True" : "False");
            EXPECT_EQ(rec[5], "False");
            // Nxt exactly where the page changes.
            EXPECT_TRUE(k == 0 || r.nxt == (r.page != (*it)[k - 1].page)) << "measure " << k + 1;
            scrolled |= r.scr > 0;
        }
        EXPECT_TRUE(scrolled || it->size() <= 12) << "a long song has a half-page scroll";
    }
}

TEST(DemoSongs, TheSheetHasANoteHeadWhereTheLayoutSaysAndNoneBeside) {
    const auto songs = layout();
    constexpr int kScale = 4; // pixels per point
    for (auto it = songs.begin(); it != songs.end(); ++it) {
        QPdfDocument doc;
        ASSERT_EQ(doc.load(demoDir() + "/songs/" + it.key() + ".pdf"), QPdfDocument::Error::None);
        int pages = 0;
        for (const Row& r : *it)
            pages = std::max(pages, r.page);
        EXPECT_EQ(doc.pageCount(), pages);
        QImage img;
        int rendered = 0;
        // The share of inked pixels in a box about the size of a note head.
        auto ink = [&img](double cx, double cy) {
            int n = 0, all = 0;
            for (int y = int((cy - 1.5) * kScale); y <= int((cy + 1.5) * kScale); ++y)
                for (int x = int((cx - 2.5) * kScale); x <= int((cx + 2.5) * kScale); ++x, ++all)
                    n += qAlpha(img.pixel(x, y)) > 128;
            return double(n) / all;
        };
        for (const Row& r : *it) {
            if (r.page != rendered) {
                img = doc.render(r.page - 1, QSize(612 * kScale, 792 * kScale));
                rendered = r.page;
            }
            SCOPED_TRACE(it.key().toStdString() + " page " + std::to_string(r.page) + " x " +
                         std::to_string(r.x));
            // A head (or a rest) on the spot, where a bare staff line inks
            // under a fifth of the box; 2 px (1.5 pt) off to either side the
            // box is no longer centred on it.
            EXPECT_GT(ink(r.x, r.headY), 0.35);
            EXPECT_GT(ink(r.x, r.headY),
                      std::max(ink(r.x - 1.5, r.headY), ink(r.x + 1.5, r.headY)) - 0.02);
        }
    }
}

TEST(DemoSongs, SiblingsFollowTheNameConventions) {
    const QDir songs(demoDir() + "/songs");
    for (const char* name : {"Ode to Joy", "Twinkle Twinkle", "Greensleeves", "Amazing Grace"})
        for (const char* ext : {".pdf", ".mp3", ".map"})
            EXPECT_TRUE(songs.exists(QString(name) + ext)) << name << ext;
    // The mix shares the plain name's map and sheet; the numbered copy shares
    // Greensleeves' with "Ignore number" on; the second part has its own sheet.
    EXPECT_TRUE(songs.exists("Ode to Joy MIX.mp3"));
    EXPECT_FALSE(songs.exists("Ode to Joy MIX.map"));
    EXPECT_TRUE(songs.exists("03 Greensleeves.mp3"));
    EXPECT_FALSE(songs.exists("03 Greensleeves.map"));
    EXPECT_TRUE(QFile::exists(demoDir() + "/songs-2/Ode to Joy.pdf"));
}
