#pragma once
// The program as the desktop's media controls see it (media keys, the
// panel's player, a phone, playerctl): a playback status, the selected
// song's metadata, volume and speed, and the verbs play, pause, stop, next,
// previous and seek.  No D-Bus here: mpris_service.h puts this on the bus.
//
// Every verb does what the program's own controls do, through the same
// handlers: Play is the sheet's Play (WindowsMediaPlayer1_MouseDown, with
// the map and its count-off), or "Continue" after a pause; Pause is the
// "Pause" button, which holds a map play on its next tic, and which also
// pauses the music where no map play's tics are left to hold it (a manual
// play, music running past the map's end); Stop is "Fade" (FadeT
// seconds); Next and Previous select the neighbouring song as a press on the list does
// (File1_MouseDown), or, while the play list is shown, its neighbouring item (List1_LeftPress);
// nothing starts.  A server's verbs therefore reach its clients as its
// buttons do; a client's stay on the client.  Verbs run from the event
// queue, as a click does, so a caller is answered at once although a play
// lasts the whole song.
//
// Changes are gathered: whatever changes (a field, the list, the player) is
// looked at once from the event queue, and `changed` gets the properties
// whose value differs from the last report.

#include "core/observable.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <functional>
#include <vector>

namespace mv {

struct Session;
struct Library;

class MediaControls : public QObject {
    Q_OBJECT
  public:
    static constexpr double kMinimumRate = 0.25, kMaximumRate = 2.0;
    // The object path of "no track".
    static QString noTrack() { return QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack"); }

    // `library` gives the play list's items; without it Next and Previous
    // walk the song list only.
    explicit MediaControls(Session& s, Library* library = nullptr, QObject* parent = nullptr);

    // "Playing" from the play start (the count-off included) while the music
    // runs or a map play's loop takes tics (with or without music); "Paused"
    // when the music is held or "Pause" was pressed from the count-off to
    // the map's last tic (the loop holds on its next tic); "Stopped"
    // otherwise.  Elsewhere (a manual play, the closing wait after the last
    // tic) "Continue" on the button alone holds nothing, so the music's own
    // state counts: a stopped play is Stopped during that wait.
    // `canPause` is false in notation mode, where no Pause is offered.
    QString playbackStatus() const;
    // mpris:trackid (an object path under /io/github/mellivane/Mellivane/track,
    // new for every song loaded; NoTrack before the first load), xesam:title
    // (the music's name without its extension), xesam:url (file URL of the
    // music), and mpris:length (microseconds) when the music file tells it.
    QVariantMap metadata() const;
    // The music's position in microseconds; 0 with nothing playing.
    int64_t positionUs() const;
    // The volume bar HScroll1 (1..100) as 0.01..1.  Setting clamps into the
    // bar's range; NaN is passed over.
    double volume() const;
    void setVolume(double v);
    // Speed, clamped into kMinimumRate..kMaximumRate.  Setting writes Speed
    // (to two decimals) as its arrows do; 0 or less pauses, NaN is passed over.
    double rate() const;
    void setRate(double r);
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canPlay() const;
    bool canPause() const;
    // False while a map plays (from the count-off to the play loop's end, or
    // while the cursor shows) and with no music.
    bool canSeek() const;

    void play();
    void pause();
    void playPause();
    void stop();
    void next();
    void previous();
    // Moves the music by `offsetUs` (from the start at a negative result;
    // past the end is Next, as the interface asks).  Refused while a map plays.
    void seek(int64_t offsetUs);
    // Only for the current track id and a position within the song.
    void setPosition(const QString& trackId, int64_t us);
    // Raise and Quit of the root interface, handed in by the program.
    std::function<void()> raise, quit;

    // Something may have changed: looked at from the event queue.
    void schedule();
    // Music was loaded to play from its start: the next report also tells
    // the position's jump (Seeked), whatever the status was.
    void musicStarted();
    // Looks now: emits `changed` with what differs, and `seeked` when the
    // position jumped (a play start, a stop).
    void flush();

  signals:
    void changed(const QVariantMap& properties);
    void seeked(qint64 positionUs);

  private:
    // Runs `verb` from the event queue under the program's last guard.
    void later(std::function<void()> verb);
    bool started_ = false; // music was loaded to play since the last report
    // The play loop will hold on a tic at "Pause": from the count-off to
    // the map's last tic.
    bool ticsHeld() const;
    QVariantMap snapshot() const;
    bool mapPlays() const;
    // The entry highlighted in the song list ("" with none).
    QString selectedEntry() const;
    // The music of the song loaded ("" before the first load), whatever the
    // list's highlight says.
    QString musicPath() const;
    // Selects the neighbour `step` (+1, -1) away.
    void neighbour(int step);
    bool usePlayList() const;

    Session& s_;
    Library* library_;
    QVariantMap last_;
    bool scheduled_ = false;
    // The music the track id stands for, its serial and its length.
    mutable QString trackKey_;
    mutable int trackSerial_ = 0;
    mutable int64_t trackLength_ = -1;
    std::vector<Subscription> subs_;
};

} // namespace mv
