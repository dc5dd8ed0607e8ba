// Clock Start: the client's asks for the server's clock and the server's
// answers on the same connection, and starts announced for an instant of
// the server's clock, at which every client that follows that clock lets its
// music go.  With the box off nothing here sends a byte.

#include "core/session_state.h"
#include "sync/network.h"

#include <QRegularExpression>
#include <cmath>
#include <utility>

namespace mv {

namespace {

// A connected client asks in rounds, one ask a tick: kFirstAsks right after
// the connection is made, then kAsksPerRound every kClockAskEveryMs.  More
// samples make a short round trip with even delays both ways likelier.
constexpr int kClockTickMs = 100;
constexpr int kClockAskEveryMs = 2000;
constexpr int kFirstAsks = 8;
constexpr int kAsksPerRound = 3;
// A plain "&START/" read this long after the instant of the announced start
// it follows is taken as a start of its own.
constexpr int kStartFollowsMs = 1000;
// The most asks of one read that are answered.
constexpr int kMaxAnswersPerRead = 4;
// The farthest an announced instant may lie from now, either way.
constexpr int64_t kMaxStartAheadMs = 600000;

// A tick as text: milliseconds, with three decimals when it has a fraction.
QString tickText(double ms) {
    return ms == std::floor(ms) ? QString::number(int64_t(ms)) : QString::number(ms, 'f', 3);
}

// Numbers of at most 16 digits and 3 decimals, so that no payload is long.
const QString kNumber = QStringLiteral("(-?\\d{1,16}(?:\\.\\d{1,3})?)");

} // namespace

QString clockAskToken(double clientMs) {
    return QStringLiteral("&CLOCK?/") + tickText(clientMs) + u'/';
}

QString clockAnswerToken(const QString& askedMs, double serverMs) {
    return QStringLiteral("&CLOCK/") + askedMs + u',' + tickText(serverMs) + u'/';
}

QString startAtToken(int64_t serverTick, int64_t zeroTick) {
    return QStringLiteral("&PLAYAT/") + QString::number(serverTick) + u',' +
           QString::number(zeroTick) + u'/';
}

ClockTokens takeClockTokens(QString& text) {
    static thread_local const QRegularExpression answer(QStringLiteral("&CLOCK/") + kNumber + u',' +
                                                        kNumber + u'/');
    static thread_local const QRegularExpression startAt(
        QStringLiteral("&PLAYAT/(-?\\d{1,16})(?:,(-?\\d{1,16}))?/"));
    ClockTokens found;
    if (!text.contains(u'&')) return found;
    for (auto it = answer.globalMatch(text); it.hasNext();) {
        const auto m = it.next();
        found.answers.push_back({m.captured(1).toDouble(), m.captured(2).toDouble()});
    }
    for (auto it = startAt.globalMatch(text); it.hasNext();) {
        const auto m = it.next();
        found.startAt = m.captured(1).toLongLong();
        found.zero =
            m.hasCaptured(2) ? std::optional<int64_t>(m.captured(2).toLongLong()) : std::nullopt;
    }
    text.remove(answer);
    text.remove(startAt);
    return found;
}

QStringList clockAsks(QByteArrayView bytes) {
    static thread_local const QRegularExpression ask(QStringLiteral("&CLOCK\\?/") + kNumber + u'/');
    QStringList asks;
    const QString text = QString::fromLatin1(bytes);
    for (auto it = ask.globalMatch(text); it.hasNext();)
        asks << it.next().captured(1);
    return asks;
}

void Network::clockStartChanged() {
    const bool on = s_.velmor.ClockStart.get() == 1;
    if (on && !clockTimer_) {
        clockTimer_ = s_.clock.every(kClockTickMs, [this] { clockTick(); });
    } else if (!on && clockTimer_) {
        s_.clock.cancel(std::exchange(clockTimer_, 0));
        serverClock_.reset();
        asked_ = roundLeft_ = 0;
    }
}

void Network::clockTick() {
    const bool connected = s_.velmor.IamaServer.get() == 0 && s_.velmor.Shape1.get() && exists(0) &&
                           Winsock1(0).State() == sockstate::kConnected;
    if (!connected) {
        // The next connection may reach another server, or this one restarted.
        if (asked_) serverClock_.reset();
        asked_ = roundLeft_ = 0;
        return;
    }
    const int64_t now = s_.clock.tickMs();
    if (roundLeft_ == 0) {
        if (asked_ > 0 && now - roundTick_ < kClockAskEveryMs) return;
        roundLeft_ = asked_ > 0 ? kAsksPerRound : kFirstAsks;
        roundTick_ = now;
    }
    --roundLeft_;
    ++asked_;
    const QString ask = clockAskToken(s_.clock.preciseMs());
    Winsock1(0).SendData(ask.toLatin1()); // a failed ask is simply not answered
}

void Network::answerClockAsks(int index, QByteArrayView bytes) {
    const QStringList asks = clockAsks(bytes);
    if (asks.isEmpty()) return;
    const double now = s_.clock.preciseMs();
    QByteArray answers;
    // A client asks once a tick; a peer that floods with asks and reads
    // nothing must not make the answers pile up here.
    for (const QString& asked : asks.mid(0, kMaxAnswersPerRead))
        answers += clockAnswerToken(asked, now).toLatin1();
    Winsock1(index).SendData(answers); // passed over when it fails, as every send
}

void Network::announceStartAt(int64_t at, int64_t zero) { sendToClients(startAtToken(at, zero)); }

void Network::learnClock(const ClockTokens& tokens, double readMs) {
    for (const ClockTokens::Answer& a : tokens.answers)
        serverClock_.add(a.askedMs, a.serverMs, readMs);
}

bool Network::announcedStart(const ClockTokens& tokens, bool plainStartRead) {
    if (!tokens.startAt || !serverClock_.known()) return false;
    const int64_t at = std::llround(serverClock_.toLocal(double(*tokens.startAt)));
    // An instant no count-off reaches, or long gone, is no start to wait
    // for: the plain start after it serves.
    const int64_t now = s_.clock.tickMs();
    if (at > now + kMaxStartAheadMs || at < now - kMaxStartAheadMs) return false;
    s_.g.StartAtTick = at;
    // Without the map's zero (an earlier server), the tics count from the
    // moment the start was read, as with the plain start.
    s_.g.StartZeroTick = tokens.zero && std::abs(*tokens.zero - *tokens.startAt) <= kMaxStartAheadMs
                             ? std::llround(serverClock_.toLocal(double(*tokens.zero)))
                             : 0;
    startFollowsUntil_ = plainStartRead ? 0 : s_.g.StartAtTick + kStartFollowsMs;
    return true;
}

bool Network::followsAnnouncedStart() {
    const bool follows = startFollowsUntil_ && s_.clock.tickMs() <= startFollowsUntil_;
    startFollowsUntil_ = 0;
    return follows;
}

} // namespace mv
