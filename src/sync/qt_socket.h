#pragma once
// The sockets on Qt Network: a QTcpServer for a listening element, a
// QTcpSocket for a connection.  Nagle's delay is off, and every send is
// written out at once, so a token leaves the moment it is sent.  Qt's
// signals only queue the events; the sync's handlers run from the event
// queue, where they may wait and be entered anew.  A connection reads at most
// kReadLimitBytes ahead: a peer that floods is held back by TCP itself.

#include "sync/socket.h"

#include <QHostAddress>
#include <QObject>
#include <map>
#include <memory>

class QTcpSocket;

namespace mv {

class QtSocketLayer final : public QObject, public SocketLayer {
  public:
    // Listen binds `listenAddress`: every address of the computer by default.
    explicit QtSocketLayer(QHostAddress listenAddress = QHostAddress::Any);
    ~QtSocketLayer() override;
    std::unique_ptr<Socket> create() override;

    // The connections that came in and wait for Accept, by request id.
    const QHostAddress& listenAddress() const { return listenAddress_; }
    long addRequest(QTcpSocket* connection);
    QTcpSocket* takeRequest(long id);
    void refuseRequest(long id);

  private:
    QHostAddress listenAddress_;
    std::map<long, std::unique_ptr<QTcpSocket>> requests_;
    long nextId_ = 1;
};

} // namespace mv
