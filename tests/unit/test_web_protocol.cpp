// The web followers' pure parts: the paths the server answers (and the ones
// it must not), the map read as the play loop reads it, tics placed on the
// page, the browser's messages, and the address shown for the followers.
#include "web/follower_protocol.h"
#include "web/web_install.h"

#include <QImage>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace mv::web;

TEST(WebPaths, OnlyTheNamedResourcesAreServed) {
    struct Case {
        const char* path;
        const char* query;
        Route::Kind kind;
    };
    const Case cases[] = {
        {"/", "", Route::Kind::Page},
        {"/index.html", "", Route::Kind::Page},
        {"/follower.js", "", Route::Kind::Script},
        {"/follower.css", "", Route::Kind::Style},
        {"/stream", "", Route::Kind::Stream},
        {"/sheet/3/2/4/800.png", "key=12ab", Route::Kind::Image},
        // traversal and look-alikes
        {"/../etc/passwd", "", Route::Kind::NotFound},
        {"/sheet/3/1/1/../../../etc/passwd.png", "", Route::Kind::NotFound},
        {"/sheet/3/1/..%2f..%2fx/800.png", "", Route::Kind::NotFound},
        {"/%2e%2e/%2e%2e/etc/passwd", "", Route::Kind::NotFound},
        {"/follower.js/", "", Route::Kind::NotFound},
        {"//follower.js", "", Route::Kind::NotFound},
        {"/Follower.js", "", Route::Kind::NotFound},
        {"/sheet/3/3/1/800.png", "", Route::Kind::NotFound},  // no third part
        {"/sheet/3/1/0/800.png", "", Route::Kind::NotFound},  // pages count from 1
        {"/sheet/-3/1/1/800.png", "", Route::Kind::NotFound}, // digits only
        {"/sheet/3/1/1/800.png.png", "", Route::Kind::NotFound},
        {"/sheet/3/1/1/1234567.png", "", Route::Kind::NotFound},
        {"/sheet/3/1/1/800", "", Route::Kind::NotFound},
        {"/Mellivane.conf", "", Route::Kind::NotFound},
        {"", "", Route::Kind::NotFound},
    };
    for (const Case& c : cases)
        EXPECT_EQ(routeOf(QString::fromLatin1(c.path), QString::fromLatin1(c.query)).kind, c.kind)
            << c.path;
    const Route r =
        routeOf(QStringLiteral("/sheet/3/2/4/800.png"), QStringLiteral("pin=1234&key=ab%20cd"));
    EXPECT_EQ(r.serial, 3);
    EXPECT_EQ(r.part, 2);
    EXPECT_EQ(r.page, 4);
    EXPECT_EQ(r.width, 800);
    EXPECT_EQ(r.key, QStringLiteral("ab cd"));
}

TEST(WebPaths, ImageWidthsAreFewAndBounded) {
    EXPECT_EQ(imageWidthFor(1), 200);
    EXPECT_EQ(imageWidthFor(801), 900);
    EXPECT_EQ(imageWidthFor(900), 900);
    EXPECT_EQ(imageWidthFor(999999), 2400);
}

TEST(WebMap, ReadsTheTicsThePlayLoopMoves) {
    // Header lines as the recorder writes them, a "~" line the loop drops,
    // and a last tic cut after its Y line: it has moved, with no page flags.
    const QStringList lines = {
        QStringLiteral("100@"), QStringLiteral("0%"),         QStringLiteral("#1"),
        QStringLiteral("#2"),   QStringLiteral("#3"),         QStringLiteral("#4"),
        QStringLiteral("#5"),   QStringLiteral("#6"),         QStringLiteral(" 80^"),
        QStringLiteral("5025"), QStringLiteral(" 2340.158 "), QStringLiteral(" 885 "),
        QStringLiteral("0"),    QStringLiteral("False"),      QStringLiteral("False"),
        QStringLiteral("~"),    QStringLiteral("2412"),       QStringLiteral("100"),
        QStringLiteral("200"),  QStringLiteral("8000"),       QStringLiteral("True"),
        QStringLiteral("TRUE"), QStringLiteral("1000"),       QStringLiteral("300"),
        QStringLiteral("400")};
    const std::vector<MapTic> t = readMapTics(lines);
    ASSERT_EQ(t.size(), 3u);
    EXPECT_DOUBLE_EQ(t[0].time, 5025);
    EXPECT_DOUBLE_EQ(t[0].x, 2340.158);
    EXPECT_DOUBLE_EQ(t[0].y, 885);
    EXPECT_TRUE(t[1].next);
    EXPECT_FALSE(t[1].prev); // only "True" turns
    EXPECT_DOUBLE_EQ(t[1].scr, 8000);
    EXPECT_DOUBLE_EQ(t[2].x, 300);
    EXPECT_DOUBLE_EQ(t[2].y, 400);
    EXPECT_DOUBLE_EQ(t[2].scr, 8000); // the scroll stays where the tic before left it
    EXPECT_FALSE(t[2].next);
    // A time line with nothing after it is no move.
    EXPECT_TRUE(readMapTics({QStringLiteral("100@"), QStringLiteral("5025")}).empty());
}

