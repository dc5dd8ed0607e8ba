// The .map format through its four operations of this file: header take,
// edit load, table write and stream write.  Byte-exact output, the reader
// chains, the marker doubling, the 5001-row limit and cut-off files.

#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "fakes.h"
#include "stage.h"
#include "test_files.h"
#include "units_helpers.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

const QStringList kRecorded =
    kMapHeader + rec("2340", " 1650 ", " 2280 ", "0") + rec("1875", " 4110 ", " 2280 ", "0", true);

class MapFileTest : public ::testing::Test, protected Stage {
  protected:
    MapFileTest() { s.player = &player; }
    QString write(const QByteArray& bytes) {
        const QString p = dir.filePath("song.map");
        EXPECT_TRUE(writeFile(p, bytes));
        return p;
    }

    QTemporaryDir dir;
};

TEST(MapFileName, CutAtTheFirstDotOfTheFileNameNeverInTheFolder) {
    const std::pair<QString, QString> cases[] = {
        {"/songs/Blue.Moon.mp3", "/songs/Blue.map"},
        {"/songs/Vol. 2/Blue.mp3", "/songs/Vol. 2/Blue.map"},
        {"/my.songs/Blue", "/my.songs/Blue.map"},
        {"", ".map"}};
    for (const auto& [songBase, map] : cases)
        EXPECT_EQ(mapFileName(songBase), map) << qPrintable(songBase);
}

TEST_F(MapFileTest, EditLoadKeepsCellsAsReadAndTableWriteReproducesTheEditForm) {
    const QString p = write(crlf(kRecorded));
    s.velmor.ZoomIt.setText("120");
    editLoad(s, p);
    EXPECT_EQ(ticRow(s.tic, 0) + ticRow(s.tic, 1) + ticRow(s.tic, 2).mid(0, 1),
              kRecorded.mid(9) + QStringList{""});
    // The edit load leaves the second sheet's lines alone.
    EXPECT_EQ(readouts(s.velmor.ZoomIt.text(), s.g.CursorStarted, s.files.isOpen(3),
                       s.g.MapHeaderLines[1]),
              (QStringList{"100", "0", "false", ""}));
    // Zoom 100 and left 0: the edit form leaves out "@" and "%"; the cells go
    // out as they stand, blanks included.
    player.setSettingsVolume(80);
    const QString out = dir.filePath("out.map");
    tableWrite(s, out);
    EXPECT_EQ(readFile(out), crlf(kRecorded.mid(2)));
    s.velmor.ZoomIt.setText("90");
    s.velmor.PDFLeft.setText("-150");
    tableWrite(s, out);
    EXPECT_EQ(readFile(out).left(12), QByteArray("90@\r\n-150%\r\n"));
}

TEST_F(MapFileTest, RewrittenHeaderLinesDoubleTheirMarkerAndStillReadRight) {
    FakeViewer v2;
    s.adobeF2.AcroPDF1 = &v2;
    s.adobeF2.Visible.set(true);
    QStringList lines = kRecorded;
    lines[2] = "350#1";
    lines[3] = "#2"; // nothing before the marker: reads 0, stays two characters
    const QString p = write(crlf(lines));
    EXPECT_TRUE(headerTake(s, p, {}));
    EXPECT_EQ(readouts(s.g.MapHeaderLines[1], s.g.MapHeaderLines[2], s.adobeF2.VScroll2.get()),
              (QStringList{"350#1", "#2", "350"}));
    // Read and written again: one more marker each time, the number still first.
    const QStringList rewritten[] = {{"350#1#1", "#2#2"}, {"350#1#1#1", "#2#2#2"}};
    for (const QStringList& want : rewritten) {
        editLoad(s, p);
        tableWrite(s, p);
        EXPECT_EQ(splitLines(readFile(p)).mid(0, 2), want);
        s.adobeF2.VScroll2.set(0);
        EXPECT_TRUE(headerTake(s, p, {}));
        EXPECT_EQ(s.adobeF2.VScroll2.get(), 350);
    }
}

