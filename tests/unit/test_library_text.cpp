// The texts the library writes: the printed index byte for byte, the list
// file format, the names Remove Z gives.

#include "core/session_state.h"
#include "fakes.h"
#include "library/play_list.h"
#include "library/print_index.h"
#include "library/z_marking.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

QString song(int k) { return QStringLiteral("Song %1").arg(k, 4, 10, QChar(u'0')); }

// The index as a reader sees it: pages of 120 names, four empty lines at the
// head, 60 lines of two columns read downwards, pages parted by CR LF FF CR LF.
QString expectedIndex(const QStringList& names) {
    const QString crlf = "\r\n";
    auto cell = [&](qsizetype k) {
        return k < names.size() ? names[k].left(40).leftJustified(45) : QString();
    };
    QString out;
    for (qsizetype page = 0; page * 120 < names.size(); ++page) {
        if (page > 0) out += crlf + QChar(12) + crlf;
        out += crlf.repeated(4);
        for (qsizetype r = 0; r < 60 && page * 120 + r < names.size(); ++r)
            out += "    " + cell(page * 120 + r) + " " + cell(page * 120 + r + 60) + crlf;
    }
    return out;
}

} // namespace

TEST(IndexText, PagesAndColumnsByteForByte) {
    for (int n : {1, 60, 61, 120, 121, 240, 241}) {
        QStringList list{"First entry.mp3"}, names;
        for (int k = 1; k <= n; ++k) {
            list << song(k) + ".mp3";
            names << song(k);
        }
        EXPECT_EQ(indexText(list), expectedIndex(names)) << n << " names";
    }
}

TEST(IndexText, EntryZeroMixLongNamesAndNoLimit) {
    const QString longName(50, u'L');
    const QStringList list{"Zero.mp3",          "Blue Moon.mp3", "Blue Moon MIX.mp3",
                           "Remix of Song.mp3", longName + ".x", "Dots.in.name.mp3"};
    // "Remix of Song" holds MIX but does not end in it: it prints.
    EXPECT_EQ(indexText(list),
              expectedIndex({"Blue Moon", "Remix of Song", QString(40, u'L'), "Dots"}));

    QStringList big{"entry 0"}, names;
    for (int k = 1; k <= 6000; ++k) {
        big << song(k) + ".mp3";
        names << song(k);
    }
    const QString text = indexText(big);
    EXPECT_EQ(text.count(QChar(12)), 49);
    EXPECT_TRUE(text.contains(song(6000)));
    EXPECT_EQ(text, expectedIndex(names));
}

TEST(ListFile, RoundTripThroughFileNumberOne) {
    VirtualClock clock;
    FakeMessages m;
    Session s{clock, m};
    QTemporaryDir d;
    const QString path = d.filePath("Gig.SSS");
    writeListFile(s, path, {1, 0, 1, {"Blue Moon.mp3", "", "Z Song.mp3"}});
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray(" 1 \r\n 0 \r\n 1 \r\nBlue Moon.mp3\r\n\r\nZ Song.mp3\r\n"));
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
    const struct {
        const char *name, *without;
    } cases[] = {{"ZEBRA.MP3", "EBRA.MP3"},
                 {"Z Z SONG", "Z SONG"},
                 {"z song.mp3", "song.mp3"},
                 {"Song.mp3", "ong.mp3"}};
    for (const auto& c : cases)
        EXPECT_EQ(nameWithoutZ(c.name), c.without) << c.name;
    EXPECT_EQ(nameWithZ("Z SONG"), "Z Z SONG");
    EXPECT_EQ(zSiblings("Blue.Moon.mp3"),
              (QStringList{"Blue.Moon.mp3", "Blue.NWC", "Blue.pdf", "Blue.map"}));
}
