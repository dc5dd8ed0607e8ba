// Setting up and taking down the connections: listening at start-up, the
// connection requests, the close event, ConnectIt with Connect and
// Disconnect on both sides, and the client's end of session on "&END/".

#include "core/messages.h"
#include "core/session_state.h"
#include "sync/network.h"

#include <cstdint>

namespace mv {

namespace sockerr {
Failure badState() {
    return {kBadState,
            QStringLiteral("Wrong protocol or connection state for the requested transaction or "
                           "request")};
}
Failure invalidOp() { return {kInvalidOp, QStringLiteral("Invalid operation at current state")}; }
} // namespace sockerr

namespace {

const QString kConnect = QStringLiteral("Connect");
const QString kDisconnect = QStringLiteral("Disconnect");

} // namespace

int portNumber(const QString& text) {
    const int32_t port = roundLong(strictNumber(text));
    if (port < 0 || port > 65535) throw failures::invalidProperty();
    return port;
}

Network::Network(Session& s, SocketLayer& layer) : s_(s), layer_(layer) {
    load(0);
    clockStartBox_ = s_.velmor.ClockStart.subscribe([this] { clockStartChanged(); });
    clockStartChanged();
}

Network::~Network() {
    if (clockTimer_) s_.clock.cancel(clockTimer_);
}

bool Network::exists(int i) const {
    return i >= 0 && i < elements() && elements_[size_t(i)] != nullptr;
}

Socket& Network::Winsock1(int i) {
    if (!exists(i))
        throw Failure(340, QStringLiteral("Control array element '%1' doesn't exist").arg(i));
    return *elements_[size_t(i)];
}

void Network::load(int i) {
    if (exists(i)) throw Failure(360, QStringLiteral("Object already loaded"));
    if (i >= elements()) elements_.resize(size_t(i) + 1);
    auto sock = layer_.create();
    sock->onConnectionRequest = [this, i](long id) { Winsock1_ConnectionRequest(i, id); };
    sock->onDataArrival = [this, i](qint64 n) { Winsock1_DataArrival(i, n); };
    sock->onClose = [this, i] { Winsock1_Close(i); };
    elements_[size_t(i)] = std::move(sock);
}

void Network::unload(int i) {
    if (exists(i)) elements_[size_t(i)].reset();
    while (!elements_.empty() && !elements_.back())
        elements_.pop_back();
}

void Network::showDot(bool shown) { s_.velmor.Shape1.set(shown); }

void Network::startListening() {
    Socket& e = Winsock1(0);
    e.Close();
    e.setLocalPort(portNumber(s_.velmor.PortNr.text()));
    e.Listen();
}

void Network::Winsock1_ConnectionRequest(int index, long requestId) {
    // A failure (ClientCount past 32767) ends the handler; the request that
    // wasn't accepted is refused by the socket layer.
    try {
        if (index == 0) {
            if (s_.g.ClientCount == INT16_MAX) throw failures::overflow();
            const int n = ++s_.g.ClientCount;
            s_.velmor.Label29.setText(QString::number(n));
            load(n);
            Winsock1(n).setLocalPort(0);
            Winsock1(n).Accept(requestId);
        }
        showDot(true);
        s_.velmor.ConnectIt.setText(kDisconnect);
    } catch (const Failure&) {
    }
}

void Network::Winsock1_Close(int index) {
    // The element stays, and so do ClientCount and the number in the dot.
    while (exists(index) && Winsock1(index).State() > sockstate::kClosed) {
        Winsock1(index).Close();
        s_.pump.letEventsRun();
    }
}

void Network::StopAll() {
    const VelmorState& v = s_.velmor;
    if (v.IamaServer.get() != 1 || !v.Shape1.get()) return;
    sendToClients(QStringLiteral("&END/"));
    showDot(false);
}

void Network::ConnectIt_Click() {
    VelmorState& v = s_.velmor;
    if (v.IamaServer.get() == 1 && v.ConnectIt.text() == kConnect) {
        s_.messages.msgBox(QStringLiteral("You have checked 'I AM A SERVER' so clients should "
                                          "connect to you. You do not need to connect."));
        return;
    }
    // One failure handler for the whole click: the hiding and the messages
    // of a failed connect.
    try {
        StopAll();
        if (v.ConnectIt.text() == kDisconnect)
            disconnect();
        else
            connect();
    } catch (const Failure& f) {
        connectFailed(&f);
    }
}

void Network::connect() {
    VelmorState& v = s_.velmor;
    s_.pump.guardedWait(2);
    if (!v.Shape1.get()) {
        Socket& e = Winsock1(0);
        e.Close();
        e.setRemoteHost(v.IPAddress.text());
        e.setRemotePort(portNumber(v.PortNr.text()));
        e.Connect();
    }
    auto connected = [this] { return Winsock1(0).State() == sockstate::kConnected; };
    if (s_.clock.dayClock() > 20.0f) {
        // Each round sleeps until an event comes (the connection made is
        // one) or the 10 s are over.
        const int64_t deadline = s_.clock.tickMs() + 10000;
        while (!connected() && s_.clock.tickMs() < deadline && !s_.pump.quitting())
            s_.pump.waitRound(deadline);
    }
    if (!connected()) return connectFailed(nullptr);
    showDot(true);
    v.ConnectIt.setText(kDisconnect);
}

void Network::connectFailed(const Failure* f) {
    showDot(false);
    if (f && f->number() == sockerr::kBadState)
        s_.messages.msgBox(QStringLiteral(
            "Unable to connect to maps. Make sure the remote app is started. If it is started try "
            "clicking the Clear button on the remote world map."));
    else
        s_.messages.msgBox((f ? f->description() : QString()) +
                           QStringLiteral(" Wait a few seconds and try again"));
    if (exists(0)) Winsock1(0).Close();
}

void Network::disconnect() {
    VelmorState& v = s_.velmor;
    StopAll();
    if (v.Shape1.get()) {
        // Still connected, so not a server: a client's element 0 listens.
        for (int i = elements() - 1; i >= 1; --i)
            unload(i);
        Socket& e = Winsock1(0);
        e.Close();
        s_.g.ClientCount = 0;
        // The connection is gone either way; a port that is no number, or
        // one that cannot be opened (another program holds it), only keeps
        // this computer from listening, which the user is told as it is.
        try {
            e.setLocalPort(portNumber(v.PortNr.text()));
            e.Listen();
        } catch (const Failure& f) {
            v.ConnectIt.setText(kConnect);
            showDot(false);
            const QString port = QStringLiteral("\"") + v.PortNr.text() + u'"';
            s_.messages.msgBox(
                f.number() == failures::typeMismatch().number()
                    ? QStringLiteral("Disconnected. The port ") + port +
                          QStringLiteral(" is not a number, so this computer does not listen "
                                         "for a server.")
                    : QStringLiteral("Disconnected. This computer cannot listen for a server on "
                                     "port ") +
                          port + QStringLiteral(": ") + f.description());
            return;
        }
    }
    v.ConnectIt.setText(kConnect);
    showDot(false);
}

void Network::clientEndOfSession() {
    Socket& e = Winsock1(0);
    e.Close();
    e.setRemoteHost(s_.velmor.IPAddress.text());
    e.Listen();
    showDot(false);
    s_.velmor.ConnectIt.setText(kConnect);
}

} // namespace mv
