// The web server on loopback with real sockets: the page images open only to
// the key a follower was given, every refusal is the same 404, and the 65th
// follower reads why it was turned away before its stream closes.
#include "pdf_gen.h"
#include "stage.h"
#include "web/follower_hub.h"
#include "web/web_server.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocket>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::web;

namespace {

// A browser's stream, as it would see it.
struct Client {
    QWebSocket ws;
    std::vector<QJsonObject> got;
    bool closed = false;
    explicit Client(quint16 port) {
        QObject::connect(&ws, &QWebSocket::textMessageReceived, [this](const QString& t) {
            got.push_back(QJsonDocument::fromJson(t.toUtf8()).object());
        });
        QObject::connect(&ws, &QWebSocket::disconnected, [this] { closed = true; });
        ws.open(QUrl(QStringLiteral("ws://127.0.0.1:%1/stream").arg(port)));
    }
    bool waitFor(const char* type) {
        return QTest::qWaitFor(
            [&] {
                return std::any_of(got.begin(), got.end(), [type](const QJsonObject& o) {
                    return o.value(QLatin1String("type")).toString() == QLatin1String(type);
                });
            },
            10000);
    }
};

struct ServerStage : test::Stage {
    QTemporaryDir dir;
    FollowerHub hub{s, &pdfPageSizes};
    WebServer server{hub}; // goes first: its links report to the hub
    QNetworkAccessManager net;
    quint16 port = 0;
    ServerStage() {
        test::writeMarkedPdf(dir.filePath(QStringLiteral("Song.pdf")),
                             {QPointF(100, 100), QPointF(200, 200)});
        s.g.SongBase = dir.filePath(QStringLiteral("Song"));
        hub.refreshSong();
        port = server.start(0);
    }
    struct Answer {
        int status = 0;
        QByteArray body;
    };
    Answer get(const QString& pathAndQuery) {
        QNetworkReply* r = net.get(QNetworkRequest(
            QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(pathAndQuery))));
        EXPECT_TRUE(QTest::qWaitFor([r] { return r->isFinished(); }, 20000))
            << pathAndQuery.toStdString();
        Answer a{r->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), r->readAll()};
        r->deleteLater();
        return a;
    }
    QString image(int serial, int part, int page, const QString& width, const QString& query) {
        return QStringLiteral("/sheet/%1/%2/%3/%4.png?%5")
            .arg(serial)
            .arg(part)
            .arg(page)
            .arg(width, query);
    }
};

} // namespace

TEST(WebServer, ImagesOpenOnlyToAFollowersKeyAndEveryRefusalIsTheSame404) {
    ServerStage t;
    ASSERT_NE(t.port, 0);
    t.s.velmor.WebPin.setText(QStringLiteral("4711"));
    Client c(t.port);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return t.hub.followers() == 1 && c.ws.state() == QAbstractSocket::ConnectedState; },
        10000));
    c.ws.sendTextMessage(QStringLiteral(R"({"type":"hello","pin":"4711"})"));
    ASSERT_TRUE(c.waitFor("welcome"));
    const QString key = c.got[0].value(QLatin1String("key")).toString();
    const int serial = t.hub.song().serial;
    const QString withKey = QStringLiteral("key=") + key;

    const ServerStage::Answer good = t.get(t.image(serial, 1, 2, QStringLiteral("800"), withKey));
    ASSERT_EQ(good.status, 200);
    EXPECT_EQ(QImage::fromData(good.body).width(), 800);

    const ServerStage::Answer missing = t.get(QStringLiteral("/nothing"));
    EXPECT_EQ(missing.status, 404);
    const QString refused[] = {
        t.image(serial, 1, 1, QStringLiteral("800"), QStringLiteral("pin=4711")),
        t.image(serial, 1, 1, QStringLiteral("800"), QStringLiteral("key=") + key.left(31)),
        t.image(serial, 1, 1, QStringLiteral("800"), QString()),
        t.image(serial + 1, 1, 1, QStringLiteral("800"), withKey),
        t.image(serial, 2, 1, QStringLiteral("800"), withKey), // no second sheet
        t.image(serial, 3, 1, QStringLiteral("800"), withKey),
        t.image(serial, 1, 3, QStringLiteral("800"), withKey),
        t.image(serial, 1, 1, QStringLiteral("0"), withKey),
        t.image(serial, 1, 1, QStringLiteral("8x"), withKey),
    };
    for (const QString& path : refused) {
        const ServerStage::Answer a = t.get(path);
        EXPECT_EQ(a.status, missing.status) << path.toStdString();
        EXPECT_EQ(a.body, missing.body) << path.toStdString();
    }

    // The key goes with its follower.
    c.ws.close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return t.hub.followers() == 0; }, 10000));
    EXPECT_EQ(t.get(t.image(serial, 1, 2, QStringLiteral("800"), withKey)).status, 404);
    // With no PIN the images need no key.
    t.s.velmor.WebPin.setText(QString());
    EXPECT_EQ(t.get(t.image(serial, 1, 1, QStringLiteral("800"), QString())).status, 200);
}

TEST(WebServer, TheSixtyFifthFollowerReadsWhyBeforeItsStreamCloses) {
    ServerStage t;
    ASSERT_NE(t.port, 0);
    std::vector<std::unique_ptr<Client>> band;
    for (int i = 0; i < FollowerHub::kMaxFollowers; ++i)
        band.push_back(std::make_unique<Client>(t.port));
    ASSERT_TRUE(QTest::qWaitFor([&] { return t.hub.followers() == 64; }, 20000));
    Client extra(t.port);
    ASSERT_TRUE(QTest::qWaitFor([&] { return extra.closed; }, 20000));
    ASSERT_EQ(extra.got.size(), 1u);
    EXPECT_EQ(extra.got[0].value(QLatin1String("type")).toString(), QStringLiteral("full"));
    EXPECT_EQ(extra.got[0].value(QLatin1String("text")).toString(), fullText());
    EXPECT_EQ(int(extra.ws.closeCode()), kCloseCodeFull);
    EXPECT_EQ(extra.ws.closeReason(), fullText());
    // The band plays on.
    EXPECT_EQ(t.hub.followers(), 64);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return band[0]->ws.state() == QAbstractSocket::ConnectedState; }, 10000));
    band[0]->ws.sendTextMessage(QStringLiteral(R"({"type":"hello","pin":""})"));
    EXPECT_TRUE(band[0]->waitFor("song"));
    EXPECT_FALSE(band[63]->closed);
}
