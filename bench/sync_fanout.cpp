// The server's side of the network sync in the real event loop, on loopback.
// Fan-out: 100 plain clients on a thread of their own; a Speed change on the
// server sends "@SPEED/..." to all; from the change to the last client's
// read, over 200 tokens, twice: with the clients' thread always awake (as
// 100 machines would each wait on their own socket) and with it asleep
// between reads (on loopback each send then also pays for waking it).  Storm: 200 clients connect,
// send junk (some of it half tokens), and vanish, by a clean close or a reset, again and again for
// 20 s, while the server keeps sending to the 100; a 10 ms timer on the
// server's GUI thread measures how late it runs, and the server's memory is
// compared before and after.

#include "bench_util.h"
#include "core/session_state.h"
#include "fakes.h"
#include "sync/network.h"
#include "sync/qt_socket.h"
#include "sync/sync_install.h"
#include "transport/volume_speed.h"

#include <QCoreApplication>
#include <QTcpSocket>
#include <QThread>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <netinet/in.h>
#include <random>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kClients = 100, kTokens = 200, kStormClients = 200, kStormMs = 20000;
constexpr int kTokenBytes = 11; // "@SPEED/" and four digits

int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Token k is "@SPEED/" + (1000 + k): every token has the same length, so a
// client knows by its byte count which tokens it has read.
QString token(int k) { return QString::number(1000 + k); }

struct Arrivals {
    std::array<std::atomic<int>, 1000> clients{};    // clients that have read token k
    std::array<std::atomic<int64_t>, 1000> lastNs{}; // the last of those reads
    void record(int k) {
        const int64_t t = nowNs();
        int64_t seen = lastNs[size_t(k)].load();
        while (t > seen && !lastNs[size_t(k)].compare_exchange_weak(seen, t)) {
        }
        clients[size_t(k)].fetch_add(1);
    }
};

// The 100 readers: plain sockets on a thread of their own, read as soon as
// epoll reports them, so that what is measured is the server's fan-out.
class Readers {
  public:
    Readers(int port, Arrivals& a) : a_(a) {
        for (int i = 0; i < kClients; ++i) {
            const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in to{};
            to.sin_family = AF_INET;
            to.sin_port = htons(uint16_t(port));
            to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            if (::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0) std::abort();
            fds_.push_back(fd);
        }
        thread_ = std::thread([this] { run(); });
    }
    // 0: the thread never sleeps, like 100 machines each waiting on its own
    // socket; 50: one sleeping thread, which every send on loopback must wake
    // (the sender pays for that wake-up, and the thread competes with the
    // server for the two cores).
    std::atomic<int> pollMs{0};
    ~Readers() {
        stop_ = true;
        thread_.join();
        for (int fd : fds_)
            ::close(fd);
    }

  private:
    void run() {
        const int ep = epoll_create1(0);
        for (size_t i = 0; i < fds_.size(); ++i) {
            epoll_event e{};
            e.events = EPOLLIN;
            e.data.u64 = i;
            epoll_ctl(ep, EPOLL_CTL_ADD, fds_[i], &e);
        }
        std::vector<qint64> got(fds_.size(), 0);
        std::array<epoll_event, kClients> ready;
        char buf[4096];
        while (!stop_) {
            const int n = epoll_wait(ep, ready.data(), kClients, pollMs.load());
            for (int r = 0; r < n; ++r) {
                const size_t i = ready[size_t(r)].data.u64;
                const ssize_t len = ::read(fds_[i], buf, sizeof buf);
                if (len <= 0) continue;
                const qint64 before = got[i];
                got[i] += len;
                for (qint64 k = before / kTokenBytes; k < got[i] / kTokenBytes; ++k)
                    a_.record(int(k));
            }
        }
        ::close(ep);
    }
    Arrivals& a_;
    std::vector<int> fds_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// The storm: each slot connects, sends junk, and vanishes, then again.
class Storm : public QObject {
  public:
    explicit Storm(int port) : port_(port) {}
    std::atomic<int> connections{0};
    void start() {
        until_.start();
        for (int i = 0; i < kStormClients; ++i)
            QTimer::singleShot(int(rng_() % 300), this, [this] { cycle(); });
    }

