// The song list: what a folder shows for a pattern, in which order, and what
// SetPath and SetZ do.

#include "core/session_state.h"
#include "fakes.h"
#include "library/song_list.h"
#include "stage.h"
#include "test_files.h"
#include "units_helpers.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {
struct SongListTest : ::testing::Test, Stage {};
} // namespace

// The collation of the locale given, the C locale as a neutral one, and the
// Z group after every other script.
TEST(SortSongs, AccentsStandWithTheirLetterAndTheZGroupStaysLast) {
    const QStringList names = {"zeta", "Zebra", "Ungarn", "Über Song", "Калинка",
                               "Élan", "apple", "Elan",   "Echo"};
    const QStringList neutral = {"apple",  "Echo",    "Elan",  "Élan", "Über Song",
                                 "Ungarn", "Калинка", "Zebra", "zeta"};
    const std::pair<QLocale, QStringList> cases[] = {
        {QLocale::c(), neutral},
        {QLocale("en_US"), neutral},
        // Swedish sorts "ü" as "y".
        {QLocale("sv_SE"),
         {"apple", "Echo", "Elan", "Élan", "Ungarn", "Über Song", "Калинка", "Zebra", "zeta"}},
    };
    for (const auto& [locale, sorted] : cases) {
        QStringList l = names;
        sortSongs(l, locale);
        EXPECT_EQ(l, sorted) << locale.name().toStdString();
    }
}

TEST_F(SongListTest, PatternWithoutCaseAndCaseInsensitiveOrderAndSetPathRefusesBadInput) {
    QTemporaryDir d;
    for (const char* n : {"b.pdf", "A.PDF", "Zebra.pdf", "c.mp3", "02 Song.pdf", "zeta.PDF",
                          "a.map", ".b.pdf", "Élan.pdf"})
        writeFile(d.filePath(n));
    QDir(d.path()).mkdir("folder.pdf"); // folders and hidden files are no songs
    const QStringList pdfs = {"02 Song.pdf", "A.PDF", "b.pdf", "Élan.pdf", "Zebra.pdf", "zeta.PDF"};
    EXPECT_EQ(listSongs(d.path(), "*.PDF"), pdfs);
    EXPECT_EQ(listSongs(d.path(), "*.mp3;*.map"), (QStringList{"a.map", "c.mp3"}));
    EXPECT_TRUE(listSongs(d.path(), "*.wav").isEmpty());
    EXPECT_TRUE(listSongs(d.filePath("none"), "*.pdf").isEmpty());
    // SetPath lists the folder; a bad pattern or folder is refused and the
    // list stays as it was.
    s.velmor.Text1.setText(d.path());
    s.velmor.Text2.setText("*.PDF");
    SetPath(s);
    EXPECT_EQ(s.velmor.File1List.get(), pdfs);
    for (const char* bad : {"", "pdf/*.pdf"}) {
        s.velmor.Text2.setText(bad);
        SetPath(s);
    }
    s.velmor.Text2.setText("*.mp3");
    s.velmor.Text1.setText("C:\\NWC"); // a Windows path simply does not exist here
    SetPath(s);
    EXPECT_EQ(messages.shown,
              (QStringList{"Type is invalid", "Type is invalid", "Path is invalid"}));
    EXPECT_EQ(s.velmor.File1List.get(), pdfs);
}

TEST_F(SongListTest, SetZCountsTheZGroupFromTheEndAndStopsAtEntryOne) {
    s.velmor.File1List.set({"Alpha", "Beta", "Z Gamma", "Zebra", "Zulu"});
    SetZ(s);
    EXPECT_EQ(readouts(s.velmor.ZCount, s.velmor.SuppressLoad, s.velmor.File1ListIndex.get()),
              (QStringList{"3", "0", "1"}));
    s.velmor.File1List.set({"Zero", "Zed", "zebra"}); // lower case is no mark
    SetZ(s);
    EXPECT_EQ(s.velmor.ZCount, 0);
    s.velmor.File1List.set({"Zero", "Zed", "Zoo"}); // the walk passes entry 1: still suppressed
    SetZ(s);
    EXPECT_EQ(readouts(s.velmor.ZCount, s.velmor.SuppressLoad), (QStringList{"2", "-1"}));
}
