#include "sync/qt_socket.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

namespace mv {

namespace {

class QtSocket final : public QObject, public Socket {
  public:
    explicit QtSocket(QtSocketLayer& layer) : layer_(layer) {}
    ~QtSocket() override { Close(); }

    void Close() override {
        ++generation_; // what was queued for the old connection is dropped
        server_.reset();
        if (sock_) {
            sock_->disconnect(this);
            sock_->close();
            // Our slots only queue events, so no signal of this socket is on
            // the stack here: it can go at once.
            delete sock_;
            sock_ = nullptr;
        }
        everConnected_ = failed_ = peerClosed_ = false;
        arrivalQueued_ = closeQueued_ = closeDone_ = false;
    }
    void setLocalPort(int port) override { localPort_ = port; }
    int LocalPort() const override { return server_ ? server_->serverPort() : localPort_; }
    void setRemoteHost(const QString& host) override { remoteHost_ = host; }
    QString RemoteHost() const override { return remoteHost_; }
    void setRemotePort(int port) override { remotePort_ = port; }
    int RemotePort() const override { return remotePort_; }

    void Listen() override {
        if (State() != sockstate::kClosed) throw sockerr::invalidOp();
        auto server = std::make_unique<QTcpServer>();
        server->setListenBacklogSize(128);
        if (!server->listen(layer_.listenAddress(), quint16(localPort_))) {
            switch (server->serverError()) {
            case QAbstractSocket::AddressInUseError:
                throw Failure(sockerr::kAddressInUse, QStringLiteral("Address in use"));
            case QAbstractSocket::SocketAccessError:
                throw Failure(10013, QStringLiteral("Permission denied"));
            default: throw Failure(10022, server->errorString());
            }
        }
        QObject::connect(server.get(), &QTcpServer::newConnection, this,
                         [this] { takeRequests(); });
        server_ = std::move(server);
    }

    void Connect() override {
        if (State() != sockstate::kClosed) throw sockerr::invalidOp();
        adopt(new QTcpSocket);
        sock_->connectToHost(remoteHost_, quint16(remotePort_));
    }

    void Accept(long requestId) override {
        if (State() != sockstate::kClosed) throw sockerr::invalidOp();
        QTcpSocket* c = layer_.takeRequest(requestId);
        if (!c) throw sockerr::invalidOp();
        adopt(c);
        everConnected_ = true;
        sock_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        if (sock_->state() != QAbstractSocket::ConnectedState) peerClosed_ = true;
        if (sock_->bytesAvailable() > 0) queueArrival();
        queueCloseIfDone();
    }

    SendResult SendData(const QByteArray& bytes) override {
        if (State() != sockstate::kConnected)
            return {sockerr::kBadState, sockerr::badState().description()};
        if (sock_->write(bytes) != bytes.size())
            return {10053, sock_->errorString()}; // the connection broke
        sock_->flush();
        return {};
    }

    QByteArray GetData() override {
        if (!sock_) return {};
        QByteArray got = sock_->read(kReadLimitBytes);
        if (sock_->bytesAvailable() > 0) queueArrival(); // the rest comes as its own read
        queueCloseIfDone();
        return got;
    }

    int State() const override {
        if (server_) return sockstate::kListening;
        if (!sock_) return sockstate::kClosed;
        if (peerClosed_) return sockstate::kClosing;
        if (failed_) return sockstate::kError;
        switch (sock_->state()) {
        case QAbstractSocket::HostLookupState: return sockstate::kResolvingHost;
        case QAbstractSocket::ConnectingState: return sockstate::kConnecting;
        case QAbstractSocket::ConnectedState: return sockstate::kConnected;
        case QAbstractSocket::ClosingState: return sockstate::kClosing;
        case QAbstractSocket::BoundState: return sockstate::kOpen;
        default: return everConnected_ ? sockstate::kClosing : sockstate::kConnecting;
        }
    }