  private:
    void cycle() {
        if (until_.elapsed() > kStormMs) return;
        auto* c = new QTcpSocket(this);
        connect(c, &QTcpSocket::connected, this, [this, c] {
            c->setProperty("up", true);
            ++connections;
            QByteArray junk(int(1024 + rng_() % 16384), Qt::Uninitialized);
            for (char& b : junk)
                b = char(rng_());
            if (rng_() % 3 == 0) junk += "&COMMAND3/&STO"; // tokens and half a token
            c->write(junk);
            QTimer::singleShot(int(rng_() % 100), c, [this, c] {
                if (rng_() % 2)
                    c->abort(); // a reset, maybe mid-message
                else
                    c->disconnectFromHost();
                c->deleteLater();
                QTimer::singleShot(int(100 + rng_() % 300), this, [this] { cycle(); });
            });
        });
        connect(c, &QTcpSocket::errorOccurred, this, [this, c] {
            // A connect that failed tries again; a connection is done above.
            if (c->property("up").toBool() || c->state() != QAbstractSocket::UnconnectedState)
                return;
            c->deleteLater();
            QTimer::singleShot(100, this, [this] { cycle(); });
        });
        c->connectToHost(QHostAddress::LocalHost, quint16(port_));
    }
    int port_;
    std::mt19937 rng_{11};
    QElapsedTimer until_;
};

template <class W> QThread* onThread(W* worker) {
    auto* t = new QThread;
    worker->moveToThread(t);
    QObject::connect(t, &QThread::started, worker, [worker] { worker->start(); });
    t->start();
    return t;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    mv::SystemClock clock;
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    mv::installVolume(s);
    mv::QtSocketLayer sockets(QHostAddress::LocalHost);
    const auto net = mv::installSync(s, sockets);
    s.velmor.IamaServer.set(1);
    s.velmor.PortNr.setText(QStringLiteral("0"));
    net->startListening();
    const int port = net->Winsock1(0).LocalPort();

    Arrivals arrivals;
    Readers readers(port, arrivals);
    if (!bench::runUntil([&] { return s.g.ClientCount == kClients; }, 10000)) {
        std::fprintf(stderr, "only %d clients connected\n", int(s.g.ClientCount));
        return 1;
    }
    bench::runFor(300);

    std::mt19937 rng(5);
    int k = 0;
    auto fanOut = [&](const char* name) {
        std::vector<double> fanout, sendMs;
        for (const int end = k + kTokens; k < end; ++k) {
            const int64_t t0 = nowNs();
            s.velmor.Speed.setText(token(k));
            sendMs.push_back(double(nowNs() - t0) / 1e6);
            bench::runUntil([&] { return arrivals.clients[size_t(k)].load() == kClients; }, 2000);
            fanout.push_back(double(arrivals.lastNs[size_t(k)].load() - t0) / 1e6);
            bench::runFor(int(5 + rng() % 15));
        }
        std::printf("%s_p50_ms: %.3f ms\n", name, bench::percentile(fanout, 0.5));
        std::printf("%s_p99_ms: %.3f ms\n", name, bench::percentile(fanout, 0.99));
        std::printf("%s_send_p50_ms: %.3f ms\n", name, bench::percentile(sendMs, 0.5));
        std::printf("%s_send_p99_ms: %.3f ms\n", name, bench::percentile(sendMs, 0.99));
    };
    readers.pollMs = 0;
    fanOut("fanout");
    readers.pollMs = 50;
    fanOut("fanout_sleeping_reader");

    bench::runFor(1000);
    const double rssBefore = bench::rssMb();
    std::vector<double> late;
    QElapsedTimer beat;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        late.push_back(std::max(0.0, double(beat.nsecsElapsed()) / 1e6 - 10.0));
        beat.start();
    });
    // The server keeps serving its 100 readers through the storm.
    QTimer serve;
    const int firstStormToken = k;
    QObject::connect(&serve, &QTimer::timeout, [&] {
        if (k < int(arrivals.clients.size())) s.velmor.Speed.setText(token(k++));
    });
    auto* storm = new Storm(port);
    QThread* stormThread = onThread(storm);
    beat.start();
    tick.start(10);
    serve.start(100);
    bench::runFor(kStormMs);
    tick.stop();
    serve.stop();
    bench::runFor(3000); // the last closes come in
    const double rssAfter = bench::rssMb();
    int missing = 0;
    for (int i = firstStormToken; i < k; ++i)
        missing += kClients - arrivals.clients[size_t(i)].load();
    std::printf("storm_gui_late_p99_ms: %.3f ms\n", bench::percentile(late, 0.99));
    std::printf("storm_rss_growth_mb: %.1f MB\n", rssAfter - rssBefore);
    std::printf("storm_connections: %d count\n", storm->connections.load());
    std::printf("storm_tokens_missing: %d count\n", missing);
    std::printf("storm_elements: %d count\n", net->elements());

    stormThread->quit();
    stormThread->wait();
    return 0;
}
