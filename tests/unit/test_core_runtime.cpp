// The runtime pieces everything leans on: the numbered files (closing from
// outside ends a reader), the atomic rewrite, the virtual clock's ordering,
// the event pump's guards at the day's edges, and the field behaviour.

#include "core/event_pump.h"
#include "core/field.h"
#include "core/file_numbers.h"
#include "core/input_time.h"
#include "core/window_registry.h"
#include "failure_number.h"
#include "qt_print.h"
#include "test_files.h"
#include "units_helpers.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {
struct FileTableTest : ::testing::Test {
    QTemporaryDir dir;
    FileTable t;
};
} // namespace

TEST_F(FileTableTest, TextReadsAsUtf8OrElseWindows1252) {
    const std::pair<QByteArray, QStringList> cases[] = {
        {"Dvo\xc5\x99\xc3\xa1k.mp3\r\n 1 \r\n", {"Dvo\u0159\u00e1k.mp3", " 1 "}},
        // A file from Windows: 0x92 is the closing quote, 0x80 the euro.
        {"Don\x92t caf\xe9 \x80.mp3\r\nx", {"Don\u2019t caf\u00e9 \u20ac.mp3", "x"}},
        // One byte that is no UTF-8 makes the whole file Windows-1252.
        {"\xc3\xa9\r\n\xe9", {"\u00c3\u00a9", "\u00e9"}},
        // CR LF, CR or LF ends a line; no empty line after the last end.
        {"one\r\n\r\ntwo\rthree\nlast\r\n", {"one", "", "two", "three", "last"}},
        {"", {}},
    };
    for (const auto& [bytes, lines] : cases)
        EXPECT_EQ(splitLines(bytes), lines) << bytes.toHex().constData();
}

TEST_F(FileTableTest, FilesAreWrittenBackInTheEncodingTheyWereReadIn) {
    // Bytes on the disk before, the lines written, the bytes after.
    const std::tuple<QByteArray, QStringList, QByteArray> cases[] = {
        // Read and saved unchanged: the same bytes, in either encoding.
        {"Don\x92t caf\xe9 \x80\r\n", {"Don\u2019t caf\u00e9 \u20ac"}, "Don\x92t caf\xe9 \x80\r\n"},
        {"caf\xc3\xa9\r\n", {"caf\u00e9", "\u00e9"}, "caf\xc3\xa9\r\n\xc3\xa9\r\n"},
        // New files: Windows-1252 when every character fits, else UTF-8.
        {"", {"caf\u00e9"}, "caf\xe9\r\n"},
        {"", {"\u041a\u0430"}, "\xd0\x9a\xd0\xb0\r\n"},
        // A Windows file given a name beyond its code page, or one whose
        // bytes would read back as UTF-8, turns UTF-8.
        {"caf\xe9\r\n", {"\u00e9 \u041a"}, "\xc3\xa9 \xd0\x9a\r\n"},
        {"caf\xe9\r\n", {"\u00c3\u00a9"}, "\xc3\x83\xc2\xa9\r\n"},
    };
    int n = 0;
    for (const auto& [before, lines, after] : cases) {
        const QString p = dir.filePath(QStringLiteral("f%1.txt").arg(++n));
        if (!before.isEmpty()) {
            ASSERT_TRUE(writeFile(p, before));
            t.readText(p);
        }
        t.writeText(p, lines);
        EXPECT_EQ(readFile(p), after) << before.toHex().constData();
        EXPECT_EQ(t.readText(p), lines);
        // The same holds for a numbered output (a map's table write).
        t.open(1, p, FileMode::Output);
        t.writeLines(1, lines);
        t.commit(1);
        EXPECT_EQ(readFile(p), after) << before.toHex().constData();
        FileTable fresh; // a file is remembered per table, as per run
        fresh.readText(p);
        fresh.writeText(p, lines);
        EXPECT_EQ(readFile(p), after) << "another run";
    }
}

TEST_F(FileTableTest, ReadingPastTheEndFailsAndClosingTheReadsEndsTheReader) {
    const QString p = dir.filePath("a.txt");
    writeLinesAtomically(p, {"1", "2"});
    EXPECT_EQ(failureNumber([&] { t.open(1, dir.filePath("none"), FileMode::Input); }), 53);
    EXPECT_EQ(failureNumber([&] { t.readText(dir.filePath("none")); }), 53);
    EXPECT_EQ(failureNumber([&] { t.open(1, "/no/such/dir/x", FileMode::Output); }), 76);
    EXPECT_EQ(failureNumber([&] { t.writeText("/no/such/dir/x", {}); }), 76);
    EXPECT_EQ(failureNumber([&] { t.open(5, p, FileMode::Input); }), 52);
    t.open(1, p, FileMode::Input);
    t.open(2, dir.filePath("rec.map"), FileMode::Stream);
    EXPECT_EQ(t.readLine(1), "1");
    EXPECT_FALSE(t.eof(1));
    EXPECT_EQ(t.readRest(1), QStringList{"2"}); // read up to eof
    EXPECT_EQ(failureNumber([&] { t.readLine(1); }), 62);
    t.closeReads(); // a rename ends the play that reads; the stream goes on
    t.close(3);     // closing a number that is not open does nothing
    EXPECT_EQ(failureNumber([&] { t.readLine(1); }), 52);
    EXPECT_EQ(failureNumber([&] { t.eof(1); }), 52);
    t.writeLine(2, "on");
    EXPECT_EQ(readFile(dir.filePath("rec.map")), "on\r\n");
}

