// The network sync on real sockets over loopback, in real time: raw TCP
// peers of the test's own see exactly the bytes of server actions on both
// send paths (the sheet's and the panel's), and a raw peer acting as a
// server drives a real client through a song.  Which token each action
// sends is the scenario tests' part.

#include "core/session_state.h"
#include "core/startup.h"
#include "cursormap/cursor_fields.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sync/network.h"
#include "sync/qt_socket.h"
#include "sync/sync_install.h"
#include "test_files.h"
#include "transport/play_start.h"
#include "transport/song_loading.h"
#include "transport/volume_speed.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

// A computer of its own: real sockets on loopback, fakes for sound and sheet.
struct Host {
    Host() : s(clock, messages), player(clock) {
        attachSheetOne(s, player, viewer);
        installNavigation(s);
        installSheetGeometry(s);
        installVolume(s);
        installSongLoading(s);
        installPlayStart(s);
        net = installSync(s, sockets);
        s.velmor.Text1.setText(dir.path());
        writeFile(dir.filePath("Song.mp3"));
    }
    SystemClock clock;
    FakeMessages messages;
    Session s;
    FakePlayer player;
    FakeViewer viewer;
    QtSocketLayer sockets{QHostAddress::LocalHost};
    std::unique_ptr<Network> net;
    QTemporaryDir dir;
};

// A raw client: keeps every byte it reads.
struct Peer {
    explicit Peer(int port) {
        QObject::connect(&sock, &QTcpSocket::readyRead, [this] { got += sock.readAll(); });
        sock.connectToHost(QHostAddress::LocalHost, quint16(port));
        sock.waitForConnected(3000);
    }
    QTcpSocket sock;
    QByteArray got;
};

TEST(SyncLoopback, RawClientsSeeExactlyTheBytesOfEachServerAction) {
    Host server;
    Session& s = server.s;
    s.velmor.IamaServer.set(1);
    s.velmor.PortNr.setText("0"); // any free port
    s.velmor.PDFDLY.setText("1");
    server.net->startListening();
    const int port = server.net->Winsock1(0).LocalPort();
    Peer a(port), b(port);
    ASSERT_TRUE(runUntil([&] { return s.g.ClientCount == 2; }, 3000));
    EXPECT_TRUE(s.velmor.Shape1.get());

    struct Step {
        const char* what;
        std::function<void()> act;
        QByteArray bytes;
    };
    auto select = [&](const QString& entry) {
        return [&s, entry] {
            s.velmor.File1List.set({entry});
            s.velmor.File1ListIndex.set(0);
            s.File1_MouseDown(1, 0, 10, 10);
        };
    };
    const Step steps[] = {
        {"select", select("Song.mp3"), "&SELECT/Song.mp3"},
        // A name Windows-1252 can hold goes out in it, any other in UTF-8.
        {"select a name with U+2019", select("Don’t Stop.pdf"), "&SELECT/Don\x92t Stop.pdf"},
        {"select a Cyrillic name", select("Калинка.pdf"),
         "&SELECT/" + QString("Калинка.pdf").toUtf8()},
        {"start with a count-off", [&] { s.WindowsMediaPlayer1_MouseDown(1, 0, 0, 0); }, "&START/"},
        {"manual scroll", [&] { Command6_Click(s); }, "&COMMAND6/"},
        {"a client that floods the server and vanishes",
         [&] {
             QTcpSocket junk;
             junk.connectToHost(QHostAddress::LocalHost, quint16(port));
             junk.waitForConnected(3000);
             junk.write(QByteArray(1 << 20, '&'));
             runUntil([&] { return junk.bytesToWrite() == 0; }, 5000);
             junk.abort();
             runUntil([&] { return s.g.ClientCount == 3 && server.net->Winsock1(3).State() == 0; },
                      5000);
         },
         ""},
        {"stop", [&] { s.WindowsMediaPlayer1_MouseDown(1, 0, 30, 0); }, "&STOP/"},
        {"disconnect", [&] { s.ConnectIt_Click(); }, "&END/"},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        a.got.clear();
        b.got.clear();
        step.act();
        runUntil(
            [&] { return a.got.size() >= step.bytes.size() && b.got.size() >= step.bytes.size(); },
            5000);
        runFor(60);
        EXPECT_EQ(a.got, step.bytes);
        EXPECT_EQ(b.got, step.bytes);
    }
    EXPECT_EQ(s.g.ClientCount, 3);
    EXPECT_EQ(server.net->Winsock1(0).State(), sockstate::kListening);
}

