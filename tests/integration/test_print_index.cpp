// The printed index on real printing: Export PDF through QPdfWriter, and
// Print through a real CUPS server to a cups-pdf printer.  The pages are read
// back with pdftotext -layout: two columns, 60 lines a page, the second page
// starting with name 121.  As root the test runs its own cupsd in the
// foreground; it skips only where no cupsd can be had.

#include "core/session_state.h"
#include "fakes.h"
#include "library/library.h"
#include "library/print_index.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPrinter>
#include <QPrinterInfo>
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

QStringList songList(int n) {
    QStringList l{"Entry zero.mp3"};
    for (int k = 1; k <= n; ++k)
        l << song(k) + ".mp3";
    return l;
}

// The pages of a PDF as pdftotext -layout gives them, each a list of its
// lines that are not blank.
QList<QStringList> pdfPages(const QString& pdf) {
    QProcess p;
    p.start("pdftotext", {"-layout", pdf, "-"});
    p.waitForFinished(30000);
    QList<QStringList> pages;
    for (const QString& page : QString::fromUtf8(p.readAllStandardOutput()).split(QChar(12))) {
        QStringList lines;
        for (const QString& l : page.split(u'\n'))
            if (!l.trimmed().isEmpty()) lines << l;
        if (!lines.isEmpty()) pages << lines;
    }
    return pages;
}

// Every line of page 1 holds name r and name r + 60; page 2 starts with 121.
void expectTwoColumnPages(const QList<QStringList>& pages, int names) {
    ASSERT_EQ(pages.size(), 2);
    ASSERT_EQ(pages[0].size(), 60);
    for (int r = 1; r <= 60; ++r) {
        const QStringList cols =
            pages[0][r - 1].split(QRegularExpression("\\s{2,}"), Qt::SkipEmptyParts);
        EXPECT_EQ(cols, (QStringList{song(r), song(r + 60)})) << "line " << r;
    }
    EXPECT_EQ(pages[1].size(), names - 120);
    EXPECT_EQ(pages[1][0].trimmed(), song(121));
}

bool run(const QString& program, const QStringList& args, QString* out = nullptr) {
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(15000)) return false;
    if (out) *out = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
    return p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

// lpstat -r answers 0 either way: its words tell.
bool schedulerRuns() {
    QString out;
    return run("lpstat", {"-r"}, &out) && out.trimmed() == "scheduler is running";
}

class PrinterOf final : public IndexPrinting {
  public:
    explicit PrinterOf(QString name) : name_(std::move(name)) {}
    bool choosePrinter(QPrinter& printer) override {
        printer.setPrinterName(name_);
        return printer.isValid();
    }
    std::optional<QString> pdfFileName(const QString&) override { return std::nullopt; }

  private:
    QString name_;
};

} // namespace

TEST(PrintIndex, ExportPdfHasTwoColumnsAndSixtyLinesAPage) {
    QTemporaryDir d;
    const QString pdf = d.filePath("index.pdf");
    exportIndexPdf(indexText(songList(130)), pdf);
    expectTwoColumnPages(pdfPages(pdf), 130);
}

TEST(PrintIndex, PrintThroughCupsToAPdfPrinter) {
    QProcess cupsd;
    if (!schedulerRuns()) {
        if (geteuid() != 0) GTEST_SKIP() << "no CUPS scheduler runs, and only root can start cupsd";
        cupsd.start("cupsd", {"-f"});
        QElapsedTimer t;
        t.start();
        while (!schedulerRuns() && t.elapsed() < 15000 && cupsd.state() != QProcess::NotRunning)
            QThread::msleep(200);
        if (!schedulerRuns())
            GTEST_SKIP() << "cupsd could not start: "
                         << QString::fromUtf8(cupsd.readAllStandardError()).toStdString();
    }
    QString why;
    // The PostScript step of the queue through cairo: it keeps the text of
    // the pages, so that pdftotext can read the output back.
    ASSERT_TRUE(run("lpadmin",
                    {"-p", "PDF", "-v", "cups-pdf:/", "-m", "lsb/usr/cups-pdf/CUPS-PDF_opt.ppd",
                     "-E", "-o", "pdftops-renderer-default=pdftocairo"},
                    &why))
        << why.toStdString();
    // cups-pdf writes into the PDF folder of the job's user.
    const QString out = QString::fromLocal8Bit(getpwuid(getuid())->pw_dir) + "/PDF";
    const QStringList before = QDir(out).entryList({"*.pdf"}, QDir::Files);

    VirtualClock clock;
    FakeMessages m;
    Session s{clock, m};
    QTemporaryDir config;
    s.configDir = config.path();
    Library lib;
    PrinterOf printer("PDF");
    lib.printing = &printer;
    s.velmor.File1List.set(songList(130));
    printIndex(s, lib);
    IndexForm_Print(s, lib);
    EXPECT_TRUE(m.shown.isEmpty()) << m.shown.join(" | ").toStdString();
    EXPECT_TRUE(QFileInfo(config.filePath("VLvar.csv")).size() > 0);

    // The job ends in a new PDF; cups-pdf has finished it once its size
    // stands still.
    QString printed;
    qint64 lastSize = -1;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 60000) {
        for (const QString& f : QDir(out).entryList({"*.pdf"}, QDir::Files))
            if (!before.contains(f)) printed = QDir(out).filePath(f);
        const qint64 size = printed.isEmpty() ? -1 : QFileInfo(printed).size();
        if (size > 0 && size == lastSize) break;
        lastSize = size;
        QThread::msleep(500);
    }
    ASSERT_FALSE(printed.isEmpty()) << "no PDF came out in " << out.toStdString();
    expectTwoColumnPages(pdfPages(printed), 130);
    QFile::remove(printed);
    if (cupsd.state() != QProcess::NotRunning) {
        cupsd.terminate();
        cupsd.waitForFinished(5000);
    }
}