TEST_F(MapFileTest, HeaderTakeAppliesZoomLeftAndVolumeAndPassesOverTics) {
    QStringList lines = kRecorded;
    lines[0] = "90@";
    lines[1] = "120%";
    lines.insert(9, "~"); // a "~" line is passed over
    const QString p = write(crlf(lines));
    s.tic.Tic[0] = "keep";
    QStringList volumes;
    EXPECT_TRUE(headerTake(s, p, [&](const QString& l) { volumes << l; }));
    // The table is not touched; window 2 hidden: its slots stay empty.
    EXPECT_EQ(readouts(s.velmor.ZoomIt.text(), s.velmor.PDFLeft.text(), volumes.join('|'),
                       s.tic.Tic[0], s.g.MapHeaderLines[1], s.files.isOpen(4)),
              (QStringList{"90", "120", " 80^", "keep", "", "false"}));
    EXPECT_FALSE(headerTake(s, dir.filePath("none.map"), {}));
}

TEST_F(MapFileTest, BareRecordsHeaderBetweenRecordsAndARecordCutShort) {
    // No header at all: the first line is row 0's Tic.  Header lines between
    // records are taken or passed over; the last record ends after its X.
    const QString p = write(crlf({"100", "1", "2", "0", "False", "False", "75@", "-50%", "~", "200",
                                  "3", "4", "0", "False", "False", "300", " 5 "}));
    editLoad(s, p);
    EXPECT_EQ(ticRow(s.tic, 0) + ticRow(s.tic, 1) + ticRow(s.tic, 2) + ticRow(s.tic, 3).mid(0, 1),
              (rec("100", "1", "2", "0") + rec("200", "3", "4", "0") +
               QStringList{"300", " 5 ", "", "", "", "", ""}));
    EXPECT_EQ(s.velmor.ZoomIt.text() + s.velmor.PDFLeft.text(), "75-50");
    // While the File menu's Save runs, zoom and left stay as they are.
    s.velmor.ZoomIt.setText("100");
    s.velmor.PDFLeft.setText("0");
    s.g.SaveInProgress = kTrue;
    editLoad(s, p);
    EXPECT_EQ(s.velmor.ZoomIt.text() + s.velmor.PDFLeft.text() + s.tic.Tic[0], "1000100");
}

TEST_F(MapFileTest, FiveThousandRowsLoadTheNextOneIsTooLarge) {
    QStringList lines;
    for (int i = 0; i < 5001; ++i)
        lines << QString::number(i + 1) << QStringList{"1", "2", "0", "False", "False"};
    const QString p = write(crlf(lines));
    s.adobeF.Shape2.set(true);
    editLoad(s, p);
    EXPECT_EQ(messages.shown, QStringList{"Music is to large to edit"});
    EXPECT_EQ(readouts(s.adobeF.Shape2.get(), s.tic.Tic[4999], s.tic.Tic[5000], s.files.isOpen(3)),
              (QStringList{"false", "5000", "", "false"}));
    // The table can hold 5001 rows and writes them all.
    s.tic.Tic[5000] = "5001";
    for (auto* c : {&s.tic.X, &s.tic.Y, &s.tic.Scr, &s.tic.Nxt, &s.tic.Prv})
        (*c)[5000] = (*c)[0];
    tableWrite(s, p);
    EXPECT_EQ(splitLines(readFile(p)).size(), 7 + 5001 * 6); // "#1".."#6" and "^", then the rows
}

TEST_F(MapFileTest, EmptyTableWritesAnEmptyFileAndStreamWriteIsTheRecordedForm) {
    const QString p = write("old");
    tableWrite(s, p);
    EXPECT_EQ(readFile(p), QByteArray());
    player.setSettingsVolume(80);
    streamOpen(s, p);
    streamHeader(s);
    streamTic(s, 2340, 1650, 2280, 0, false, false);
    streamTic(s, 1875, 4110, 2280, 0, true, false);
    streamClose(s);
    EXPECT_EQ(readFile(p), crlf(kRecorded));
    streamOpen(s, p);
    streamTic(s, 12.5, -3.25, 1650.66666, -500, false, true);
    streamClose(s);
    EXPECT_EQ(readFile(p), crlf({"12.5", "-3.25 ", " 1650.667 ", "-500", "False", "True"}));
}

TEST_F(MapFileTest, NoReaderFailsOnGarbage) {
    QByteArray junk;
    for (int i = 0; i < 4000; ++i)
        junk += char((i * 7919) % 256);
    const QString p =
        write(junk + "\r\n#7\r\n~\r\n^^^\r\n@%#\r\n99999999999999999999#1\r\n-1e308@\r\n");
    s.adobeF2.Visible.set(true);
    EXPECT_TRUE(headerTake(s, p, [](const QString&) {}));
    editLoad(s, p);
    EXPECT_FALSE(s.files.isOpen(3) || s.files.isOpen(4));
}

} // namespace
