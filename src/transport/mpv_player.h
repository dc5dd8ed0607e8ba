#pragma once
// The media player on libmpv.  All sound of the program comes from here.
// Speed changes keep the pitch (mpv's scaletempo2); a rate of 0 plays at
// normal speed and a negative rate holds the music (musicSpeed in
// media_player.h); the volume is this player's own, and with no sound device the music still
// "plays" silently in real time on the null output, so a cursor play works on any machine.
//
// Threads: the mpv instance starts on a thread of its own (mpv_library.h)
// at start() or at the first call that needs it; until it's ready, volume, speed and device are
// only kept and are applied when it is, and a call that needs the instance waits for it.  libmpv's
// wakeup callback comes from mpv's threads and only queues a call; the events
// are drained on the GUI thread.

#include "transport/media_player.h"
#include "transport/mpv_library.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <future>

namespace mv {

class MpvPlayer : public QObject, public MediaPlayer {
    Q_OBJECT
  public:
    // `audioOutput`: "auto" (the sound server or ALSA, falling back to the
    // null output), "null" (real time, silent), or the path of a WAV file to
    // write (as fast as it can: for tests).
    explicit MpvPlayer(const QString& audioOutput = QStringLiteral("auto"),
                       QObject* parent = nullptr);
    ~MpvPlayer() override;

    // Starts the mpv instance in the background (mpv_library.h); later calls
    // do nothing.  Until then nothing of libmpv is loaded; a call that needs
    // the instance starts it itself and waits for it.
    void start() const;

    void setURL(const QString& path) override;
    void setURLPaused(const QString& path) override;
    QString URL() const override { return url_; }
    void close() override;
    int playState() const override { return state_; }
    bool settingsIsAvailable(const QString& what) const override;
    void setSettingsRate(double rate) override;
    double settingsRate() const override { return rate_; }
    void setSettingsVolume(int volume) override;
    int settingsVolume() const override { return volume_; }
    void controlsPlay() override;
    void controlsPause() override;
    void controlsStop() override;
    void controlsFastForward() override;
    double controlsCurrentPosition() const override;
    void setControlsCurrentPosition(double seconds) override;
    QStringList audioDevices() const override;
    void setAudioDevice(const QString& name) override;

    // True once the automatic output fell through to the null output: the
    // music plays silently.
    bool noAudioOutput() const { return noAudio_; }
    // Waits for the mpv instance: false when libmpv is missing or failed.
    bool isValid() const { return handle() != nullptr; }

  signals:
    // Said once, when the automatic output fell through to the null output.
    void audioOutputMissing();
    // Said once, when libmpv is missing or its instance can't start: no
    // music plays (the sheets and the cursor still work).
    void musicUnavailable();
    // The file ended by itself (or could not be played).
    void endOfFile();
    // The mpv instance is ready: audioDevices() lists the real devices from
    // now on (before, it lists none).
    void started();

  private:
    // The instance, once ready; waits for it if it's still starting.
    mpv_handle* handle() const;
    // Takes the ready instance over: its events, and the volume and device
    // asked for meanwhile.
    void attach() const;
    void drainEvents();
    void startLoad();
    // Queues the load of url_, to play (state 3) or held at its start (2).
    void queueLoad(int state);
    void setFlag(const char* name, bool on);
    void setDouble(const char* name, double v);
    // While playing: mpv at the speed of the rate, or paused for a held rate.
    void runAtRate();
    void markPosition(double pos);

    mutable MpvOptions options_; // until started
    mutable std::future<mpv_handle*> starting_;
    mutable bool attached_ = false;
    mutable mpv_handle* mpv_ = nullptr; // set once attached
    mutable const MpvApi* api_ = nullptr;
    QByteArray device_ = QByteArrayLiteral("auto");
    QString url_;
    QString requestedAo_;
    int state_ = 10; // 10 ready, 3 playing, 2 paused, 1 stopped, 4 fast forward
    double rate_ = 1.0;
    int volume_ = 50;
    bool loadPending_ = false; // a load is queued, not yet sent to mpv
    bool loaded_ = false;      // mpv has the file open
    double startAt_ = 0;       // where the next load starts
    // Position smoothing: mpv reports time-pos every ~40-50 ms; between
    // reports it runs on at the current speed, and it never goes back.
    double basePos_ = 0;
    QElapsedTimer baseClock_;
    mutable double lastReported_ = 0;
    bool noAudio_ = false;
    bool writesFile_ = false; // the output is a WAV file, written as fast as it can
    bool catchUp_ = false;    // the next playback start catches up with the URL's moment
    QElapsedTimer urlClock_;  // runs from the last URL
    quint64 loadSerial_ = 0;
};

} // namespace mv
