#pragma once
// The TIC check box's beep: a sine tone of the asked frequency and length,
// played by a small libmpv instance of its own (mpv's lavfi source makes the
// tone, so no sound file is needed).  The call holds the caller for the
// beep's length without serving events, as the system beep does; the tone
// itself plays asynchronously, a few milliseconds behind.

#include "core/beeper.h"
#include "transport/mpv_library.h"

#include <QString>
#include <future>

namespace mv {

class Clock;

class ToneBeeper final : public Beeper {
  public:
    // `audioOutput`: "auto" or "null"; anything else (a file) beeps silently.
    ToneBeeper(Clock& clock, const QString& audioOutput);
    ~ToneBeeper() override;
    ToneBeeper(const ToneBeeper&) = delete;
    ToneBeeper& operator=(const ToneBeeper&) = delete;
    void beep(int hz, int ms) override;
    void setAudioDevice(const QString& name) override;
    // Starts the tone's mpv instance in the background; the first beep
    // starts it otherwise, and waits for it.
    void start();

  private:
    Clock& clock_;
    // The instance starts in the background; the first beep waits for it.
    MpvOptions options_; // until started
    std::future<mpv_handle*> starting_;
    bool attached_ = false;
    mpv_handle* mpv_ = nullptr;
    QByteArray device_; // until attached; empty: none asked for
};

} // namespace mv
