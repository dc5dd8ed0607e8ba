#include "transport/tone_beeper.h"

#include "core/clock.h"
#include "transport/mpv_library.h"

#include <algorithm>

namespace mv {

ToneBeeper::ToneBeeper(Clock& clock, const QString& audioOutput) : clock_(clock) {
    const QByteArray ao = audioOutput == u"auto" ? QByteArrayLiteral("pipewire,pulse,alsa,null")
                                                 : QByteArrayLiteral("null");
    options_ = {
        {"ao", ao}, {"vid", "no"}, {"idle", "yes"}, {"terminal", "no"}, {"audio-buffer", "0.02"}};
}

void ToneBeeper::start() {
    if (!starting_.valid() && !attached_) starting_ = startMpv(std::move(options_));
}

ToneBeeper::~ToneBeeper() {
    if (!starting_.valid() && !attached_) return; // never started
    mpv_handle* mpv = attached_ ? mpv_ : starting_.get();
    if (mpv) mpvApi()->terminate_destroy(mpv);
}

void ToneBeeper::setAudioDevice(const QString& name) {
    const QByteArray device = name.isEmpty() ? QByteArrayLiteral("auto") : name.toUtf8();
    if (attached_) {
        if (mpv_) mpvApi()->set_property_string(mpv_, "audio-device", device.constData());
        return;
    }
    device_ = device; // set on the instance when the first beep attaches it
}

void ToneBeeper::beep(int hz, int ms) {
    if (!attached_) {
        start();
        attached_ = true;
        mpv_ = starting_.get();
        if (mpv_ && !device_.isEmpty())
            mpvApi()->set_property_string(mpv_, "audio-device", device_.constData());
    }
    if (mpv_ && hz > 0) {
        const QByteArray url = QStringLiteral("av://lavfi:sine=frequency=%1:duration=%2")
                                   .arg(std::clamp(hz, 20, 20000))
                                   .arg(ms / 1000.0)
                                   .toLatin1();
        const char* cmd[] = {"loadfile", url.constData(), nullptr};
        mpvApi()->command_async(mpv_, 0, cmd); // returns at once; the tone plays behind
    }
    clock_.sleepBlocking(ms);
}

} // namespace mv
