#include "transport/stop_pause.h"

#include "core/file_numbers.h"
#include "core/session_state.h"
#include "transport/media_player.h"

#include <cmath>

namespace mv {

void StopPlaying(Session& s) {
    if (s.velmor.IamaServer.get() == 1 && s.velmor.Shape1.get() && s.sendToClients)
        s.sendToClients(QStringLiteral("&STOP/"));
}

void Command10_Click(Session& s) {
    if (s.velmor.Command10.text() == u"Pause") {
        s.velmor.Command10.setText(QStringLiteral("Continue"));
        s.g.Paused = kTrue;
        return;
    }
    s.velmor.Command10.setText(QStringLiteral("Pause"));
    if (s.player) s.player->controlsPlay();
    s.g.Paused = 0;
    s.g.PauseHeld = 0;
}

void Command7_Click(Session& s) {
    StopPlaying(s);
    s.g.StopRequested = kTrue;
    s.velmor.Command10.setText(QStringLiteral("Pause"));
    s.g.Paused = 0;
    s.g.PauseHeld = 0;
    s.g.FadesBegun.set(s.g.FadesBegun.get() + 1);
    phaseout(s);
}

void phaseout(Session& s) {
    MediaPlayer* p = s.player;
    if (!p) return;
    const int v0 = p->settingsVolume();
    for (int v = v0; v >= 1; --v) {
        // Each step waits FadeT x 0.02 s; measured on the tick clock, so a
        // fade across midnight ends on time.
        const double step = s.velmor.FadeT.value() * 0.02;
        if (s.clock.dayClock() > 20.0f) {
            s.pump.waitUntil(s.clock.tickMs() + std::llround(std::max(0.0, step) * 1000));
            p->setSettingsVolume(v);
            s.velmor.HScroll1.set(std::max(1, v));
        }
    }
    p->setURL(QString());
    p->setSettingsVolume(v0);
    if (v0 >= 1) s.velmor.HScroll1.set(std::min(v0, 100));
    if (s.velmor.CNWC.get() == 1) {
        if (s.nwcActivate) s.nwcActivate();
        for (const char* key : {"%F", "O", "~"}) {
            if (!(s.clock.dayClock() > 20.0f)) continue;
            s.pump.waitUntil(s.clock.tickMs() + 100);
            if (s.nwcSendKeys) s.nwcSendKeys(QString::fromLatin1(key));
        }
        // The keys are typed; the user goes on in this program.
        if (s.focusMainWindow) s.focusMainWindow();
    }
    p->setURL(QString());
    p->close();
}

void hideCursors(Session& s) {
    s.adobeF.Picture1.Visible.set(false);
    if (s.adobeF2.Visible.get()) s.adobeF2.Picture1.Visible.set(false);
}

void dropSource(Session& s, bool tellClients) {
    if (s.player) s.player->setURL(QString());
    if (tellClients) StopPlaying(s);
    if (s.player) s.player->close();
}

void stopForRandomChoice(Session& s) {
    hideCursors(s);
    s.g.StopRequested = kTrue;
    dropSource(s, true);
    hideCursors(s);
}

void stopForRenaming(Session& s) {
    dropSource(s, true);
    s.files.closeReads();
}

void stopOnClient(Session& s) {
    s.g.StopRequested = kTrue;
    dropSource(s, false);
}

} // namespace mv
