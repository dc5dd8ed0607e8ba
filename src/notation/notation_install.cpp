#include "notation/notation_install.h"

#include "core/session_state.h"
#include "core/startup.h"
#include "core/values.h"
#include "notation/notation_driver.h"
#include "notation/notation_mode.h"

namespace mv {

void installNotation(Session& s, NotationDriver& d, StartupHooks* startup) {
    VelmorState& v = s.velmor;
    s.CNWC_Click = [&s, &d] { CNWC_Click(s, d); };
    // "Pause" belongs to sheet mode; the setup's own handler of LoadPDF
    // (sheet window 1, CNWC off) has run before this one.
    v.LoadPDF.always([&v] { v.Command10Visible.set(v.LoadPDF.get() == 1); });
    s.LA2_Click = [&s] { Command17_Click(s, true); };
    s.nwcOpenSong = [&s, &d](const QString& shortName) { openSongInViewer(s, d, shortName); };
    // Play start and the fade have no handler for a viewer that has gone:
    // their activation and keys are passed over here.  A failed activation
    // also stops the keys that follow, so they never reach another window.
    s.nwcActivate = [&s, &d] {
        if (!d.unavailableReason().isEmpty()) return;
        try {
            d.activateTask(s.velmor.NWCId);
        } catch (const Failure&) {
        }
    };
    s.nwcSendKeys = [&d](const QString& keys) {
        if (!d.unavailableReason().isEmpty()) return;
        try {
            d.sendKeys(keys);
        } catch (const Failure&) {
        }
    };
    if (!startup) return;
    // A viewer found at start-up by its title is only brought to the front;
    // it stays unknown to NWCId, so shut-down leaves it running.
    startup->activateProgram = [&d](const QString& title) {
        if (!d.unavailableReason().isEmpty()) return;
        try {
            d.activateTitle(title);
        } catch (const Failure&) {
        }
    };
    startup->closeNotationViewer = [&s, &d] { closeViewer(s, d); };
}

} // namespace mv
