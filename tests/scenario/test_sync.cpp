// The network sync over the fake loopback in virtual time: what a client
// makes of each read (tokens read together, cuts, containment, split tokens,
// the end of a session), and the server's side of clients that come, go and
// come back, connects that fail, and sends that fail.  Clock Start: the
// estimate of the server's clock, and starts on one instant for computers
// whose clocks disagree, beside clients and peers that know nothing of it.

#include "core/session_state.h"
#include "core/setup_screen.h"
#include "cursormap/cursor_fields.h"
#include "fake_net.h"
#include "fakes.h"
#include "sheet/navigation.h"
#include "shifted_clock.h"
#include "sync/clock_offset.h"
#include "sync/network.h"
#include "sync/sync_install.h"
#include "transport/play_start.h"
#include "transport/volume_speed.h"

#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <list>
#include <random>

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
    explicit Computer(Clock& clock, FakeNet& net) : s(clock, messages), player(clock) {
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

// The server's clock runs `kAhead` ms before the client's; each round trip
// goes out and back with the delays given.
TEST(ClockOffsetTest, LearnsTheServerClockFromTheBoundsOfRecentTrips) {
    constexpr double kAhead = 7200000;
    struct Trip {
        double out, back;
        double ahead = kAhead; // the server's clock at this trip
    };
    const struct {
        const char* what;
        std::vector<Trip> trips;
        double offset;
        int jumps = 0;
    } cases[] = {
        {"the quickest way out and the quickest way back bound it, from different trips",
         {{30, 10}, {40, 2}, {3, 20}, {20, 20}},
         kAhead + 0.5},
        {"after the first few, moved bounds move the estimate a quarter of the way",
         {{5, 5}, {5, 5}, {5, 5}, {5, 5}, {5, 5}, {1, 1, kAhead + 8}},
         kAhead + 2},
        {"and the next one a quarter of what is left",
         {{5, 5}, {5, 5}, {5, 5}, {5, 5}, {5, 5}, {1, 1, kAhead + 8}, {1, 1, kAhead + 8}},
         kAhead + 3.5},
        {"a server that restarted is learnt anew at once",
         {{5, 5}, {5, 5}, {5, 5}, {5, 5}, {5, 5}, {5, 5}, {20, 20, -40000}},
         -40000,
         1},
        {"a clock that drifts: the newest trips count, the stale ones drop out",
         [] {
             std::vector<Trip> trips;
             for (int i = 0; i < 3 * ClockOffset::kWindow; ++i)
                 trips.push_back({2, 2, kAhead + 0.1 * i}); // 50 ppm at a trip every 2 s
             return trips;
         }(),
         // The window's bounds leave the middle of [now - 2, now - 0.9]; the
         // smoothing trails a target moving 0.1 a trip by 0.3 more.
         kAhead + 0.1 * (3 * ClockOffset::kWindow - 1) - 1.45 - 0.3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ClockOffset clock;
        double now = 1000;
        for (const Trip& trip : c.trips) {
            EXPECT_TRUE(clock.add(now, now + trip.out + trip.ahead, now + trip.out + trip.back));
            now += 2000;
        }
        EXPECT_NEAR(clock.offsetMs(), c.offset, 1e-6);
        EXPECT_EQ(clock.jumps(), c.jumps);
    }
}

TEST(ClockOffsetTest, JitterAndImpossibleSamples) {
    ClockOffset clock;
    EXPECT_FALSE(clock.add(100, 50, 90)); // answered before it was asked
    EXPECT_FALSE(clock.add(100, 50, 100 + ClockOffset::kMaxRoundTripMs + 1));
    EXPECT_FALSE(clock.known());
    // 20 ms each way with up to 10 ms of jitter on each: a lopsided trip is
    // off by half its difference, yet the recent trips together pin the
    // offset far closer than the shortest one does.
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> jitter(-10, 10);
    double now = 0, shortest = 1e9, shortestOff = 0;
    for (int i = 0; i < ClockOffset::kWindow; ++i, now += 2000) {
        const double out = 20 + jitter(rng), back = 20 + jitter(rng);
        clock.add(now, now + out + 500, now + out + back);
        if (out + back < shortest) shortest = out + back, shortestOff = std::abs(out - back) / 2;
    }
    EXPECT_NEAR(clock.offsetMs(), 500, 1);
    EXPECT_LT(clock.boundMs(), shortest / 2);
    EXPECT_GT(shortestOff, std::abs(clock.offsetMs() - 500));
}

TEST(ClockTokensTest, OnlyWholeClockTokensAreTakenOut) {
    const struct {
        QString read, left;
        size_t answers;
        std::optional<int64_t> startAt, zero = {};
    } cases[] = {
        {"&CLOCK/12.5,99/&PLAYAT/1300,300/&START/", "&START/", 1, 1300, 300},
        {"&SELECT/Song.mp3&CLOCK/1,2/&CLOCK/3,4/", "&SELECT/Song.mp3", 2, {}},
        {"&PLAYAT/12,2/&PLAYAT/-7/", "", 0, -7}, // an earlier server's: no zero
        // cut by the read, or no number: junk as any other
        {"&PLAYAT/12", "&PLAYAT/12", 0, {}},
        {"&CLOCK/1,x/&PLAYAT//&PLAYAT/1,/", "&CLOCK/1,x/&PLAYAT//&PLAYAT/1,/", 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.read.toStdString());
        QString text = c.read;
        const ClockTokens t = takeClockTokens(text);
        EXPECT_EQ(std::tuple(text, t.answers.size(), t.startAt, t.zero),
                  std::tuple(c.left, c.answers, c.startAt, c.zero));
    }
    // A peer that knows only the other tokens finds nothing in the new ones,
    // also read doubled, and the start after them still starts it.
    const QString announced = startAtToken(123456, 122456) + clockAnswerToken("17.250", 99);
    EXPECT_EQ(readMessage(announced).then, Message::Then::None);
    EXPECT_EQ(readMessage(announced + "&START/").then, Message::Then::Start);
    EXPECT_EQ(clockAsks(clockAskToken(17.25).toLatin1() + "junk&CLOCK?/5/"),
              (QStringList{"17.250", "5"}));
}

// Records when the music really began to run, on the one virtual clock.
class TimedPlayer : public FakePlayer {
  public:
    TimedPlayer(const Clock& own, const VirtualClock& machine) : FakePlayer(own), m_(machine) {}
    void setURL(const QString& path) override {
        FakePlayer::setURL(path);
        noteStart();
    }
    void controlsPlay() override {
        FakePlayer::controlsPlay();
        noteStart();
    }
    void close() override {
        FakePlayer::close();
        startedAt = -1;
    }
    int64_t startedAt = -1;

  private:
    void noteStart() {
        if (playState() == 3) startedAt = m_.tickMs();
    }
    const VirtualClock& m_;
};

// A computer with its own tick clock, a play start and a timed player,
// behind its own one-way delay.
struct Follower {
    Follower(VirtualClock& machine, FakeNet& net, int64_t shiftMs, bool clockStart)
        : clock(machine, shiftMs), c(clock, net), player(clock, machine) {
        c.s.player = &player;
        installPlayStart(c.s);
        c.s.velmor.ClockStart.set(clockStart);
        c.s.velmor.PDFDLY.setText("1");
        c.s.velmor.ClientDelay.setText(".5");
        c.s.g.SongFile = "/songs/Song.mp3";
        const auto start = c.s.WindowsMediaPlayer1_MouseDown;
        c.s.WindowsMediaPlayer1_MouseDown = [this, start](int b, int sh, double x, double y) {
            ++presses;
            start(b, sh, x, y);
        };
    }
    ShiftedClock clock;
    Computer c;
    TimedPlayer player;
    int presses = 0;
};

// One client per run: computers on one thread nest their waits, which
// separate computers never do.
TEST(ClockStart, ServerAndClientStartOnOneInstantWhateverTheirDelays) {
    const struct {
        const char* what;
        bool serverBox, clientBox;
        int64_t shift; // the client's clock against the server's
        int delay;     // one way, each way
        int startsAfterServer;
        int ticsAfterServer; // where the client's tics count from
    } cases[] = {
        {"a client hours behind, 5 ms away", true, true, -7200000, 5, 0, 0},
        {"a client seconds ahead, 40 ms away", true, true, 3300, 40, 0, 0},
        // Without the box on both ends: the token and the client's own delay,
        // and the tics count from the moment the start was read.
        {"a client with the box off", true, false, 55555, 20, 20 + 500 - 1000, 20},
        {"a server with the box off", false, true, 55555, 5, 5 + 500 - 1000, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        VirtualClock machine{1000, 43200};
        FakeNet net{machine};
        Follower server(machine, net, 0, c.serverBox);
        server.c.s.velmor.IamaServer.set(1);
        server.c.sync->startListening();
        Follower client(machine, net, c.shift, c.clientBox);
        client.c.s.ConnectIt_Click();
        int asks = 0;
        static_cast<FakeSocket&>(client.c.sync->Winsock1(0)).sendDelay = [&asks, &c] {
            return ++asks, c.delay;
        };
        static_cast<FakeSocket&>(server.c.sync->Winsock1(1)).sendDelay = [&c] { return c.delay; };
        // A peer that knows only the described tokens keeps what it reads.
        auto raw = net.endpoint();
        QList<QByteArray> rawReads;
        raw->onDataArrival = [&](qint64) { rawReads << raw->GetData(); };
        raw->setRemoteHost("127.0.0.1");
        raw->setRemotePort(kPort);
        raw->Connect();
        machine.advanceBy(3000); // the asks of the first seconds
        const int64_t pressed = machine.tickMs();
        server.c.s.WindowsMediaPlayer1_MouseDown(1, 0, 1, 1);
        machine.advanceBy(3000);
        // The count-off is longer than the lead; the client's plain start
        // after an announced one is left alone.
        EXPECT_EQ(std::tuple(server.player.startedAt - pressed,
                             client.player.startedAt - server.player.startedAt, client.presses,
                             client.c.s.g.PlayStartTick - c.shift - server.c.s.g.PlayStartTick),
                  std::tuple(1000, c.startsAfterServer, 1, c.ticsAfterServer));
        const QByteArray announced =
            c.serverBox ? startAtToken(pressed + 1000, pressed).toLatin1() : QByteArray();
        EXPECT_EQ(rawReads, QList<QByteArray>{announced + "&START/"});
        // Only a client with the box on asks, and only a server with it on answers.
        EXPECT_EQ(std::tuple(asks > 5, client.c.sync->serverClock().known()),
                  std::tuple(c.clientBox, c.clientBox && c.serverBox));
    }
}

// A client that follows the clock, with the server scripted: the start
// announced and the plain one in reads of their own, late ones, and one
// before anything is known of the server's clock.
TEST_F(SyncClientTest, AnAnnouncedStartIsTakenOnceAndOnlyWithAKnownClock) {
    constexpr int64_t kAhead = 500000;
    QList<int64_t> starts; // the instant each start was given, 0: a plain one
    QList<int64_t> leads;  // and how long after its tics' zero, 0: none
    client.s.WindowsMediaPlayer1_MouseDown = [&](int, int, double, double) {
        starts << (client.s.g.StartAtTick ? client.s.g.StartAtTick - clock.tickMs() : 0);
        leads << (client.s.g.StartZeroTick ? client.s.g.StartAtTick - client.s.g.StartZeroTick : 0);
        client.s.g.StartAtTick = client.s.g.StartZeroTick = 0;
    };
    client.s.velmor.ClockStart.set(1);
    const auto announce = [&](int64_t inMs) {
        const int64_t at = clock.tickMs() + kAhead + inMs;
        return startAtToken(at, at - 1000).toLatin1();
    };
    reads({announce(300), "&START/"}); // nothing known yet: the plain start
    bool answering = true;
    link->onDataArrival = [&](qint64) {
        for (const QString& ask : clockAsks(link->GetData()))
            if (answering)
                link->SendData(clockAnswerToken(ask, double(clock.tickMs() + kAhead)).toLatin1());
    };
    clock.advanceBy(1000);
    reads({announce(300), "&START/"});                      // read 1 ms later: 299 ms ahead
    reads({announce(300) + "&START/"});                     // in one read
    reads({announce(300)});                                 // a start whose plain one is lost,
    clock.advanceBy(2000);                                  // and a plain one long after it
    reads({"&START/", "&SELECT/Song.mp3" + announce(300)}); // a selection comes first
    answering = false;
    reads({"&END/"}); // a new connection learns the clock anew
    clock.advanceBy(100);
    EXPECT_EQ(client.sync->serverClock().known(), false);
    EXPECT_EQ(starts, (QList<int64_t>{0, 299, 299, 299, 0}));
    EXPECT_EQ(leads, (QList<int64_t>{0, 1000, 1000, 1000, 0}));
}

} // namespace
