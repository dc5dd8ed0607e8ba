// The tokens: the send loops of the server and the client's reading of what
// arrives.  On the wire a token is its text alone, no length, no line end:
// in Windows-1252 when every character has a byte there (what older peers
// speak), else in UTF-8.  What one read returns is taken as a whole, so
// tokens read together follow the fixed order below and a token split over
// two reads is lost.

#include "core/session_state.h"
#include "core/text_codec.h"
#include "sync/network.h"
#include "transport/stop_pause.h"

namespace mv {

namespace {

const QString kSelect = QStringLiteral("&SELECT/");
const QString kSpeed = QStringLiteral("@SPEED/");

// Handlers nested deeper than this (a server that starts a new play inside
// every play, read by read) have their text read and dropped, so that no
// stream of bytes can exhaust the stack.
constexpr int kMaxNestedReads = 64;

// The bytes of a token on the wire.
QByteArray wireBytes(const QString& token) { return encodeText(token, preferredEncoding(token)); }

// How many bytes at the end of `bytes` begin a UTF-8 character that the
// read cut off: 0 when the last character is whole or no UTF-8 at all.
qsizetype cutCharacter(QByteArrayView bytes) {
    for (qsizetype back = 1; back <= 4 && back <= bytes.size(); ++back) {
        const auto b = static_cast<unsigned char>(bytes[bytes.size() - back]);
        if ((b & 0xC0) == 0x80) continue; // a continuation byte: look further back
        const int length = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
        return length > back ? back : 0;
    }
    return 0;
}

} // namespace

QString decodeRead(QByteArrayView bytes) {
    // A name in UTF-8 whose last character the read cut: the rest is taken
    // as UTF-8 without it, as a name cut between two ASCII letters is read
    // up to the cut.
    if (const qsizetype cut = cutCharacter(bytes); cut > 0) {
        const QByteArrayView whole = bytes.first(bytes.size() - cut);
        if (looksUtf8(whole)) return QString::fromUtf8(whole);
    }
    return decodeText(bytes);
}

Message readMessage(const QString& received) {
    const QString d = received + received; // every test runs on the doubled text
    Message m;
    if (d.contains(QLatin1String("&END/"))) {
        m.end = true;
        return m;
    }
    m.autoScroll = d.contains(QLatin1String("&AUTOSCROLL/"));
    m.command3 = d.contains(QLatin1String("&COMMAND3/"));
    m.command4 = d.contains(QLatin1String("&COMMAND4/"));
    m.command6 = d.contains(QLatin1String("&COMMAND6/"));
    if (const qsizetype p = d.indexOf(kSelect); p >= 0) {
        m.select = true;
        m.name = d.mid(p + kSelect.size(), 255).toUpper();
        if (const qsizetype cut = m.name.indexOf(kSelect); cut >= 0) m.name.truncate(cut);
        return m;
    }
    if (d.contains(QLatin1String("&START/"))) {
        m.then = Message::Then::Start;
    } else if (d.contains(QLatin1String("&STOP/"))) {
        m.then = Message::Then::Stop;
    } else if (d.contains(QLatin1String("&TIME/"))) {
        // The server's time of day.  No server action sends it, and a client
        // never sets the computer's clock: the token is read and ignored.
        m.then = Message::Then::Time;
    } else if (const qsizetype p = d.indexOf(kSpeed); p >= 0) {
        m.then = Message::Then::Speed;
        m.speed = numberText(val(QStringView(d).mid(p + kSpeed.size(), 10)));
    }
    return m;
}

void Network::sendToClients(const QString& token) {
    if (!s_.velmor.Shape1.get()) return;
    const QByteArray bytes = wireBytes(token);
    for (int i = 1; i <= s_.g.ClientCount; ++i)
        if (exists(i)) Winsock1(i).SendData(bytes); // a failed send is passed over
}

void Network::sendSheetToClients(const QString& token) {
    const QByteArray bytes = wireBytes(token);
    for (int i = 1; i <= s_.g.ClientCount; ++i) {
        if (!exists(i)) continue;
        const SendResult r = Winsock1(i).SendData(bytes);
        if (r.error != 0 && r.error != sockerr::kBadState) throw Failure(r.error, r.text);
    }
}

void Network::Winsock1_DataArrival(int index, qint64) {
    if (index != 0) {
        // What a client sends to its server is read and dropped: the
        // protocol goes one way, but for the clock asks of Clock Start.
        if (!exists(index)) return;
        const QByteArray got = Winsock1(index).GetData();
        if (s_.velmor.ClockStart.get() == 1 && s_.velmor.IamaServer.get() == 1)
            answerClockAsks(index, got);
        return;
    }
    showDot(true);
    s_.pump.letEventsRun();
    if (!exists(0)) return;
    const QString text = decodeRead(Winsock1(0).GetData());
    const double readMs = s_.clock.preciseMs();
    if (receiving_ >= kMaxNestedReads) return;
    ++receiving_;
    try {
        receive(text, readMs);
    } catch (const Failure&) {
        // Ends the handler without a message; the rest of the text is lost.
    }
    --receiving_;
}

void Network::receive(const QString& received, double readMs) {
    // With Clock Start the clock tokens are taken out first; without it the
    // read is what a client that knows nothing of them makes of it.
    QString text = received;
    ClockTokens clock;
    const bool clockStart = s_.velmor.ClockStart.get() == 1;
    if (clockStart) {
        clock = takeClockTokens(text);
        learnClock(clock, readMs);
    }
    const Message m = readMessage(text);
    if (m.end) return clientEndOfSession();
    if (m.autoScroll && s_.adobeF_Command14_Click) s_.adobeF_Command14_Click();
    if (m.command3 && s_.adobeF_Command3_Click) s_.adobeF_Command3_Click();
    if (m.command4 && s_.adobeF_Command4_Click) s_.adobeF_Command4_Click();
    if (m.command6 && s_.adobeF_Command6_Click) s_.adobeF_Command6_Click();
    if (m.select) {
        // A client that follows a server plays almost silently.
        s_.velmor.VScroll1.set(1);
        const QStringList list = s_.velmor.File1List.get();
        for (int i = 0; i < list.size(); ++i) {
            if (!list[i].trimmed().toUpper().contains(m.name)) continue;
            // Only an entry of the client's own list is ever selected.
            s_.velmor.File1ListIndex.set(i);
            if (s_.File1_MouseDown) s_.File1_MouseDown(1, 0, 1, 1);
            return;
        }
        return;
    }
    // An announced start stands where "&START/" stands among the tokens.
    Message::Then then = m.then;
    if (clockStart && announcedStart(clock, then == Message::Then::Start))
        then = Message::Then::Start;
    else if (then == Message::Then::Start && clockStart && followsAnnouncedStart())
        return;
    switch (then) {
    case Message::Then::Start:
        if (s_.WindowsMediaPlayer1_MouseDown) s_.WindowsMediaPlayer1_MouseDown(1, 0, 1, 1);
        break;
    case Message::Then::Stop: stopOnClient(s_); break;
    case Message::Then::Speed: s_.velmor.Speed.setText(m.speed); break;
    case Message::Then::Time:
    case Message::Then::None: break;
    }
}

} // namespace mv
