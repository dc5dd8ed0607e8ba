#include "core/startup.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "library/song_list.h"
#include "transport/media_player.h"

#include <QDir>
#include <QFileInfo>
#include <QtGlobal>
#include <functional>

namespace mv {

namespace {

const QString kPlayed = QStringLiteral("PlayedList.txt");

void readPlayedList(Session& s) {
    const QString path = configFile(s, kPlayed);
    if (!QFileInfo(path).isFile()) return;
    for (const QString& l : s.files.readText(path))
        if (!l.isEmpty()) s.velmor.PlayedList += l;
}

} // namespace

void audioMenu(Session& s) {
    QStringList names = s.player ? s.player->audioDevices() : QStringList();
    names = names.mid(0, 7); // devices beyond the seventh are not shown
    while (names.size() < 7)
        names << QString();
    s.velmor.AudioOutNames = names;
}

void startUp(Session& s, const StartupHooks& h, const QString& demoRoot) {
    VelmorState& v = s.velmor;
    QDir().mkpath(s.configDir);
    s.g.SoundDevice = -1; // 1
    v.VScroll1.set(100);
    audioMenu(s); // 2
    bool viewerStep = false;
    bool ranToEnd = false;
    // Until the viewer step a failing step is passed over and the next one
    // runs (an unreadable played list still leaves the song list filled);
    // from it on a failure ends start-up with its message.
    auto step = [&viewerStep](const std::function<void()>& fn) {
        try {
            fn();
        } catch (const Failure&) {
            if (viewerStep) throw;
        }
    };
    try {
        bool complete = false;
        // The keyed settings stand apart from the positional file: a first
        // run or a short file leaves them as they were saved.
        readKeyedSettings(s);
        step([&] {
            if (!openSettings(s)) { // 3
                // The first run: the bundled demo songs.
                v.File1Pattern = QStringLiteral("*.mp3");
                if (!demoRoot.isEmpty()) {
                    v.Text1.setText(demoRoot + QStringLiteral("/songs"));
                    v.Text7.setText(demoRoot + QStringLiteral("/songs-2"));
                }
            } else {
                complete = readLines1to37(s, h.showSheet1);
            }
        });
        if (complete) {
            step([&] {
                if (v.AudioOutChecks.get() == 0) v.AudioOutChecks.set(1); // 4: TXDF
            });
            step([&] {
                if (h.adjustAll) h.adjustAll(); // 5
            });
            step([&] {
                // The list has the settings' pattern but not yet their
                // folder: the Z group is counted over the working directory.
                v.File1Path = s.configDir; // 6
                refreshList(s);
                SetZ(s);
            });
            step([&] {
                const QString viewer = v.Text3.text(); // 7
                if (viewer.isEmpty() || !QFileInfo::exists(viewer)) return;
                const qsizetype at = viewer.toUpper().indexOf(QStringLiteral("NWC"));
                if (at >= 0) {
                    v.NWCTitle = viewer.mid(at).section(u'.', 0, 0);
                    if (h.activateProgram) h.activateProgram(v.NWCTitle);
                }
                if (v.LoadPDF.get() == 1 && QFileInfo::exists(v.PDFView.text()) && h.showSheet1)
                    h.showSheet1();
                viewerStep = true; // 8
            });
            // Before the viewer step failures are passed over line by line.
            step([&] { readLines38to60(s, viewerStep); }); // 9, 10
        }
        step([&] { closeSettings(s); }); // 11
        step([&] {
            if (h.focusMainWindow) h.focusMainWindow(); // 12
        });
        step([&] { readPlayedList(s); }); // 13
        step([&] { SetPath(s); });        // 14
        v.SuppressLoad = 0;
        // 15: a server that cannot listen always says so, whether or not the
        // viewer step ran: unheard, its clients would wait for nothing.
        if (v.IamaServer.get() == 1 && !v.PortNr.text().isEmpty() && h.listen) {
            try {
                h.listen();
            } catch (const Failure& f) {
                qWarning().noquote()
                    << QStringLiteral("The server cannot listen on port \"%1\": %2 (%3)")
                           .arg(v.PortNr.text(), f.description())
                           .arg(f.number());
                throw;
            }
        }
        ranToEnd = true;
    } catch (const Failure& f) {
        closeSettings(s);
        s.messages.msgBox(f.message());
    }
    // Output Delay of the output the settings chose, whatever became of the
    // rest of start-up.
    readOutputDelays(s);
    // After a failure the main window comes up all the same, without the
    // focus on the list.
    if (h.showMainWindow) h.showMainWindow(); // 16
    if (ranToEnd && h.focusList) h.focusList();
}

void shutDown(Session& s, const StartupHooks& h) {
    try {
        // A minimised main window is restored first, so that the place
        // saved is a real one.
        if (h.restoreMainWindow) h.restoreMainWindow();
        if (h.unloadWindows) h.unloadWindows();
        SaveVelmor(s);
        s.files.writeText(configFile(s, kPlayed), {s.velmor.PlayedList});
        if (s.velmor.NWCId != 0 && h.closeNotationViewer) h.closeNotationViewer();
    } catch (const Failure&) {
    }
}

void closeProgram(Session& s, const StartupHooks& hooks) {
    s.pump.quit();
    s.g.StopRequested = kTrue;
    s.files.closeAll();
    if (s.player) s.player->close();
    shutDown(s, hooks);
}

} // namespace mv
