#include "desktop/media_controls.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "desktop/media_length.h"
#include "library/play_list.h"
#include "transport/media_player.h"
#include "transport/play_start.h"
#include "transport/stop_pause.h"

#include <QFileInfo>
#include <QTimer>
#include <QUrl>
#include <cmath>

namespace mv {

namespace {

const QString kPlaying = QStringLiteral("Playing"), kPaused = QStringLiteral("Paused"),
              kStopped = QStringLiteral("Stopped");

} // namespace

MediaControls::MediaControls(Session& s, Library* library, QObject* parent)
    : QObject(parent), s_(s), library_(library) {
    VelmorState& v = s.velmor;
    for (Notifier* n : std::initializer_list<Notifier*>{
             &v.File1List, &v.File1ListIndex, &v.HScroll1, &v.Speed, &v.Command10,
             &v.Command10Visible, &s.adobeF.Text11Visible, &s.adobeF.Picture1.Visible,
             &s.g.MapPlaying, &s.g.MapTicsDone, &s.playLst.Visible, &s.playLst.List1,
             &s.playLst.ListIndex})
        subs_.push_back(n->subscribe([this] { schedule(); }));
    last_ = snapshot();
}

bool MediaControls::ticsHeld() const {
    // A stop asked for ends the loop at its next test: no tic is held then.
    return s_.adobeF.Text11Visible.get() || (s_.g.MapPlaying.get() && !s_.g.MapTicsDone.get() &&
                                             !s_.g.StopRequested && !s_.g.CursorPlaySwitch);
}

QString MediaControls::playbackStatus() const {
    // The count-off belongs to the play: the music starts at its end.  A
    // "Pause" pressed in it holds the play on its first tic.
    if (s_.adobeF.Text11Visible.get())
        return s_.velmor.Command10.text() == u"Continue" ? kPaused : kPlaying;
    const bool music = s_.player && !s_.player->URL().isEmpty();
    // A map play plays to its last tic, without music too (TIC).
    if (ticsHeld()) {
        const bool held =
            s_.velmor.Command10.text() == u"Continue" || (music && s_.player->playState() == 2);
        return held ? kPaused : kPlaying;
    }
    if (!music) return kStopped;
    // Without a map play nothing looks at "Pause": the music says.
    switch (s_.player->playState()) {
    case 2: return kPaused;
    case 3:
    case 4: return kPlaying;
    default: return kStopped;
    }
}

QString MediaControls::selectedEntry() const { return s_.velmor.File1FileName().trimmed(); }

QString MediaControls::musicPath() const {
    if (s_.g.SongBase.isEmpty()) return {};
    QString path = s_.g.SongFile;
    // A list of sheets plays the MP3 of the same name, as the play start finds it.
    if (path.endsWith(QStringLiteral(".pdf"), Qt::CaseInsensitive))
        path = existingPathIgnoringCase(path.left(path.size() - 4) + QStringLiteral(".MP3"));
    return path;
}

QVariantMap MediaControls::metadata() const {
    const QString path = musicPath();
    if (path.isEmpty()) return {{QStringLiteral("mpris:trackid"), noTrack()}};
    if (path != trackKey_) {
        trackKey_ = path;
        ++trackSerial_;
        trackLength_ = mediaFileLengthUs(path);
    }
    QVariantMap m;
    m[QStringLiteral("mpris:trackid")] =
        QStringLiteral("/io/github/mellivane/Mellivane/track/%1").arg(trackSerial_);
    m[QStringLiteral("xesam:title")] = QFileInfo(path).completeBaseName();
    m[QStringLiteral("xesam:url")] = QUrl::fromLocalFile(path).toString();
    if (trackLength_ >= 0) m[QStringLiteral("mpris:length")] = qint64(trackLength_);
    return m;
}

int64_t MediaControls::positionUs() const {
    if (!s_.player || s_.player->URL().isEmpty()) return 0;
    return std::llround(std::max(0.0, s_.player->controlsCurrentPosition()) * 1e6);
}

double MediaControls::volume() const { return s_.velmor.HScroll1.get() / 100.0; }

void MediaControls::setVolume(double v) {
    if (std::isnan(v)) return;
    const ScrollValue& bar = s_.velmor.HScroll1;
    const double clamped = std::clamp(v * 100, double(bar.min()), double(bar.max()));
    s_.velmor.HScroll1.set(int(std::lround(clamped)));
}

double MediaControls::rate() const {
    return std::clamp(musicSpeed(s_.velmor.Speed.value()), kMinimumRate, kMaximumRate);
}

void MediaControls::setRate(double r) {
    if (std::isnan(r)) return;
    if (r <= 0) return pause();
    const double clamped = std::clamp(r, kMinimumRate, kMaximumRate);
    s_.velmor.Speed.setNumber(std::round(clamped * 100) / 100);
}

bool MediaControls::usePlayList() const {
    return library_ && s_.playLst.Visible.get() && !s_.playLst.List1.get().isEmpty();
}

bool MediaControls::canGoNext() const {
    if (usePlayList()) return s_.playLst.ListIndex.get() < s_.playLst.List1.get().size() - 1;
    return s_.velmor.File1ListIndex.get() < s_.velmor.File1List.get().size() - 1;
}

bool MediaControls::canGoPrevious() const {
    if (usePlayList()) return s_.playLst.ListIndex.get() > 0;
    return s_.velmor.File1ListIndex.get() > 0;
}

bool MediaControls::canPlay() const {
    return !s_.g.SongBase.isEmpty() || !selectedEntry().isEmpty();
}

bool MediaControls::canPause() const {
    // In notation mode the viewer plays along and no Pause is offered.
    // Paused, it stays true, as the desktops' play/pause buttons expect.
    return s_.velmor.Command10Visible.get() && playbackStatus() != kStopped;
}

bool MediaControls::mapPlays() const {
    return s_.adobeF.Text11Visible.get() || s_.adobeF.Picture1.Visible.get() ||
           s_.g.MapPlaying.get();
}

bool MediaControls::canSeek() const {
    return s_.player && !s_.player->URL().isEmpty() && !mapPlays();
}

void MediaControls::later(std::function<void()> verb) {
    QTimer::singleShot(0, this, [this, verb = std::move(verb)] { runGuarded(s_.messages, verb); });
}

void MediaControls::play() {
    later([this] {
        const QString status = playbackStatus();
        if (status == kPlaying) return;
        if (status == kPaused) {
            // "Continue", or the music held by a stray pause.
            if (s_.velmor.Command10.text() == u"Continue")
                Command10_Click(s_);
            else if (s_.player)
                s_.player->controlsPlay();
            return;
        }
        // A song highlighted by the keys but never loaded loads first.
        if (s_.g.SongBase.isEmpty() && !selectedEntry().isEmpty() && s_.File1_MouseDown)
            s_.File1_MouseDown(1, 0, 0, 0);
        if (s_.g.SongBase.isEmpty()) return;
        WindowsMediaPlayer1_MouseDown(s_, 1, 0, 0, 0);
    });
}

void MediaControls::pause() {
    later([this] {
        if (!canPause() || playbackStatus() != kPlaying) return;
        if (s_.velmor.Command10.text() == u"Pause") Command10_Click(s_);
        // The play loop holds a map play on its next tic; any other music
        // (a manual play, or music running on past its map's last tic) has
        // no loop to look at the flag, so it pauses here, and "Continue"
        // lets it go.
        if (!ticsHeld() && s_.player) s_.player->controlsPause();
    });
}

void MediaControls::playPause() {
    if (playbackStatus() == kPlaying)
        pause();
    else
        play();
}

void MediaControls::stop() {
    later([this] {
        if (playbackStatus() != kStopped) Command7_Click(s_);
    });
}

void MediaControls::next() {
    later([this] { neighbour(1); });
}
void MediaControls::previous() {
    later([this] { neighbour(-1); });
}

void MediaControls::neighbour(int step) {
    if (usePlayList()) {
        const int count = int(s_.playLst.List1.get().size());
        const int item = s_.playLst.ListIndex.get() + step;
        if (item < 0 || item >= count) return;
        s_.playLst.ListIndex.set(item);
        List1_LeftPress(s_, *library_, item);
        return;
    }
    const int count = int(s_.velmor.File1List.get().size());
    const int entry = s_.velmor.File1ListIndex.get() + step;
    if (entry < 0 || entry >= count) return;
    s_.velmor.File1ListIndex.set(entry);
    if (s_.File1_MouseDown) s_.File1_MouseDown(1, 0, 0, 0);
}

void MediaControls::seek(int64_t offsetUs) {
    if (!canSeek()) return;
    // An offset from outside may be anything: the sum saturates.
    int64_t target = 0;
    if (__builtin_add_overflow(positionUs(), offsetUs, &target))
        target = offsetUs > 0 ? INT64_MAX : 0;
    if (trackLength_ >= 0 && target > trackLength_) return next();
    s_.player->setControlsCurrentPosition(std::max<int64_t>(0, target) / 1e6);
    emit seeked(positionUs());
}

void MediaControls::setPosition(const QString& trackId, int64_t us) {
    if (!canSeek() || trackId != metadata().value(QStringLiteral("mpris:trackid")).toString())
        return;
    if (us < 0 || (trackLength_ >= 0 && us > trackLength_)) return;
    s_.player->setControlsCurrentPosition(us / 1e6);
    emit seeked(positionUs());
}

void MediaControls::musicStarted() {
    started_ = true;
    schedule();
}

void MediaControls::schedule() {
    if (scheduled_) return;
    scheduled_ = true;
    QTimer::singleShot(0, this, [this] { flush(); });
}

QVariantMap MediaControls::snapshot() const {
    return {{QStringLiteral("PlaybackStatus"), playbackStatus()},
            {QStringLiteral("Metadata"), metadata()},
            {QStringLiteral("Volume"), volume()},
            {QStringLiteral("Rate"), rate()},
            {QStringLiteral("CanGoNext"), canGoNext()},
            {QStringLiteral("CanGoPrevious"), canGoPrevious()},
            {QStringLiteral("CanPlay"), canPlay()},
            {QStringLiteral("CanPause"), canPause()},
            {QStringLiteral("CanSeek"), canSeek()}};
}

void MediaControls::flush() {
    scheduled_ = false;
    const QVariantMap now = snapshot();
    QVariantMap diff;
    for (auto it = now.cbegin(); it != now.cend(); ++it)
        if (last_.value(it.key()) != it.value()) diff.insert(it.key(), it.value());
    const QString was = last_.value(QStringLiteral("PlaybackStatus")).toString();
    const QString is = now.value(QStringLiteral("PlaybackStatus")).toString();
    last_ = now;
    if (!diff.isEmpty()) emit changed(diff);
    // The position jumps at a start (to the song's start, also from a pause)
    // and at a stop (to 0).
    const bool started = started_ && is != kStopped;
    started_ = false;
    if (started || (was == kStopped) != (is == kStopped)) emit seeked(positionUs());
}

} // namespace mv
