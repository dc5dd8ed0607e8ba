#include "web/follower_hub.h"

#include "core/file_lookup.h"
#include "core/session_state.h"
#include "core/text_codec.h"
#include "core/values.h"
#include "cursormap/map_file.h"
#include "sheet/page_geometry.h"
#include "sheet/pdf_viewer.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTimer>
#include <algorithm>
#include <cmath>

namespace mv::web {

namespace {

// A map larger than this is no map (5000 tics take about 200 kB).
constexpr qint64 kMaxMapBytes = 8 * 1024 * 1024;

QStringList mapLines(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly) || f.size() > kMaxMapBytes) return {};
    QString text = decodeText(f.readAll());
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    QStringList lines = text.split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast();
    return lines;
}

} // namespace

FollowerHub::FollowerHub(Session& s, PageSizes pageSizes)
    : s_(s), pageSizes_(std::move(pageSizes)) {
    // The images' addresses carry the song's number, and browsers keep them
    // for an hour: numbers start anywhere, so another run's are not taken.
    song_.serial = int(QRandomGenerator::global()->bounded(1, 500000));
    subs_.push_back(s_.g.MapPlaying.subscribe([this] { onPlaying(); }));
    subs_.push_back(s_.g.MapZeroAhead.subscribe([this] { onAhead(); }));
    subs_.push_back(s_.g.MapTicMoved.subscribe([this] { onTic(); }));
    subs_.push_back(s_.velmor.Command10.subscribe([this] { onContinue(); }));
    subs_.push_back(s_.velmor.Speed.subscribe([this] { onSpeed(); }));
    // The fade steps the volume down from where it stands, FadeT x 0.02 s a step.
    subs_.push_back(s_.g.FadesBegun.subscribe([this] {
        broadcast(fadeMessage(s_.velmor.FadeT.value() * 0.02 * s_.velmor.HScroll1.get()));
    }));
    subs_.push_back(s_.adobeF.VScroll1.subscribe([this] { viewChanged(); }));
}

// The links belong to whoever made them (the web server); they may go before
// or after the hub.
FollowerHub::~FollowerHub() { *alive_ = false; }

FollowerHub::Follower* FollowerHub::find(FollowerLink* link) {
    for (Follower& f : followers_)
        if (f.link == link) return &f;
    return nullptr;
}

bool FollowerHub::join(FollowerLink* link) {
    const int64_t now = s_.clock.tickMs();
    if (followers() >= kMaxFollowers) {
        // The oldest connection that never came in (no hello, no PIN) gives way.
        const auto stale = std::find_if(followers_.begin(), followers_.end(), [&](auto& f) {
            return !f.admitted && now - f.joined >= kAdmitWithinMs;
        });
        if (stale != followers_.end()) drop(stale->link);
    }
    if (followers() >= kMaxFollowers) {
        // Refused with a close that lets the message leave first: a page
        // whose connection simply broke would keep trying again.
        link->sendText(fullMessage());
        link->refuse(fullText());
        return false;
    }
    followers_.push_back({link});
    followers_.back().joined = now;
    s_.velmor.WebFollowers.set(followers());
    return true;
}

void FollowerHub::leave(FollowerLink* link) {
    const auto it = std::find_if(followers_.begin(), followers_.end(),
                                 [link](auto& f) { return f.link == link; });
    if (it == followers_.end()) return;
    if (it->admitted && !it->key.isEmpty()) {
        keptKeys_.push_back(
            {it->key, s_.velmor.WebPin.text().trimmed(), s_.clock.tickMs() + kKeyKeptMs});
        if (int(keptKeys_.size()) > kMaxKeysKept) keptKeys_.pop_front();
    }
    followers_.erase(it);
    s_.velmor.WebFollowers.set(followers());
}

void FollowerHub::drop(FollowerLink* link) {
    if (!find(link)) return;
    leave(link);
    link->closeLink();
}

bool FollowerHub::pinAccepted(const QString& pin) const {
    const QString want = s_.velmor.WebPin.text().trimmed();
    return want.isEmpty() || pin.trimmed() == want;
}

FollowerHub::PinAnswer FollowerHub::tryPin(const QString& pin, int64_t* waitMs) {
    if (s_.velmor.WebPin.text().trimmed().isEmpty()) return PinAnswer::Right;
    const int64_t now = s_.clock.tickMs();
    while (!wrongPinTicks_.empty() && now - wrongPinTicks_.front() >= kWrongPinWindowMs)
        wrongPinTicks_.pop_front();
    // Past the limit no PIN is looked at, the right one neither: an answer
    // would tell the guesser which one it was.
    if (int(wrongPinTicks_.size()) >= kMaxWrongPins) {
        *waitMs = wrongPinTicks_.front() + kWrongPinWindowMs - now;
        return PinAnswer::Wait;
    }
    if (pinAccepted(pin)) return PinAnswer::Right;
    wrongPinTicks_.push_back(now);
    return PinAnswer::Wrong;
}

