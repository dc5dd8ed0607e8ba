// The web followers' hub on a virtual clock with stand-in connections: the
// limit of 64, the PIN, the bounded send queues, and the play clock the
// followers animate the cursor by.
#include "stage.h"
#include "transport/stop_pause.h"
#include "web/follower_hub.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::web;

namespace {

struct Link : FollowerLink {
    std::vector<QJsonObject> got;
    qint64 queued = 0;
    bool closed = false; // cut at once
    QString refused;     // the close's reason, when closed politely
    void sendText(const QByteArray& text) override {
        got.push_back(QJsonDocument::fromJson(text).object());
    }
    qint64 queuedBytes() const override { return queued; }
    void closeLink() override { closed = true; }
    void refuse(const QString& reason) override { refused = reason; }
    QStringList types() const {
        QStringList t;
        for (const QJsonObject& o : got)
            t << o.value(QLatin1String("type")).toString();
        return t;
    }
    QJsonObject last() const { return got.empty() ? QJsonObject() : got.back(); }
};

struct HubStage : test::Stage {
    QTemporaryDir dir;
    std::vector<std::unique_ptr<Link>> links; // the followers' connections
    // Every sheet has one Letter page.
    FollowerHub hub{s, [](const QString&) { return std::vector<QSizeF>{{612, 792}}; }};
    // A song of three tics, 1000, 500 and 500 ms stored, without a sheet.
    void song() {
        QFile map(dir.filePath(QStringLiteral("Song.map")));
        map.open(QIODevice::WriteOnly);
        map.write("1000\r\n100\r\n200\r\n0\r\nFalse\r\nFalse\r\n"
                  "500\r\n300\r\n200\r\n0\r\nFalse\r\nFalse\r\n"
                  "500\r\n500\r\n200\r\n0\r\nFalse\r\nFalse\r\n");
        map.close();
        s.g.SongBase = dir.filePath(QStringLiteral("Song"));
        s.velmor.Text5.setText(QStringLiteral("1"));
        hub.refreshSong();
    }
    Link& follower() {
        links.push_back(std::make_unique<Link>());
        hub.join(links.back().get());
        hub.receive(links.back().get(), R"({"type":"hello","pin":""})");
        return *links.back();
    }
};

} // namespace

TEST(WebHub, TheSixtyFifthIsToldWhyAndAPinIsAskedFirst) {
    HubStage t;
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    auto& links = t.links;
    for (int i = 0; i < 64; ++i) {
        links.push_back(std::make_unique<Link>());
        ASSERT_TRUE(t.hub.join(links.back().get()));
    }
    Link extra;
    EXPECT_FALSE(t.hub.join(&extra));
    // Refused with the text as the close's reason, after the message.
    EXPECT_FALSE(extra.closed);
    EXPECT_EQ(extra.refused, fullText());
    EXPECT_LE(fullText().toUtf8().size(), 123);
    EXPECT_EQ(extra.types(), QStringList{QStringLiteral("full")});
    EXPECT_EQ(extra.last().value(QLatin1String("text")).toString(), fullText());
    EXPECT_EQ(t.s.velmor.WebFollowers.get(), 64);

    Link& a = *links[0];
    t.hub.receive(&a, R"({"type":"hello","pin":""})");
    t.hub.receive(&a, R"({"type":"ping","c":5})");
    // Asked for the PIN; the clock answers, the music says nothing yet.
    EXPECT_EQ(a.types(), (QStringList{QStringLiteral("pin"), QStringLiteral("pong")}));
    EXPECT_DOUBLE_EQ(a.last().value(QLatin1String("s")).toDouble(), double(t.clock.tickMs()));
    for (int i = 0; i < 3; ++i)
        t.hub.receive(&a, R"({"type":"hello","pin":"1234"})");
    EXPECT_TRUE(a.closed);
    EXPECT_EQ(t.hub.followers(), 63);
    t.hub.receive(links[1].get(), R"({"type":"hello","pin":" 4711 "})");
    EXPECT_EQ(links[1]->types(), (QStringList{QStringLiteral("welcome"), QStringLiteral("song")}));
    EXPECT_TRUE(t.hub.pinAccepted(QStringLiteral("4711")));
    EXPECT_FALSE(t.hub.pinAccepted(QString()));

    // The images open to the key of an admitted follower, never to the PIN,
    // and only while that follower is connected.
    const QString key = links[1]->got[0].value(QLatin1String("key")).toString();
    t.hub.receive(links[2].get(), R"({"type":"hello","pin":"4711"})");
    const QString other = links[2]->got[0].value(QLatin1String("key")).toString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[0-9a-f]{32}$")).match(key).hasMatch())
        << key.toStdString();
    EXPECT_NE(key, other);
    for (const QString& wrong : {QString(), QStringLiteral("4711"), key.left(31), key + u'0'})
        EXPECT_FALSE(t.hub.imageKeyAccepted(wrong)) << wrong.toStdString();
    EXPECT_TRUE(t.hub.imageKeyAccepted(key));
    t.hub.leave(links[1].get());
    EXPECT_FALSE(t.hub.imageKeyAccepted(key));
    EXPECT_TRUE(t.hub.imageKeyAccepted(other));
    t.s.velmor.WebPin.setText(QString()); // no PIN: the images are open to all
    EXPECT_TRUE(t.hub.imageKeyAccepted(QString()));
}

