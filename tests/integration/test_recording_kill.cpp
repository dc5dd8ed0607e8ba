// The real program under Xvfb, driven by action scripts and killed with
// SIGKILL: in the middle of a recording the map keeps every tic taken before
// the kill, each where and when it was clicked; in the middle of the table
// writes of edit mode (a 5000-row map saved over and over, killed at random
// moments) the map is always one whole version, the old one or a new one; a
// recorder process killed at 60 random moments leaves whole records only.
//   test_recording_kill <mellivane binary> <record_writer>    (under xvfb-run)

#include "qt_print.h"
#include "test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

using namespace mv::test;

namespace {

QString gBinary, gWriter;

// Whole CR LF lines; `tail` gets what follows the last CR LF.
QList<QByteArray> lines(const QByteArray& b, QByteArray* tail = nullptr) {
    QList<QByteArray> out = b.split('\n');
    const QByteArray rest = out.takeLast();
    if (tail) *tail = rest;
    for (QByteArray& l : out)
        l.chop(l.endsWith('\r') ? 1 : 0);
    return out;
}

// The map's print form of a whole number of twips, as X and Y are recorded.
QByteArray printForm(int v) { return (v < 0 ? "" : " ") + QByteArray::number(v) + ' '; }

// A song folder with the demo's "Twinkle Twinkle" and a fresh settings folder.
class ProgramTest : public ::testing::Test {
  protected:
    void SetUp() override {
        songs = dir.filePath("songs");
        ASSERT_TRUE(QDir().mkpath(songs));
        const QString demo = qEnvironmentVariable("MELLIVANE_SOURCE_DIR") + "/demo/songs/";
        for (const char* ext : {".mp3", ".pdf", ".map"})
            ASSERT_TRUE(
                QFile::copy(demo + "Twinkle Twinkle" + ext, songs + "/Twinkle Twinkle" + ext));
        map = songs + "/Twinkle Twinkle.map";
    }
    // Starts the program on the folder with `script`; a new settings folder
    // each time.
    void start(const QString& script) {
        const QString path = dir.filePath(QStringLiteral("script%1.txt").arg(++runs));
        ASSERT_TRUE(writeFile(path, script.toUtf8()));
        err.clear(); // each run's own lines
        program.start(gBinary,
                      {"--audio", "null", "--songs", songs, "--config-dir",
                       dir.filePath(QStringLiteral("config%1").arg(runs)), "--script", path});
        ASSERT_TRUE(program.waitForStarted());
    }
    // SIGKILL now; the driver's failed checks so far, if any.
    QByteArray kill() {
        ::kill(pid_t(program.processId()), SIGKILL);
        program.waitForFinished();
        return failures();
    }
    QByteArray failures() {
        QByteArray out;
        err += program.readAllStandardError();
        for (const QByteArray& l : err.split('\n'))
            if (l.startsWith("FAIL")) out += l + '\n';
        return out;
    }
    // The moments, ms after the mark, at which the driver ran its stamped
    // actions, in order.
    QList<int> stamps() const {
        QList<int> out;
        for (const QByteArray& l : err.split('\n'))
            if (l.startsWith("STAMP ")) out << l.mid(6).toInt();
        return out;
    }
    // Whether the program holds a file of the song folder open other than
    // the sheet, the music and the map: the temporary of a table write
    // between its start and its rename.
    bool writing() const {
        std::error_code error;
        const std::string fds = "/proc/" + std::to_string(program.processId()) + "/fd";
        for (const auto& fd : std::filesystem::directory_iterator(fds, error)) {
            const QString t = QString::fromStdString(read_symlink(fd.path(), error).string());
            if (t.startsWith(songs + '/') && !t.endsWith(".pdf") && !t.endsWith(".mp3") &&
                !t.endsWith(".map"))
                return true;
        }
        return false;
    }
    // Polls until `done` or `ms` pass; true when done.
    static bool until(const std::function<bool()>& done, int ms) {
        QElapsedTimer t;
        t.start();
        while (!done() && t.elapsed() < ms)
            QThread::usleep(200);
        return done();
    }
    // The start of every script: the song chosen, its sheet and map loaded.
    static QString select() {
        return "wait 300\nselect Velmor.File1 Twinkle Twinkle.pdf\nwait 1500\n"
               "checkgeom AdobeF.Picture3 0 -33\ncheckgeom AdobeF.AcroPDF1 0 0\n";
    }

