#include "notation/notation_mode.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/values.h"
#include "notation/notation_driver.h"

#include <QFileInfo>

namespace mv {

QList<NotationKey> parseNotationKeys(const QString& keys) {
    QList<NotationKey> out;
    for (qsizetype i = 0; i < keys.size(); ++i) {
        const QChar c = keys.at(i);
        if (c == u'~') {
            out.append(NotationKey{NotationKey::Enter, {}});
        } else if (c == u'%') {
            if (++i < keys.size()) out.append(NotationKey{NotationKey::Alt, QString(keys.at(i))});
        } else if (!out.isEmpty() && out.last().kind == NotationKey::Text) {
            out.last().text += c;
        } else {
            out.append(NotationKey{NotationKey::Text, QString(c)});
        }
    }
    return out;
}

void CNWC_Click(Session& s, NotationDriver& d) {
    VelmorState& v = s.velmor;
    try {
        if (v.CNWC.get() == 1) {
            if (const QString why = d.unavailableReason(); !why.isEmpty()) {
                s.messages.msgBox(why);
                v.CNWC.set(0);
                return;
            }
            v.Command10Visible.set(false);
            const QString program = v.Text3.text();
            if (program.isEmpty() || !QFileInfo::exists(program)) return;
            v.LoadPDF.set(0); // its change unloads sheet window 1
            if (v.NWCId == 0)
                v.NWCId = d.start(program);
            else
                d.activateTask(v.NWCId);
        } else if (v.NWCId != 0) {
            // Enter ends a dialog the viewer may show, then File, Exit.
            d.activateTask(v.NWCId);
            for (const char* key : {"~", "%F", "X"})
                d.sendKeys(QString::fromLatin1(key));
            v.NWCId = 0;
        }
    } catch (const Failure&) {
        // The click ends where the driver failed; what was done stands.
    }
}

void Command16_Click(Session& s) {
    VelmorState& v = s.velmor;
    if (s.showSheet1) s.showSheet1();
    v.Command10Visible.set(true);
    v.CNWC.set(0);
    v.NWCId = 0;
}

void Command17_Click(Session& s, bool fromMenu) {
    VelmorState& v = s.velmor;
    if (s.showSheet2) s.showSheet2();
    v.Command10Visible.set(true);
    v.CNWC.set(0);
    v.NWCId = 0;
    if (fromMenu) s.g.OverlayArmed = 0;
}

void openSongInViewer(Session& s, NotationDriver& d, const QString& shortName) {
    const VelmorState& v = s.velmor;
    // Each key waits for the viewer to react to the one before it.
    auto keys = [&](const QString& k, double wait) {
        d.sendKeys(k);
        s.pump.guardedWait(wait);
    };
    d.activateTask(v.NWCId);
    s.pump.guardedWait(0.5);
    keys(QStringLiteral("~"), 0.5);  // ends a dialog left open
    keys(QStringLiteral("%F"), 0.5); // the File menu
    keys(QStringLiteral("O"), 0.5);  // Open
    keys(shortName, 0.5);            // the name alone: the dialog is in the song folder
    keys(QStringLiteral("~"), 0.1);
    if (v.ZoomNWC.get() == 1 && v.LoadPDF.get() == 1) {
        keys(QStringLiteral("%-"), 0.1);
        keys(QStringLiteral("%-"), 0.1);
    }
}

void closeViewer(Session& s, NotationDriver& d) {
    for (const char* key : {"~", "%F", "X"}) {
        d.activateTask(s.velmor.NWCId);
        // Unconditional: shut-down closes the viewer at any time of day.
        s.pump.waitUntil(s.clock.tickMs() + 500);
        d.sendKeys(QString::fromLatin1(key));
    }
}

} // namespace mv
