#pragma once
// What the program asks of its media player, under the player's own
// operation names.  All sound comes from one player.  A call with no file
// loaded never fails.  Implementations: MpvPlayer (libmpv) and, for tests,
// FakePlayer, whose position follows the injected clock.

#include <QString>
#include <QStringList>

namespace mv {

// The speed at which the music runs for a rate: the rate itself above 0, 1
// at 0, and 0 (held) below 0.
inline double musicSpeed(double rate) { return rate > 0 ? rate : rate == 0 ? 1.0 : 0.0; }

class MediaPlayer {
  public:
    virtual ~MediaPlayer() = default;

    // "URL": setting a path loads the file and starts playing with no further
    // call; setting "" stops the sound at once.
    virtual void setURL(const QString& path) = 0;
    virtual QString URL() const = 0;
    // Loads `path` held at its start (playState 2), opened and ready, so
    // that controlsPlay lets the music go at once, with no loading delay.
    virtual void setURLPaused(const QString& path) = 0;
    // Releases the current file; playing stops.  Harmless when nothing is loaded.
    virtual void close() = 0;
    // 3 while playing (1 stopped, 2 paused, 4 fast forward, 10 ready).
    virtual int playState() const = 0;

    // settings.isAvailable(what): only "Rate" is asked; true while a file is
    // loaded, that is while a URL is set, also after the music has ended by
    // itself (a map that outlasts its recording keeps dividing its tics).
    virtual bool settingsIsAvailable(const QString& what) const = 0;
    // settings.rate: playing speed, 1 normal; changes while playing keep the
    // pitch.  Speed 0 plays at normal speed, as the play loop then leaves the
    // tic times undivided, so music and cursor stay together.  Below 0 the
    // music is held where it stands (it cannot run backwards) until the rate
    // is 0 or more again.  musicSpeed() gives the speed of a rate.
    virtual void setSettingsRate(double rate) = 0;
    virtual double settingsRate() const = 0;
    // settings.volume: 0..100 of this player alone, at once.
    virtual void setSettingsVolume(int volume) = 0;
    virtual int settingsVolume() const = 0;

    // controls.play: resumes after a pause or a fast forward.
    virtual void controlsPlay() = 0;
    // controls.pause: holds the position.
    virtual void controlsPause() = 0;
    // controls.stop: stops and keeps the file.
    virtual void controlsStop() = 0;
    // controls.fastForward: plays fast until the next transport call.
    virtual void controlsFastForward() = 0;
    // controls.currentPosition in seconds; a write right after setURL lands.
    virtual double controlsCurrentPosition() const = 0;
    virtual void setControlsCurrentPosition(double seconds) = 0;

    // The names of the audio outputs, for the Audio Out menu, and the routing
    // of the sound to one of them ("" is the system default).
    virtual QStringList audioDevices() const = 0;
    virtual void setAudioDevice(const QString& name) = 0;
};

} // namespace mv