TEST(WebMap, TicsLandWhereTheProgramDrawsThem) {
    SheetPlacement p; // the built-in setup: viewer 14230 twips wide, zoom 100
    p.pages = {QSizeF(612, 792), QSizeF(612, 792)};
    std::vector<MapTic> m(4);
    m[0] = {5025, 2340, 885, 0, false, false};
    m[1] = {2412, 2340, 885, 8000, false, false};
    m[2] = {2412, 2340, 885, 0, true, false};
    m[3] = {2412, 2340, 885, 0, true, false}; // past the last page: the viewer stays
    const std::vector<FollowerTic> t = placeTics(m, p);
    ASSERT_EQ(t.size(), 4u);
    // The page is centred: its left edge (14230 - 612 x 20) / 2 = 995 twips;
    // V = 500 puts the page's point 10 at the window's top.
    EXPECT_NEAR(t[0].x, (2340 - 995) / 20.0, 1e-9);
    EXPECT_NEAR(t[0].y, (885 + 500 - 300) / 20.0, 1e-9);
    EXPECT_NEAR(t[0].top, 10, 1e-9);
    EXPECT_NEAR(t[0].ms, 5025 * .995, 1e-9);
    EXPECT_NEAR(t[1].ms, (5025 + 2412) * .995, 1e-9);
    // Half a page down: the cursor stays in the window, so on the page it is lower.
    EXPECT_NEAR(t[1].top, 410, 1e-9);
    EXPECT_NEAR(t[1].y, (885 + 8500 - 300) / 20.0, 1e-9);
    EXPECT_EQ(t[0].page, 1);
    EXPECT_EQ(t[2].page, 2);
    EXPECT_EQ(t[3].page, 2);
    // Zoom 50 halves the page about the middle; "No Scroll" moves the cursor
    // down instead of the page.
    p.zoomIt = p.viewerZoom = 50;
    p.noScroll = true;
    const std::vector<FollowerTic> z = placeTics({m[1]}, p);
    EXPECT_NEAR(z[0].x, (2340 - (14230 - 6120) / 2.0) / 10.0, 1e-9);
    EXPECT_NEAR(z[0].y, ((885 + 8000) * .5 + 500 - 300) / 10.0, 1e-9);
    EXPECT_NEAR(z[0].top, 20, 1e-9);
}

TEST(WebMessages, BrowserMessagesAreReadStrictly) {
    struct Case {
        const char* text;
        ClientMessage::Kind kind;
    };
    const Case cases[] = {
        {R"({"type":"ping","c":12.5})", ClientMessage::Kind::Ping},
        {R"({"type":"ping","c":"12"})", ClientMessage::Kind::Unknown},
        {R"({"type":"ping"})", ClientMessage::Kind::Unknown},
        {R"({"type":"hello","pin":"4711","part":2})", ClientMessage::Kind::Hello},
        {R"({"type":"part","part":7})", ClientMessage::Kind::Part},
        {R"({"type":"song"})", ClientMessage::Kind::Unknown},
        {R"([1,2,3])", ClientMessage::Kind::Unknown},
        {"not json", ClientMessage::Kind::Unknown},
    };
    for (const Case& c : cases)
        EXPECT_EQ(readClientMessage(QByteArray(c.text)).kind, c.kind) << c.text;
    const ClientMessage hello = readClientMessage(R"({"type":"hello","pin":"4711","part":2})");
    EXPECT_EQ(hello.pin, QStringLiteral("4711"));
    EXPECT_EQ(hello.part, 2);
    EXPECT_EQ(readClientMessage(R"({"type":"part","part":7})").part, 1);
    EXPECT_DOUBLE_EQ(readClientMessage(R"({"type":"ping","c":12.5})").stamp, 12.5);
    // A long message is not even parsed.
    const QByteArray big = R"({"type":"ping","c":1,"pad":")" + QByteArray(2000, 'x') + R"("})";
    EXPECT_EQ(readClientMessage(big).kind, ClientMessage::Kind::Unknown);
}

TEST(WebAddress, PortAddressAndQrCode) {
    struct Case {
        const char* web;
        const char* tcp;
        int port;
    };
    const Case cases[] = {
        {"", "5000", 5001}, {" ", "5000", 5001}, {"", "", 0},        {"", "65535", 0},
        {"0", "5000", 0},   {"8080", "", 8080},  {"80x", "5000", 0}, {"70000", "5000", 0},
        {"-1", "5000", 0},  {"", "x", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(mv::webPortOf(QString::fromLatin1(c.web), QString::fromLatin1(c.tcp)), c.port)
            << c.web << " / " << c.tcp;
    const QString address = mv::followerAddress(5001);
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^http://\d+\.\d+\.\d+\.\d+:5001/$)"))
                    .match(address)
                    .hasMatch())
        << address.toStdString();
    const QImage qr = mv::qrCode(address);
    ASSERT_FALSE(qr.isNull());
    EXPECT_EQ(qr.width(), qr.height());
    EXPECT_GE(qr.width(), 21 + 8);                         // the smallest code and its quiet zone
    EXPECT_TRUE(mv::qrCode(QString(4000, u'x')).isNull()); // more than a code holds
}
