// "Mellivane.ini" and its companions: the 60 positional lines byte for byte,
// older and shorter files, files made on Windows, and start-up and shut-down
// around them.

#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/startup.h"
#include "fakes.h"
#include "stage.h"
#include "test_files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <list>

using namespace mv;
using namespace mv::test;

namespace {

class SettingsTest : public ::testing::Test, protected Stage {
  protected:
    SettingsTest() { s.configDir = dir.path(); }
    QStringList lines(const QString& name = "Mellivane.ini") {
        const QByteArray b = readFile(dir.filePath(name));
        EXPECT_TRUE(b.endsWith("\r\n")) << qPrintable(name);
        return splitLines(b);
    }
    // Another start of the program on the same settings folder.
    Session& restart() {
        Session& r = restarts.emplace_back(clock, messages);
        r.configDir = dir.path();
        return r;
    }
    void write(const QStringList& l, const QString& name = "Mellivane.ini") {
        writeLinesAtomically(dir.filePath(name), l);
    }
    QTemporaryDir dir;
    std::list<Session> restarts;
};

TEST_F(SettingsTest, SaveWritesSixtyLinesInTheirKindsAndReadsBackTheSame) {
    VelmorState& v = s.velmor;
    v.Text1.setText("/home/me/songs");
    v.IGNNR.set(1);
    v.IgnZ.set(0);
    v.IamaServer.set(1);
    v.Scrn1.set(1);
    v.ScrollOffset.setText(" 450 ");
    v.WindowTop = 1234.5;
    s.g.ButtonStripLeft = 15000;
    v.AudioOutChecks.set(1 << 3); // TXS2
    s.g.PDFLeftDefault = "-300";
    v.PDFLeftD.setText("-300");
    SaveVelmor(s);
    const QStringList l = lines();
    ASSERT_EQ(l.size(), 60);
    // Flags in capitals (lines 3, 8, 9); a trimmed number (6); a text as it
    // stands (15); numbers and the check box value in print form (22, 23, 27,
    // 40); states in mixed case (45, 46, and 47: IgnX, built-in checked).
    const std::pair<int, const char*> want[] = {
        {0, "/home/me/songs"}, {2, "FALSE"}, {5, "1234.5"},    {7, "TRUE"},     {8, "FALSE"},
        {14, " 450 "},         {21, " 1 "},  {22, " 1234.5 "}, {26, " 15000 "}, {39, " 1 "},
        {44, "False"},         {45, "True"}, {46, "True"},     {55, "Zoom"},    {56, "-300"}};
    for (const auto& [i, text] : want)
        EXPECT_EQ(l[i], QString(text)) << "line " << i + 1;
    EXPECT_EQ(l.mid(29, 8),
              (QStringList{"False", "False", "False", "True", "False", "False", "False", "False"}));

    Session& back = restart();
    back.adobeF.Top = 9000;
    double placedTop = -1; // where the window's top went when its line was read
    back.placeSheet1Top = [&] { placedTop = back.adobeF.Top; };
    ASSERT_TRUE(openSettings(back));
    ASSERT_TRUE(readLines1to37(back, {}));
    EXPECT_EQ(placedTop, 1); // the sheet window's line puts it at the top
    readLines38to60(back);
    EXPECT_EQ(back.velmor.Text1.text(), "/home/me/songs");
    EXPECT_EQ(back.velmor.IGNNR.get(), 1);
    EXPECT_EQ(back.velmor.IgnZ.get(), 0);
    EXPECT_EQ(back.velmor.ScrollOffset.text(), " 450 ");
    EXPECT_EQ(back.velmor.IamaServer.get(), 1);
    EXPECT_EQ(back.velmor.Scrn1.get(), 1);
    EXPECT_EQ(back.g.SoundDevice, 2);
    EXPECT_EQ(back.adobeF.VScroll1Left.get(), 15000);
    EXPECT_EQ(back.g.PDFLeftDefault, "-300");
    EXPECT_EQ(back.velmor.WindowTop, 1234.5);
    EXPECT_EQ(back.velmor.WindowLeft, 1); // the left always starts at 1
    SaveVelmor(back);
    EXPECT_EQ(lines(), l); // what was read writes back the same
}

TEST_F(SettingsTest, ShortOlderFilesStopWhereTheyEnd) {
    QStringList eleven = {"C:\\NWC", "*.mp3", "TRUE",  "", "4.5",  "100",
                          "0",       "TRUE",  "FALSE", "", "FALSE"};
    write(eleven);
    int shown = 0;
    ASSERT_TRUE(openSettings(s));
    EXPECT_FALSE(readLines1to37(s, [&] { ++shown; }));
    EXPECT_EQ(shown, 1);                         // line 11 shows sheet window 1
    EXPECT_EQ(s.velmor.LoadPDF.get(), 1);        // whatever it holds
    EXPECT_EQ(s.velmor.CNWC.get(), 0);           // line 3 "TRUE" all the same
    EXPECT_EQ(s.velmor.FadeT.text(), "3");       // not reached: built-in
    EXPECT_EQ(s.velmor.Text1.text(), "C:\\NWC"); // a Windows path is read as it stands
    EXPECT_FALSE(s.files.isOpen(1));
    // 37 lines are enough for the first stretch; the second reads nothing.
    QStringList l37 = eleven;
    l37.resize(37);
    write(l37);
    ASSERT_TRUE(openSettings(s));
    EXPECT_TRUE(readLines1to37(s, {}));
    readLines38to60(s);
    EXPECT_EQ(s.velmor.ClientDelay.text(), "3.5");
}

TEST_F(SettingsTest, FoundWhateverTheCaseAndBadValuesAfterLine37Fail) {
    QStringList l(60, QString());
    l[0] = "/music";
    l[39] = "5"; // no check box value
    write(l, "MELLIVANE.INI");
    ASSERT_TRUE(openSettings(s));
    EXPECT_TRUE(readLines1to37(s, {}));
    EXPECT_EQ(s.velmor.Text1.text(), "/music");
    EXPECT_THROW(readLines38to60(s), Failure);
    SaveVelmor(s); // rewrites the file under the name it has
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"MELLIVANE.INI"});
}

