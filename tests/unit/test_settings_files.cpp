// "Mellivane.ini" and its companions: the 60 positional lines byte for byte,
// older and shorter files, files made on Windows, and start-up and shut-down
// around them.

#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/startup.h"
#include "cursormap/map_file.h"
#include "fakes.h"
#include "library/library.h"
#include "library/play_list.h"
#include "stage.h"
#include "test_files.h"
#include "units_helpers.h"

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
    // What the written lines give back is checked by writing them again; here
    // what is not written as it was read: the sound device from the Audio Out
    // marks, the strip's place, the left default, the left that always starts
    // at 1, and a value equal to its built-in one.
    EXPECT_EQ(readouts(back.g.SoundDevice, back.adobeF.VScroll1Left.get(), back.g.PDFLeftDefault,
                       back.velmor.WindowLeft, back.velmor.IgnZ.get()),
              (QStringList{"2", "15000", "-300", "1", "0"}));
    SaveVelmor(back);
    EXPECT_EQ(lines(), l); // what was read writes back the same
}

TEST_F(SettingsTest, ShortOlderFilesStopWhereTheyEndAndBadValuesAfterLine37Fail) {
    QStringList l = {"C:\\NWC", "*.mp3", "TRUE",  "", "4.5",  "100",
                     "0",       "TRUE",  "FALSE", "", "FALSE"};
    write(l);
    int shown = 0;
    ASSERT_TRUE(openSettings(s));
    EXPECT_FALSE(readLines1to37(s, [&] { ++shown; }));
    // Line 11 shows sheet window 1 and checks LoadPDF whatever it holds;
    // line 3's "TRUE" leaves CNWC alone; FadeT is not reached; a Windows path
    // is read as it stands.
    EXPECT_EQ(readouts(shown, s.velmor.LoadPDF.get(), s.velmor.CNWC.get(), s.velmor.FadeT.text(),
                       s.velmor.Text1.text(), s.files.isOpen(1)),
              (QStringList{"1", "1", "0", "3", "C:\\NWC", "false"}));
    // 37 lines are enough for the first stretch; the second reads nothing.
    l.resize(37);
    write(l);
    ASSERT_TRUE(openSettings(s));
    EXPECT_TRUE(readLines1to37(s, {}));
    readLines38to60(s);
    EXPECT_EQ(s.velmor.ClientDelay.text(), "3.5");
    // The file is found whatever the case of its name; line 40 holds no
    // check box value.
    l.resize(60);
    l[0] = "/music";
    l[39] = "5";
    QFile::remove(dir.filePath("Mellivane.ini"));
    write(l, "MELLIVANE.INI");
    ASSERT_TRUE(openSettings(s));
    EXPECT_TRUE(readLines1to37(s, {}));
    EXPECT_EQ(s.velmor.Text1.text(), "/music");
    EXPECT_THROW(readLines38to60(s), Failure);
    SaveVelmor(s); // rewrites the file under the name it has, the file as read kept beside it
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files),
              (QStringList{"MELLIVANE.INI", "MELLIVANE.INI.bak", "OutputDelay.txt"}));
}

// The second sheet window's place file: six lines, the place kept on the
// screen, a short file read as far as it goes.
TEST_F(SettingsTest, SecondSheetPlaceFileRoundTripAndShortFiles) {
    SheetTwoState& a = s.adobeF2;
    EXPECT_FALSE(readAdobeF2(s));
    EXPECT_EQ(a.PDFTop.text(), "600"); // built-in texts stay
    a.ScrollOffset.setText(" 120");
    a.AdjLeft.setText("-45");
    a.PDFTop.setText("300");
    a.PDFOffset.setText("15");
    a.Top = s.screenHeight; // off the screen: written as 0
    a.Left = 4500;
    writeAdobeF2(s);
    EXPECT_EQ(lines("AdobeF2.ini"), (QStringList{" 120", "-45", "300", " 0 ", " 4500 ", "15"}));

    Session& back = restart();
    const SheetTwoState& b = back.adobeF2;
    ASSERT_TRUE(readAdobeF2(back));
    EXPECT_EQ(readouts(b.ScrollOffset.text(), b.PDFOffset.text(), b.Left, back.files.isOpen(3)),
              (QStringList{" 120", "15", "4500", "false"}));
    write({"7", "8", "x"}, "AdobeF2.ini");
    ASSERT_TRUE(readAdobeF2(back));
    // Texts as they stand; the offset is not reached.
    EXPECT_EQ(readouts(b.PDFTop.text(), b.PDFOffset.text()), (QStringList{"x", "15"}));
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
    QStringList ran; // the hooks start-up called, in order
    StartupHooks h;
    h.adjustAll = [&] { ran << "AdjustAll"; };
    h.activateProgram = [&](const QString& t) { ran << "activate " + t; };
    h.showMainWindow = [&] { ran << "main window"; };
    h.focusList = [&] { ran << "list focus"; };

    // 20 lines: straight to closing the file; no AdjustAll, no viewer; the
    // played list is read and SetPath runs.
    write(l);
    startUp(s, h, {});
    EXPECT_EQ(readouts(ran.join(','), s.velmor.PlayedList, s.velmor.File1List.get().join(',')),
              (QStringList{"main window,list focus", "PlayedList is here", "Song.pdf"}));

    // 60 lines with a bad check box value after the viewer step: the error
    // is said and start-up ends there (the played list is not read); the main
    // window comes up all the same, without the focus on the list.  The file
    // as read is kept beside it, so the lines after the bad one outlive the
    // rewrite at shut-down.
    l.resize(60);
    l[39] = "7";
    l[48] = "35";
    write(l);
    const QByteArray asRead = readFile(dir.filePath("Mellivane.ini"));
    ran.clear();
    Session& t = restart();
    startUp(t, h, {});
    // The messages are those of both runs.
    EXPECT_EQ(readouts(ran.join(','), messages.shown.join('|'), t.velmor.PlayedList),
              (QStringList{"AdjustAll,activate NWCViewer,main window",
                           "Error 380 Invalid property value (line 40 of \"Mellivane.ini\"; the "
                           "file as read is kept as \"Mellivane.ini.bak\")",
                           ""}));
    shutDown(t, {});
    EXPECT_EQ(readouts(lines().value(48), readFile(dir.filePath("Mellivane.ini.bak")) == asRead),
              (QStringList{"20", "true"}));
}

