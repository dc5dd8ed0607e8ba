#include "transport/volume_speed.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "transport/media_player.h"

#include <QProcess>

namespace mv {

void installVolume(Session& s) {
    s.velmor.HScroll1.always([&s] {
        if (s.player) s.player->setSettingsVolume(s.velmor.HScroll1.get());
    });
}

void Command12_Click(Session& s) { s.velmor.Speed.setNumber(s.velmor.Speed.value() - 0.05); }
void Command13_Click(Session& s) { s.velmor.Speed.setNumber(s.velmor.Speed.value() + 0.05); }

void Mixer_Click(Session& s) {
    if (!QProcess::startDetached(QStringLiteral("pavucontrol"), {}))
        s.messages.msgBox(QStringLiteral("Can't open the Volume control program"), QStringLiteral("Sorry"));
}

} // namespace mv
