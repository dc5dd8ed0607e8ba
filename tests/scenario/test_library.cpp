// The song library over a folder of real files, with a stand-in for the song
// load (the real right press): random choice with a scripted generator, Z
// marking (missing sibling, existing target, failures half way), the play
// list's clicks, its file when unreadable or unwritable, its sets, Setup.

#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/values.h"
#include "fakes.h"
#include "library/library.h"
#include "library/library_windows.h"
#include "library/play_list.h"
#include "library/print_index.h"
#include "library/random_choice.h"
#include "library/song_list.h"
#include "library/z_marking.h"
#include "test_files.h"
#include "transport/song_loading.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace mv;
using namespace mv::test;

namespace {

// Returns its numbers in turn, over and over.
struct ScriptedRandom : RandomSource {
    explicit ScriptedRandom(std::vector<double> v) : values(std::move(v)) {}
    void randomize(int64_t) override { ++seeds; }
    double next() override { return values[size_t(draws++) % values.size()]; }
    std::vector<double> values;
    int seeds = 0, draws = 0;
};

class LibraryTest : public ::testing::Test {
  protected:
    LibraryTest() {
        s.configDir = config.path();
        s.velmor.Text1.setText(dir.path());
        s.velmor.Text2.setText("*.mp3");
        s.File1_MouseDown = [this](int button, int, double, double) {
            if (button == 2) return File1_MouseDown(s, 2, 0, 0, 0);
            if (!s.velmor.SuppressLoad) loads << s.velmor.File1FileName();
            if (duringLoad) duringLoad(); // the load lets events run
        };
        installLibrary(s, lib);
    }
    void songs(std::initializer_list<const char*> names) {
        for (const char* n : names)
            write(n, n);
        SetPath(s);
    }
    void write(const QString& name, const QByteArray& bytes) {
        ASSERT_TRUE(writeFile(dir.filePath(name), bytes));
    }
    // Every file of the song folder as "name=its bytes", in name order.
    QStringList folder() {
        QStringList files;
        for (const QString& n : QDir(dir.path()).entryList(QDir::Files | QDir::Hidden))
            files << n + "=" + readFile(dir.filePath(n));
        return files;
    }
    void select(const QString& name) {
        s.velmor.File1ListIndex.set(s.velmor.File1List.get().indexOf(name));
    }

    VirtualClock clock{1000, 43200};
    FakeMessages m;
    Session s{clock, m};
    Library lib;
    QTemporaryDir dir, config;
    QStringList loads;
    std::function<void()> duringLoad;
};

// Runs `fn` as an unprivileged user when the test runs as root, so that
// file permissions hold.
void asNobody(const std::function<void()>& fn) {
    const bool root = geteuid() == 0;
    ASSERT_TRUE(!root || seteuid(65534) == 0);
    fn();
    ASSERT_TRUE(!root || seteuid(0) == 0);
}

} // namespace

TEST_F(LibraryTest, SelRLeavesOutZXMixPlayedAndEntryZero) {
    songs({"A first.mp3", "Mix tape MIX.mp3", "Played.mp3", "Song.mp3", "Xmas.mp3", "Zebra.mp3"});
    SetZ(s);
    ASSERT_EQ(s.velmor.ZCount, 1);
    s.velmor.PlayedList = "/songs/Other.mp3,Played.mp3,";
    // Range 4 (Zebra not drawn): the numbers give picks 1, 2, 3, 4, 1 ... (range 5: 1, 2, 4, 5)
    ScriptedRandom r({0.0, 0.25, 0.6, 0.99});
    SelR(s, r);
    EXPECT_EQ(
        std::tuple(loads, r.draws, r.seeds, s.velmor.PlayedList, s.velmor.SuppressLoad),
        std::tuple(QStringList{"Song.mp3"}, 3, 1, "/songs/Other.mp3,Played.mp3,Song.mp3,", 0));

    // Everything left is played: 1000 rounds, then the message; nothing loads.
    SelR(s, r);
    EXPECT_EQ(std::tuple(r.draws, m.shown.last(), loads.size(), s.velmor.SuppressLoad),
              std::tuple(1003, "Please clear the played list. ", 1, 0));
    s.Command3_Click();
    EXPECT_EQ(std::tuple(s.velmor.PlayedList, m.shown.last()),
              std::tuple("", "Already Played list is now clear."));

    // A Z made after start-up lies inside the range: drawn, never loaded.
    select("Played.mp3");
    m.yesNoAnswers = {true};
    s.Command5_Click();
    ASSERT_EQ(s.velmor.File1List.get()[4], "Z Played.mp3");
    ScriptedRandom z({0.99, 0.25});
    SelR(s, z);
    EXPECT_EQ(std::tuple(loads.last(), z.draws), std::tuple(QString("Song.mp3"), 2));

    // "Select Random MP3" with the program's generator: only Song comes.
    const auto real = makeRandomSource();
    lib.random = real.get();
    for (int i = 0; i < 20; ++i) {
        s.velmor.PlayedList.clear();
        clock.advanceBy(7);
        s.Command4_Click();
    }
    EXPECT_EQ(loads.filter("Song.mp3").size(), 22);
}