    QTemporaryDir dir;
    QString songs, map;
    QProcess program;
    QByteArray err; // what the program printed to its error stream so far
    int runs = 0;
};

TEST_F(ProgramTest, AKilledRecordingKeepsEveryTicTakenBeforeTheKill) {
    // Twelve clicks on the sheet, each at its own place; the first 500 ms
    // after Record, the others 250 to 580 ms apart.  A loaded machine may
    // run a click late, so each tic is held against the moments the driver
    // really clicked.
    auto x = [](int i) { return 40 + 53 * i; };
    auto y = [](int i) { return 90 + 31 * (i % 7); };
    auto gap = [](int i) { return i ? 250 + 30 * i : 500; };
    QString script = select() + "click AdobeF.Command12\nmark\nstamp click AdobeF.Command2\n";
    for (int i = 0, due = 0; i < 12; ++i)
        script += QStringLiteral("waituntil %1\nstamp click AdobeF.AcroPDF1 left %2 %3\n")
                      .arg(due += gap(i))
                      .arg(x(i))
                      .arg(y(i));
    const int k = 1 + int(QRandomGenerator::global()->bounded(10));
    const QByteArray demoMap = readFile(map);
    start(script + "wait 60000\n");
    // Record empties the map at once; from then on it grows record by record.
    ASSERT_TRUE(until([&] { return readFile(map) != demoMap; }, 30000));
    auto records = [&] { return std::max<qsizetype>(0, lines(readFile(map)).size() - 9) / 6; };
    ASSERT_TRUE(until([&] { return records() >= k; }, 30000)) << "the map never held " << k;
    EXPECT_EQ(kill(), QByteArray());

    const QByteArray bytes = readFile(map);
    QByteArray tail;
    const QList<QByteArray> got = lines(bytes, &tail);
    EXPECT_EQ(tail, QByteArray()) << "a line cut short";
    ASSERT_GE(got.size(), 9 + 6 * k) << "killed after " << k << " records were seen";
    ASSERT_LE(got.size(), 9 + 6 * 12) << "more records than clicks";
    EXPECT_TRUE(got[8].startsWith(' ') && got[8].endsWith('^')) << got[8].constData();
    // Every record, and a last one in part: its tic the time since the click
    // before; the place clicked (the carrier stands 33 px up, the cursor 100
    // and 500 twips left and up of the pointer), no scroll, no page turn.
    QStringList want = kMapHeader.mid(0, 8);
    want << got[8];
    const QList<int> at = stamps(); // Record's press, then each click
    ASSERT_GE(at.size(), (got.size() - 9 + 5) / 6 + 1) << "a record with no click";
    for (int i = 0; 9 + 6 * i < got.size(); ++i) {
        EXPECT_NEAR(got[9 + 6 * i].toInt(), at[i + 1] - at[i], 15) << "tic of record " << i + 1;
        want << rec(got[9 + 6 * i], printForm(x(i) * 15 - 100), printForm((y(i) - 33) * 15 - 500),
                    "0");
    }
    EXPECT_EQ(QString::fromLatin1(bytes), QString::fromLatin1(crlf(want).left(bytes.size())));
}

TEST_F(ProgramTest, AKilledTableWriteLeavesTheOldMapOrTheNewOne) {
    // 5000 rows; the X of row 1 grows by 15 at each save (an X addition
    // and one step), so that each save writes other bytes.
    QStringList rows = kMapHeader;
    for (int row = 0; row < 5000; ++row)
        rows << rec(QString::number(900 + row % 7 * 100), printForm(1500 + row % 4 * 2000),
                    printForm(1800 + row % 5 * 1300), row / 8 % 2 ? "8000" : "0", row % 40 == 39);
    const QByteArray old = crlf(rows);
    // Edit and Step serve events inside them, and the next action would run
    // there: each is followed by a wait (a press of Edit while it loads does
    // nothing; one inside a step saves before the step's change).
    const QString cycle = "click AdobeF.Command7\nwait 150\ntype AdobeF.Text5 15\n"
                          "click AdobeF.Command5\nwait 20\nclick AdobeF.Command7\n";

    // One save, to the end: the bytes of the first new version.
    ASSERT_TRUE(writeFile(map, old));
    start(select() + cycle + "quit\n");
    ASSERT_TRUE(program.waitForFinished(30000));
    EXPECT_EQ(failures(), QByteArray());
    const QList<QByteArray> first = lines(readFile(map));
    ASSERT_EQ(first.size(), 7 + 5000 * 6);
    constexpr int kRow1X = 7 + 6 + 1; // header of 7 lines, row 0, Tic of row 1
    ASSERT_EQ(first[kRow1X], "3515");
    // Version n holds 3500 + 15 n there and is otherwise the first one.
    auto isVersion = [&](const QByteArray& bytes) {
        QList<QByteArray> want = first;
        const int n = (lines(bytes).value(kRow1X).toInt() - 3500) / 15;
        want[kRow1X] = QByteArray::number(3500 + 15 * n);
        return n > 0 && bytes == want.join("\r\n") + "\r\n";
    };

    const QString many = select() + cycle.repeated(200);
    QElapsedTimer budget;
    budget.start();
    int killed = 0, killedWriting = 0, versions = 0;
    // At least 20 kills, and on until 5 of them fell inside a write: on a
    // busy machine fewer of the quick kills land in one.
    for (; (killed < 20 || killedWriting < 5) && budget.elapsed() < 150000; ++killed) {
        ASSERT_TRUE(writeFile(map, old));
        start(many);
        ASSERT_TRUE(until([&] { return readFile(map) != old; }, 30000));
        // From the first save on: every other run a kill at a random moment,
        // the others a kill within 0.3 ms of seeing a write under way (the
        // temporary file is open only for its one write, sync and rename).
        auto rng = QRandomGenerator::global();
        if (killed % 2)
            QThread::msleep(rng->bounded(1500));
        else if (until([&] { return writing(); }, 10000))
            QThread::usleep(rng->bounded(300));
        killedWriting += writing();
        EXPECT_EQ(kill(), QByteArray());
        const QByteArray now = readFile(map);
        EXPECT_TRUE(now == old || isVersion(now)) << "run " << killed + 1 << ": " << now.size()
                                                  << " bytes, neither the old map nor a new one";
        versions = std::max(versions, (lines(now).value(kRow1X).toInt() - 3500) / 15);
    }
    std::printf("kills: %d, during a write: %d, most saves in a run: %d\n", killed, killedWriting,
                versions);
    EXPECT_GE(killed, 10) << "too few runs in the time";
    EXPECT_GE(killedWriting, 3) << "too few kills fell inside a write";
}

TEST_F(ProgramTest, AKilledRecorderLeavesWholeRecordsOnly) {
    // record_writer streams records 1, 2, 3, ... until it is killed, at a
    // random moment up to 20 ms into its writing.
    const QString path = dir.filePath("Stream.map");
    auto record = [](int k) {
        return rec(QString::number(k), printForm(k), printForm(2 * k), QString::number(10 * k),
                   k % 2, k % 2 == 0);
    };
    int most = 0;
    for (int run = 1; run <= 60; ++run) {
        QFile::remove(path);
        QProcess writer;
        writer.start(gWriter, {path});
        ASSERT_TRUE(writer.waitForStarted());
        ASSERT_TRUE(until([&] { return QFileInfo(path).size() > 0; }, 10000)) << "run " << run;
        QThread::usleep(QRandomGenerator::global()->bounded(20000));
        ::kill(pid_t(writer.processId()), SIGKILL);
        writer.waitForFinished();
        const QByteArray bytes = readFile(path);
        QByteArray tail;
        const QList<QByteArray> got = lines(bytes, &tail);
        const qsizetype records = (got.size() - 9) / 6;
        ASSERT_TRUE(tail.isEmpty() && got.size() >= 9 && got.size() == 9 + 6 * records)
            << "run " << run << ": " << got.size() << " whole lines and '" << tail.constData()
            << "' after them";
        QStringList want = kMapHeader.mid(0, 8);
        want << QString::fromLatin1(got[8]);
        for (int k = 1; k <= records; ++k)
            want += record(k);
        ASSERT_EQ(QString::fromLatin1(bytes), QString::fromLatin1(crlf(want))) << "run " << run;
        most = std::max<int>(most, int(records));
    }
    std::printf("recorder kills: 60, most records in a run: %d\n", most);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    gBinary = QString::fromLocal8Bit(argc > 1 ? argv[1] : "mellivane");
    gWriter = QString::fromLocal8Bit(argc > 2 ? argv[2] : "record_writer");
    qputenv("QT_QPA_PLATFORM", "xcb"); // for the program, on the display of xvfb-run
    return RUN_ALL_TESTS();
}