// The second sheet window's place file: six lines, the place kept on the
// screen, a short file read as far as it goes.
TEST_F(SettingsTest, SecondSheetPlaceFileRoundTripAndShortFiles) {
    EXPECT_FALSE(readAdobeF2(s));
    EXPECT_EQ(s.adobeF2.PDFTop.text(), "600"); // built-in texts stay
    s.adobeF2.ScrollOffset.setText(" 120");
    s.adobeF2.AdjLeft.setText("-45");
    s.adobeF2.PDFTop.setText("300");
    s.adobeF2.PDFOffset.setText("15");
    s.adobeF2.Top = s.screenHeight; // off the screen: written as 0
    s.adobeF2.Left = 4500;
    writeAdobeF2(s);
    EXPECT_EQ(lines("AdobeF2.ini"), (QStringList{" 120", "-45", "300", " 0 ", " 4500 ", "15"}));

    Session& back = restart();
    ASSERT_TRUE(readAdobeF2(back));
    EXPECT_EQ(back.adobeF2.ScrollOffset.text(), " 120");
    EXPECT_EQ(back.adobeF2.PDFOffset.text(), "15");
    EXPECT_EQ(back.adobeF2.Left, 4500);
    EXPECT_FALSE(back.files.isOpen(3));

    write({"7", "8", "x"}, "ADOBEF2.INI"); // found whatever the case
    QFile::remove(dir.filePath("AdobeF2.ini"));
    ASSERT_TRUE(readAdobeF2(back));
    EXPECT_EQ(back.adobeF2.PDFTop.text(), "x");     // texts as they stand
    EXPECT_EQ(back.adobeF2.PDFOffset.text(), "15"); // not reached
}

// What start-up runs depends on how far the file goes and on whether the
// notation viewer named in it exists.
TEST_F(SettingsTest, StartUpStepsFollowTheLengthOfTheFileAndTheViewerStep) {
    QFile(dir.filePath("NWCViewer.exe")).open(QIODevice::WriteOnly);
    QFile(dir.filePath("Song.pdf")).open(QIODevice::WriteOnly);
    write({"PlayedList is here"}, "PlayedList.txt");
    QStringList l(20, QString());
    l[0] = dir.path();
    l[1] = "*.PDF";
    l[3] = dir.filePath("NWCViewer.exe");
    int adjusted = 0, shown = 0;
    QStringList activated;
    StartupHooks h;
    h.adjustAll = [&] { ++adjusted; };
    h.activateProgram = [&](const QString& t) { activated << t; };
    h.showMainWindow = [&] { ++shown; };

    // 20 lines: straight to closing the file; no AdjustAll, no viewer.
    write(l);
    startUp(s, h, {});
    EXPECT_EQ(adjusted, 0);
    EXPECT_TRUE(activated.isEmpty());
    EXPECT_EQ(s.velmor.PlayedList, "PlayedList is here");
    EXPECT_EQ(s.velmor.File1List.get(), QStringList{"Song.pdf"}); // SetPath ran
    EXPECT_TRUE(messages.shown.isEmpty());
    EXPECT_EQ(shown, 1);

    // 60 lines with a bad check box value after the viewer step: the error
    // is said and start-up ends there; the main window comes up all the same.
    l.resize(60);
    l[39] = "7";
    write(l);
    Session& t = restart();
    startUp(t, h, {});
    EXPECT_EQ(adjusted, 1);
    EXPECT_EQ(activated, QStringList{"NWCViewer"});
    ASSERT_EQ(messages.shown.size(), 1);
    EXPECT_EQ(messages.shown[0], "Error 380 Invalid property value");
    EXPECT_EQ(t.velmor.PlayedList, ""); // the steps after the error did not run
    EXPECT_EQ(shown, 2);
}