TEST(WebHub, WrongPinsFromAllDevicesAreLimitedTogether) {
    HubStage t;
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    auto hello = [&t](const char* pin) {
        t.links.push_back(std::make_unique<Link>());
        Link& l = *t.links.back();
        t.hub.join(&l);
        t.hub.receive(&l, QByteArray(R"({"type":"hello","pin":")") + pin + "\"}");
        return l.types().value(0);
    };
    // Fresh connections each time: the limit is not per connection.
    for (int i = 0; i < FollowerHub::kMaxWrongPins; ++i)
        ASSERT_EQ(hello("1234"), QStringLiteral("pin"));
    t.clock.advanceBy(FollowerHub::kWrongPinWindowMs - 1);
    EXPECT_EQ(hello("4711"), QStringLiteral("pin")); // not even the right one,
    EXPECT_EQ(t.links.back()->last().value(QLatin1String("wait")).toInt(), 1); // told to wait
    t.clock.advanceBy(1);
    EXPECT_EQ(hello("4711"), QStringLiteral("welcome"));
}

TEST(WebHub, ADeviceThatWasInComesBackWithItsKeyWhileKept) {
    HubStage t;
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    auto join = [&t](const QByteArray& hello) -> Link& {
        t.links.push_back(std::make_unique<Link>());
        Link& l = *t.links.back();
        EXPECT_TRUE(t.hub.join(&l));
        if (!hello.isEmpty()) t.hub.receive(&l, hello);
        return l;
    };
    Link& in = join(R"({"type":"hello","pin":"4711"})");
    const QByteArray key = in.got[0].value(QLatin1String("key")).toString().toLatin1();
    t.hub.leave(&in); // its connection broke
    for (int i = 0; i < FollowerHub::kMaxWrongPins; ++i)
        join(R"({"type":"hello","pin":"1234"})"); // someone guessing locks the PIN
    const QByteArray back = R"({"type":"hello","pin":"","key":")" + key + "\"}";
    Link& again = join(back);
    EXPECT_EQ(again.types().value(0), QStringLiteral("welcome"));
    EXPECT_EQ(again.got[0].value(QLatin1String("key")).toString(), QString::fromLatin1(key));
    EXPECT_TRUE(t.hub.imageKeyAccepted(QString::fromLatin1(key)));
    // A key comes back once per leaving, not after a new PIN, not after
    // the time it is kept.
    t.hub.leave(&again);
    EXPECT_EQ(join(R"({"type":"hello","pin":"","key":"0123"})").types().value(0), "pin");
    t.s.velmor.WebPin.setText(QStringLiteral("4712"));
    EXPECT_EQ(join(back).types().value(0), QStringLiteral("pin"));
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    EXPECT_EQ(join(back).types().value(0), QStringLiteral("pin"));
    t.clock.advanceBy(FollowerHub::kWrongPinWindowMs);
    Link& late = join(R"({"type":"hello","pin":"4711"})");
    const QByteArray lateKey = late.got[0].value(QLatin1String("key")).toString().toLatin1();
    t.hub.leave(&late);
    t.clock.advanceBy(FollowerHub::kKeyKeptMs);
    EXPECT_EQ(join(R"({"type":"hello","pin":"","key":")" + lateKey + "\"}").types().value(0),
              "pin");
}

