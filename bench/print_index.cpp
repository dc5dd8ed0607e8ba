// The printed index of a folder of 4000 song names: the layout built by the
// Print Index walk (index_build_ms) and the same pages exported to a PDF
// (index_pdf_ms); and the song list's collated sort of those names, reversed
// (list_sort_ms).  Each is the median of 5 runs.

#include "library/print_index.h"
#include "bench_util.h"
#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "library/library.h"
#include "library/song_list.h"

#include <QApplication>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdio>

namespace {

class Silent final : public mv::Messages {
  public:
    void msgBox(const QString&, const QString&) override {}
    bool yesNo(const QString&, const QString&) override { return true; }
    std::optional<QString> inputBox(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStringList list{QStringLiteral("00 First.mp3")};
    for (int k = 1; k <= 4000; ++k)
        list << QStringLiteral("Song number %1 of the evening.mp3").arg(k, 4, 10, QChar(u'0'));
    mv::VirtualClock clock;
    Silent messages;
    QTemporaryDir dir;
    std::vector<double> build, pdf, sort;
    qint64 bytes = 0;
    for (int run = 0; run < 5; ++run) {
        mv::Session s(clock, messages);
        mv::Library lib;
        s.velmor.File1List.set(list);
        QElapsedTimer t;
        t.start();
        mv::printIndex(s, lib);
        build.push_back(t.nsecsElapsed() / 1e6);
        const QString path = dir.filePath(QStringLiteral("index%1.pdf").arg(run));
        t.restart();
        mv::exportIndexPdf(lib.indexForm.Text1.get(), path);
        pdf.push_back(t.nsecsElapsed() / 1e6);
        bytes = QFileInfo(path).size();
        QStringList names(list.rbegin(), list.rend());
        t.restart();
        mv::sortSongs(names, QLocale::system());
        sort.push_back(t.nsecsElapsed() / 1e6);
    }
    std::printf("index_build_ms: %.1f ms\n", median(build));
    std::printf("index_pdf_ms: %.1f ms\n", median(pdf));
    std::printf("list_sort_ms: %.1f ms\n", median(sort));
    std::printf("index_pdf_size: %lld bytes\n", static_cast<long long>(bytes));
    return 0;
}
