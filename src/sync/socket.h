#pragma once
// The TCP sockets of the network sync, seen from the sync logic: the
// elements of the array Winsock1, each a listening socket, an outgoing
// connection or one accepted connection.  The operations answer at once;
// whatever takes time (a connection being made, data arriving, the peer
// closing) is reported later by an event, always from the event queue and
// never inside a call on an element, so handlers may wait and nest.
//
// Real: QtSocketLayer (Qt Network).  Tests: FakeNet (tests/support), whose
// connections and bytes travel on the virtual clock.

#include "core/values.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

namespace mv {

// The values State() reports.  0 and 7 are the ones the logic asks for.
namespace sockstate {
constexpr int kClosed = 0;
constexpr int kOpen = 1;
constexpr int kListening = 2;
constexpr int kResolvingHost = 4;
constexpr int kConnecting = 6;
constexpr int kConnected = 7;
constexpr int kClosing = 8; // the peer has closed; unread data may remain
constexpr int kError = 9;   // the connection could not be made
} // namespace sockstate

// Failure numbers of the socket operations.
namespace sockerr {
constexpr int kBadState = 40006;  // a send on an element that isn't connected
constexpr int kInvalidOp = 40020; // Listen, Connect or Accept on an element in use
constexpr int kAddressInUse = 10048;
Failure
badState(); // 40006 "Wrong protocol or connection state for the requested transaction or request"
Failure invalidOp(); // 40020 "Invalid operation at current state"
} // namespace sockerr

// How much one read takes at most: a peer that floods is read in pieces of
// this size, with the event loop running in between.
constexpr qint64 kReadLimitBytes = 64 * 1024;

// What a send came to: error 0 when the bytes went to the connection, else
// the failure's number and text (kBadState for an element not connected).
struct SendResult {
    int error = 0;
    QString text;
};

class Socket {
  public:
    virtual ~Socket() = default;

    // Closes the element in any state.  Unread data is dropped and no event of
    // the old connection comes after it.
    virtual void Close() = 0;
    // The port Listen binds; 0 lets the system choose one.  While listening
    // LocalPort reports the port really bound.  An outgoing connection always
    // takes a port the system chooses.
    virtual void setLocalPort(int port) = 0;
    virtual int LocalPort() const = 0;
    virtual void setRemoteHost(const QString& host) = 0;
    virtual QString RemoteHost() const = 0;
    virtual void setRemotePort(int port) = 0;
    virtual int RemotePort() const = 0;
    // Starts listening on LocalPort; each connection that comes in is a
    // connection request event.  Failure kInvalidOp when the element isn't
    // closed, kAddressInUse when the port is taken.
    virtual void Listen() = 0;
    // Starts a connection to RemoteHost:RemotePort and returns at once; State
    // turns to kConnected when it is made, kError when it is refused, and
    // stays kConnecting while the host doesn't answer.  Failure kInvalidOp
    // when the element isn't closed.
    virtual void Connect() = 0;
    // Takes the connection of a request (its id from the request event) on
    // this closed element.  A request not accepted while its event runs is
    // refused.  Failure kInvalidOp when the element is in use or the request
    // is gone.
    virtual void Accept(long requestId) = 0;
    // Hands the bytes to the connection in one piece, to leave at once.
    virtual SendResult SendData(const QByteArray& bytes) = 0;
    // Everything that has arrived and was not read yet, up to
    // kReadLimitBytes; empty on an element without a connection.
    virtual QByteArray GetData() = 0;
    virtual int State() const = 0;

    // The events.  A data arrival comes once for whatever arrived since the
    // last read began; the close event comes when the peer has closed and
    // everything it sent before has been read.
    std::function<void(long requestId)> onConnectionRequest;
    std::function<void(qint64 bytes)> onDataArrival;
    std::function<void()> onClose;
};

class SocketLayer {
  public:
    virtual ~SocketLayer() = default;
    // A new element, closed (Load of an array element).  Destroying it
    // (Unload) closes it.
    virtual std::unique_ptr<Socket> create() = 0;
};

} // namespace mv
