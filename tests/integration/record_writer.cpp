// A recorder on its own, for the kill test: opens the map given as its
// argument as the record stream, writes the header and then records
// 1, 2, 3, ... through the stream writer as fast as it can, until killed.
// Record k: Tic k, X k, Y 2k, Scr 10k, Nxt on odd k, Prv on even k.
//   record_writer <map path>

#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"

#include <QCoreApplication>
#include <cstdio>

namespace {
class Silent final : public mv::Messages {
  public:
    void msgBox(const QString& text, const QString&) override {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
    bool yesNo(const QString&, const QString&) override { return false; }
    std::optional<QString> inputBox(const QString&, const QString&, const QString&) override {
        return std::nullopt;
    }
};
} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc < 2) return 2;
    mv::SystemClock clock;
    Silent messages;
    mv::Session s(clock, messages);
    try {
        mv::streamOpen(s, QString::fromLocal8Bit(argv[1]));
        mv::streamHeader(s);
        for (int k = 1;; ++k)
            mv::streamTic(s, k, k, 2.0 * k, 10.0 * k, k % 2, k % 2 == 0);
    } catch (const mv::Failure& f) {
        messages.msgBox(f.message(), {});
        return 1;
    }
}