bool FollowerHub::knownKey(const QString& key) {
    if (key.isEmpty()) return false;
    if (std::any_of(followers_.begin(), followers_.end(),
                    [&key](const Follower& f) { return f.admitted && f.key == key; }))
        return true;
    const int64_t now = s_.clock.tickMs();
    const QString pin = s_.velmor.WebPin.text().trimmed();
    for (auto it = keptKeys_.begin(); it != keptKeys_.end(); ++it) {
        if (it->key != key) continue;
        const bool good = it->until > now && it->pin == pin;
        keptKeys_.erase(it);
        return good;
    }
    return false;
}

bool FollowerHub::imageKeyAccepted(const QString& key) const {
    if (s_.velmor.WebPin.text().trimmed().isEmpty()) return true;
    if (key.isEmpty()) return false;
    return std::any_of(followers_.begin(), followers_.end(),
                       [&key](const Follower& f) { return f.admitted && f.key == key; });
}

void FollowerHub::send(FollowerLink* link, const QByteArray& text) {
    // A device that has stopped reading is dropped, never waited for.
    if (link->queuedBytes() + text.size() > kMaxQueuedBytes) return drop(link);
    link->sendText(text);
}

void FollowerHub::broadcast(const QByteArray& text) {
    // Dropping changes the list: go over a copy.
    for (const Follower& f : std::vector<Follower>(followers_))
        if (f.admitted && find(f.link)) send(f.link, text);
}

void FollowerHub::hello(Follower& f, const ClientMessage& m) {
    FollowerLink* link = f.link;
    f.part = m.part;
    if (f.admitted) return;
    // A device that was in comes back in with its key.
    if (knownKey(m.key)) return admit(f, m.key);
    if (m.pin.isEmpty()) {
        // The page asking whether a PIN is needed.
        if (!pinAccepted(m.pin)) return send(link, pinMessage(false));
        return admit(f);
    }
    int64_t waitMs = 0;
    switch (tryPin(m.pin, &waitMs)) {
    case PinAnswer::Right: return admit(f);
    case PinAnswer::Wait: return send(link, pinMessage(false, int((waitMs + 999) / 1000)));
    case PinAnswer::Wrong:
        if (++f.wrongPins >= 3) return drop(link);
        return send(link, pinMessage(true));
    }
}

void FollowerHub::receive(FollowerLink* link, const QByteArray& text) {
    Follower* f = find(link);
    if (!f) return;
    const ClientMessage m = readClientMessage(text);
    switch (m.kind) {
    case ClientMessage::Kind::Hello: return hello(*f, m);
    case ClientMessage::Kind::Ping:
        // Answered before the PIN, too: it tells nothing about the music.
        return send(link, pongMessage(m.stamp, s_.clock.preciseMs()));
    case ClientMessage::Kind::Part: f->part = m.part; return;
    case ClientMessage::Kind::Unknown: return;
    }
}

namespace {

// 128 random bits from the system's source, as 32 hex digits.
QString newImageKey() {
    quint32 words[4];
    QRandomGenerator::system()->fillRange(words);
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(words), sizeof words).toHex());
}

} // namespace

void FollowerHub::admit(Follower& f, const QString& key) {
    f.admitted = true;
    // A key of its own, also with no PIN set: it stays good when a PIN is
    // set later, and it goes with the follower (kept a while after).
    f.key = key.isEmpty() ? newImageKey() : key;
    FollowerLink* link = f.link;
    send(link, welcomeMessage(followers(), f.key));
    if (!find(link)) return;
    SongInfo now = song_;
    now.page = shownPage();
    now.top = shownTop();
    send(link, songMessage(now));
    if (!find(link) || !playing_) return;
    send(link, clockMessage(at_, map_, rate_, tic_));
}

// The song ------------------------------------------------------------------

SheetPlacement FollowerHub::placementOne() const {
    const VelmorState& v = s_.velmor;
    SheetPlacement p;
    p.ticOffset = v.Text5.value();
    p.xOffset = v.XOffset.value();
    p.yOffset = v.YOffset.value();
    p.scrollOffset = v.ScrollOffset.value();
    p.zoomIt = v.ZoomIt.value();
    p.zoomThis = s_.adobeF.ZoomThis.value();
    // The viewer keeps its zoom when ZoomIt is 25 or less.
    p.viewerZoom = v.ZoomIt.value() > 25 ? std::floor(v.ZoomIt.value()) : 100;
    p.viewerWidth = s_.adobeF.VScroll1Left.get() - 50;
    p.viewerLeft = 2 * s_.adobeF.Picture3Left.get();
    p.noScroll = v.NoScroll.get() == 1;
    p.pages = song_.pages;
    return p;
}

