// How close together a server and its followers start a play, on loopback.
// A server, 8 program clients and 8 browser followers.  Each program client
// is a whole session on a thread of its own with its own tick clock (hours
// apart) on real sockets; each browser follower is a page in Debian's
// headless chromium (bench/sync_skew_browsers.js, through the npm packages
// of tests/web) on the server's web port.  Every follower sits behind a
// delay proxy of its own that holds every piece of bytes, both ways, for
// the follower's own delay (0 to 40 ms) plus up to 10 ms of jitter either
// way, in order.  The server plays a map of 6 tics after a 1 s count-off.
// 20 starts with the described tokens alone (the program clients' "Client
// Delay" equal to the server's "PDF Delay", the best a client can guess),
// then 20 with "Clock Start" on everywhere.  A start's skew is the spread
// of the moments the music began, the server's and every follower's, read
// on the machine's one clock; a browser's moment is the one its play clock
// puts the music's start at (the announced instant).  The figures are the
// p50 and p99 over the starts.  The browsers join the clock starts only
// (they have no other way to start); the cursor error is each tic the
// browsers showed in those plays against the server's play clock.

#include "bench_util.h"
#include "core/session_state.h"
#include "fakes.h"
#include "shifted_clock.h"
#include "sync/network.h"
#include "sync/qt_socket.h"
#include "sync/sync_install.h"
#include "transport/play_start.h"
#include "web/follower_hub.h"
#include "web/web_server.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <deque>
#include <list>
#include <memory>
#include <random>

namespace {

constexpr int kClients = 8, kBrowsers = 8, kStarts = 20, kMaxDelayMs = 40, kJitterMs = 10;
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

// A proxy in front of a server port for one follower, on the proxies'
// thread; every connection the follower makes goes through it.
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

// The proxies, one per follower, on a thread of their own.
class Proxies {
  public:
    Proxies() { thread_.start(); }
    ~Proxies() {
        thread_.quit();
        thread_.wait();
    }
    // A proxy to `port` holding bytes `delayMs` (plus jitter); its port.
    int add(int port, int delayMs, unsigned seed) {
        auto p = std::make_unique<DelayProxy>(port, delayMs, seed);
        p->moveToThread(&thread_);
        QMetaObject::invokeMethod(p.get(), [q = p.get()] { q->start(); });
        DelayProxy* proxy = p.get();
        proxies_.push_back(std::move(p));
        bench::runUntil([&] { return proxy->port > 0; }, 5000);
        return proxy->port;
    }

  private:
    QThread thread_;
    std::vector<std::unique_ptr<DelayProxy>> proxies_;
};

// A program client: a whole session on a thread of its own, with a tick
// clock `shiftMs` away from the server's, connected through its proxy.
class ProgramFollower {
  public:
    ProgramFollower(int port, int64_t shiftMs, bool clockStart, const mv::Clock& serverClock)
        : serverClock_(serverClock) {
        thread_.reset(QThread::create([=, this] { run(port, shiftMs, clockStart); }));
        thread_->start();
    }
    ~ProgramFollower() {
        stop_ = true;
        thread_->wait();
    }
    int64_t startedNs() const { return startedNs_.load(); }
    // How far its estimate of the server's clock stands from the truth, in
    // ms, when it last looked; NaN while it knows none.
    double clockErrorMs() const { return clockError_.load(); }
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
            const mv::ClockOffset& learnt = net->serverClock();
            const double truth = serverClock_.preciseMs() - clock.preciseMs();
            clockError_ = learnt.known() ? learnt.offsetMs() - truth : NAN;
        });
        poll.start(20);
        loop.exec();
        s.pump.quit();
    }
    const mv::Clock& serverClock_;
    std::unique_ptr<QThread> thread_;
    std::atomic<bool> stop_{false};
    std::atomic<int64_t> startedNs_{0};
    std::atomic<double> clockError_{NAN};
};

// The browser followers: one node process driving one headless chromium.
class Browsers {
  public:
    // Starts a page on each address; false (and why on stderr) when the
    // browser cannot be driven here.
    bool start(const QStringList& addresses) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("NODE_PATH"),
                   QStringLiteral(MELLIVANE_SOURCE_DIR "/tests/web/node_modules"));
        node_.setProcessEnvironment(env);
        node_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        node_.start(
            QStringLiteral("node"),
            QStringList{QStringLiteral(MELLIVANE_SOURCE_DIR "/bench/sync_skew_browsers.js")} +
                addresses);
        const bool ready = bench::runUntil(
            [&] { return node_.state() == QProcess::NotRunning || node_.canReadLine(); }, 120000);
        if (ready && node_.canReadLine() && node_.readLine().trimmed() == "ready") return true;
        std::fprintf(stderr, "browser followers: none (see above: node, chromium, or the npm "
                             "packages of tests/web, which 'npm ci' there installs)\n");
        node_.kill();
        node_.waitForFinished(5000);
        return false;
    }
    // Each page's record of the tics it showed, as the script prints it.
    std::vector<QJsonArray> report() {
        std::vector<QJsonArray> pages;
        if (node_.state() != QProcess::Running) return pages;
        node_.write("report\n");
        while (int(pages.size()) < kBrowsers &&
               bench::runUntil([&] { return node_.canReadLine(); }, 60000))
            pages.push_back(QJsonDocument::fromJson(node_.readLine())
                                .object()
                                .value(QStringLiteral("tics"))
                                .toArray());
        node_.waitForFinished(20000);
        return pages;
    }

  private:
    QProcess node_;
};

