#include "web/web_server.h"

#include <QBuffer>
#include <QFile>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QImage>
#include <QPainter>
#include <QPdfDocument>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QWebSocket>
#include <algorithm>

namespace mv::web {

using Status = QHttpServerResponder::StatusCode;

// Renders page images as PNG on the worker thread; its own document, opened
// on the first request for a path.
class PngRenderer : public QObject {
    Q_OBJECT
  public:
    void render(const QString& key, const QString& path, int page, int width) {
        if (!doc_ || path != path_) {
            delete doc_;
            doc_ = new QPdfDocument(this);
            path_ = path;
            doc_->load(path);
        }
        QByteArray png;
        if (doc_->status() == QPdfDocument::Status::Ready && page >= 0 &&
            page < doc_->pageCount()) {
            const QSizeF pt = doc_->pagePointSize(page);
            if (pt.width() > 0 && pt.height() > 0) {
                int w = width;
                int h = int(std::ceil(w * pt.height() / pt.width()));
                if (qint64(w) * h > WebServer::kMaxImagePixels) {
                    const double f =
                        std::sqrt(double(WebServer::kMaxImagePixels) / (double(w) * h));
                    w = std::max(1, int(w * f));
                    h = std::max(1, int(h * f));
                }
                QImage out(QSize(w, h), QImage::Format_RGB32);
                out.fill(Qt::white);
                {
                    // QtPdf draws ink on a transparent ground: lay it on white.
                    QPainter g(&out);
                    g.drawImage(0, 0, doc_->render(page, out.size()));
                }
                QBuffer buffer(&png);
                buffer.open(QIODevice::WriteOnly);
                out.convertToFormat(QImage::Format_Grayscale8).save(&buffer, "PNG");
            }
        }
        emit done(key, png);
    }

  signals:
    void done(const QString& key, const QByteArray& png);

  private:
    QPdfDocument* doc_ = nullptr;
    QString path_;
};

std::vector<QSizeF> pdfPageSizes(const QString& path) {
    QPdfDocument doc;
    std::vector<QSizeF> out;
    if (doc.load(path) != QPdfDocument::Error::None) return out;
    for (int i = 0; i < doc.pageCount(); ++i)
        out.push_back(doc.pagePointSize(i));
    return out;
}

namespace {

// A follower's WebSocket: the hub's link.  What is queued is counted from
// the messages sent and the bytes the socket reports written.  The link
// destroys itself (and its socket) once the socket has disconnected.
class SocketLink final : public QObject, public FollowerLink {
  public:
    // How long a refused device has to answer the close before it is cut.
    static constexpr int kCloseWaitMs = 5000;

    SocketLink(FollowerHub& hub, std::unique_ptr<QWebSocket> socket, QObject* server)
        : QObject(server), hub_(hub), socket_(std::move(socket)) {
        socket_->setMaxAllowedIncomingMessageSize(kMaxClientMessage);
        socket_->setMaxAllowedIncomingFrameSize(kMaxClientMessage);
        socket_->setReadBufferSize(16 * 1024);
        connect(socket_.get(), &QWebSocket::bytesWritten, this,
                [this](qint64 n) { queued_ = std::max<qint64>(0, queued_ - n); });
        connect(socket_.get(), &QWebSocket::textMessageReceived, this, [this](const QString& text) {
            if (!left_) hub_.receive(this, text.toUtf8());
        });
        connect(socket_.get(), &QWebSocket::disconnected, this, [this] { gone(); });
    }
    void sendText(const QByteArray& text) override {
        queued_ += text.size();
        socket_->sendTextMessage(QString::fromUtf8(text));
    }
    ~SocketLink() override {
        // Going with the server: the hub forgets it, and no signal of the
        // socket reaches it any more.
        socket_->disconnect(this);
        if (!left_) hub_.leave(this);
    }
    qint64 queuedBytes() const override { return queued_; }
    void closeLink() override {
        // A stalled device is cut at once: a close handshake would wait on
        // the very queue it has stopped reading.  Called from inside the
        // hub: the socket goes once the stack is clear.
        left_ = true;
        deleting_ = true;
        socket_->abort();
        deleteLater();
    }
    void refuse(const QString& reason) override {
        // The close frame follows the queued messages out; the device's
        // answer (or the wait running out) ends the connection.
        left_ = true;
        socket_->close(QWebSocketProtocol::CloseCode(kCloseCodeFull), reason);
        QTimer::singleShot(kCloseWaitMs, this, [this] {
            socket_->abort();
            gone(); // also when the socket had gone before the close
        });
    }

