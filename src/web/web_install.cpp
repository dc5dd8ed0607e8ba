#include "web/web_install.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/startup.h"
#include "core/values.h"
#include "web/follower_hub.h"
#include "web/web_server.h"

#include <QNetworkInterface>
#include <qrencode.h>

namespace mv {

int webPortOf(const QString& webPort, const QString& tcpPort) {
    auto port = [](const QString& t) -> int {
        try {
            const int32_t p = roundLong(strictNumber(t));
            return p >= 0 && p <= 65535 ? p : -1;
        } catch (const Failure&) {
            return -1;
        }
    };
    if (!webPort.trimmed().isEmpty()) return std::max(0, port(webPort));
    const int tcp = port(tcpPort);
    return tcp > 0 && tcp < 65535 ? tcp + 1 : 0;
}

QString followerAddress(int port) {
    QString host = QStringLiteral("127.0.0.1");
    for (const QHostAddress& a : QNetworkInterface::allAddresses()) {
        if (a.protocol() == QAbstractSocket::IPv4Protocol && !a.isLoopback()) {
            host = a.toString();
            break;
        }
    }
    return QStringLiteral("http://%1:%2/").arg(host).arg(port);
}

QImage qrCode(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    QRcode* code = QRcode_encodeString(utf8.constData(), 0, QR_ECLEVEL_M, QR_MODE_8, 1);
    if (!code) return {};
    constexpr int kQuiet = 4;
    const int n = code->width;
    QImage img(n + 2 * kQuiet, n + 2 * kQuiet, QImage::Format_Grayscale8);
    img.fill(255);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            if (code->data[y * n + x] & 1) img.setPixel(x + kQuiet, y + kQuiet, qRgb(0, 0, 0));
    QRcode_free(code);
    return img;
}

WebFollowers::WebFollowers(Session& s)
    : s_(s), hub_(std::make_unique<web::FollowerHub>(s, &web::pdfPageSizes)) {}

WebFollowers::~WebFollowers() {
    server_.reset(); // the links go before the hub they report to
    hub_.reset();
}

void WebFollowers::start() {
    const VelmorState& v = s_.velmor;
    if (v.IamaServer.get() != 1 || server_) return;
    const int port = webPortOf(v.WebPort.text(), v.PortNr.text());
    if (port <= 0) return;
    auto server = std::make_unique<web::WebServer>(*hub_);
    QString why;
    if (!server->start(quint16(port), &why)) {
        s_.messages.msgBox(QStringLiteral("The page for the band cannot be served on port %1: %2")
                               .arg(port)
                               .arg(why));
        return;
    }
    server_ = std::move(server);
    s_.velmor.WebAddress.setText(followerAddress(port));
    hub_->refreshSong();
}

std::unique_ptr<WebFollowers> installWeb(Session& s, StartupHooks& hooks) {
    s.keyed.add(QStringLiteral("WebPort"), s.velmor.WebPort);
    s.keyed.add(QStringLiteral("WebPin"), s.velmor.WebPin);
    auto web = std::make_unique<WebFollowers>(s);
    WebFollowers* w = web.get();
    // Every selection (list, random, play list, network) comes through here.
    auto select = s.File1_MouseDown;
    s.File1_MouseDown = [&s, w, select](int button, int shift, double x, double y) {
        const QString before = s.g.SongBase;
        if (select) select(button, shift, x, y);
        if (button == 1 || s.g.SongBase != before) w->hub().refreshSong();
    };
    // The page is served beside the server's socket, and whether or not
    // that socket can listen.
    auto listen = hooks.listen;
    hooks.listen = [w, listen] {
        w->start();
        if (listen) listen();
    };
    return web;
}

} // namespace mv