// "Clock Start" on at both ends, on real sockets: the client starts its
// music on the server's announced instant (the 1 s count-off), not after
// its own Client Delay of 3 s, and a peer that knows only the described
// tokens still reads a start in what it gets.
TEST(SyncLoopback, AClockStartReachesAClientOnTheInstantAndAPlainPeerStillStarts) {
    Host server, client;
    server.s.velmor.IamaServer.set(1);
    server.s.velmor.PortNr.setText("0");
    server.s.velmor.PDFDLY.setText("1");
    server.s.velmor.ClockStart.set(1);
    server.s.g.SongFile = server.dir.filePath("Song.mp3");
    server.net->startListening();
    const int port = server.net->Winsock1(0).LocalPort();
    Peer plain(port);
    Session& c = client.s;
    c.velmor.ClockStart.set(1);
    c.velmor.IPAddress.setText("127.0.0.1");
    c.velmor.PortNr.setText(QString::number(port));
    c.velmor.ClientDelay.setText("3");
    c.g.SongFile = client.dir.filePath("Song.mp3");
    QElapsedTimer sincePress;
    qint64 clientStartMs = -1;
    const auto start = c.WindowsMediaPlayer1_MouseDown;
    c.WindowsMediaPlayer1_MouseDown = [&](int b, int sh, double x, double y) {
        start(b, sh, x, y); // returns once its music runs: there is no map
        clientStartMs = sincePress.elapsed();
    };
    c.ConnectIt_Click();
    ASSERT_TRUE(runUntil([&] { return client.net->serverClock().known(); }, 5000));
    sincePress.start();
    server.s.WindowsMediaPlayer1_MouseDown(1, 0, 1, 1);
    ASSERT_TRUE(runUntil([&] { return clientStartMs >= 0; }, 8000));
    // Held until the instant, a second on; by its own delay it would be 3 s.
    EXPECT_GE(clientStartMs, 990);
    EXPECT_LT(clientStartMs, 2500);
    EXPECT_EQ(client.player.playState(), 3);
    runUntil([&] { return plain.got.endsWith("&START/"); }, 3000);
    EXPECT_TRUE(QRegularExpression("^&PLAYAT/\\d+,\\d+/&START/$").match(plain.got).hasMatch())
        << plain.got.toStdString();
    EXPECT_EQ(readMessage(QString::fromLatin1(plain.got)).then, Message::Then::Start);
}

// A server whose port another program holds says so at start-up, whatever
// else the settings hold, and logs why; the list does not take the focus.
TEST(SyncLoopback, AServerWhosePortIsTakenSaysSoAtStartUp) {
    QTcpServer holder;
    ASSERT_TRUE(holder.listen(QHostAddress::LocalHost, 0));
    Host server;
    Session& s = server.s;
    s.configDir = server.dir.path();
    StartupHooks hooks;
    server.net = installSync(s, server.sockets, &hooks);
    QStringList shown;
    hooks.showMainWindow = [&] { shown << "main window"; };
    hooks.focusList = [&] { shown << "focus on the list"; };
    s.velmor.Text2.setText("*.mp3");
    s.velmor.IamaServer.set(1);
    s.velmor.PortNr.setText(QString::number(holder.serverPort()));
    static QStringList logged;
    logged.clear();
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& m) { logged << m; });
    startUp(s, hooks, {});
    qInstallMessageHandler(before);
    EXPECT_EQ(std::tuple(server.messages.shown, shown, logged),
              std::tuple(QStringList{"Error 10048 Address in use"}, QStringList{"main window"},
                         QStringList{QStringLiteral("The server cannot listen on port \"%1\": "
                                                    "Address in use (10048)")
                                         .arg(holder.serverPort())}));
}

