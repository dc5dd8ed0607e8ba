#include "transport/volume_speed.h"

#include "core/beeper.h"

#include "core/messages.h"
#include "core/output_delay.h"
#include "core/session_state.h"
#include "transport/media_player.h"

#include <QProcess>
#include <cmath>

namespace mv {

void installVolume(Session& s) {
    s.velmor.HScroll1.always([&s] {
        if (s.player) s.player->setSettingsVolume(s.velmor.HScroll1.get());
    });
    s.velmor.Speed.always([&s] {
        const VelmorState& v = s.velmor;
        if (v.IamaServer.get() == 1 && v.Shape1.get() && s.sendToClients)
            s.sendToClients(QStringLiteral("@SPEED/") + v.Speed.text());
    });
    s.velmor.Pitch.always([&s] { SetPitch(s); });
    // Output Delay belongs to the output the sound goes to now.
    s.velmor.OutputDelay.always(
        [&s] { s.outputDelays.set(outputName(s), outputDelayMs(s.velmor)); });
}

void Command18_Click(Session& s) { s.velmor.Pitch.setNumber(s.velmor.Pitch.value() - 0.5); }
void Command19_Click(Session& s) { s.velmor.Pitch.setNumber(s.velmor.Pitch.value() + 0.5); }

void SetPitch(Session& s) {
    const double pos = s.player ? s.player->controlsCurrentPosition() : 0;
    // Whole milliseconds in 32 bits: positions past 32767 ms fit too.
    const double ms = std::nearbyint(pos * 1000);
    s.messages.msgBox(QStringLiteral("Work in progress. Not yet available") +
                      QStringLiteral(" / ") + u' ' + numberText(ms));
}

void AudioOut_Click(Session& s, int entry) {
    s.velmor.AudioOutChecks.set(1 << (entry + 1));
    s.g.SoundDevice = entry;
    setsound(s);
}

void setsound(Session& s) {
    // The sound goes where the menu says.  No device volume is read back:
    // the limit slider keeps its value.  Output Delay shows the delay kept
    // for this output.
    s.velmor.OutputDelay.setNumber(s.outputDelays.of(outputName(s)));
    const int d = s.g.SoundDevice;
    const QStringList& names = s.velmor.AudioOutNames;
    const QString device = d >= 0 && d < names.size() ? names[d] : QString();
    // The beeps (Measure's clicks, Hear's click) go where the song goes:
    // the delay measured is that of this output.
    if (s.beeper) s.beeper->setAudioDevice(device);
    if (s.player) s.player->setAudioDevice(device);
}

void OutputDelay_LostFocus(Session& s) { s.velmor.OutputDelay.setNumber(outputDelayMs(s.velmor)); }

void Command12_Click(Session& s) { s.velmor.Speed.setNumber(s.velmor.Speed.value() - 0.05); }
void Command13_Click(Session& s) { s.velmor.Speed.setNumber(s.velmor.Speed.value() + 0.05); }

void Mixer_Click(Session& s) {
    if (!QProcess::startDetached(QStringLiteral("pavucontrol"), {}))
        s.messages.msgBox(QStringLiteral("Can't open the Volume control program"),
                          QStringLiteral("Sorry"));
}

} // namespace mv