TEST_F(FileTableTest, ANumberInUseIsRefusedAndItsFileGoesOn) {
    // Whatever holds number 2 and whatever asks for it next: the second is
    // failure 55, and the first file is still open, under its own path,
    // and takes its next line.
    const FileMode modes[] = {FileMode::Input, FileMode::Output, FileMode::Stream};
    const QString first = dir.filePath("first.txt"), second = dir.filePath("second.txt");
    for (FileMode holder : modes)
        for (FileMode asker : modes) {
            const int at = int(holder) * 3 + int(asker);
            writeLinesAtomically(first, {"1", "2"});
            writeLinesAtomically(second, {"x"});
            t.open(2, first, holder);
            EXPECT_EQ(failureNumber([&] { t.open(2, second, asker); }), 55) << at;
            EXPECT_EQ(t.path(2), first) << at;
            if (holder == FileMode::Input) {
                EXPECT_EQ(t.readLine(2), "1") << at;
            } else {
                t.writeLine(2, "ok");
                t.commit(2);
                EXPECT_EQ(readFile(first), "ok\r\n") << at;
            }
            t.close(2);
            EXPECT_EQ(readFile(second), "x\r\n") << at;
        }
}

TEST_F(FileTableTest, OutputReplacesTheFileOnlyWhenClosed) {
    const QString p = dir.filePath("Song.map");
    writeLinesAtomically(p, {"old"});
    t.open(1, p, FileMode::Output);
    t.writeLine(1, "new");
    t.writeLines(1, {"caf\u00e9", "x"});
    EXPECT_EQ(readFile(p), "old\r\n"); // a crash now leaves the old file whole
    t.close(1);
    EXPECT_EQ(readFile(p), "new\r\ncaf\xe9\r\nx\r\n");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"Song.map"});
}

TEST(VirtualClock, FiresInTimeOrderAndPeriodicTimersRepeat) {
    VirtualClock c(1000, 100);
    QStringList log;
    c.at(1500, [&] { log << "b@" + QString::number(c.tickMs()); });
    c.at(1200, [&] { log << "a@" + QString::number(c.tickMs()); });
    c.at(1500, [&] { log << "c@" + QString::number(c.tickMs()); });
    const int id = c.every(400, [&] { log << "t@" + QString::number(c.tickMs()); });
    c.advanceTo(2300);
    EXPECT_EQ(log, (QStringList{"a@1200", "t@1400", "b@1500", "c@1500", "t@1800", "t@2200"}));
    c.cancel(id);
    c.advanceBy(1000); // nothing more
    EXPECT_EQ(log.size(), 6);
    EXPECT_FLOAT_EQ(c.dayClock(), 100 + 2.3f);
}

TEST(EventPump, GuardedWaitsAtTheEdgesOfTheDay) {
    // 10 s after midnight the guard skips every optional wait; one that
    // crosses midnight ends on time (it runs on the tick clock) and the day
    // clock starts over; the wait after a play runs only below 80000 s.
    // Day clock at the start, a wait after a play or not, tick at the end,
    // and a bound of the day clock at the end.
    const std::tuple<float, bool, int64_t, float> cases[] = {{10, false, 0, 86400},
                                                             {86400 - 2, false, 4000, 3},
                                                             {80000, true, 0, 86400},
                                                             {43200, true, 3000, 86400}};
    for (const auto& [day, afterPlay, tick, dayBelow] : cases) {
        VirtualClock clock(0, day);
        EventPump p(clock);
        afterPlay ? p.waitAfterPlay(3) : p.guardedWait(4);
        EXPECT_EQ(clock.tickMs(), tick) << day;
        EXPECT_LT(clock.dayClock(), dayBelow) << day;
    }
}

