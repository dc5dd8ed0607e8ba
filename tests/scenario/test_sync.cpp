// The network sync over the fake loopback in virtual time: what a client
// makes of each read (tokens read together, cuts, containment, split tokens,
// the end of a session), and the server's side of clients that come, go and
// come back, connects that fail, and sends that fail.

#include "core/session_state.h"
#include "core/setup_screen.h"
#include "cursormap/cursor_fields.h"
#include "fake_net.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "sync/network.h"
#include "sync/sync_install.h"
#include "transport/volume_speed.h"

#include <gtest/gtest.h>
#include <list>

using namespace mv;
using namespace mv::test;

namespace {

constexpr int kPort = 7000;

// The panel at a glance: the button's caption, the dot, element 0's state.
QString panelOf(const QString& button, bool dot, int state) {
    return QStringLiteral("%1 dot=%2 element0=%3").arg(button).arg(dot).arg(state);
}

// One session on the fake network, with the handlers the tokens reach
// replaced by a log.
struct Computer {
    explicit Computer(VirtualClock& clock, FakeNet& net) : s(clock, messages), player(clock) {
        attachSheetOne(s, player, viewer);
        sync = installSync(s, net);
        s.velmor.IPAddress.setText("127.0.0.1");
        s.velmor.PortNr.setText(QString::number(kPort));
    }
    QString panel() const {
        return panelOf(s.velmor.ConnectIt.text(), s.velmor.Shape1.get(), sync->Winsock1(0).State());
    }
    void logTokens() {
        auto press = [this](QString what) {
            return [this, what](int b, int, double x, double y) {
                log << what.arg(s.velmor.File1FileName()).arg(b).arg(x).arg(y);
            };
        };
        s.File1_MouseDown = press("select %1 (%2 %3,%4)");
        s.WindowsMediaPlayer1_MouseDown = press("start %1 (%2 %3,%4)"); // with the selected file
        auto sheet = [this](QString what) {
            return [this, what] { log << what + (s.g.StopRequested ? " after the stop" : ""); };
        };
        s.adobeF_Command14_Click = sheet("autoscroll");
        s.adobeF_Command3_Click = sheet("next");
        s.adobeF_Command4_Click = sheet("prev");
        s.adobeF_Command6_Click = sheet("manual");
        s.velmor.Speed.always([this] { log << "speed " + s.velmor.Speed.text(); });
        s.velmor.VScroll1.always(
            [this] { log << "limit " + QString::number(s.velmor.VScroll1.get()); });
    }
    FakeMessages messages;
    Session s;
    FakePlayer player;
    FakeViewer viewer;
    std::unique_ptr<Network> sync;
    QStringList log;
};

class SyncClientTest : public ::testing::Test {
  protected:
    SyncClientTest() {
        client.logTokens();
        server->setLocalPort(kPort);
        server->Listen();
        server->onConnectionRequest = [this](long id) {
            link = net.endpoint();
            link->Accept(id);
        };
        client.s.ConnectIt_Click();
    }
    // Each text is sent by itself and read by itself.
    void reads(const QList<QByteArray>& texts) {
        for (const QByteArray& t : texts) {
            link->SendData(t);
            clock.advanceBy(5);
        }
    }