TEST_F(SettingsTest, FirstRunStartsOnTheDemoAndShutDownLeavesAFileTheNextStartReads) {
    QTemporaryDir demo;
    QDir(demo.path()).mkpath("songs");
    QDir(demo.path()).mkpath("songs-2");
    ASSERT_TRUE(writeFile(demo.filePath("songs/Tune.pdf"), "a song"));
    int shown = 0;
    StartupHooks h;
    h.showMainWindow = [&] { ++shown; };
    startUp(s, h, demo.path());
    EXPECT_TRUE(messages.shown.isEmpty());
    EXPECT_EQ(s.velmor.Text1.text(), demo.path() + "/songs");
    EXPECT_EQ(s.velmor.File1List.get(), QStringList{"Tune.pdf"});
    EXPECT_EQ(s.g.SoundDevice, -1);
    EXPECT_EQ(s.velmor.AudioOutChecks.get(), 0); // nothing checked on a first run
    EXPECT_EQ(shown, 1);
    s.velmor.PlayedList = "/a/x.mp3,/a/y.mp3,";
    s.velmor.FadeT.setText("5");
    shutDown(s, h);
    EXPECT_EQ(lines().size(), 60);
    EXPECT_EQ(lines("PlayedList.txt"), QStringList{"/a/x.mp3,/a/y.mp3,"});

    Session& again = restart();
    startUp(again, h, demo.path());
    EXPECT_EQ(again.velmor.FadeT.text(), "5");
    EXPECT_EQ(again.velmor.PlayedList, "/a/x.mp3,/a/y.mp3,");
    EXPECT_EQ(again.velmor.AudioOutChecks.get(), 1); // a full file checks Default
    EXPECT_EQ(again.velmor.File1List.get(), QStringList{"Tune.pdf"});
}

// Files that an earlier reader got wrong: each is read by start-up (with no
// notation viewer) and written back by shut-down.
TEST_F(SettingsTest, FilesThatCameBackWrongComeBackAsSaved) {
    s.velmor.Text1.setText(dir.path());
    s.velmor.AudioOutChecks.set(1); // Default, as start-up leaves it
    SaveVelmor(s);
    const QStringList saved = lines();
    struct Case {
        const char* what;
        std::vector<std::pair<int, const char*>> edits; // line (from 1), text
        std::function<void(const Session&)> check;
    };
    const std::vector<Case> cases = {
        {"a bad line after 37 with no viewer step drops nothing after it",
         {{40, "7"}, {41, "2.5"}, {50, "800"}, {59, "TRUE"}, {60, "-150"}},
         [](const Session& r) {
             EXPECT_EQ(r.velmor.ClientDelay.text(), "2.5");
             EXPECT_EQ(r.velmor.BeepX.text(), "800");
             EXPECT_EQ(r.velmor.FootControl.get(), 1);
             EXPECT_EQ(r.velmor.PDFLeftD.text(), "-150");
         }},
        {"the large list comes back",
         {{56, "-Zoom"}},
         [](const Session& r) {
             EXPECT_EQ(r.velmor.ZM.text(), "-Zoom");
             EXPECT_EQ(r.velmor.File1FontSize.get(), 18);
             EXPECT_EQ(r.velmor.WindowWidth.get(), 10250);
         }},
        {"several Audio Out marks each stay",
         {{30, "False"}, {31, "True"}, {33, "True"}},
         [](const Session& r) {
             EXPECT_FALSE(r.velmor.audioOutChecked(-1));
             EXPECT_TRUE(r.velmor.audioOutChecked(0));
             EXPECT_TRUE(r.velmor.audioOutChecked(2));
             EXPECT_EQ(r.g.SoundDevice, 2);
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        QStringList l = saved;
        for (const auto& [line, text] : c.edits)
            l[line - 1] = text;
        write(l);
        Session& r = restart();
        StartupHooks h;
        startUp(r, h, {});
        c.check(r);
        shutDown(r, h);
        QStringList want = l;
        if (c.edits[0].first == 40) want[39] = saved[39]; // the bad value is not kept
        EXPECT_EQ(lines(), want);
    }
    EXPECT_TRUE(messages.shown.isEmpty());
}

// Shut-down restores a minimised main window before its place is saved.
TEST_F(SettingsTest, ShutDownSavesTheRestoredPlaceOfTheMainWindow) {
    StartupHooks h;
    s.velmor.WindowTop = -32000; // where a minimised window reports itself
    h.restoreMainWindow = [&] { s.velmor.WindowTop = 2250; };
    shutDown(s, h);
    EXPECT_EQ(lines()[5], "2250");
}

} // namespace