TEST(EventPump, ActionsDueDuringAWaitRunInsideItAndNestedWaitsMakeItLate) {
    VirtualClock c(0, 43200);
    EventPump p(c);
    QStringList log;
    c.at(1000, [&] {
        log << "event at " + QString::number(c.tickMs());
        p.waitUntil(2500); // a handler that waits itself
        log << "inner wait done at " + QString::number(c.tickMs());
    });
    p.waitUntil(2000);
    log << "outer wait done at " + QString::number(c.tickMs());
    EXPECT_EQ(log,
              (QStringList{"event at 1000", "inner wait done at 2500", "outer wait done at 2500"}));
}

// One press after another through one map: event time, handling tick, the
// tick the press is given.
TEST(InputTime, PressesCountFromTheirOwnMomentOnTheTickClock) {
    struct Step {
        uint64_t event;
        int64_t handled, expected;
        const char* why;
    };
    const Step steps[] = {
        {0, 5000, 5000, "no time carried: the handling tick"},
        {1000, 6000, 6000, "the first stamped event: nothing known yet"},
        {1500, 6530, 6500, "handled 30 ms late: its own moment"},
        {2000, 6995, 6995, "less delayed than any before: the offset shrinks"},
        {2500, 7520, 7495, "late again, on the better offset"},
        {2400, 7530, 7495, "stamped before the one before: never earlier than it"},
        {10, 9000, 9000, "the event clock jumped back: start over"},
        {1009, 10000, 10000, "the event clock runs 1 ms per second slow:"},
        {2008, 11000, 11000, "  followed, no error builds up"},
        {3007, 12000, 12000, ""},
        {3507, 14000, 14000, "a delay over 1000 ms is taken for a jump too"},
    };
    InputTime t;
    for (const Step& st : steps)
        EXPECT_EQ(t.toTick(st.event, st.handled), st.expected) << st.why;

    // A move handled at once, then the first press handled 30 ms late: the
    // press counts from its own moment.
    InputTime fed;
    fed.observe(0, 100); // no time carried: tells nothing
    fed.observe(1000, 6000);
    EXPECT_EQ(fed.toTick(1500, 6530), 6500);
}

// A pinned day clock runs on from the pin and wraps at midnight; a real
// wait sleeps in the event loop and serves events.
TEST(SystemClock, APinnedDayClockWrapsAtMidnightAndARealWaitServesEvents) {
    SystemClock c;
    for (const double pin : {43200.0, 90000.0}) {
        c.pinDayClock(pin);
        EXPECT_NEAR(c.dayClock(), std::fmod(pin, 86400.0), 0.5) << pin;
    }
    c.pinDayClock(86399.95);
    EventPump p(c);
    const int64_t start = c.tickMs();
    int64_t served = -1; // served when due, not when the wait ends
    QTimer::singleShot(5, [&] { served = c.tickMs() - start; });
    p.waitUntil(start + 600);
    EXPECT_GE(c.tickMs() - start, 600);
    EXPECT_TRUE(served >= 5 && served < 300) << served;
    EXPECT_LT(c.dayClock(), 1.0f);
}

TEST(Field, ChangeBehaviourRunsOnlyOnRealChangesAndFailuresReachTheWriter) {
    Field f(QStringLiteral("1"));
    int runs = 0;
    f.always([&] { ++runs; });
    f.setText("1");
    f.setText("2");
    f.setNumber(2);
    EXPECT_EQ(runs, 1);
    {
        Subscription sub = f.subscribe([&] { runs += 10; });
        f.setText("3");
        EXPECT_EQ(runs, 12);
    }
    f.setText("4"); // the dead subscription no longer runs
    ScrollValue v(0, 32767);
    EXPECT_EQ(failureNumber([&] { v.set(32768); }), 380);
    EXPECT_EQ(readouts(runs, v.get()), (QStringList{"13", "0"}));
    Field g;
    g.always([] { throw Failure(6, QStringLiteral("Overflow")); });
    EXPECT_EQ(failureNumber([&] { g.setText("x"); }), 6);
}

TEST(WindowRegistry, EachWindowOnceByNameCreatedHiddenOnFirstUse) {
    WindowRegistry r;
    int made = 0;
    r.define("AdobeF", [&] {
        ++made;
        return new QWidget;
    });
    EXPECT_EQ(r.find("AdobeF"), nullptr); // looking does not load
    QWidget* w = r.get("AdobeF");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(r.get("AdobeF"), w);
    EXPECT_EQ(readouts(made, w->objectName(), w->isVisible()),
              (QStringList{"1", "AdobeF", "false"}));
    r.unload("AdobeF");
    EXPECT_FALSE(r.isLoaded("AdobeF"));
    EXPECT_NE(r.get("AdobeF"), nullptr); // a reference after unloading loads it again
    EXPECT_EQ(made, 2);
    EXPECT_EQ(r.get("Nowhere"), nullptr);
    r.unload("AdobeF");
}
