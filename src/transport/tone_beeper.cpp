#include "transport/tone_beeper.h"

#include "core/clock.h"

#include <algorithm>
#include <mpv/client.h>

namespace mv {

ToneBeeper::ToneBeeper(Clock& clock, const QString& audioOutput) : clock_(clock) {
    mpv_ = mpv_create();
    if (!mpv_) return;
    const QByteArray ao = audioOutput == u"auto" ? QByteArrayLiteral("pipewire,pulse,alsa,null")
                                                 : QByteArrayLiteral("null");
    mpv_set_option_string(mpv_, "ao", ao.constData());
    mpv_set_option_string(mpv_, "vid", "no");
    mpv_set_option_string(mpv_, "idle", "yes");
    mpv_set_option_string(mpv_, "terminal", "no");
    mpv_set_option_string(mpv_, "audio-buffer", "0.02");
    if (mpv_initialize(mpv_) < 0) {
        mpv_terminate_destroy(mpv_);
        mpv_ = nullptr;
    }
}

ToneBeeper::~ToneBeeper() {
    if (mpv_) mpv_terminate_destroy(mpv_);
}

void ToneBeeper::beep(int hz, int ms) {
    if (mpv_ && hz > 0) {
        const QByteArray url = QStringLiteral("av://lavfi:sine=frequency=%1:duration=%2")
                                   .arg(std::clamp(hz, 20, 20000))
                                   .arg(ms / 1000.0)
                                   .toLatin1();
        const char* cmd[] = {"loadfile", url.constData(), nullptr};
        mpv_command_async(mpv_, 0, cmd); // returns at once; the tone plays behind
    }
    clock_.sleepBlocking(ms);
}

} // namespace mv
