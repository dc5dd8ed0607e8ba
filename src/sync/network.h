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

#include "core/observable.h"
#include "sync/clock_offset.h"
#include "sync/socket.h"

#include <QByteArrayView>
#include <QString>
#include <memory>
#include <optional>
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

// Clock Start, with the box on at both ends: the client asks the server's
// clock now and then ("&CLOCK?/" + its own tick + "/"), the server answers
// on the same connection ("&CLOCK/" + the client's tick as sent + "," + its
// own + "/"), and announces each start for an instant of its clock just
// before its "&START/" ("&PLAYAT/" + the music's tick + "," + the tick the
// map's tics count from + "/"; a client of an earlier kind sends the first
// alone).  A peer that knows only the
// other tokens finds none of its tokens in these, also in a doubled read, and
// ignores them; with the box off none of them is ever sent.
QString clockAskToken(double clientMs);
QString clockAnswerToken(const QString& askedMs, double serverMs);
QString startAtToken(int64_t serverTick, int64_t zeroTick);

// The clock tokens of one read from the server, taken out of it.
struct ClockTokens {
    struct Answer {
        double askedMs, serverMs;
    };
    std::vector<Answer> answers;
    std::optional<int64_t> startAt; // the last start announced, server's tick
    std::optional<int64_t> zero;    // the map's zero of that start, server's tick
};
// Takes every whole clock token out of `text`; what is left is read as
// without them.  A token cut by the end of a read, or with a payload that
// is no number, stays in the text, as any junk would.
ClockTokens takeClockTokens(QString& text);
// The client's ticks of the whole asks in what one read of a server's
// element holds, as sent.  Anything else in it is passed over.
QStringList clockAsks(QByteArrayView bytes);

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

    // Clock Start: what this client has learnt of its server's clock.
    const ClockOffset& serverClock() const { return serverClock_; }
    // On a server: "&PLAYAT/" for `at` and `zero` (own ticks) to every client.
    void announceStartAt(int64_t at, int64_t zero);

  private:
    void load(int i);
    void unload(int i);
    void showDot(bool shown);
    void connect();
    void disconnect();
    void connectFailed(const Failure* f);
    void receive(const QString& text, double readMs);
    void clientEndOfSession();
    void clockStartChanged();
    // Every 100 ms while "Clock Start" is on: a connected client asks the
    // server's clock, in a round of a few asks every 2 s.
    void clockTick();
    void answerClockAsks(int index, QByteArrayView bytes);
    // A client with the box on: the answers of one read, read at `readMs`.
    void learnClock(const ClockTokens& tokens, double readMs);
    // A start announced in the read, for an instant this client can place
    // on its own clock: StartAtTick (and StartZeroTick) are set.  Else false, and the plain
    // "&START/" will start the play as without the box.  `plainStartRead`:
    // the plain start came in the same read, so no later one is expected.
    bool announcedStart(const ClockTokens& tokens, bool plainStartRead);
    // A plain "&START/" that comes by itself soon after an announced start
    // (the server sends both): it belongs to the play begun by the
    // announcement.  Asked once per plain start.
    bool followsAnnouncedStart();

    Session& s_;
    SocketLayer& layer_;
    std::vector<std::unique_ptr<Socket>> elements_;
    int receiving_ = 0; // data-arrival handlers in progress, nested
    ClockOffset serverClock_;
    Subscription clockStartBox_;
    int clockTimer_ = 0;    // 0: not running
    int asked_ = 0;         // asks since the connection was made
    int roundLeft_ = 0;     // asks left in the round of asks under way
    int64_t roundTick_ = 0; // when it began
    // A plain "&START/" read before this tick follows a start already
    // announced and begun; 0 when none is expected.
    int64_t startFollowsUntil_ = 0;
};

} // namespace mv
