#pragma once
// The network sync of one session: the socket array Winsock1 and the
// handlers of its events and controls.  One computer, the server, sends
// bare text tokens to any number of clients; a client follows them with its
// own songs, maps and clock.  Nothing is ever sent by a client.
//
// Winsock1 element 0 is the listening socket on a server and the
// connection on a client; elements 1 to ClientCount are the server's
// accepted connections, created one by one and never reused: a client that
// goes away leaves its element behind, closed, and the send loops pass over
// it at the cost of one call.

#include "sync/socket.h"

#include <QByteArrayView>
#include <QString>
#include <memory>
#include <vector>

namespace mv {

struct Session;

// What one read asks the client to do, decided on the doubled text (the
// text appended to itself), in the order the receiver acts.
struct Message {
    bool end = false;        // "&END/": the session ends; nothing else counts
    bool autoScroll = false; // the four sheet tokens, each acted on once
    bool command3 = false;
    bool command4 = false;
    bool command6 = false;
    bool select = false; // "&SELECT/": the list entry that contains `name`
    QString name;        // upper case, at most 255 characters
    enum class Then { None, Start, Stop, Time, Speed } then = Then::None;
    QString speed; // with Then::Speed: the text written to Speed
};

// The text of what one GetData returned: UTF-8 when the bytes are valid
// UTF-8 holding a byte above 0x7F, else Windows-1252.  A read that ends
// inside a UTF-8 character (the rest comes with the next read) is read as
// UTF-8 up to that character when the bytes before it qualify.
QString decodeRead(QByteArrayView bytes);

// Reads what one GetData returned, decoded.  Pure: the receiver acts on the result.
Message readMessage(const QString& received);

// The whole number in PortNr: one complete number, rounded; failure 13
// "Type mismatch" when it isn't one, 380 "Invalid property value" outside
// 0..65535.
int portNumber(const QString& text);

class Network {
  public:
    Network(Session& s, SocketLayer& layer);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    // Element i of Winsock1; failure 340 when it doesn't exist.
    Socket& Winsock1(int i);
    bool exists(int i) const;
    int elements() const { return static_cast<int>(elements_.size()); }

    // Start-up on a server: element 0 closed, LocalPort from PortNr, Listen.
    // Failures reach the caller (start-up reports them).
    void startListening();
    // The menu entry ConnectIt: "Connect" (a client) and "Disconnect"
    // (either side).  Waits 2 s and up to 10 s, letting events run.
    void ConnectIt_Click();
    // On a connected server: "&END/" to every client, the dot hidden.
    void StopAll();

    // The send loop over elements 1 to ClientCount.  `sendToClients`
    // passes every failed send over; `sendSheetToClients` skips a client
    // that isn't connected and throws any other failure, ending the loop.
    void sendToClients(const QString& token);
    void sendSheetToClients(const QString& token);

    // The socket events, by element.
    void Winsock1_ConnectionRequest(int index, long requestId);
    void Winsock1_Close(int index);
    void Winsock1_DataArrival(int index, qint64 bytes);

  private:
    void load(int i);
    void unload(int i);
    void showDot(bool shown);
    void connect();
    void disconnect();
    void connectFailed(const Failure* f);
    void receive(const QString& text);
    void clientEndOfSession();

    Session& s_;
    SocketLayer& layer_;
    std::vector<std::unique_ptr<Socket>> elements_;
    int receiving_ = 0; // data-arrival handlers in progress, nested
};

} // namespace mv