SheetPlacement FollowerHub::placementTwo() const {
    const VelmorState& v = s_.velmor;
    const SheetTwoState& w = s_.adobeF2;
    SheetPlacement p;
    p.ticOffset = v.Text5.value();
    p.xOffset = v.XOffset.value() + w.AdjLeft.value();
    p.yOffset = v.YOffset.value() + w.ScrollOffset.value();
    p.scrollOffset = v.ScrollOffset.value();
    // Until window 2 is shown its viewer has no place of its own: it takes
    // window 1's as it opens.
    const bool shown = w.Visible.get();
    p.viewerWidth = shown ? w.AcroPDF1Width.get() : s_.adobeF.VScroll1Left.get() - 50;
    p.viewerLeft = shown ? w.AcroPDF1Left.get() : s_.adobeF.Picture3Left.get();
    p.viewerTop = shown ? w.AcroPDF1Top.get() : 0;
    p.noScroll = v.NoScroll.get() == 1;
    p.pages = song_.pages2;
    return p;
}

void FollowerHub::refreshSong() {
    const QString base = s_.g.SongBase;
    const QString name = QFileInfo(base).fileName();
    sheet1_ = existingPathIgnoringCase(siblingPath(base, QStringLiteral("pdf")));
    sheet2_ = existingPathIgnoringCase(
        siblingPath(s_.velmor.Text7.text().trimmed() + u'/' + name, QStringLiteral("pdf")));
    if (!QFileInfo(sheet1_).isFile()) sheet1_.clear();
    if (!QFileInfo(sheet2_).isFile()) sheet2_.clear();
    song_.serial = song_.serial % 999999 + 1;
    song_.name = beforeFirstDotOfName(name);
    song_.pages = sheet1_.isEmpty() ? std::vector<QSizeF>{} : pageSizes_(sheet1_);
    song_.pages2 = sheet2_.isEmpty() ? std::vector<QSizeF>{} : pageSizes_(sheet2_);
    mapTics_ = base.isEmpty() ? std::vector<MapTic>{}
                              : readMapTics(mapLines(existingPathIgnoringCase(mapFileName(base))));
    placeSongTics();
    watchViewer();
    song_.page = toldPage_ = shownPage();
    song_.top = toldTop_ = shownTop();
    broadcast(songMessage(song_));
}

bool FollowerHub::placeSongTics() {
    const auto sameAs = [](const std::vector<FollowerTic>& a, const std::vector<FollowerTic>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto& x, auto& y) {
            return x.ms == y.ms && x.page == y.page && x.x == y.x && x.y == y.y && x.top == y.top;
        });
    };
    std::vector<FollowerTic> one = placeTics(mapTics_, placementOne());
    std::vector<FollowerTic> two =
        song_.pages2.empty() ? std::vector<FollowerTic>{} : placeTics(mapTics_, placementTwo());
    const double scale = page::scale(placementOne().viewerZoom);
    song_.cursor = {CursorPicture::kWidth / scale, CursorPicture::kNormalHeight / scale};
    if (sameAs(one, song_.tics) && sameAs(two, song_.tics2)) return false;
    song_.tics = std::move(one);
    song_.tics2 = std::move(two);
    return true;
}

// The play clock --------------------------------------------------------------

double FollowerHub::rate() const {
    // Tic times are divided by Speed; a Speed of 0 leaves them as they are.
    const double speed = s_.velmor.Speed.value();
    return speed > 0 ? speed : 1;
}

double FollowerHub::mapMsOfTic(int tic) const {
    if (tic < 0 || song_.tics.empty()) return 0;
    return song_.tics[size_t(std::min<int>(tic, int(song_.tics.size()) - 1))].ms;
}

void FollowerHub::sendClock() { broadcast(clockMessage(at_, map_, rate_, tic_)); }

bool FollowerHub::retellMovedTics() {
    if (!placeSongTics()) return false;
    song_.page = shownPage();
    song_.top = shownTop();
    broadcast(songMessage(song_));
    return true;
}

void FollowerHub::beginPlay(double zero) {
    // The setup may have changed since the selection (offsets, zoom,
    // Tic Offset): the followers get the tics as this play places them.
    retellMovedTics();
    playing_ = true;
    at_ = zero;
    map_ = 0;
    rate_ = rate();
    tic_ = -1;
    // The page the play starts on: the tics count their pages from it.
    toldPage_ = shownPage();
    toldTop_ = shownTop();
    pageOffset_ = 0;
    sendView(toldPage_, toldTop_);
    sendClock();
}

void FollowerHub::onAhead() {
    const int64_t zero = s_.g.MapZeroAhead.get();
    if (zero && !mapTics_.empty()) beginPlay(double(zero));
}

