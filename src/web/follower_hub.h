#pragma once
// The web followers of a server: the browsers connected to the stream, what
// they are told and when.  The hub watches the session (the song selected,
// the play loop's tics, pause and continue, speed, the sheet turned or
// scrolled by hand) and tells every follower; the cursor itself is animated
// in the browser from the song's tics and the play clock.
//
// Safety on a stage network: at most kMaxFollowers connections (the next is
// told why and closed); with a PIN set, a follower hears nothing until it has
// given it (three wrong tries close it; all the devices together get
// kMaxWrongPins tries a minute, and past that are told to wait), and the
// page images open only to the key an admitted follower was given, never to
// the PIN.  A device that was in comes back with its key, without the PIN,
// for kKeyKeptMs after it left (a page whose connection broke on stage is
// not asked again, nor locked out by someone guessing).  A connection that
// has not come in within kAdmitWithinMs gives up its place when the places
// run out.  Every follower
// has a bounded send queue, and one whose queue is full (a stalled or
// vanished device) is dropped, so it never holds up the program or the
// others.  A dropped page
// reconnects by itself and starts afresh from the song message.

#include "core/observable.h"
#include "web/follower_protocol.h"

#include <QByteArray>
#include <QSizeF>
#include <QString>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace mv {
struct Session;
class PdfViewer;
} // namespace mv

namespace mv::web {

// One follower's connection, as the hub sees it.
class FollowerLink {
  public:
    virtual ~FollowerLink() = default;
    // Queues a text message; it leaves when the connection takes it.
    virtual void sendText(const QByteArray& text) = 0;
    // Bytes queued and not yet taken by the connection.
    virtual qint64 queuedBytes() const = 0;
    // Closes the connection at once, dropping what is queued.  The hub has
    // forgotten the link by then; the link may be destroyed later (not
    // inside this call).
    virtual void closeLink() = 0;
    // Sends what is queued, then closes the connection with the close code
    // kCloseCodeFull and `reason` (at most 123 bytes).  The hub never knew
    // the link; it destroys itself once closed (not inside this call).
    virtual void refuse(const QString& reason) = 0;
};

// The page sizes of a PDF in points; empty when it cannot be read.
using PageSizes = std::function<std::vector<QSizeF>(const QString& pdfPath)>;

class FollowerHub {
  public:
    static constexpr int kMaxFollowers = 64;
    // A song message of a long map is a few hundred kB; a queue this full
    // means the device has stopped reading.
    static constexpr qint64 kMaxQueuedBytes = 4 * 1024 * 1024;
    // The browser's play clock is set anew when the loop's tic is this far
    // from where the clock said it would be.
    static constexpr double kDriftMs = 4;
    // Wrong PINs from all devices together within this time that stop any
    // PIN being looked at until the oldest of them is that old: a 4-digit
    // PIN then takes hours to find, however many connections try.
    static constexpr int kMaxWrongPins = 10;
    static constexpr int64_t kWrongPinWindowMs = 60'000;
    static constexpr int64_t kKeyKeptMs = 30 * 60'000;
    static constexpr int kMaxKeysKept = 256;
    static constexpr int64_t kAdmitWithinMs = 30'000;

    FollowerHub(Session& s, PageSizes pageSizes);
    ~FollowerHub();
    FollowerHub(const FollowerHub&) = delete;
    FollowerHub& operator=(const FollowerHub&) = delete;

    // A new connection.  When all places are taken, the oldest connection
    // that has not come in within kAdmitWithinMs is dropped to make room;
    // failing that the new one is sent the "full" message and refused: false.
    bool join(FollowerLink* link);
    // The connection has gone (or was closed); unknown links are ignored.
    void leave(FollowerLink* link);
    // A text message from a follower.
    void receive(FollowerLink* link, const QByteArray& text);

    int followers() const { return int(followers_.size()); }
    // Whether `pin` opens the stream and the images (always, with no PIN set).
    bool pinAccepted(const QString& pin) const;
    // Whether `key` opens the page images: the key of a follower admitted
    // and still connected; any key (even none) with no PIN set.
    bool imageKeyAccepted(const QString& key) const;
    // The current song as the followers have it, and its sheets' files.
    const SongInfo& song() const { return song_; }
    QString sheetPath(int part) const { return part == 2 ? sheet2_ : sheet1_; }

    // Reads the selected song afresh (name, sheets, map) and tells everyone.
    void refreshSong();

  private:
    struct Follower {
        FollowerLink* link;
        bool admitted = false;
        int part = 1;
        int wrongPins = 0;
        QString key = {}; // given on admission, for the page images
        int64_t joined = 0;
    };
    // A key of a device that was in, kept after it left.
    struct KeptKey {
        QString key, pin; // the PIN it came in under: a new PIN voids it
        int64_t until;
    };
    // Whether `key` is one of an admitted follower or a kept one; a kept
    // one is taken out of the kept.
    bool knownKey(const QString& key);
    Follower* find(FollowerLink* link);
    void hello(Follower& f, const ClientMessage& m);
    // Lets the follower in, with `key` (one it had before) or a new one.
    void admit(Follower& f, const QString& key = {});
    enum class PinAnswer { Right, Wrong, Wait };
    // Whether a PIN given opens the stream, under the limit of wrong tries;
    // Wait past the limit, with `waitMs` until a try is looked at again.
    PinAnswer tryPin(const QString& pin, int64_t* waitMs);
    void send(FollowerLink* link, const QByteArray& text);
    void broadcast(const QByteArray& text);
    void drop(FollowerLink* link);
    // The play clock, from the loop's state.
    double rate() const;
    double mapMsOfTic(int tic) const;
    void sendClock();
    void onPlaying();
    // A play with a map is about to run (its count-off began): followers
    // get its clock now, so that they start with it wherever they are.
    void onAhead();
    // The play clock of a play whose tics count from the tick `zero`.
    void beginPlay(double zero);
    void onTic();
    void onContinue();
    void onSpeed();
    void viewChanged();
    void checkView();
    void sendView(int page, double top);
    // The page tic `tic` shows (-1: the page the play started on).
    int pageOfTic(int tic) const;
    int pageFromOne(int tic) const;
    void watchViewer();
    int shownPage() const;
    double shownTop() const;
    // Places the map's tics by the setup as it stands; false when they are
    // the same as before.
    bool placeSongTics();
    // Places the tics afresh and, when they moved, tells everyone the song
    // again: true then.
    bool retellMovedTics();
    SheetPlacement placementOne() const;
    SheetPlacement placementTwo() const;

    Session& s_;
    PageSizes pageSizes_;
    std::vector<Follower> followers_;
    std::deque<int64_t> wrongPinTicks_; // the last wrong PINs' times, at most kMaxWrongPins
    std::deque<KeptKey> keptKeys_;      // oldest first
    SongInfo song_;
    std::vector<MapTic> mapTics_;
    QString sheet1_, sheet2_;
    // The play clock: at tick at_ the map stood at map_ ms, running at rate_
    // (0 held); tic_ the last tic moved, -1 before the first.
    bool playing_ = false;
    double at_ = 0, map_ = 0, rate_ = 0;
    int tic_ = -1;
    // The page and top the followers were last told, to send changes only.
    int toldPage_ = 0;
    double toldTop_ = 0;
    int pageOffset_ = 0; // the page a play started on - 1, plus the turns by hand
    bool viewCheckQueued_ = false;
    PdfViewer* watched_ = nullptr;
    std::vector<Subscription> subs_;
    Subscription viewerSub_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace mv::web