TEST(WebHub, WhenThePlacesRunOutTheOldestConnectionThatNeverCameInGivesWay) {
    HubStage t;
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    const int64_t start = t.clock.tickMs();
    std::vector<std::unique_ptr<Link>> idle; // asked for the PIN, never giving it
    for (int i = 0; i < FollowerHub::kMaxFollowers; ++i) {
        idle.push_back(std::make_unique<Link>());
        t.hub.join(idle.back().get());
        t.hub.receive(idle.back().get(), R"({"type":"hello","pin":""})");
        t.clock.advanceBy(10);
    }
    Link early, late;
    t.clock.advanceTo(start + FollowerHub::kAdmitWithinMs - 1);
    EXPECT_FALSE(t.hub.join(&early));
    t.clock.advanceBy(1);
    EXPECT_TRUE(t.hub.join(&late));
    EXPECT_EQ(std::tuple(idle[0]->closed, idle[1]->closed, t.hub.followers()),
              std::tuple(true, false, FollowerHub::kMaxFollowers));
}

TEST(WebHub, AFollowerThatStopsReadingIsDroppedAndTheOthersGoOn) {
    HubStage t;
    Link& stalled = t.follower();
    Link& fine = t.follower();
    stalled.queued = FollowerHub::kMaxQueuedBytes - 10;
    const size_t before = fine.got.size();
    t.song();
    EXPECT_TRUE(stalled.closed);
    EXPECT_EQ(t.hub.followers(), 1);
    EXPECT_EQ(fine.got.size(), before + 1);
    EXPECT_EQ(fine.types().last(), QStringLiteral("song"));
}