TEST_F(LibraryTest, SelROnAListOfOneIsTheErrorMessage) {
    songs({"Only.mp3"});
    ScriptedRandom r({0.5});
    SelR(s, r);
    EXPECT_EQ(std::tuple(m.shown, loads, s.velmor.SuppressLoad),
              std::tuple(QStringList{"Error 380 Invalid property value"}, QStringList{}, 0));
}

TEST_F(LibraryTest, SetZAndRemoveZWithAMissingSiblingAndAnExistingTarget) {
    songs({"Blue.mp3", "Other.mp3", "Song.mp3"});
    write("Blue.MAP", "map");
    write("Blue.pdf", "sheet");
    write("z blue.PDF", "older sheet"); // the target, in another case
    s.files.open(1, dir.filePath("Blue.MAP"), FileMode::Input);
    select("Blue.mp3");
    m.yesNoAnswers = {true};
    s.Command5_Click();
    EXPECT_FALSE(s.files.isOpen(1));
    // The target of the sheet was there: both stay.
    EXPECT_EQ(folder(),
              (QStringList{"Blue.pdf=sheet", "Other.mp3=Other.mp3", "Song.mp3=Song.mp3",
                           "Z Blue.MAP=map", "Z Blue.mp3=Blue.mp3", "z blue.PDF=older sheet"}));
    EXPECT_EQ(std::tuple(s.velmor.File1List.get(), s.velmor.File1ListIndex.get(), loads),
              std::tuple(QStringList{"Other.mp3", "Song.mp3", "Z Blue.mp3"}, 1, QStringList{}));

    select("Z Blue.mp3");
    m.yesNoAnswers = {false, true}; // No: nothing changes; then Yes
    s.Command6_Click();
    EXPECT_TRUE(QFile::exists(dir.filePath("Z Blue.mp3")));
    s.Command6_Click();
    // "Blue.pdf" stands in the way of "z blue.PDF".
    EXPECT_EQ(folder(),
              (QStringList{"Blue.MAP=map", "Blue.mp3=Blue.mp3", "Blue.pdf=sheet",
                           "Other.mp3=Other.mp3", "Song.mp3=Song.mp3", "z blue.PDF=older sheet"}));
    const QString removeZ =
        "Are you sure you want to remove the Z at the beginning of 'Z Blue.mp3'.";
    EXPECT_EQ(m.shown,
              (QStringList{"Are you sure you want to put a Z at the beginning of 'Blue.mp3'.",
                           removeZ, removeZ}));
}

TEST_F(LibraryTest, ARenameThatFailsLosesNoFile) {
    songs({"Blue.mp3", "Other.mp3"});
    write("Blue.pdf", "sheet");
    write("Blue.map", "map");
    QFile(dir.path()).setPermissions(QFileDevice::Permissions(0x7777));
    QFile(dir.filePath("Blue.pdf")).setPermissions(QFileDevice::Permissions()); // unreadable
    select("Blue.mp3");
    asNobody([&] { s.Command5_Click(); });
    // Renamed up to the sheet, which could not be copied: the description alone.
    EXPECT_EQ(m.shown.last(), "Path/File access error");
    const QStringList renamedUpToTheSheet{"Blue.map=map", "Blue.pdf=sheet", "Other.mp3=Other.mp3",
                                          "Z Blue.mp3=Blue.mp3"};
    EXPECT_EQ(folder(), renamedUpToTheSheet);

    // A folder that cannot be written: nothing moves.
    QFile(dir.filePath("Blue.pdf")).setPermissions(QFileDevice::Permissions(0x6644));
    QFile(dir.path()).setPermissions(QFileDevice::Permissions(0x5555));
    select("Other.mp3");
    m.shown.clear();
    asNobody([&] { s.Command5_Click(); });
    QFile(dir.path()).setPermissions(QFileDevice::Permissions(0x7777));
    EXPECT_EQ(
        std::tuple(m.shown, folder()),
        std::tuple(QStringList{"Are you sure you want to put a Z at the beginning of 'Other.mp3'.",
                               "Path/File access error"},
                   renamedUpToTheSheet));
}

