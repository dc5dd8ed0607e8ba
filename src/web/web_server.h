#pragma once
// The web server of the followers, on Qt HTTP Server and Qt WebSockets.  It
// answers only what routeOf() names: the page, its script and style (Qt
// resources compiled in), the current song's page images and the stream.
// Nothing in a URL ever names a file.  Page images are rendered by QtPdf on
// a worker thread at the width a device asks for (rounded up to a step of
// imageWidthFor) and kept in a cache bounded in bytes.

#include "web/follower_hub.h"

#include <QAbstractHttpServer>
#include <QHash>
#include <QPointer>
#include <QThread>
#include <memory>
#include <vector>

class QWebSocket;
class QTcpSocket;
class QHttpServerResponder;

namespace mv::web {

class PngRenderer;

// The page sizes of a PDF, in points, read on the calling thread.
std::vector<QSizeF> pdfPageSizes(const QString& path);

class WebServer final : public QAbstractHttpServer {
    Q_OBJECT
  public:
    // The most bytes of rendered images kept, and of images waiting to be
    // rendered at once (more get 503 and the page asks again).
    static constexpr qint64 kCacheBytes = 48 * 1024 * 1024;
    static constexpr int kMaxPendingRenders = 128;
    // The most pixels one page image has: a very tall page gets narrower.
    static constexpr qint64 kMaxImagePixels = 8'000'000;

    explicit WebServer(FollowerHub& hub);
    ~WebServer() override;

    // Listens on every address at `port` (0: one the system chooses).  The
    // port bound, or 0 when it cannot listen (`error` says why).
    quint16 start(quint16 port, QString* error = nullptr);

  protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

  private:
    struct Waiting {
        QPointer<QTcpSocket> socket;
        std::shared_ptr<QHttpServerResponder> responder;
    };
    void takeWebSockets();
    void answerImage(const Route& r, const QHttpServerRequest& request, QTcpSocket* socket);
    void rendered(const QString& key, const QByteArray& png);
    void remember(const QString& key, const QByteArray& png);

    FollowerHub& hub_;
    QThread thread_;
    PngRenderer* renderer_ = nullptr;
    QHash<QString, QByteArray> cache_;
    QStringList cacheOrder_; // least recently used first
    qint64 cacheBytes_ = 0;
    QHash<QString, std::vector<Waiting>> waiting_;
    int waitingCount_ = 0;
};

} // namespace mv::web