// One start as the server made it.
struct Start {
    int64_t pressNs = 0;          // the play's map zero, on the machine's clock
    int64_t announcedMs = 0;      // the announced instant less the press, 0 without one
    int64_t serverNs = 0;         // its music's start
    std::vector<int64_t> clients; // each program client's music start, 0: none
    std::vector<double> clockErrorMs;
};

// The server's tick clock on the machine's clock: the reading bracketed by
// the shortest of many pairs.
double tickToNsBase(const mv::Clock& clock) {
    double best = 1e18, base = 0;
    for (int i = 0; i < 50; ++i) {
        const int64_t a = nowNs();
        const double ms = clock.preciseMs();
        const int64_t b = nowNs();
        if (double(b - a) < best) best = double(b - a), base = double(a + b) / 2 - ms * 1e6;
    }
    return base;
}

struct Skew {
    std::vector<double> spreadMs;
    int missed = 0; // followers that did not start at all
};

// Adds a start's followers' moments to the skew: the spread around the
// server's moment; a moment at 0 (before the press) counts as missed.
void addSpread(Skew& skew, const Start& st, const std::vector<int64_t>& moments) {
    int64_t first = st.serverNs, last = st.serverNs;
    for (const int64_t at : moments) {
        if (at <= st.pressNs) {
            ++skew.missed;
            continue;
        }
        first = std::min(first, at);
        last = std::max(last, at);
    }
    skew.spreadMs.push_back(double(last - first) / 1e6);
}