TEST(SyncLoopback, ARawServerDrivesARealClientThroughASong) {
    QTcpServer raw;
    ASSERT_TRUE(raw.listen(QHostAddress::LocalHost, 0));
    QTcpSocket* link = nullptr;
    QObject::connect(&raw, &QTcpServer::newConnection, [&] { link = raw.nextPendingConnection(); });
    Host client;
    Session& s = client.s;
    s.velmor.IPAddress.setText("127.0.0.1");
    s.velmor.PortNr.setText(QString::number(raw.serverPort()));
    s.velmor.ClientDelay.setText("0.5");
    s.velmor.FirstNote.setText("0");
    s.velmor.File1List.set({"Intro.mp3", "Song.mp3"});
    QStringList map = kMapHeader;
    for (int i = 1; i <= 12; ++i)
        map << rec("500", QString::number(100 * i), "100", "0");
    writeLinesAtomically(client.dir.filePath("Song.map"), map);
    int plays = 0;
    const auto start = s.WindowsMediaPlayer1_MouseDown;
    s.WindowsMediaPlayer1_MouseDown = [&](int b, int sh, double x, double y) {
        start(b, sh, x, y);
        ++plays; // the client's whole play has run
    };
    s.ConnectIt_Click();
    ASSERT_TRUE(s.velmor.Shape1.get());
    ASSERT_TRUE(runUntil([&] { return link; }, 3000));

    // What the server sends and, a little later, what the client shows.
    QStringList seen;
    auto shown = [&] {
        seen << QStringLiteral("%1 limit=%2 speed=%3 page=%4 stop=%5")
                    .arg(s.velmor.File1FileName())
                    .arg(s.velmor.VScroll1.get())
                    .arg(s.velmor.Speed.text())
                    .arg(client.viewer.page)
                    .arg(s.g.StopRequested);
    };
    int tics = 0;
    s.adobeF.Text3.always([&] { tics = std::max(tics, int(s.adobeF.Text3.value())); });
    QElapsedTimer countOff;
    qint64 countOffMs = -1;
    s.adobeF.Text11Visible.always([&] {
        if (s.adobeF.Text11Visible.get())
            countOff.start();
        else
            countOffMs = countOff.elapsed();
    });
    const std::vector<std::pair<int, QByteArray>> timeline = {
        {0, "&SELECT/song.mp3"}, {400, "&START/"},    {1800, "@SPEED/1.5"},
        {300, "&COMMAND3/"},     {300, "&STOP/"},     {4500, QByteArray(1 << 20, 'x') + "&COMM"},
        {300, "AND3/"},          {300, "&COMMAND3/"}, {300, "&STO"}};
    bool done = false;
    std::function<void(size_t)> next = [&](size_t i) {
        if (i == timeline.size()) {
            link->close(); // the server vanishes mid-message
            QTimer::singleShot(300, [&] { done = true; });
            return;
        }
        QTimer::singleShot(timeline[i].first, [&, i] {
            link->write(timeline[i].second);
            link->flush();
            QTimer::singleShot(150, shown);
            next(i + 1);
        });
    };
    next(0);
    ASSERT_TRUE(runUntil([&] { return done; }, 30000));
    const QStringList want = {
        "Song.mp3 limit=1 speed=1 page=1 stop=-1",   // selected: the list's own entry
        "Song.mp3 limit=1 speed=1 page=1 stop=0",    // started
        "Song.mp3 limit=1 speed=1.5 page=1 stop=0",  // a new speed
        "Song.mp3 limit=1 speed=1.5 page=2 stop=0",  // the page turned
        "Song.mp3 limit=1 speed=1.5 page=2 stop=-1", // stopped
        "Song.mp3 limit=1 speed=1.5 page=1 stop=-1", // the play's end turned back; 1 MB and half a
                                                     // token
        "Song.mp3 limit=1 speed=1.5 page=1 stop=-1", // the token's other half: nothing
        "Song.mp3 limit=1 speed=1.5 page=2 stop=-1", // the client still follows
        "Song.mp3 limit=1 speed=1.5 page=2 stop=-1"};
    EXPECT_EQ(seen, want);
    // The count-off lasted the client's delay, the cursor moved, the new
    // speed reached the player, and the stop ended the map early.
    EXPECT_GE(countOffMs, 400);
    EXPECT_LT(countOffMs, 1200);
    EXPECT_GE(tics, 3);
    EXPECT_LT(tics, 12);
    EXPECT_EQ(client.player.settingsRate(), 1.5);
    EXPECT_EQ(plays, 1);
    EXPECT_EQ(client.player.URL(), "");
    EXPECT_EQ(client.net->Winsock1(0).State(), sockstate::kClosed);
    EXPECT_TRUE(s.velmor.Shape1.get()); // no "&END/": the dot stays
}

} // namespace
