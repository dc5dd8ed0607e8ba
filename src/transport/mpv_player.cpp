#include "transport/mpv_player.h"

#include "transport/mpv_library.h"

#include <QFileInfo>
#include <QMetaObject>
#include <algorithm>
#include <clocale>
#include <cstring>
#include <mpv/client.h>

namespace mv {

namespace {

constexpr double kFastForwardSpeed = 4.0;

QByteArray aoList(const QString& out) {
    if (out == u"auto" || out.isEmpty()) return QByteArrayLiteral("pipewire,pulse,alsa,null");
    if (out == u"null") return QByteArrayLiteral("null");
    return QByteArrayLiteral("pcm");
}

} // namespace

MpvPlayer::MpvPlayer(const QString& audioOutput, QObject* parent)
    : QObject(parent), requestedAo_(audioOutput) {
    // libmpv refuses to start unless numbers are formatted the C way.
    std::setlocale(LC_NUMERIC, "C");
    MpvOptions& options = options_;
    options = {{"ao", aoList(audioOutput)}};
    writesFile_ = aoList(audioOutput) == "pcm";
    if (writesFile_) {
        options.push_back({"ao-pcm-file", QFileInfo(audioOutput).absoluteFilePath().toUtf8()});
        options.push_back({"ao-pcm-waveheader", "yes"});
        options.push_back({"audio-format", "s16"}); // one sample format whatever the filters
    }
    options.insert(options.end(), {{"vid", "no"},
                                   {"video", "no"},
                                   {"audio-display", "no"},
                                   {"idle", "yes"},
                                   {"terminal", "no"},
                                   {"input-default-bindings", "no"},
                                   {"audio-pitch-correction", "yes"},
                                   {"volume", "50"},
                                   {"volume-max", "100"},
                                   // Start fast: a small output buffer and no cache, so that
                                   // the music's clock starts within a few milliseconds of
                                   // the load.
                                   {"audio-buffer", "0.05"},
                                   {"cache", "no"}});
    baseClock_.start();
}

void MpvPlayer::start() const {
    if (starting_.valid() || attached_) return;
    // Takes the instance over as soon as it's ready, unless a call needed
    // it earlier.
    auto* self = const_cast<MpvPlayer*>(this);
    starting_ = startMpv(std::move(options_), [self] {
        QMetaObject::invokeMethod(
            self, [self] { self->attach(); }, Qt::QueuedConnection);
    });
}

MpvPlayer::~MpvPlayer() {
    if (!starting_.valid() && !attached_) return; // never started
    handle();
    if (!mpv_) return;
    api_->set_wakeup_callback(mpv_, nullptr, nullptr);
    api_->terminate_destroy(mpv_);
}

mpv_handle* MpvPlayer::handle() const {
    if (!attached_) {
        start();
        attach();
    }
    return mpv_;
}

void MpvPlayer::attach() const {
    if (attached_) return;
    attached_ = true;
    mpv_ = starting_.get();
    if (!mpv_) {
        QMetaObject::invokeMethod(const_cast<MpvPlayer*>(this), &MpvPlayer::musicUnavailable,
                                  Qt::QueuedConnection);
        return;
    }
    api_ = mpvApi();
    api_->observe_property(mpv_, 1, "time-pos", MPV_FORMAT_DOUBLE);
    api_->observe_property(mpv_, 2, "current-ao", MPV_FORMAT_STRING);
    api_->set_wakeup_callback(
        mpv_,
        [](void* self) {
            // From mpv's thread: only queue the drain on the GUI thread.
            QMetaObject::invokeMethod(static_cast<MpvPlayer*>(self), &MpvPlayer::drainEvents,
                                      Qt::QueuedConnection);
        },
        const_cast<MpvPlayer*>(this));
    double volume = volume_;
    api_->set_property(mpv_, "volume", MPV_FORMAT_DOUBLE, &volume);
    api_->set_property_string(mpv_, "audio-device", device_.constData());
    // Queued: whoever listens may call back into the player.
    QMetaObject::invokeMethod(const_cast<MpvPlayer*>(this), &MpvPlayer::started,
                              Qt::QueuedConnection);
}

// Property writes never wait for the instance: what they set is applied
// when it is ready (the volume and device) or at the load (speed and pause).
void MpvPlayer::setFlag(const char* name, bool on) {
    if (mpv_) api_->set_property_string(mpv_, name, on ? "yes" : "no");
}

void MpvPlayer::setDouble(const char* name, double v) {
    if (mpv_) api_->set_property(mpv_, name, MPV_FORMAT_DOUBLE, &v);
}

void MpvPlayer::markPosition(double pos) {
    basePos_ = pos;
    baseClock_.restart();
}

void MpvPlayer::setURL(const QString& path) {
    url_ = path;
    if (path.isEmpty()) {
        // Stops the sound at once.
        loadPending_ = false;
        loaded_ = false;
        if (mpv_) {
            const char* cmd[] = {"stop", nullptr};
            api_->command(mpv_, cmd);
        }
        state_ = 1;
        markPosition(0);
        lastReported_ = 0;
        return;
    }
    queueLoad(3);
}

void MpvPlayer::setURLPaused(const QString& path) {
    if (path.isEmpty()) return setURL(path);
    url_ = path;
    queueLoad(2);
}

void MpvPlayer::queueLoad(int state) {
    // The load goes out from the event queue, so that a position written
    // right after this call still becomes the start of the file.
    startAt_ = 0;
    loadPending_ = true;
    loaded_ = false;
    // A file output runs faster than real time: nothing to catch up with.
    // Music loaded held has no moment to catch up with until it is let go.
    catchUp_ = !writesFile_ && state == 3;
    urlClock_.start();
    state_ = state;
    markPosition(0);
    lastReported_ = 0;
    const quint64 serial = ++loadSerial_;
    QMetaObject::invokeMethod(
        this,
        [this, serial] {
            if (serial == loadSerial_ && loadPending_) startLoad();
        },
        Qt::QueuedConnection);
}

void MpvPlayer::startLoad() {
    loadPending_ = false;
    if (!handle()) return;
    runAtRate();
    const bool held = state_ == 2;
    if (held) setFlag("pause", true); // opened and decoded, waiting for controlsPlay
    const QByteArray url = url_.toUtf8();
    const QByteArray options = QStringLiteral("start=%1").arg(startAt_, 0, 'f', 3).toUtf8();
    // Named arguments: the same call works across libmpv versions.
    mpv_node keys[4];
    char* names[4] = {const_cast<char*>("name"), const_cast<char*>("url"),
                      const_cast<char*>("flags"), const_cast<char*>("options")};
    const char* values[4] = {"loadfile", url.constData(), "replace", options.constData()};
    for (int i = 0; i < 4; ++i) {
        keys[i].format = MPV_FORMAT_STRING;
        keys[i].u.string = const_cast<char*>(values[i]);
    }
    mpv_node_list list{4, keys, names};
    mpv_node cmd;
    cmd.format = MPV_FORMAT_NODE_MAP;
    cmd.u.list = &list;
    api_->command_node(mpv_, &cmd, nullptr);
    markPosition(startAt_);
    state_ = held ? 2 : 3;
}

void MpvPlayer::drainEvents() {
    while (mpv_) {
        mpv_event* e = api_->wait_event(mpv_, 0);
        if (!e || e->event_id == MPV_EVENT_NONE) break;
        switch (e->event_id) {
        case MPV_EVENT_FILE_LOADED: loaded_ = true; break;
        case MPV_EVENT_PLAYBACK_RESTART:
            // The music was asked for at the URL; opening and decoding took
            // a moment (60-80 ms here).  Catch up once, so that the music
            // stands where it would had it started at once: maps count from
            // that moment.
            if (catchUp_ && loaded_ && state_ == 3) {
                catchUp_ = false;
                const double lag = urlClock_.nsecsElapsed() / 1e9;
                if (lag > 0.005 && lag < 2.0) {
                    const double target = startAt_ + lag * musicSpeed(rate_);
                    const QByteArray pos = QByteArray::number(target, 'f', 3);
                    const char* cmd[] = {"seek", pos.constData(), "absolute+exact", nullptr};
                    api_->command(mpv_, cmd);
                    markPosition(target);
                }
            }
            break;
        case MPV_EVENT_END_FILE: {
            auto* end = static_cast<mpv_event_end_file*>(e->data);
            // A "stop" or a new "loadfile" ends the old file too; only the
            // end of the music itself (or an error) stops the player here.
            if (end &&
                (end->reason == MPV_END_FILE_REASON_EOF ||
                 end->reason == MPV_END_FILE_REASON_ERROR) &&
                !loadPending_) {
                loaded_ = false;
                state_ = 1;
                emit endOfFile();
            }
            break;
        }
        case MPV_EVENT_PROPERTY_CHANGE: {
            auto* p = static_cast<mpv_event_property*>(e->data);
            if (e->reply_userdata == 1 && p->format == MPV_FORMAT_DOUBLE && loaded_)
                markPosition(*static_cast<double*>(p->data));
            if (e->reply_userdata == 2 && p->format == MPV_FORMAT_STRING) {
                const char* ao = *static_cast<char**>(p->data);
                if (ao && std::strcmp(ao, "null") == 0 && aoList(requestedAo_) != "null" &&
                    !noAudio_) {
                    noAudio_ = true;
                    emit audioOutputMissing();
                }
            }
            break;
        }
        default: break;
        }
    }
}

void MpvPlayer::close() {
    setURL(QString());
    state_ = 10;
}

bool MpvPlayer::settingsIsAvailable(const QString& what) const {
    // The music's own end leaves the file loaded: only a new URL or close
    // takes it away.
    return what == u"Rate" && !url_.isEmpty();
}

void MpvPlayer::setSettingsRate(double rate) {
    if (rate == rate_) return; // the play loop sets it at every tic
    markPosition(controlsCurrentPosition());
    rate_ = rate;
    if (state_ == 3) runAtRate(); // paused, stopped or fast: at the next play
}

void MpvPlayer::runAtRate() {
    const double speed = musicSpeed(rate_);
    if (speed > 0) setDouble("speed", std::clamp(speed, 0.01, 100.0));
    setFlag("pause", !(speed > 0)); // a negative rate holds the music
}

void MpvPlayer::setSettingsVolume(int volume) {
    volume_ = std::clamp(volume, 0, 100);
    setDouble("volume", volume_);
}

void MpvPlayer::controlsPlay() {
    if (url_.isEmpty()) return;
    // Let go before the held load has opened: the music catches up with
    // this moment once it runs, as after setURL.
    if (state_ == 2 && (loadPending_ || !loaded_)) {
        catchUp_ = !writesFile_;
        urlClock_.start();
    }
    markPosition(controlsCurrentPosition());
    state_ = 3;
    runAtRate();
}

void MpvPlayer::controlsPause() {
    if (url_.isEmpty()) return;
    markPosition(controlsCurrentPosition());
    setFlag("pause", true);
    state_ = 2;
}

void MpvPlayer::controlsStop() {
    if (url_.isEmpty()) return;
    setFlag("pause", true);
    setControlsCurrentPosition(0);
    state_ = 1;
}

void MpvPlayer::controlsFastForward() {
    if (url_.isEmpty()) return;
    markPosition(controlsCurrentPosition());
    setDouble("speed", kFastForwardSpeed);
    setFlag("pause", false);
    state_ = 4;
}

double MpvPlayer::controlsCurrentPosition() const {
    double pos = basePos_;
    if ((state_ == 3 || state_ == 4) && loaded_) {
        const double speed = state_ == 4 ? kFastForwardSpeed : musicSpeed(rate_);
        pos += baseClock_.nsecsElapsed() / 1e9 * speed;
    }
    if (state_ == 3 || state_ == 4) pos = std::max(pos, lastReported_);
    lastReported_ = pos;
    return pos;
}

void MpvPlayer::setControlsCurrentPosition(double seconds) {
    if (url_.isEmpty()) return;
    seconds = std::max(0.0, seconds);
    if (loadPending_)
        startAt_ = seconds;
    else if (mpv_ && loaded_) {
        const QByteArray pos = QByteArray::number(seconds, 'f', 3);
        const char* cmd[] = {"seek", pos.constData(), "absolute+exact", nullptr};
        api_->command(mpv_, cmd);
    }
    markPosition(seconds);
    lastReported_ = seconds;
}

QStringList MpvPlayer::audioDevices() const {
    QStringList server, alsa;
    if (!mpv_) return {}; // not ready yet: started() tells when it is
    mpv_node list;
    if (api_->get_property(mpv_, "audio-device-list", MPV_FORMAT_NODE, &list) < 0) return {};
    if (list.format == MPV_FORMAT_NODE_ARRAY) {
        for (int i = 0; i < list.u.list->num; ++i) {
            const mpv_node& dev = list.u.list->values[i];
            if (dev.format != MPV_FORMAT_NODE_MAP) continue;
            for (int k = 0; k < dev.u.list->num; ++k) {
                if (std::strcmp(dev.u.list->keys[k], "name") != 0) continue;
                const QString name = QString::fromUtf8(dev.u.list->values[k].u.string);
                if (name.startsWith(u"pulse/") || name.startsWith(u"pipewire/"))
                    server << name;
                else if (name.startsWith(u"alsa/") && !name.contains(u"null"))
                    alsa << name;
            }
        }
    }
    api_->free_node_contents(&list);
    // With a sound server its sinks are the real outputs; ALSA's list then
    // only repeats plugins, many of which lead nowhere.
    return server.isEmpty() ? alsa : server;
}

void MpvPlayer::setAudioDevice(const QString& name) {
    device_ = name.isEmpty() ? QByteArrayLiteral("auto") : name.toUtf8();
    if (mpv_) api_->set_property_string(mpv_, "audio-device", device_.constData());
}

} // namespace mv