TEST(WebHub, ThePlayClockFollowsTheLoopPauseSpeedAndStop) {
    HubStage t;
    t.song();
    Link& f = t.follower();
    ASSERT_EQ(t.hub.song().tics.size(), 3u);
    auto clockIs = [&f](double at, double map, double rate, int tic) {
        const QJsonObject c = f.last();
        EXPECT_EQ(c.value(QLatin1String("type")).toString(), QStringLiteral("clock"));
        EXPECT_DOUBLE_EQ(c.value(QLatin1String("at")).toDouble(), at);
        EXPECT_DOUBLE_EQ(c.value(QLatin1String("map")).toDouble(), map);
        EXPECT_DOUBLE_EQ(c.value(QLatin1String("rate")).toDouble(), rate);
        EXPECT_EQ(c.value(QLatin1String("tic")).toInt(), tic);
    };
    const int64_t zero = t.clock.tickMs();
    t.s.g.PlayStartTick = zero;
    // The count-off begins: the followers hear of the play at once.
    t.s.g.MapZeroAhead.set(zero);
    clockIs(zero, 0, 1, -1);
    EXPECT_EQ(f.types().mid(f.types().size() - 2),
              (QStringList{QStringLiteral("view"), QStringLiteral("clock")}));
    t.clock.advanceBy(300); // the map's zero lies before the count-off
    t.s.g.MapZeroAhead.set(0);
    // An offset set meanwhile counts from the play's start: the tics anew.
    const double x0 = t.hub.song().tics[0].x;
    t.s.velmor.XOffset.setText(QStringLiteral("100"));
    t.s.g.MapPlaying.set(true);
    clockIs(zero, 0, 1, -1);
    EXPECT_EQ(f.types().mid(f.types().size() - 2),
              (QStringList{QStringLiteral("song"), QStringLiteral("clock")}));
    EXPECT_DOUBLE_EQ(t.hub.song().tics[0].x, x0 + 5);
    // The first tic comes 10 ms late: the clock is set anew on it.
    t.clock.advanceTo(zero + 1010);
    t.s.g.MapTicMoved.set(0);
    clockIs(zero + 1010, 1000, 1, 0);
    // The second on time by that clock: nothing is sent.
    const size_t sent = f.got.size();
    t.clock.advanceBy(500);
    t.s.g.MapTicMoved.set(1);
    EXPECT_EQ(f.got.size(), sent);
    // Pause holds on the next tic; Continue gives the tic after it its whole time.
    t.s.velmor.Command10.setText(QStringLiteral("Continue"));
    t.s.g.PauseHeld = -1;
    t.clock.advanceBy(502);
    t.s.g.MapTicMoved.set(2);
    clockIs(zero + 2012, 2000, 0, 2);
    t.clock.advanceBy(4000);
    t.s.g.PauseHeld = 0;
    t.s.velmor.Command10.setText(QStringLiteral("Pause"));
    clockIs(zero + 6012, 2000, 1, 2);
    // Speed 2 from here: the map stands where speed 1 brought it.
    t.clock.advanceBy(100);
    t.s.velmor.Speed.setText(QStringLiteral("2"));
    clockIs(zero + 6112, 2100, 2, 2);
    // Fade: the followers hear how long the music takes to fade out.
    t.s.velmor.FadeT.setText(QStringLiteral("2"));
    Command7_Click(t.s);
    EXPECT_EQ(f.types().last(), QStringLiteral("fade"));
    EXPECT_DOUBLE_EQ(f.last().value(QLatin1String("seconds")).toDouble(), 2 * .02 * 50);
    // The loop leaves: the cursor stands; the play ends: the followers stop.
    t.s.g.MapTicMoved.set(-1);
    EXPECT_DOUBLE_EQ(f.last().value(QLatin1String("rate")).toDouble(), 0);
    t.s.g.MapPlaying.set(false);
    EXPECT_EQ(f.types().last(), QStringLiteral("stop"));
}

TEST(WebHub, PartTwoBeforeItsWindowOpensIsPlacedAsWindowOne) {
    HubStage t;
    QDir(t.dir.path()).mkdir(QStringLiteral("two"));
    for (const char* pdf : {"Song.pdf", "two/Song.pdf"})
        QFile(t.dir.filePath(QLatin1String(pdf))).open(QIODevice::WriteOnly);
    t.s.velmor.Text7.setText(t.dir.filePath(QStringLiteral("two")));
    t.s.adobeF2.AcroPDF1Left.set(4000); // window 2's own place, not yet taken
    t.song();
    const SongInfo& song = t.hub.song();
    ASSERT_EQ(std::tuple(song.tics.size(), song.tics2.size()), std::tuple(size_t(3), size_t(3)));
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(std::tuple(song.tics2[i].x, song.tics2[i].y),
                  std::tuple(song.tics[i].x, song.tics[i].y));
}

TEST(WebHub, APageTurnedByHandIsTold) {
    HubStage t;
    t.viewer.pageCount = 3;
    t.s.adobeF.AcroPDF1 = &t.viewer;
    t.song();
    Link& f = t.follower();
    t.viewer.gotoNextPage();
    t.s.adobeF.VScroll1.set(8500);
    QCoreApplication::processEvents(); // the turn and the scroll are told once, together
    ASSERT_EQ(f.types().count(QStringLiteral("view")), 1);
    EXPECT_EQ(f.last().value(QLatin1String("page")).toInt(), 2);
    EXPECT_DOUBLE_EQ(f.last().value(QLatin1String("top")).toDouble(), (8500 - 300) / 20.0);
}
