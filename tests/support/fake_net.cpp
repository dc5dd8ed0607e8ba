#include "fake_net.h"

#include <algorithm>
#include <utility>

namespace mv::test {

std::unique_ptr<Socket> FakeNet::create() { return endpoint(); }

std::unique_ptr<FakeSocket> FakeNet::endpoint() { return std::make_unique<FakeSocket>(*this); }

FakeSocket::~FakeSocket() { Close(); }

// Runs fn after ms on the clock, unless this element is closed or gone then.
template <class Fn> void FakeSocket::later(int ms, Fn fn) {
    std::weak_ptr<int> alive = alive_;
    net_.clock.after(ms, [this, alive, gen = generation_, fn] {
        if (!alive.expired() && generation_ == gen) fn();
    });
}

void FakeSocket::Close() {
    ++generation_;
    if (state_ == sockstate::kListening) net_.listeners_.erase(bound_);
    for (auto it = net_.requests_.begin(); it != net_.requests_.end();)
        it = it->second == this ? net_.requests_.erase(it) : std::next(it);
    if (FakeSocket* p = std::exchange(peer_, nullptr)) {
        p->peer_ = nullptr;
        p->later(net_.latencyMs, [p] { p->peerGone(); });
    }
    state_ = sockstate::kClosed;
    inbox_.clear();
    arrivalQueued_ = peerClosed_ = closeQueued_ = closeDone_ = false;
}

void FakeSocket::Listen() {
    if (state_ != sockstate::kClosed) throw sockerr::invalidOp();
    const int port = localPort_ ? localPort_ : net_.nextPort_++;
    if (net_.listeners_.count(port))
        throw Failure(sockerr::kAddressInUse, QStringLiteral("Address in use"));
    net_.listeners_[port] = this;
    bound_ = port;
    state_ = sockstate::kListening;
}

void FakeSocket::Connect() {
    if (state_ != sockstate::kClosed) throw sockerr::invalidOp();
    state_ = sockstate::kConnecting;
    if (remoteHost_ != u"127.0.0.1" && remoteHost_ != u"localhost") return; // no answer
    later(net_.latencyMs, [this] {
        auto it = net_.listeners_.find(remotePort_);
        if (it == net_.listeners_.end()) {
            state_ = sockstate::kError; // refused
            return;
        }
        const long id = net_.nextId_++; // made once the listener accepts
        net_.requests_[id] = this;
        FakeSocket* listener = it->second;
        // The request is refused after its event, also when the listener
        // has closed or gone before it.
        std::weak_ptr<int> alive = listener->alive_;
        net_.clock.after(0, [listener, alive, gen = listener->generation_, id, net = &net_] {
            if (!alive.expired() && listener->generation_ == gen && listener->onConnectionRequest)
                listener->onConnectionRequest(id);
            auto left = net->requests_.find(id);
            if (left == net->requests_.end()) return;
            FakeSocket* refused = left->second; // not accepted: the connection drops
            net->requests_.erase(left);
            refused->later(net->latencyMs, [refused] { refused->peerGone(); });
        });
    });
}

void FakeSocket::Accept(long requestId) {
    auto it = net_.requests_.find(requestId);
    if (state_ != sockstate::kClosed || it == net_.requests_.end()) throw sockerr::invalidOp();
    FakeSocket* c = it->second;
    net_.requests_.erase(it);
    peer_ = c;
    c->peer_ = this;
    state_ = c->state_ = sockstate::kConnected;
}

SendResult FakeSocket::SendData(const QByteArray& bytes) {
    if (failSends.error) return failSends;
    if (State() != sockstate::kConnected || !peer_)
        return {sockerr::kBadState, sockerr::badState().description()};
    FakeSocket* p = peer_;
    const int64_t now = net_.clock.tickMs();
    lastLanding_ = std::max(lastLanding_, now + (sendDelay ? sendDelay() : net_.latencyMs));
    p->later(int(lastLanding_ - now), [p, bytes] { p->land(bytes); });
    return {};
}

QByteArray FakeSocket::GetData() {
    const QByteArray got = inbox_.left(kReadLimitBytes);
    inbox_.remove(0, got.size());
    if (!inbox_.isEmpty()) queueArrival();
    queueCloseIfDone();
    return got;
}

void FakeSocket::land(const QByteArray& bytes) {
    inbox_ += bytes;
    queueArrival();
}

void FakeSocket::peerGone() {
    peer_ = nullptr;
    peerClosed_ = true;
    queueCloseIfDone();
}

void FakeSocket::queueArrival() {
    if (arrivalQueued_) return;
    arrivalQueued_ = true;
    later(0, [this] {
        arrivalQueued_ = false;
        if (inbox_.isEmpty() || !onDataArrival) {
            inbox_.clear();
            return queueCloseIfDone();
        }
        std::weak_ptr<int> alive = alive_;
        onDataArrival(inbox_.size()); // may wait, close or destroy this element
        if (alive.expired()) return;
        if (!inbox_.isEmpty()) queueArrival();
        queueCloseIfDone();
    });
}

void FakeSocket::queueCloseIfDone() {
    if (!peerClosed_ || closeQueued_ || closeDone_ || arrivalQueued_ || !inbox_.isEmpty()) return;
    closeQueued_ = true;
    later(0, [this] {
        closeQueued_ = false;
        closeDone_ = true;
        if (onClose) onClose();
    });
}

} // namespace mv::test