  private:
    // Runs fn from the event queue, unless the element is closed or gone by
    // then.
    template <class Fn> void post(Fn fn) {
        const int gen = generation_;
        QMetaObject::invokeMethod(
            this,
            [this, gen, fn] {
                if (generation_ == gen) fn();
            },
            Qt::QueuedConnection);
    }

    void adopt(QTcpSocket* c) {
        sock_ = c;
        c->setParent(nullptr);
        c->setReadBufferSize(kReadLimitBytes);
        QObject::connect(c, &QTcpSocket::readyRead, this, [this] { queueArrival(); });
        QObject::connect(c, &QTcpSocket::connected, this, [this] {
            everConnected_ = true;
            sock_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        });
        QObject::connect(c, &QTcpSocket::disconnected, this, [this] {
            if (!everConnected_) return;
            peerClosed_ = true;
            queueCloseIfDone();
        });
        QObject::connect(c, &QTcpSocket::errorOccurred, this, [this] {
            if (!everConnected_) failed_ = true; // refused, no such host, timed out
        });
    }

    void takeRequests() {
        while (server_ && server_->hasPendingConnections()) {
            const long id = layer_.addRequest(server_->nextPendingConnection());
            // The layer outlives its elements: a request whose event never
            // runs is refused all the same.
            QPointer<QtSocket> self(this);
            const int gen = generation_;
            QtSocketLayer* layer = &layer_;
            QMetaObject::invokeMethod(
                layer,
                [self, gen, id, layer] {
                    if (self && self->generation_ == gen && self->onConnectionRequest)
                        self->onConnectionRequest(id);
                    layer->refuseRequest(id); // nothing when accepted
                },
                Qt::QueuedConnection);
        }
    }

    void queueArrival() {
        if (arrivalQueued_) return;
        arrivalQueued_ = true;
        post([this] {
            arrivalQueued_ = false;
            const qint64 n = sock_ ? sock_->bytesAvailable() : 0;
            if (n <= 0) return queueCloseIfDone();
            if (!onDataArrival) {
                sock_->readAll();
                return queueCloseIfDone();
            }
            QPointer<QtSocket> self(this);
            onDataArrival(n); // may wait, and may close or destroy this element
            if (!self || !sock_) return;
            if (sock_->bytesAvailable() > 0) queueArrival();
            queueCloseIfDone();
        });
    }

    // The close event follows everything the peer sent before it closed.
    void queueCloseIfDone() {
        if (!peerClosed_ || closeQueued_ || closeDone_ || arrivalQueued_ || !sock_ ||
            sock_->bytesAvailable() > 0)
            return;
        closeQueued_ = true;
        post([this] {
            closeQueued_ = false;
            closeDone_ = true;
            if (onClose) onClose();
        });
    }

    QtSocketLayer& layer_;
    std::unique_ptr<QTcpServer> server_;
    QTcpSocket* sock_ = nullptr;
    int localPort_ = 0, remotePort_ = 0;
    QString remoteHost_;
    int generation_ = 0;
    bool everConnected_ = false, failed_ = false, peerClosed_ = false;
    bool arrivalQueued_ = false, closeQueued_ = false, closeDone_ = false;
};

} // namespace

QtSocketLayer::QtSocketLayer(QHostAddress listenAddress)
    : listenAddress_(std::move(listenAddress)) {}

QtSocketLayer::~QtSocketLayer() = default;

std::unique_ptr<Socket> QtSocketLayer::create() { return std::make_unique<QtSocket>(*this); }

long QtSocketLayer::addRequest(QTcpSocket* connection) {
    connection->setParent(nullptr);
    connection->setReadBufferSize(kReadLimitBytes); // also before it is accepted
    const long id = nextId_++;
    requests_[id].reset(connection);
    return id;
}

QTcpSocket* QtSocketLayer::takeRequest(long id) {
    auto it = requests_.find(id);
    if (it == requests_.end()) return nullptr;
    QTcpSocket* c = it->second.release();
    requests_.erase(it);
    return c;
}

void QtSocketLayer::refuseRequest(long id) { requests_.erase(id); }

} // namespace mv
