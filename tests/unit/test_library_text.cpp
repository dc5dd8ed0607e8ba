// The texts the library writes: the printed index byte for byte, the list
// file format, the names Remove Z gives.

#include "core/session_state.h"
#include "fakes.h"
#include "library/play_list.h"
#include "library/print_index.h"
#include "library/z_marking.h"
#include "test_files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

QString song(int k) { return QStringLiteral("Song %1").arg(k, 4, 10, QChar(u'0')); }

} // namespace

TEST(IndexText, EntryZeroMixAndLongNamesByteForByte) {
    const QStringList list{"Zero.mp3",          "Blue Moon.mp3",    "Blue Moon MIX.mp3",
                           "Remix of Song.mp3", "Dots.in.name.mp3", QString(50, u'L') + ".x"};
    // "Remix of Song" holds MIX but does not end in it: it prints.  A name is
    // cut to 40 and padded to 45; the empty right column leaves its blank.
    const QString pad = QString(36, u' '), crlf = "\r\n\r\n\r\n\r\n";
    EXPECT_EQ(indexText(list), crlf + "    Blue Moon" + pad + " \r\n" + "    Remix of Song" +
                                   QString(32, u' ') + " \r\n" + "    Dots" + QString(41, u' ') +
                                   " \r\n" + "    " + QString(40, u'L') + "      \r\n");
}

TEST(IndexText, PagesOf120NamesInTwoColumnsOf60) {
    for (int n : {60, 61, 120, 121, 240, 241, 6000}) { // no limit on the length
        QStringList list{"First entry.mp3"};
        for (int k = 1; k <= n; ++k)
            list << song(k) + ".mp3";
        const QString text = indexText(list);
        EXPECT_FALSE(text.contains("First entry")) << n;
        const QStringList pages = text.split("\r\n\f\r\n");
        ASSERT_EQ(pages.size(), (n + 119) / 120) << n;
        for (int p = 0; p < pages.size(); ++p) {
            const QStringList rows = pages[p].split("\r\n");
            const int onPage = std::min(120, n - p * 120);
            // Four empty lines, one row per name of the left column, and
            // the empty rest after the last CR LF.
            ASSERT_EQ(rows.size(), 4 + std::min(60, onPage) + 1) << n << " page " << p;
            EXPECT_EQ(rows.mid(0, 4).join(""), "");
            EXPECT_TRUE(rows[4].startsWith("    " + song(p * 120 + 1))) << n;
            EXPECT_EQ(rows[4].mid(50).trimmed(), onPage > 60 ? song(p * 120 + 61) : "") << n;
        }
    }
}

TEST(ListFile, RoundTripThroughFileNumberOne) {
    VirtualClock clock;
    FakeMessages m;
    Session s{clock, m};
    QTemporaryDir d;
    const QString path = d.filePath("Gig.SSS");
    writeListFile(s, path, {1, 0, 1, {"Blue Moon.mp3", "", "Z Song.mp3"}});
    EXPECT_EQ(readFile(path),
              QByteArray(" 1 \r\n 0 \r\n 1 \r\nBlue Moon.mp3\r\n\r\nZ Song.mp3\r\n"));
    const ListFile kept = readListFile(s, path, true);
    EXPECT_EQ(kept.items, (QStringList{"Blue Moon.mp3", "", "Z Song.mp3"}));
    EXPECT_EQ(std::tuple(kept.closeSelect, kept.closeDelete, kept.delItem), std::tuple(1, 0, 1));
    EXPECT_EQ(readListFile(s, path, false).items, (QStringList{"Blue Moon.mp3", "Z Song.mp3"}));
    // A short file ends wherever it ends; values are numeric values of the lines.
    const ListFile shortOne = parseListFile({"  1", "x"}, false);
    EXPECT_EQ(std::tuple(shortOne.closeSelect, shortOne.closeDelete, shortOne.delItem),
              std::tuple(1, 0, 0));
    EXPECT_FALSE(s.files.isOpen(1));
}

TEST(ZNames, SetAndRemove) {
    const std::pair<const char*, const char*> cases[] = {{"ZEBRA.MP3", "EBRA.MP3"},
                                                         {"Z Z SONG", "Z SONG"},
                                                         {"z song.mp3", "song.mp3"},
                                                         {"Song.mp3", "ong.mp3"}};
    for (const auto& [name, without] : cases)
        EXPECT_EQ(nameWithoutZ(name), without) << name;
    EXPECT_EQ(nameWithZ("Z SONG"), "Z Z SONG");
    EXPECT_EQ(zSiblings("Blue.Moon.mp3"),
              (QStringList{"Blue.Moon.mp3", "Blue.NWC", "Blue.pdf", "Blue.map"}));
}
