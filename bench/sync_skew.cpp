// How close together a server and its followers start a play, on loopback.
// A server and 8 program clients, each a whole session on a thread of its
// own with its own tick clock (hours apart) on real sockets, each behind a
// delay proxy that holds every piece of bytes, both ways, for the client's
// own delay (0 to 40 ms) plus up to 10 ms of jitter either way, in order.
// 20 starts with the described tokens alone (the clients' "Client Delay"
// equal to the server's "PDF Delay", the best a client can guess), then 20
// with "Clock Start" on everywhere.  A start's skew is the spread of the
// moments the music began, the server's and every follower's, read on the
// machine's one clock; the figures are the p50 and p99 over the starts.

#include "bench_util.h"
#include "core/session_state.h"
#include "fakes.h"
#include "shifted_clock.h"
#include "sync/network.h"
#include "sync/qt_socket.h"
#include "sync/sync_install.h"
#include "transport/play_start.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <deque>
#include <list>
#include <memory>
#include <random>

namespace {

constexpr int kClients = 8, kStarts = 20, kMaxDelayMs = 40, kJitterMs = 10;
const QString kSong = QStringLiteral("/bench/Song.mp3");

int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// A player that notes when its music began to run: at a load that plays
// at once, or when held music is let go.
class StartPlayer final : public mv::test::FakePlayer {
  public:
    StartPlayer(const mv::Clock& clock, std::atomic<int64_t>& startedNs)
        : FakePlayer(clock), startedNs_(startedNs) {}
    void setURL(const QString& path) override {
        FakePlayer::setURL(path);
        note();
    }
    void controlsPlay() override {
        FakePlayer::controlsPlay();
        note();
    }

  private:
    void note() {
        if (playState() == 3) startedNs_ = nowNs();
    }
    std::atomic<int64_t>& startedNs_;
};

// Whatever follows the server and reports the moment its play began on the
// machine's clock.  Program clients below; browser followers (the web
// page, driven headless) are to join the same list with the instant their
// page reports, so that one skew covers them all.
class Follower {
  public:
    virtual ~Follower() = default;
    virtual int64_t startedNs() const = 0;
};

// One direction of a proxied connection: each piece read is written out
// its delay later, never before the piece ahead of it.
class DelayLine : public QObject {
  public:
    DelayLine(QTcpSocket* from, QTcpSocket* to, int delayMs, unsigned seed)
        : QObject(from), to_(to), delayMs_(delayMs), rng_(seed) {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setSingleShot(true);
        connect(&timer_, &QTimer::timeout, this, &DelayLine::release);
        connect(from, &QTcpSocket::readyRead, this, [this, from] {
            std::uniform_int_distribution<int> jitter(-kJitterMs, kJitterMs);
            const int64_t now = nowNs();
            const int64_t due =
                std::max(last_, now + int64_t(std::max(0, delayMs_ + jitter(rng_))) * 1000000);
            last_ = due;
            queue_.push_back({due, from->readAll()});
            if (!timer_.isActive()) timer_.start(int((queue_.front().first - now) / 1000000));
        });
    }

  private:
    void release() {
        const int64_t now = nowNs();
        while (!queue_.empty() && queue_.front().first <= now + 200000) {
            to_->write(queue_.front().second);
            queue_.pop_front();
        }
        to_->flush();
        if (!queue_.empty())
            timer_.start(int(std::max<int64_t>(0, queue_.front().first - now) / 1000000));
    }
    QTcpSocket* to_;
    int delayMs_;
    std::mt19937 rng_;
    int64_t last_ = 0;
    std::deque<std::pair<int64_t, QByteArray>> queue_;
    QTimer timer_;
};

// A proxy in front of the server for one client, on the proxies' thread.
class DelayProxy : public QObject {
  public:
    DelayProxy(int serverPort, int delayMs, unsigned seed)
        : serverPort_(serverPort), delayMs_(delayMs), seed_(seed) {}
    void start() {
        listener_ = new QTcpServer(this);
        connect(listener_, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* down = listener_->nextPendingConnection()) {
                auto* up = new QTcpSocket(down);
                up->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                down->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                up->connectToHost(QHostAddress::LocalHost, quint16(serverPort_));
                new DelayLine(down, up, delayMs_, seed_++);
                new DelayLine(up, down, delayMs_, seed_++);
                connect(down, &QTcpSocket::disconnected, down, &QObject::deleteLater);
                connect(up, &QTcpSocket::disconnected, down, [down] { down->close(); });
            }
        });
        listener_->listen(QHostAddress::LocalHost, 0);
        port = listener_->serverPort();
    }
    std::atomic<int> port{0};

  private:
    int serverPort_, delayMs_;
    unsigned seed_;
    QTcpServer* listener_ = nullptr;
};

// A program client: a whole session on a thread of its own, with a tick
// clock `shiftMs` away from the server's, connected through its proxy.
class ProgramFollower final : public Follower {
  public:
    ProgramFollower(int port, int64_t shiftMs, bool clockStart) {
        thread_.reset(QThread::create([=, this] { run(port, shiftMs, clockStart); }));
        thread_->start();
    }
    ~ProgramFollower() override {
        stop_ = true;
        thread_->wait();
    }
    int64_t startedNs() const override { return startedNs_.load(); }
    std::atomic<int> connected{-1}; // -1 while connecting, then 0 or 1

