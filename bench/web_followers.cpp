// The web server with 64 followers on loopback, one of them stalled: it
// completes the WebSocket handshake with a tiny receive buffer and then never
// reads.  The 63 others read on a thread of their own.  For 15 s the server
// sends a song message of a 1000-tic map every 40 ms (about 10 MB a follower)
// and a play clock every 50 ms to all, while a 10 ms timer on the GUI thread
// measures how late it runs.  Prints the lateness, whether the stalled
// follower was dropped, and what the others received.

#include "bench_util.h"
#include "core/session_state.h"
#include "fakes.h"
#include "web/follower_hub.h"
#include "web/web_server.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QWebSocket>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <sys/socket.h>

namespace {

constexpr int kFollowers = 63, kRunMs = 15000;

double nowMs() {
    return std::chrono::duration<double, std::milli>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    mv::SystemClock clock;
    mv::test::FakeMessages messages;
    mv::Session s(clock, messages);
    QTemporaryDir dir;
    {
        QFile map(dir.filePath(QStringLiteral("Long.map")));
        map.open(QIODevice::WriteOnly);
        for (int i = 0; i < 1000; ++i)
            map.write(QByteArray::number(500 + i % 7) + "\r\n" + QByteArray::number(1000 + i) +
                      "\r\n" + QByteArray::number(800 + i % 11) + "\r\n0\r\nFalse\r\nFalse\r\n");
    }
    s.g.SongBase = dir.filePath(QStringLiteral("Long"));
    mv::web::FollowerHub hub(s, mv::web::pdfPageSizes);
    mv::web::WebServer server(hub);
    const quint16 port = server.start(0);
    if (!port) return 1;
    const QUrl url(QStringLiteral("ws://127.0.0.1:%1/stream").arg(port));

    // The followers that read, on their own thread.
    std::atomic<qint64> received{0};
    std::atomic<int> open{0};
    QThread readers;
    readers.start();
    std::vector<QWebSocket*> sockets;
    for (int i = 0; i < kFollowers; ++i) {
        auto* ws = new QWebSocket;
        ws->moveToThread(&readers);
        QObject::connect(ws, &QWebSocket::connected, ws, [ws, &open] {
            ++open;
            ws->sendTextMessage(QStringLiteral(R"({"type":"hello","pin":""})"));
        });
        QObject::connect(ws, &QWebSocket::textMessageReceived, ws,
                         [&received](const QString& m) { received += m.size(); });
        QMetaObject::invokeMethod(ws, [ws, url] { ws->open(url); });
        sockets.push_back(ws);
    }
    // The stalled one: a handshake by hand, then silence.
    QTcpSocket stalled;
    stalled.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4096);
    stalled.setReadBufferSize(4096); // Qt stops reading from the system when it is full
    stalled.connectToHost(QStringLiteral("127.0.0.1"), port);
    stalled.waitForConnected(5000);
    stalled.write("GET /stream HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\n"
                  "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                  "Sec-WebSocket-Version: 13\r\n\r\n");
    stalled.flush();
    // Its answer read, its hello sent in one masked frame (a zero mask),
    // and nothing read from then on.
    bench::runUntil([&] { return stalled.bytesAvailable() > 0; }, 5000);
    stalled.readAll();
    const QByteArray hello = R"({"type":"hello","pin":""})";
    stalled.write(QByteArray("\x81") + char(0x80 | hello.size()) + QByteArray(4, '\0') + hello);
    stalled.flush();
    QObject::disconnect(&stalled, nullptr, nullptr, nullptr);
    bench::runUntil([&] { return hub.followers() == kFollowers + 1 && open == kFollowers; }, 20000);
    const int joined = hub.followers();
    bench::runFor(500);

    std::vector<double> late;
    double expected = nowMs() + 10;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const double now = nowMs();
        late.push_back(std::max(0.0, now - expected));
        expected = now + 10;
    });
    tick.start(10);
    QTimer songs, clocks;
    QObject::connect(&songs, &QTimer::timeout, [&] { hub.refreshSong(); });
    int n = 0;
    QObject::connect(&clocks, &QTimer::timeout, [&] {
        s.g.PlayStartTick = clock.tickMs();
        s.g.MapPlaying.set(++n % 2 == 1);
    });
    songs.start(40);
    clocks.start(50);
    const qint64 before = received;
    bench::runFor(kRunMs);
    tick.stop();
    songs.stop();
    clocks.stop();
    std::printf("web_followers_joined: %d count\n", joined);
    std::printf("web_gui_late_p99_ms: %.2f ms\n", bench::percentile(late, 0.99));
    std::printf("web_gui_late_max_ms: %.2f ms\n", bench::percentile(late, 1.0));
    std::printf("web_followers_left: %d count\n", hub.followers());
    std::printf("web_received_per_follower_mb: %.1f MB\n",
                double(received - before) / kFollowers / 1e6);
    for (QWebSocket* ws : sockets)
        QMetaObject::invokeMethod(ws, [ws] {
            ws->abort();
            ws->deleteLater();
        });
    readers.quit();
    readers.wait();
    return 0;
}