void FollowerHub::onPlaying() {
    if (s_.g.MapPlaying.get()) {
        // The map's zero: the start's moment before any count-off, or the
        // announced one.  A play told ahead goes on as told, unless the
        // sheet or the setup moved meanwhile.
        const double zero = double(s_.g.PlayStartTick);
        const bool told = playing_ && at_ == zero && map_ == 0 && tic_ == -1 && rate_ == rate();
        if (!told) return beginPlay(zero);
        if (retellMovedTics()) sendClock();
        if (shownPage() != toldPage_ || shownTop() != toldTop_) {
            toldPage_ = shownPage();
            toldTop_ = shownTop();
            sendView(toldPage_, toldTop_);
        }
    } else if (playing_) {
        playing_ = false;
        broadcast(stopMessage());
    }
}

void FollowerHub::onTic() {
    if (!playing_) return;
    const int tic = s_.g.MapTicMoved.get();
    const double now = double(s_.clock.tickMs());
    if (tic < 0) {
        // The loop has left: the cursor stands on its last tic.
        if (rate_ == 0) return;
        at_ = now;
        map_ = mapMsOfTic(tic_);
        rate_ = 0;
        return sendClock();
    }
    tic_ = tic;
    const double ticMs = mapMsOfTic(tic);
    if (s_.g.PauseHeld) { // held on this tic until Continue
        at_ = now;
        map_ = ticMs;
        rate_ = 0;
        return sendClock();
    }
    const double predicted = map_ + (now - at_) * rate_;
    if (std::abs(predicted - ticMs) > kDriftMs || rate_ == 0) {
        at_ = now;
        map_ = ticMs;
        rate_ = rate();
        sendClock();
    }
}

void FollowerHub::onContinue() {
    // "Continue" gives the next tic its whole time from now.
    if (!playing_ || rate_ != 0 || s_.velmor.Command10.text() != u"Pause" ||
        s_.g.MapTicMoved.get() < 0)
        return;
    at_ = double(s_.clock.tickMs());
    map_ = mapMsOfTic(tic_);
    rate_ = rate();
    sendClock();
}

void FollowerHub::onSpeed() {
    broadcast(speedMessage(s_.velmor.Speed.value()));
    if (!playing_ || rate_ == 0) return;
    // The map stands where the old rate brought it; it runs on at the new one.
    const double now = double(s_.clock.tickMs());
    map_ += (now - at_) * rate_;
    at_ = now;
    rate_ = rate();
    sendClock();
}

// The sheet turned or scrolled ------------------------------------------------

void FollowerHub::watchViewer() {
    PdfViewer* v = s_.adobeF.AcroPDF1;
    if (v == watched_) return;
    watched_ = v;
    viewerSub_ = v ? v->shownPage.subscribe([this] { viewChanged(); }) : Subscription();
}

int FollowerHub::shownPage() const {
    const int p = s_.adobeF.AcroPDF1 ? s_.adobeF.AcroPDF1->shownPage.get() : 0;
    return std::max(1, p);
}

double FollowerHub::shownTop() const { return pageTopOf(s_.adobeF.VScroll1.get(), placementOne()); }

void FollowerHub::viewChanged() {
    watchViewer();
    // A tic turns and scrolls in several steps, and a smooth scroll moves the
    // sheet a hundred times a second: the followers hear the result once the
    // handler has run, and during a play only what the tics did not do.
    if (viewCheckQueued_) return;
    viewCheckQueued_ = true;
    QTimer::singleShot(0, [this, alive = std::weak_ptr<bool>(alive_)] {
        if (alive.lock()) checkView();
    });
}

void FollowerHub::checkView() {
    viewCheckQueued_ = false;
    const int page = shownPage();
    const double top = shownTop();
    if (page == toldPage_ && std::abs(top - toldTop_) < 0.01) return;
    toldPage_ = page;
    toldTop_ = top;
    if (playing_ && tic_ >= 0 && tic_ < int(song_.tics.size())) {
        // The tic's own turn and scroll: the followers have made them.
        const FollowerTic& t = song_.tics[size_t(tic_)];
        if (page == pageOfTic(tic_) && std::abs(t.top - top) < 0.01) return;
    }
    sendView(page, top);
}

int FollowerHub::pageFromOne(int tic) const {
    return tic >= 0 && tic < int(song_.tics.size()) ? song_.tics[size_t(tic)].page : 1;
}

int FollowerHub::pageOfTic(int tic) const {
    const int pages = std::max<int>(1, int(song_.pages.size()));
    return std::clamp(pageFromOne(tic) + pageOffset_, 1, pages);
}

void FollowerHub::sendView(int page, double top) {
    // During a play the tics count their pages from where the sheet stood
    // at the start: a turn by hand moves every later page with it.
    if (playing_) pageOffset_ = page - pageFromOne(tic_);
    broadcast(viewMessage(page, top, playing_ ? tic_ : -1));
}

} // namespace mv::web