  private:
    void run(int port, int64_t shiftMs, bool clockStart) {
        mv::SystemClock system;
        system.pinDayClock(43200);
        mv::test::ShiftedClock clock(system, shiftMs);
        mv::test::FakeMessages messages;
        mv::Session s(clock, messages);
        StartPlayer player(clock, startedNs_);
        s.player = &player;
        mv::installPlayStart(s);
        mv::QtSocketLayer sockets(QHostAddress::LocalHost);
        const auto net = mv::installSync(s, sockets);
        s.velmor.ClockStart.set(clockStart);
        s.velmor.PDFDLY.setText(QStringLiteral("1"));
        s.velmor.ClientDelay.setText(QStringLiteral("1"));
        s.velmor.IPAddress.setText(QStringLiteral("127.0.0.1"));
        s.velmor.PortNr.setText(QString::number(port));
        s.g.SongFile = kSong;
        s.ConnectIt_Click();
        connected = s.velmor.Shape1.get() ? 1 : 0;
        // Plays run inside the socket's handlers, in this loop.
        QEventLoop loop;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (stop_) loop.quit();
        });
        poll.start(20);
        loop.exec();
        s.pump.quit();
    }
    std::unique_ptr<QThread> thread_;
    std::atomic<bool> stop_{false};
    std::atomic<int64_t> startedNs_{0};
};

// The server's own moment, as a follower of itself.
class ServerStart final : public Follower {
  public:
    int64_t startedNs() const override { return ns.load(); }
    std::atomic<int64_t> ns{0};
};

struct Skew {
    std::vector<double> spreadMs;
    int missed = 0; // followers that did not start at all
};

// 20 starts of the server; after each, the spread of every follower's moment.
Skew measure(mv::Session& server, const std::vector<const Follower*>& followers) {
    Skew skew;
    std::mt19937 rng(9);
    for (int k = 0; k < kStarts; ++k) {
        const int64_t pressed = nowNs();
        server.WindowsMediaPlayer1_MouseDown(1, 0, 1, 1); // returns once its music runs
        bench::runFor(int(400 + rng() % 200));            // the last follower starts meanwhile
        int64_t first = INT64_MAX, last = INT64_MIN;
        for (const Follower* f : followers) {
            const int64_t at = f->startedNs();
            if (at <= pressed) {
                ++skew.missed;
                continue;
            }
            first = std::min(first, at);
            last = std::max(last, at);
        }
        if (last >= first) skew.spreadMs.push_back(double(last - first) / 1e6);
    }
    return skew;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    mv::SystemClock clock;
    clock.pinDayClock(43200);
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    ServerStart serverStart;
    StartPlayer player(clock, serverStart.ns);
    s.player = &player;
    mv::installPlayStart(s);
    mv::QtSocketLayer sockets(QHostAddress::LocalHost);
    const auto net = mv::installSync(s, sockets);
    s.velmor.IamaServer.set(1);
    s.velmor.PortNr.setText(QStringLiteral("0"));
    s.velmor.PDFDLY.setText(QStringLiteral("1"));
    s.g.SongFile = kSong;
    net->startListening();
    const int port = net->Winsock1(0).LocalPort();

    // The proxies, one per client, on a thread of their own.
    QThread proxyThread;
    proxyThread.start();
    std::vector<std::unique_ptr<DelayProxy>> proxies;
    for (int i = 0; i < kClients; ++i) {
        auto p = std::make_unique<DelayProxy>(port, i * kMaxDelayMs / (kClients - 1),
                                              unsigned(100 + 10 * i));
        p->moveToThread(&proxyThread);
        QMetaObject::invokeMethod(p.get(), [q = p.get()] { q->start(); });
        proxies.push_back(std::move(p));
    }
    bench::runUntil(
        [&] {
            return std::all_of(proxies.begin(), proxies.end(), [](auto& p) { return p->port > 0; });
        },
        5000);

    std::mt19937_64 rng(17);
    auto phase = [&](bool clockStart, const char* name) {
        s.velmor.ClockStart.set(clockStart);
        std::list<ProgramFollower> clients;
        for (int i = 0; i < kClients; ++i)
            clients.emplace_back(proxies[size_t(i)]->port.load(),
                                 int64_t(rng() % 7200000) - 3600000, clockStart);
        const bool up = bench::runUntil(
            [&] {
                return std::all_of(clients.begin(), clients.end(),
                                   [](const ProgramFollower& c) { return c.connected >= 0; });
            },
            20000);
        const int connected =
            int(std::count_if(clients.begin(), clients.end(),
                              [](const ProgramFollower& c) { return c.connected == 1; }));
        if (!up || connected != kClients) {
            std::fprintf(stderr, "%s: only %d clients connected\n", name, connected);
            std::exit(1);
        }
        // The clients learn the server's clock, as they would between
        // connecting and the first song.
        bench::runFor(10000);
        std::vector<const Follower*> followers{&serverStart};
        for (const ProgramFollower& c : clients)
            followers.push_back(&c);
        // Browser followers join `followers` here.
        const Skew skew = measure(s, followers);
        std::printf("start_skew_p50_ms_%s: %.2f ms\n", name, bench::percentile(skew.spreadMs, 0.5));
        std::printf("start_skew_p99_ms_%s: %.2f ms\n", name,
                    bench::percentile(skew.spreadMs, 0.99));
        std::printf("start_missed_%s: %d count\n", name, skew.missed);
        std::fflush(stdout);
        s.ConnectIt_Click(); // "&END/": the clients let go of their connections
        bench::runFor(300);
    };
    phase(false, "tokens");
    phase(true, "clock");
    proxyThread.quit();
    proxyThread.wait();
    return 0;
}
