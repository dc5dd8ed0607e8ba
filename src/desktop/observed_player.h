#pragma once
// A media player that reports every call that may change what it plays:
// the desktop's media controls learn of a start, a pause or a stop however
// it came (a button, a key, a token, the play loop), and `started` of
// music loaded to play from its start.  It forwards every operation to the
// player it wraps, unchanged.

#include "transport/media_player.h"

#include <functional>
#include <utility>

namespace mv {

class ObservedPlayer : public MediaPlayer {
  public:
    ObservedPlayer(MediaPlayer& inner, std::function<void()> changed,
                   std::function<void()> started = {})
        : inner_(inner), changed_(std::move(changed)), started_(std::move(started)) {}

    void setURL(const QString& path) override {
        load(path, [&] { inner_.setURL(path); });
    }
    QString URL() const override { return inner_.URL(); }
    void setURLPaused(const QString& path) override {
        load(path, [&] { inner_.setURLPaused(path); });
    }
    void close() override {
        tell([&] { inner_.close(); });
    }
    int playState() const override { return inner_.playState(); }
    bool settingsIsAvailable(const QString& what) const override {
        return inner_.settingsIsAvailable(what);
    }
    void setSettingsRate(double rate) override {
        tell([&] { inner_.setSettingsRate(rate); });
    }
    double settingsRate() const override { return inner_.settingsRate(); }
    void setSettingsVolume(int v) override {
        tell([&] { inner_.setSettingsVolume(v); });
    }
    int settingsVolume() const override { return inner_.settingsVolume(); }
    void controlsPlay() override {
        tell([&] { inner_.controlsPlay(); });
    }
    void controlsPause() override {
        tell([&] { inner_.controlsPause(); });
    }
    void controlsStop() override {
        tell([&] { inner_.controlsStop(); });
    }
    void controlsFastForward() override {
        tell([&] { inner_.controlsFastForward(); });
    }
    double controlsCurrentPosition() const override { return inner_.controlsCurrentPosition(); }
    void setControlsCurrentPosition(double s) override {
        tell([&] { inner_.setControlsCurrentPosition(s); });
    }
    QStringList audioDevices() const override { return inner_.audioDevices(); }
    void setAudioDevice(const QString& name) override { inner_.setAudioDevice(name); }

  private:
    template <class F> void tell(F&& call) {
        call();
        if (changed_) changed_();
    }
    // A path loads music to play from its start; "" only drops it.
    template <class F> void load(const QString& path, F&& call) {
        tell(std::forward<F>(call));
        if (!path.isEmpty() && started_) started_();
    }
    MediaPlayer& inner_;
    std::function<void()> changed_, started_;
};

} // namespace mv