  private:
    void gone() {
        if (deleting_) return;
        deleting_ = true;
        if (!left_) hub_.leave(this);
        left_ = true;
        deleteLater();
    }
    FollowerHub& hub_;
    std::unique_ptr<QWebSocket> socket_;
    qint64 queued_ = 0;
    bool left_ = false;     // the hub has forgotten the link (or never knew it)
    bool deleting_ = false; // destruction is queued
};

// Every request the server does not answer gets this same 404: a wrong key,
// song, part, page or width cannot be told from a path that never existed.
void notFound(QHttpServerResponder& responder) {
    responder.write(QByteArray("Not found\n"), {{"Content-Type", "text/plain"}},
                    QHttpServerResponder::StatusCode::NotFound);
}

struct StaticFile {
    const char* resource;
    const char* type;
};

StaticFile staticFile(Route::Kind k) {
    switch (k) {
    case Route::Kind::Script: return {":/web/follower.js", "text/javascript; charset=utf-8"};
    case Route::Kind::Style: return {":/web/follower.css", "text/css; charset=utf-8"};
    default: return {":/web/index.html", "text/html; charset=utf-8"};
    }
}

} // namespace

WebServer::WebServer(FollowerHub& hub) : hub_(hub) {
    renderer_ = new PngRenderer;
    renderer_->moveToThread(&thread_);
    connect(&thread_, &QThread::finished, renderer_, &QObject::deleteLater);
    connect(renderer_, &PngRenderer::done, this, &WebServer::rendered);
    thread_.start();
    connect(this, &QAbstractHttpServer::newWebSocketConnection, this, &WebServer::takeWebSockets);
}

WebServer::~WebServer() {
    thread_.quit();
    thread_.wait();
}

quint16 WebServer::start(quint16 port, QString* error) {
    auto* server = new QTcpServer(this);
    if (!server->listen(QHostAddress::Any, port)) {
        if (error) *error = server->errorString();
        delete server;
        return 0;
    }
    bind(server);
    return server->serverPort();
}

void WebServer::takeWebSockets() {
    while (hasPendingWebSocketConnections()) {
        std::unique_ptr<QWebSocket> ws = nextPendingWebSocketConnection();
        if (!ws) continue;
        if (ws->requestUrl().path(QUrl::FullyEncoded) != u"/stream") {
            ws->close(QWebSocketProtocol::CloseCodePolicyViolated);
            ws.release()->deleteLater();
            continue;
        }
        auto* link = new SocketLink(hub_, std::move(ws), this);
        hub_.join(link);
    }
}

bool WebServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) {
    const QUrl url = request.url();
    const Route r = routeOf(url.path(QUrl::FullyEncoded), url.query(QUrl::FullyEncoded));
    // The stream's upgrade is accepted by answering nothing: the server then
    // hands the connection over as a WebSocket.  A plain request for it gets
    // the 404 of missingHandler.
    if (r.kind == Route::Kind::Stream)
        return request.value(QByteArrayLiteral("upgrade"))
                   .compare("websocket", Qt::CaseInsensitive) == 0;
    QHttpServerResponder responder = makeResponder(request, socket);
    if (request.method() != QHttpServerRequest::Method::Get || r.kind == Route::Kind::NotFound) {
        notFound(responder);
        return true;
    }
    if (r.kind == Route::Kind::Image) {
        answerImage(r, request, socket);
        return true;
    }
    const StaticFile f = staticFile(r.kind);
    QFile file(QString::fromLatin1(f.resource));
    file.open(QIODevice::ReadOnly);
    responder.write(file.readAll(),
                    {{"Content-Type", f.type},
                     {"X-Content-Type-Options", "nosniff"},
                     {"Referrer-Policy", "no-referrer"},
                     {"Cache-Control", "no-cache"}},
                    Status::Ok);
    return true;
}

void WebServer::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) {
    QHttpServerResponder responder = makeResponder(request, socket);
    notFound(responder);
}

void WebServer::answerImage(const Route& r, const QHttpServerRequest& request, QTcpSocket* socket) {
    auto responder = std::make_shared<QHttpServerResponder>(makeResponder(request, socket));
    const SongInfo& song = hub_.song();
    const std::vector<QSizeF>& pages = r.part == 2 ? song.pages2 : song.pages;
    // The key is asked for, never the PIN: a PIN in an address could be
    // tried out at the speed of the network.
    if (!hub_.imageKeyAccepted(r.key) || r.serial != song.serial || r.page > int(pages.size()))
        return notFound(*responder);
    const int width = imageWidthFor(r.width);
    const QString key =
        QStringLiteral("%1/%2/%3/%4").arg(r.serial).arg(r.part).arg(r.page).arg(width);
    if (const auto it = cache_.constFind(key); it != cache_.constEnd()) {
        cacheOrder_.removeOne(key);
        cacheOrder_.append(key);
        return responder->write(*it,
                                {{"Content-Type", "image/png"}, {"Cache-Control", "max-age=3600"}});
    }
    if (waitingCount_ >= kMaxPendingRenders) return responder->write(Status::ServiceUnavailable);
    std::vector<Waiting>& w = waiting_[key];
    w.push_back({QPointer<QTcpSocket>(socket), responder});
    ++waitingCount_;
    if (w.size() > 1) return; // already being rendered
    const QString path = hub_.sheetPath(r.part);
    QMetaObject::invokeMethod(renderer_, [renderer = renderer_, key, path, page = r.page - 1,
                                          width] { renderer->render(key, path, page, width); });
}

void WebServer::rendered(const QString& key, const QByteArray& png) {
    if (!png.isEmpty()) remember(key, png);
    const std::vector<Waiting> w = waiting_.take(key);
    waitingCount_ -= int(w.size());
    for (const Waiting& one : w) {
        if (!one.socket) continue; // the device went away meanwhile
        if (png.isEmpty())
            notFound(*one.responder);
        else
            one.responder->write(
                png, {{"Content-Type", "image/png"}, {"Cache-Control", "max-age=3600"}});
    }
}

void WebServer::remember(const QString& key, const QByteArray& png) {
    if (png.size() > kCacheBytes) return;
    cache_.insert(key, png);
    cacheOrder_.append(key);
    cacheBytes_ += png.size();
    while (cacheBytes_ > kCacheBytes && !cacheOrder_.isEmpty()) {
        const QString old = cacheOrder_.takeFirst();
        cacheBytes_ -= cache_.take(old).size();
    }
}

} // namespace mv::web

#include "web_server.moc"