void printSkew(const char* name, const Skew& skew) {
    std::printf("start_skew_p50_ms_%s: %.2f ms\n", name, bench::percentile(skew.spreadMs, 0.5));
    std::printf("start_skew_p99_ms_%s: %.2f ms\n", name, bench::percentile(skew.spreadMs, 0.99));
    std::printf("start_missed_%s: %d count\n", name, skew.missed);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    mv::SystemClock clock;
    clock.pinDayClock(43200);
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    std::atomic<int64_t> serverStartNs{0};
    StartPlayer player(clock, serverStartNs);
    s.player = &player;
    mv::installPlayStart(s);
    mv::QtSocketLayer sockets(QHostAddress::LocalHost);
    const auto net = mv::installSync(s, sockets);
    s.velmor.IamaServer.set(1);
    s.velmor.PortNr.setText(QStringLiteral("0"));
    s.velmor.PDFDLY.setText(QStringLiteral("1"));
    s.velmor.Text5.setText(QStringLiteral("1"));
    s.g.SongFile = kSong;
    int64_t announced = 0;
    s.announceStartAt = [&, told = s.announceStartAt](int64_t at, int64_t zero) {
        announced = at;
        told(at, zero);
    };
    net->startListening();
    const int port = net->Winsock1(0).LocalPort();

    // The song the browsers follow: a sheet of the demo's and a map of 6
    // tics, the first 1.2 s after the press (the count-off is 1 s).
    QTemporaryDir dir;
    s.g.SongBase = dir.filePath(QStringLiteral("Bench"));
    QFile::copy(QStringLiteral(MELLIVANE_SOURCE_DIR "/demo/songs/Twinkle Twinkle.pdf"),
                s.g.SongBase + QStringLiteral(".pdf"));
    {
        QFile map(s.g.SongBase + QStringLiteral(".map"));
        map.open(QIODevice::WriteOnly);
        for (int i = 0; i < 6; ++i)
            map.write(QByteArray::number(i ? 200 : 1200) + "\r\n" +
                      QByteArray::number(1500 + 600 * i) + "\r\n1800\r\n0\r\nFalse\r\nFalse\r\n");
    }
    mv::web::FollowerHub hub(s, mv::web::pdfPageSizes);
    mv::web::WebServer web(hub);
    const int webPort = web.start(0);
    hub.refreshSong();
    // The play's map zero (the press, or the announced zero): the play
    // loop moves PlayStartTick on with every tic.
    int64_t pressTick = 0;
    const auto pressed = s.g.MapPlaying.subscribe([&] {
        if (s.g.MapPlaying.get()) pressTick = s.g.PlayStartTick;
    });
    const double tickBase = tickToNsBase(clock);
    const auto tickNs = [&](int64_t tick) { return int64_t(double(tick) * 1e6 + tickBase); };

    Proxies proxies;
    std::vector<int> clientPorts;
    for (int i = 0; i < kClients; ++i)
        clientPorts.push_back(
            proxies.add(port, i * kMaxDelayMs / (kClients - 1), unsigned(100 + 10 * i)));
    // The browsers' delays fall between the clients'.
    QStringList addresses;
    for (int i = 0; i < kBrowsers; ++i)
        addresses << QStringLiteral("http://127.0.0.1:%1/")
                         .arg(proxies.add(webPort, (i * kMaxDelayMs + kMaxDelayMs / 2) / kBrowsers,
                                          unsigned(500 + 10 * i)));
    Browsers browsers;
    const bool withBrowsers = webPort > 0 && browsers.start(addresses);

    std::mt19937_64 rng(17);
    std::vector<Start> clockStarts;
    std::vector<double> clockErrors;
    auto phase = [&](bool clockStart, const char* name) {
        s.velmor.ClockStart.set(clockStart);
        std::list<ProgramFollower> clients;
        for (int i = 0; i < kClients; ++i)
            clients.emplace_back(clientPorts[size_t(i)], int64_t(rng() % 7200000) - 3600000,
                                 clockStart, clock);
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
        std::vector<Start> starts;
        std::mt19937 pause(9);
        for (int k = 0; k < kStarts; ++k) {
            Start st;
            announced = 0;
            pressTick = 0;
            s.WindowsMediaPlayer1_MouseDown(1, 0, 1, 1); // returns once its map has played
            st.pressNs = tickNs(pressTick);
            st.announcedMs = announced ? announced - pressTick : 0;
            bench::runFor(int(400 + pause() % 200)); // the last follower starts meanwhile
            st.serverNs = serverStartNs;
            for (const ProgramFollower& c : clients) {
                st.clients.push_back(c.startedNs());
                if (clockStart) clockErrors.push_back(std::abs(c.clockErrorMs()));
            }
            starts.push_back(std::move(st));
        }
        Skew skew;
        for (const Start& st : starts)
            addSpread(skew, st, st.clients);
        printSkew(name, skew);
        std::fflush(stdout);
        if (clockStart) clockStarts = std::move(starts);
        s.ConnectIt_Click(); // "&END/": the clients let go of their connections
        bench::runFor(300);
    };
    phase(false, "tokens");
    phase(true, "clock_programs");
    std::printf("clock_offset_error_p99_ms: %.2f ms\n", bench::percentile(clockErrors, 0.99));

    // The browsers' moments: the play clock's zero each page took for a
    // start, moved on by the announced lead; and each tic they showed
    // against the moment the server's play clock reached it.
    std::vector<std::vector<int64_t>> browserStarts(clockStarts.size());
    std::vector<double> cursorErrors;
    const std::vector<QJsonArray> pages =
        withBrowsers ? browsers.report() : std::vector<QJsonArray>{};
    for (const QJsonArray& page : pages) {
        std::vector<int64_t> zero(clockStarts.size(), 0);
        for (const QJsonValue& v : page) {
            const QJsonArray r = v.toArray(); // tic, map ms, shown, zero, rate, from
            const double ms = r[1].toDouble(), shown = r[2].toDouble(), rate = r[4].toDouble();
            if (rate <= 0 || r[5].toDouble() != 0) continue; // held, or after a Continue
            for (size_t k = 0; k < clockStarts.size(); ++k) {
                const Start& st = clockStarts[k];
                // The tics of this start: shown between its press and 5 s on.
                if (shown < double(st.pressNs) || shown > double(st.pressNs) + 5e9) continue;
                if (!zero[k]) zero[k] = int64_t(r[3].toDouble()) + st.announcedMs * 1000000;
                cursorErrors.push_back(std::abs(shown - (double(st.pressNs) + ms / rate * 1e6)) /
                                       1e6);
            }
        }
        for (size_t k = 0; k < clockStarts.size(); ++k)
            browserStarts[k].push_back(zero[k]);
    }
    Skew all;
    for (size_t k = 0; k < clockStarts.size(); ++k) {
        std::vector<int64_t> moments = clockStarts[k].clients;
        moments.insert(moments.end(), browserStarts[k].begin(), browserStarts[k].end());
        addSpread(all, clockStarts[k], moments);
    }
    std::printf("browser_followers: %d count\n", int(pages.size()));
    if (pages.empty()) return 1;
    printSkew("clock", all);
    std::printf("web_cursor_error_p50_ms: %.2f ms\n", bench::percentile(cursorErrors, 0.5));
    std::printf("web_cursor_error_p99_ms: %.2f ms\n", bench::percentile(cursorErrors, 0.99));
    std::printf("web_cursor_tics: %d count\n", int(cursorErrors.size()));
    std::fflush(stdout);
    return 0;
}