TEST_F(LibraryTest, PlayListClicksFindByContainmentFromEntryOne) {
    songs({"A first.mp3", "Blue Moon.mp3", "Blue Moon MIX.mp3", "Moon.mp3", "Z Song.mp3"});
    const QString file = config.filePath("PlayList.txt");
    writeListFile(s, file, {0, 0, 0, {"Moon", "", "Song.mp3"}});
    // A right press on the song list shows the play list, loaded first.
    select("A first.mp3");
    s.File1_MouseDown(2, 0, 0, 0);
    ASSERT_EQ(s.playLst.List1.get(), (QStringList{"Moon", "Song.mp3", "A first.mp3"}));

    const struct {
        int item;
        const char* loaded;                // nullptr: nothing loads
    } cases[] = {{0, "Blue Moon MIX.mp3"}, // the first that holds it: " " sorts before "."
                 {1, "Z Song.mp3"},
                 {2, nullptr}, // entry 0 is never looked at
                 {-1, "Blue Moon MIX.mp3"}};
    for (const auto& c : cases) {
        loads.clear();
        List1_LeftPress(s, lib, c.item);
        EXPECT_EQ(loads, c.loaded ? QStringList{c.loaded} : QStringList{}) << c.item;
    }
    // DelItem removes what was loaded, even when the list changed during the
    // load; CloseSelect unloads and writes the list.
    s.playLst.DelItem.set(1);
    s.playLst.CloseSelect.set(1);
    duringLoad = [this] { s.playLst.List1.set({"Song.mp3", "", "A first.mp3"}); };
    List1_LeftPress(s, lib, 1);
    duringLoad = nullptr;
    EXPECT_EQ(std::tuple(s.playLst.Visible.get(), readListFile(s, file, true).items),
              std::tuple(false, QStringList{"A first.mp3"}));

    // A right press removes the selected item; CloseDelete unloads.
    s.Command15_Click();
    s.playLst.List1.set({"Moon", "A first.mp3"});
    s.playLst.ListIndex.set(0);
    s.playLst.CloseDelete.set(1);
    List1_RightPress(s, lib);
    EXPECT_FALSE(s.playLst.Visible.get());
    s.Command15_Click();
    EXPECT_EQ(s.playLst.List1.get(), QStringList{"A first.mp3"});
}

TEST_F(LibraryTest, AListFileThatCannotBeReadOrWrittenLosesNothing) {
    songs({"A.mp3"});
    const QString file = config.filePath("PlayList.txt");
    writeListFile(s, file, {-1, 0, 0, {"Kept"}}); // -1: a box checked by an older version
    QFile(config.path()).setPermissions(QFileDevice::Permissions(0x7777));
    QFile(file).setPermissions(QFileDevice::Permissions()); // unreadable
    asNobody([&] { s.playLst.Visible.set(true); });
    s.playLst.List1.set({"New"});
    asNobody([&] { unloadLibraryWindows(s, lib); }); // the file is not written over
    QFile(file).setPermissions(QFileDevice::Permissions(0x6644));
    EXPECT_EQ(
        std::tuple(m.shown, s.playLst.Visible.get(), readListFile(s, file, true).items),
        std::tuple(QStringList{"Error 75 Path/File access error"}, false, QStringList{"Kept"}));

    // Shown again, the file is read; a folder that cannot be written keeps the list.
    s.playLst.Visible.set(true);
    ASSERT_EQ(std::tuple(s.playLst.List1.get(), s.playLst.CloseSelect.get()),
              std::tuple(QStringList{"Kept"}, 1));
    QFile(config.path()).setPermissions(QFileDevice::Permissions(0x5555));
    const qsizetype said = m.shown.size();
    asNobody([&] { unloadLibraryWindows(s, lib); }); // said, and shut-down goes on
    QFile(config.path()).setPermissions(QFileDevice::Permissions(0x7777));
    EXPECT_EQ(std::tuple(m.shown.size(), s.playLst.List1.get(), lib.playLstLoaded),
              std::tuple(said + 1, QStringList{"Kept"}, true));
}

