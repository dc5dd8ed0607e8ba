#pragma once
// A loopback network in virtual time.  Connections, bytes and closes travel
// on the VirtualClock with a delay of `latencyMs`, so a test decides what is
// read together (sent before the same advance of the clock) and what in
// pieces.  It fails where real sockets fail: "127.0.0.1" and "localhost"
// reach the listeners, a port without one refuses (State 9), any other host
// never answers (State stays 6); a send on an element that isn't connected
// is 40006; a port can be bound once.  Events come from the clock, never
// inside a call, and reads take at most kReadLimitBytes, as with Qt.

#include "core/clock.h"
#include "sync/socket.h"

#include <map>
#include <memory>

namespace mv::test {

class FakeSocket;

class FakeNet final : public SocketLayer {
  public:
    explicit FakeNet(VirtualClock& clock, int latencyMs = 1) : clock(clock), latencyMs(latencyMs) {}
    std::unique_ptr<Socket> create() override;
    // The same, for a test's own endpoint.
    std::unique_ptr<FakeSocket> endpoint();

    VirtualClock& clock;
    int latencyMs;

  private:
    friend class FakeSocket;
    std::map<int, FakeSocket*> listeners_;
    std::map<long, FakeSocket*> requests_; // connecting elements by request id
    int nextPort_ = 49152;
    long nextId_ = 1;
};

class FakeSocket final : public Socket {
  public:
    explicit FakeSocket(FakeNet& net) : net_(net) {}
    ~FakeSocket() override;
    void Close() override;
    void setLocalPort(int port) override { localPort_ = port; }
    int LocalPort() const override { return state_ == sockstate::kListening ? bound_ : localPort_; }
    void setRemoteHost(const QString& host) override { remoteHost_ = host; }
    QString RemoteHost() const override { return remoteHost_; }
    void setRemotePort(int port) override { remotePort_ = port; }
    int RemotePort() const override { return remotePort_; }
    void Listen() override;
    void Connect() override;
    void Accept(long requestId) override;
    SendResult SendData(const QByteArray& bytes) override;
    QByteArray GetData() override;
    int State() const override { return peerClosed_ ? sockstate::kClosing : state_; }

    // Every send fails with this when its error is not 0 (a broken link).
    SendResult failSends;
    // The delay of each send from this element, when set (else the net's
    // latency): jitter never reorders the bytes, as TCP does not.
    std::function<int()> sendDelay;

  private:
    template <class Fn> void later(int ms, Fn fn);
    void land(const QByteArray& bytes);
    void peerGone();
    void queueArrival();
    void queueCloseIfDone();

    FakeNet& net_;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
    int generation_ = 0;
    int state_ = sockstate::kClosed;
    int localPort_ = 0, bound_ = 0, remotePort_ = 0;
    QString remoteHost_;
    FakeSocket* peer_ = nullptr;
    QByteArray inbox_;
    int64_t lastLanding_ = 0; // when the last send from here lands
    bool arrivalQueued_ = false, peerClosed_ = false, closeQueued_ = false, closeDone_ = false;
};

} // namespace mv::test