// The first run starts on the demo songs; shut-down restores a minimised
// main window before its place is saved, and leaves files the next start
// reads.
TEST_F(SettingsTest, FirstRunStartsOnTheDemoAndShutDownLeavesAFileTheNextStartReads) {
    QTemporaryDir demo;
    QDir(demo.path()).mkpath("songs");
    QDir(demo.path()).mkpath("songs-2");
    ASSERT_TRUE(writeFile(demo.filePath("songs/Tune.pdf"), "a song"));
    int shown = 0;
    StartupHooks h;
    h.showMainWindow = [&] { ++shown; };
    h.restoreMainWindow = [&] { s.velmor.WindowTop = 2250; };
    startUp(s, h, demo.path());
    EXPECT_TRUE(messages.shown.isEmpty());
    // Nothing is checked in Audio Out on a first run.
    EXPECT_EQ(readouts(s.velmor.Text1.text(), s.velmor.File1List.get().join(','), s.g.SoundDevice,
                       s.velmor.AudioOutChecks.get(), shown),
              (QStringList{demo.path() + "/songs", "Tune.pdf", "-1", "0", "1"}));
    s.velmor.PlayedList = "/a/x.mp3,/a/y.mp3,";
    s.velmor.FadeT.setText("5");
    s.velmor.WindowTop = -32000; // where a minimised window reports itself
    shutDown(s, h);
    EXPECT_EQ(lines().value(5), "2250");
    EXPECT_EQ(lines("PlayedList.txt"), QStringList{"/a/x.mp3,/a/y.mp3,"});

    Session& again = restart();
    startUp(again, h, demo.path());
    // A full file checks Default in Audio Out.
    EXPECT_EQ(readouts(again.velmor.FadeT.text(), again.velmor.PlayedList,
                       again.velmor.AudioOutChecks.get(), again.velmor.File1List.get().join(',')),
              (QStringList{"5", "/a/x.mp3,/a/y.mp3,", "1", "Tune.pdf"}));
}

// Files that an earlier reader got wrong: each is read by start-up (with no
// notation viewer) and written back by shut-down.
TEST_F(SettingsTest, FilesThatCameBackWrongComeBackAsSaved) {
    s.velmor.Text1.setText(dir.path());
    s.velmor.AudioOutChecks.set(1); // Default, as start-up leaves it
    SaveVelmor(s);
    const QStringList saved = lines();
    // The settings start-up derives from the file: the list's font size and
    // the window's width (the large list), and the sound device (Audio Out).
    // What a case is, its edits (line from 1, text), what start-up derives.
    const std::tuple<const char*, std::vector<std::pair<int, const char*>>, QStringList> cases[] = {
        {"a bad line after 37 with no viewer step drops nothing after it",
         {{40, "7"}, {41, "2.5"}, {50, "800"}, {59, "TRUE"}, {60, "-150"}},
         {"10", "4785", "-1"}},
        {"the large list comes back", {{56, "-Zoom"}}, {"18", "10250", "-1"}},
        {"several Audio Out marks each stay",
         {{30, "False"}, {31, "True"}, {33, "True"}},
         {"10", "4785", "2"}},
    };
    for (const auto& [what, edits, derived] : cases) {
        SCOPED_TRACE(what);
        QStringList l = saved;
        for (const auto& [line, text] : edits)
            l[line - 1] = text;
        write(l);
        Session& r = restart();
        StartupHooks h;
        startUp(r, h, {});
        EXPECT_EQ(
            readouts(r.velmor.File1FontSize.get(), r.velmor.WindowWidth.get(), r.g.SoundDevice),
            derived);
        shutDown(r, h);
        if (edits[0].first == 40) l[39] = saved[39]; // the bad value is not kept
        EXPECT_EQ(lines(), l);
    }
    EXPECT_TRUE(messages.shown.isEmpty());
}