    VirtualClock clock{1000, 43200};
    FakeNet net{clock};
    Computer client{clock, net};
    std::unique_ptr<FakeSocket> server = net.endpoint(), link;
};

TEST_F(SyncClientTest, EachReadIsActedOnAsAWhole) {
    const QString longName = QString(255, u'x');
    const QStringList list = {
        "12 Song B.mp3",   "Song.mp3",    "Song B.mp3",    QString(254, u'x') + "y.mp3",
        longName + ".mp3", "Калинка.pdf", "Don’t Stop.pdf"};
    const QByteArray kalinka = QString("калинка").toUtf8();
    const struct {
        const char* what;
        QList<QByteArray> reads;
        QStringList log;
        bool stopped = false;
    } cases[] = {
        {"the page token acts before the stop", {"&STOP/&COMMAND4/"}, {"prev"}, true},
        {"the sheet tokens in their order, once each",
         {"&COMMAND6/&COMMAND4/&COMMAND3/&AUTOSCROLL/&COMMAND3/"},
         {"autoscroll", "next", "prev", "manual"}},
        // Every read with a select turns the volume limit down, found or not.
        {"a start read with a select is part of the name",
         {"&SELECT/Song.mp3&START/"},
         {"limit 1"}},
        {"the first entry that contains the name",
         {"&SELECT/song b.MP3"},
         {"limit 1", "select 12 Song B.mp3 (1 1,1)"}},
        {"a token before a select spoils the name",
         {"&COMMAND3/&SELECT/Song.mp3"},
         {"next", "limit 1"}},
        {"a long name matches by its first 255 characters",
         {"&SELECT/" + longName.toLatin1() + "-tail"},
         {"limit 1", "select " + longName + ".mp3 (1 1,1)"}},
        // Names beyond ASCII: Windows-1252 from older servers, UTF-8 where
        // that code page has no byte.
        {"a Windows-1252 name", {"&SELECT/don\x92t"}, {"limit 1", "select Don’t Stop.pdf (1 1,1)"}},
        {"a UTF-8 name", {"&SELECT/" + kalinka}, {"limit 1", "select Калинка.pdf (1 1,1)"}},
        {"a UTF-8 name cut inside a character is read up to the cut",
         {"&SELECT/" + kalinka.left(5), kalinka.mid(5)},
         {"limit 1", "select Калинка.pdf (1 1,1)"}},
        {"a Windows-1252 name whose last byte could begin UTF-8",
         {"&SELECT/Stop.pdf\xC3"},
         {"limit 1"}},
        {"a speed", {"@SPEED/1.1"}, {"speed 1.1"}},
        {"a speed cut to ten characters", {"@SPEED/1.234567891234"}, {"speed 1.23456789"}},
        {"a time is read and ignored, and hides the speed", {"&TIME/12:00:00@SPEED/2"}, {}},
        {"a token split over two reads is lost", {"&COMMAN", "D3/", "&ST", "OP/"}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        client.s.g.StopRequested = 0;
        client.s.velmor.Speed.setText("1");
        client.s.velmor.VScroll1.set(100);
        client.s.velmor.File1List.set(list);
        client.log.clear();
        reads(c.reads);
        EXPECT_EQ(std::tuple(client.log, client.s.g.StopRequested != 0),
                  std::tuple(c.log, c.stopped));
    }
    EXPECT_EQ(std::tuple(client.s.velmor.Shape1.get(), client.messages.shown),
              std::tuple(true, QStringList{}));
}

TEST_F(SyncClientTest, EndHidesTheRestAndTurnsTheClientIntoAListener) {
    // The 2 s wait, then connected at once.
    EXPECT_EQ(std::tuple(clock.tickMs(), client.panel(), client.s.velmor.Label29.text()),
              std::tuple(1000 + 2000 + 1, panelOf("Disconnect", true, sockstate::kConnected), "1"));
    reads({"&COMMAND3/&START/&END/@SPEED/2"});
    // Neither the tokens nor the speed.
    EXPECT_EQ(std::tuple(client.log, client.panel()),
              std::tuple(QStringList{}, panelOf("Connect", false, sockstate::kListening)));
    clock.advanceBy(5);
    EXPECT_EQ(link->State(), sockstate::kClosing); // the server's element sees the close
}

TEST_F(SyncClientTest, AServerThatVanishesLeavesTheDot) {
    link->SendData("&COMM");
    link->Close();
    clock.advanceBy(5);
    EXPECT_EQ(std::tuple(client.log, client.panel()),
              std::tuple(QStringList{}, panelOf("Disconnect", true, sockstate::kClosed)));
    // Disconnect: the client's element 0 listens on the port.
    server->Close();
    client.s.ConnectIt_Click();
    EXPECT_EQ(
        std::tuple(client.panel(), client.sync->Winsock1(0).LocalPort(), client.messages.shown),
        std::tuple(panelOf("Connect", false, sockstate::kListening), kPort, QStringList{}));
}

// A port that cannot be listened on still disconnects, and the message
// says why: no number, or a port another program holds (here the server).
TEST_F(SyncClientTest, ADisconnectWhosePortCannotListenStillDisconnectsAndSaysWhy) {
    const std::pair<QString, QString> cases[] = {
        {"x", "Disconnected. The port \"x\" is not a number, so this computer does not listen "
              "for a server."},
        {QString::number(kPort), "Disconnected. This computer cannot listen for a server on port "
                                 "\"7000\": Address in use"}};
    for (const auto& [port, message] : cases) {
        SCOPED_TRACE(port.toStdString());
        if (!client.s.velmor.Shape1.get()) { // connected again
            client.s.velmor.PortNr.setText(QString::number(kPort));
            client.s.ConnectIt_Click();
        }
        client.messages.shown.clear();
        client.s.velmor.PortNr.setText(port);
        client.s.ConnectIt_Click();
        EXPECT_EQ(std::tuple(client.panel(), client.messages.shown),
                  std::tuple(panelOf("Connect", false, sockstate::kClosed), QStringList{message}));
    }
}

TEST(SyncConnect, AConnectThatFailsSaysSoAndHidesTheDot) {
    const QString retry = " Wait a few seconds and try again";
    const struct {
        const char* what;
        QString host, port;
        double dayStart;
        QString message;
        int64_t tookMs;
    } cases[] = {
        {"no answer in 10 s", "stage-pc", "7000", 43200, retry, 12000},
        {"refused: nothing listens", "127.0.0.1", "7001", 43200, retry, 12000},
        {"a port that is no number", "127.0.0.1", "70a", 43200, "Type mismatch" + retry, 2000},
        {"in the first 20 s of a day nothing waits", "127.0.0.1", "7000", 5, retry, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        VirtualClock clock{1000, c.dayStart};
        FakeNet net{clock};
        auto server = net.endpoint();
        server->setLocalPort(kPort);
        server->Listen();
        Computer client(clock, net);
        client.s.velmor.IPAddress.setText(c.host);
        client.s.velmor.PortNr.setText(c.port);
        client.s.ConnectIt_Click();
        EXPECT_EQ(std::tuple(client.messages.shown, clock.tickMs() - 1000, client.panel()),
                  std::tuple(QStringList{c.message}, c.tookMs,
                             panelOf("Connect", false, sockstate::kClosed)));
    }
}

class SyncServerTest : public ::testing::Test {
  protected:
    SyncServerTest() {
        installNavigation(server.s);
        installVolume(server.s);
        server.s.velmor.IamaServer.set(1);
        server.sync->startListening();
    }
    // A client of the test's own, connected, that keeps what it reads.
    FakeSocket& client() {
        clients.push_back(net.endpoint());
        FakeSocket& c = *clients.back();
        received.emplace_back();
        c.onDataArrival = [&c, got = &received.back()](qint64) { *got += c.GetData(); };
        c.setRemoteHost("127.0.0.1");
        c.setRemotePort(kPort);
        c.Connect();
        clock.advanceBy(5);
        return c;
    }
    VirtualClock clock{1000, 43200};
    FakeNet net{clock};
    Computer server{clock, net};
    std::vector<std::unique_ptr<FakeSocket>> clients;
    std::list<QByteArray> received;
};

TEST_F(SyncServerTest, ADisconnectedServerKeepsCountingAndPassesClosedClientsOver) {
    FakeSocket& a = client();
    client();
    EXPECT_EQ(std::tuple(server.s.g.ClientCount, server.s.velmor.Label29.text(), server.panel()),
              std::tuple(2, "2", panelOf("Disconnect", true, sockstate::kListening)));
    server.s.ConnectIt_Click(); // Disconnect: every client is told, the dot goes
    clock.advanceBy(5);
    EXPECT_EQ(std::tuple(received, server.panel()),
              std::tuple(std::list<QByteArray>{"&END/", "&END/"},
                         panelOf("Connect", false, sockstate::kListening)));
    a.Close(); // as a client does on "&END/"
    clock.advanceBy(5);
    EXPECT_EQ(server.sync->Winsock1(1).State(), sockstate::kClosed);
    client(); // a newcomer, and one that comes back
    client();
    EXPECT_EQ(std::tuple(server.s.g.ClientCount, server.sync->elements(),
                         server.s.velmor.Label29.text(), server.s.velmor.Shape1.get()),
              std::tuple(4, 5, "4", true));
    Command3_Click(server.s);
    server.s.velmor.SendAS.set(0); // only the page and scroll tokens stay home
    Command3_Click(server.s);
    server.s.velmor.Speed.setText("1.2");
    clock.advanceBy(5);
    EXPECT_EQ(received, (std::list<QByteArray>{"&END/", "&END/&COMMAND3/@SPEED/1.2",
                                               "&COMMAND3/@SPEED/1.2", "&COMMAND3/@SPEED/1.2"}));
    EXPECT_TRUE(server.messages.shown.isEmpty());
}

TEST_F(SyncServerTest, APageTokenThatFailsOtherwiseIsSaidAndEndsTheSending) {
    FakeSocket& a = client();
    client();
    server.sync->Winsock1(1).Close(); // not connected: skipped
    static_cast<FakeSocket&>(server.sync->Winsock1(2)).failSends = {10053, "Connection is aborted"};
    client();
    Command3_Click(server.s);
    clock.advanceBy(5);
    // The loop ended before client 3.
    EXPECT_EQ(std::tuple(server.messages.shown, received.back(), a.State()),
              std::tuple(QStringList{"Connection is aborted"}, "", sockstate::kClosing));
    server.s.velmor.Speed.setText("2"); // the other senders pass every failure over
    clock.advanceBy(5);
    EXPECT_EQ(received.back(), "@SPEED/2");
}

TEST_F(SyncServerTest, TheCheckBoxAndConnectOnAServerOnlySpeak) {
    IamaServer_MouseUp(server.s);
    server.s.ConnectIt_Click();
    server.s.velmor.IamaServer.set(0);
    IamaServer_MouseUp(server.s);
    EXPECT_EQ(server.messages.shown,
              (QStringList{"Please make sure this is the only PC that is designated 'SERVER'",
                           "You have checked 'I AM A SERVER' so clients should connect to you. "
                           "You do not need to connect."}));
    EXPECT_EQ(server.sync->Winsock1(0).State(), sockstate::kListening);
}

} // namespace
