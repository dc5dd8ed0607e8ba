// The printed index on real printing: Export PDF through QPdfWriter, and
// Print through a real CUPS server to a cups-pdf printer.  The pages are read
// back with pdftotext -layout: two columns, 60 lines a page, the second page
// starting with name 121.  As root the test runs its own cupsd in the
// foreground; it skips only where no cupsd can be had.

#include "core/session_state.h"
#include "fakes.h"
#include "library/library.h"
#include "library/print_index.h"
#include "test_files.h"

#include <QDir>
#include <QFileInfo>
#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

using namespace mv;
using namespace mv::test;

namespace {

QString song(int k) { return QStringLiteral("Song %1").arg(k, 4, 10, QChar(u'0')); }

// "Entry zero" and Song 0001 to Song 0130.
QStringList songList() {
    QStringList l{"Entry zero.mp3"};
    for (int k = 1; k <= 130; ++k)
        l << song(k) + ".mp3";
    return l;
}

// Runs `program`; its output and errors, or nothing when it failed.
std::optional<QString> run(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(30000) || p.exitStatus() != QProcess::NormalExit || p.exitCode())
        return std::nullopt;
    return QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
}

// Reads the PDF back: every line of page 1 holds name r and name r + 60;
// page 2 holds the other ten, from 121.
void expectTwoColumnPages(const QString& pdf) {
    QList<QStringList> pages;
    const QString text = run("pdftotext", {"-layout", pdf, "-"}).value_or("");
    for (const QString& page : text.split(QChar(12))) // blank lines dropped
        if (const QStringList l = page.split(QRegularExpression("\\s*\n"), Qt::SkipEmptyParts);
            !l.isEmpty())
            pages << l;
    ASSERT_EQ(pages.size(), 2);
    QStringList want, got;
    for (int r = 1; r <= 60; ++r)
        want << song(r) + " | " + song(r + 60);
    for (const QString& line : pages[0])
        got << line.split(QRegularExpression("\\s{2,}"), Qt::SkipEmptyParts).join(" | ");
    EXPECT_EQ(got, want);
    EXPECT_EQ(pages[1].size(), 10);
    EXPECT_EQ(pages[1][0].trimmed(), song(121));
}

} // namespace

TEST(PrintIndex, ExportPdfHasTwoColumnsAndSixtyLinesAPage) {
    QTemporaryDir d;
    exportIndexPdf(indexText(songList()), d.filePath("index.pdf"));
    expectTwoColumnPages(d.filePath("index.pdf"));
}

TEST(PrintIndex, PrintThroughCupsToAPdfPrinter) {
    // lpstat -r answers 0 either way: its words tell.
    auto scheduler = [] {
        return run("lpstat", {"-r"}).value_or("").trimmed() == "scheduler is running";
    };
    QProcess cupsd;
    if (!scheduler()) {
        if (geteuid() != 0) GTEST_SKIP() << "no CUPS scheduler runs, and only root can start cupsd";
        cupsd.start("cupsd", {"-f"});
        if (!runUntil([&] { return scheduler() || cupsd.state() == QProcess::NotRunning; },
                      15000) ||
            !scheduler())
            GTEST_SKIP() << "cupsd could not start: " << cupsd.readAllStandardError().toStdString();
    }
    // The PostScript step of the queue through cairo: it keeps the text of
    // the pages, so that pdftotext can read the output back.
    ASSERT_TRUE(
        run("lpadmin", {"-p", "PDF", "-v", "cups-pdf:/", "-m", "lsb/usr/cups-pdf/CUPS-PDF_opt.ppd",
                        "-E", "-o", "pdftops-renderer-default=pdftocairo"}));
    // The queue has no unfinished job; the backend has written its PDF by
    // then.  An earlier run's job must not be taken for this one's.
    auto queueIdle = [] {
        QThread::msleep(200);
        return run("lpstat", {"-o", "PDF"}).value_or("x").trimmed().isEmpty();
    };
    ASSERT_TRUE(runUntil(queueIdle, 60000));
    // cups-pdf writes into the PDF folder of the job's user.
    const QString out = QString::fromLocal8Bit(getpwuid(getuid())->pw_dir) + "/PDF";
    const QStringList before = QDir(out).entryList({"*.pdf"}, QDir::Files);

    VirtualClock clock;
    FakeMessages m;
    Session s{clock, m};
    QTemporaryDir config;
    s.configDir = config.path();
    // The printer chosen in the dialog: the cups-pdf queue.
    struct : IndexPrinting {
        bool choosePrinter(QPrinter& printer) override {
            printer.setPrinterName("PDF");
            return printer.isValid();
        }
        std::optional<QString> pdfFileName(const QString&) override { return std::nullopt; }
    } printer;
    Library lib;
    lib.printing = &printer;
    s.velmor.File1List.set(songList());
    printIndex(s, lib);
    IndexForm_Print(s, lib);
    EXPECT_EQ(m.shown, QStringList());
    EXPECT_GT(QFileInfo(config.filePath("VLvar.csv")).size(), 0);

    // The job ends in a new PDF, complete once the queue is idle again.
    QString printed;
    runUntil(
        [&] {
            if (!queueIdle()) return false;
            for (const QString& f : QDir(out).entryList({"*.pdf"}, QDir::Files))
                if (!before.contains(f)) printed = QDir(out).filePath(f);
            return !printed.isEmpty();
        },
        60000);
    ASSERT_FALSE(printed.isEmpty()) << "no PDF came out in " << out.toStdString();
    expectTwoColumnPages(printed);
    QFile::remove(printed);
    cupsd.terminate();
    cupsd.waitForFinished(5000);
}