TEST_F(LibraryTest, ASetSavedAndLoadedWithItsCheckBoxes) {
    songs({"A.mp3", "B.mp3"});
    s.Command15_Click();
    s.playLst.List1.set({"A.mp3", "", "B.mp3"});
    s.playLst.CloseSelect.set(1);
    s.playLst.DelItem.set(1);
    // The name asked, then the same name again and not overwritten; then
    // a cancelled name: ".SSS", which the chooser still offers.
    const struct {
        QString answer;
        bool overwrite;
        const char* saved;
        QStringList items;
    } cases[] = {{"Gig", false, "Gig.SSS", {"A.mp3", "", "B.mp3"}},
                 {"Gig.SSS", false, "Gig.SSS", {"A.mp3", "", "B.mp3"}},
                 {{}, false, ".SSS", {"B.mp3"}}};
    for (const auto& c : cases) {
        m.inputAnswers = {c.answer};
        m.yesNoAnswers = {c.overwrite};
        SV_Click(s, lib);
        EXPECT_EQ(readListFile(s, dir.filePath(c.saved), true).items, c.items) << c.saved;
        s.playLst.List1.set({"B.mp3"});
    }
    EXPECT_EQ(std::tuple(m.shown.count("Gig.SSS exists. Overwrite?"),
                         QDir(dir.path()).entryList({"*.SSS"}, QDir::Files | QDir::Hidden)),
              std::tuple(1, QStringList{".SSS", "Gig.SSS"}));

    s.playLst.CloseSelect.set(0);
    s.playLst.DelItem.set(0);
    s.playLst.CloseDelete.set(1);
    s.files.open(3, dir.filePath("A.mp3"), FileMode::Input); // a map a play holds
    Dirx_Load(s, lib);
    Dirx_Activate(s, lib);
    EXPECT_EQ(std::tuple(lib.dirx.Visible.get(), lib.dirx.File1.get()),
              std::tuple(true, QStringList{".SSS", "Gig.SSS"}));
    lib.dirx.File1Index.set(1);
    Filetype_LostFocus(s, lib); // the same sets again: the choice stands
    Dirx_Go(s, lib);
    EXPECT_EQ(std::tuple(s.playLst.List1.get(), s.playLst.CloseSelect.get(),
                         s.playLst.CloseDelete.get(), s.playLst.DelItem.get(), s.files.isOpen(3),
                         lib.dirx.Visible.get()),
              std::tuple(QStringList{"A.mp3", "", "B.mp3"}, 1, 0, 1, false, false));
}

TEST_F(LibraryTest, SetupRevealsAndHidesTheCheckBoxes) {
    PlayLstWindow w(s, lib);
    w.show();
    auto* box = w.findChild<QCheckBox*>("DelItem");
    for (bool revealed : {true, false}) {
        w.findChild<QAction*>("ST")->trigger();
        // Revealed: the box lies wholly inside; hidden: wholly outside.
        const int left = box->mapTo(&w, QPoint(0, 0)).x(), right = left + box->width();
        EXPECT_EQ(std::tuple(w.width(), right <= w.width(), left >= w.width()),
                  std::tuple(px(revealed ? 8000 : 4050), revealed, !revealed));
    }
}

TEST_F(LibraryTest, PrintIndexAppendsACopyUntilClosedAndACancelledPrintIsSaid) {
    songs({"A.mp3", "B.mp3", "C MIX.mp3"});
    s.Command9_Click();
    s.Command9_Click();
    const QString once = indexText(s.velmor.File1List.get());
    EXPECT_EQ(std::tuple(lib.indexForm.Text1.get(), lib.indexForm.Visible.get(),
                         s.velmor.SuppressLoad, loads),
              std::tuple(once + once, true, 0, QStringList{}));
    IndexForm_Print(s, lib); // no printing platform: as a cancelled dialog
    IndexForm_Close(s, lib);
    s.Command9_Click();
    EXPECT_EQ(std::tuple(m.shown, lib.indexForm.Text1.get()),
              std::tuple(QStringList{"Cancel was selected."}, once));
}