// Files made on Windows, in its code page (0x92 a closing quote, 0xE9 é,
// 0x80 the euro sign): each is read by the program as the user's work reads
// it and written back by the same road unchanged, and keeps its bytes.
TEST_F(SettingsTest, WindowsMadeFilesReadAndSavedUnchangedKeepTheirBytes) {
    const QByteArray name = "Don\x92t caf\xe9 \x80";
    SaveVelmor(s); // the built-in settings, with a song folder named in the code page
    QList<QByteArray> settings = readFile(dir.filePath("Mellivane.ini")).split('\n');
    settings[0] = "C:\\" + name + '\r';
    Library lib;
    Session& r = restart();
    r.velmor.HScroll1.set(80); // the map's volume line
    QString folder;
    const std::tuple<const char*, QByteArray, std::function<void()>> cases[] = {
        {"Mellivane.ini", settings.join('\n'),
         [&] {
             openSettings(r);
             readLines1to37(r, {});
             readLines38to60(r);
             SaveVelmor(r);
             folder = r.velmor.Text1.text();
         }},
        {"AdobeF2.ini", " 120\r\n-45\r\n" + name + "\r\n 0 \r\n 4500 \r\n15\r\n",
         [&] {
             readAdobeF2(r);
             writeAdobeF2(r);
         }},
        {"PlayList.txt", " 1 \r\n 0 \r\n 0 \r\n" + name + ".mp3\r\nZ.mp3\r\n",
         [&] {
             showPlayLst(r, lib);
             PlayLst_Unload(r, lib);
         }},
        {"PlayedList.txt", "C:\\" + name + ".mp3,\r\n",
         [&] {
             startUp(r, {}, {});
             shutDown(r, {});
         }},
        {"Gig.SSS", " 0 \r\n 1 \r\n 0 \r\n" + name + ".mp3\r\n\r\n",
         [&] {
             applyListFile(r, readListFile(r, dir.filePath("Gig.SSS"), true));
             r.velmor.Text1.setText(dir.path()); // the sets' folder
             messages.inputAnswers << "Gig.SSS";
             SV_Click(r, lib);
         }},
        {"Song.map",
         crlf(QStringList{"#1", "#2", "#3", "#4", "#5", "#6", " 80^"}) + "2000\r\n" + name +
             "\r\n 2000 \r\n0\r\nFalse\r\nFalse\r\n",
         [&] {
             editLoad(r, dir.filePath("Song.map"));
             tableWrite(r, dir.filePath("Song.map"));
         }},
    };
    installLibrary(r, lib);
    for (const auto& [file, bytes, readAndSave] : cases) {
        SCOPED_TRACE(file);
        ASSERT_TRUE(writeFile(dir.filePath(file), bytes));
        readAndSave();
        EXPECT_EQ(QString(readFile(dir.filePath(file)).toHex(' ')), QString(bytes.toHex(' ')));
    }
    EXPECT_EQ(readouts(folder, r.tic.X[0]),
              (QStringList{"C:\\Don\u2019t caf\u00e9 \u20ac", "Don\u2019t caf\u00e9 \u20ac"}));
}

} // namespace

// "Mellivane.conf": a first run without it keeps the built-in values; keys
// nobody added survive a save; a bad check box value is passed over; a
// restart reads back what was saved, whatever the positional file holds.
TEST_F(SettingsTest, KeyedSettingsRoundTripAndKeepWhatTheyDoNotKnow) {
    auto addKeys = [](Session& r, Field& f, CheckBox& b) {
        r.keyed.add("Delay", f);
        r.keyed.add("Clock", b);
    };
    Field delay{"0"};
    CheckBox clock{0};
    addKeys(s, delay, clock);
    startUp(s, {}, {});
    EXPECT_EQ(readouts(delay.text(), clock.get()), (QStringList{"0", "0"}));

    write({"Zeta=from a newer program", "Delay=120", "no equals sign", "Clock=7", "Delay=150"},
          "Mellivane.conf");
    Field delay2{"0"};
    CheckBox clock2{1};
    Session& r = restart();
    addKeys(r, delay2, clock2);
    startUp(r, {}, {});
    EXPECT_EQ(readouts(delay2.text(), clock2.get()), (QStringList{"150", "1"}));
    clock2.set(0);
    shutDown(r, {});
    EXPECT_EQ(lines("Mellivane.conf"),
              (QStringList{"Clock=0", "Delay=150", "Zeta=from a newer program"}));

    QFile::remove(dir.filePath("Mellivane.ini"));
    Field delay3;
    CheckBox clock3{1};
    Session& again = restart();
    addKeys(again, delay3, clock3);
    startUp(again, {}, {});
    EXPECT_EQ(readouts(delay3.text(), clock3.get()), (QStringList{"150", "0"}));
}
