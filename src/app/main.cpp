// Mellivane: plays a recording, shows its sheet music and moves a cursor
// over the sheet from a recorded cursor map.

#include "app/action_script.h"
#include "app/console_messages.h"
#include "app/main_window.h"
#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/window_registry.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "sheet/navigation.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_window.h"
#include "transport/tone_beeper.h"

#include <QApplication>
#include <QCommandLineParser>
#include <clocale>
#include <cstdio>
#include <memory>

using namespace mv;

int main(int argc, char** argv) {
    // The plain Unix event dispatcher wakes timers precisely (p99 ~1 ms
    // against ~11 ms with the glib one): the cursor's timing depends on it.
    qputenv("QT_NO_GLIB", "1");
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // libmpv and number parsing need it
    QApplication::setApplicationName(QStringLiteral("Mellivane"));

    QCommandLineParser cl;
    cl.setApplicationDescription(QStringLiteral("Sheet music that follows the recording."));
    cl.addHelpOption();
    QCommandLineOption script(QStringLiteral("script"),
                              QStringLiteral("Run the action script FILE (for tests)."),
                              QStringLiteral("FILE"));
    QCommandLineOption audio(QStringLiteral("audio"),
                             QStringLiteral("Audio output: auto, null, or a WAV file to write."),
                             QStringLiteral("OUT"), QStringLiteral("auto"));
    QCommandLineOption configDir(QStringLiteral("config-dir"),
                                 QStringLiteral("Folder of the settings and list files."),
                                 QStringLiteral("DIR"));
    QCommandLineOption demo(QStringLiteral("demo"), QStringLiteral("Start on the demo songs."));
    cl.addOptions({script, audio, configDir, demo});
    cl.process(app);

    SystemClock clock;
    QtMessages dialogs;
    ConsoleMessages console;
    Messages& messages = cl.isSet(script) ? static_cast<Messages&>(console) : dialogs;
    Session s(clock, messages);
    ToneBeeper beeper(clock, cl.value(audio));
    s.beeper = &beeper;
    WindowRegistry windows;
    s.windows = &windows;
    installReadoutFields(s);
    installNavigation(s);
    installSheetGeometry(s);

    windows.define(QStringLiteral("Velmor"), [&s] { return new MainWindow(s); });
    windows.define(QStringLiteral("AdobeF"), [&s] { return new SheetWindow(s, nullptr); });
    auto* main = windows.get<MainWindow>(QStringLiteral("Velmor"));
    s.focusMainWindow = [main] { main->activateWindow(); };
    main->show();
    windows.get(QStringLiteral("AdobeF"));
    s.adobeF.Visible.set(true);

    std::unique_ptr<ActionScript> runner;
    if (cl.isSet(script)) {
        const QStringList lines = readActionScript(cl.value(script));
        if (lines.isEmpty()) return 2;
        runner = std::make_unique<ActionScript>(windows, lines);
        // Plays a map file straight from the loop, with no music: lets a
        // script watch a cursor play before a song is selected.
        runner->extra[QStringLiteral("playmap")] = [&s](const QStringList& args) {
            s.files.close(1);
            try {
                s.files.open(1, args.value(0), FileMode::Input);
            } catch (const Failure& f) {
                s.messages.msgBox(f.message());
                return;
            }
            s.g.StopRequested = 0;
            s.g.PlayStartTick = s.clock.tickMs();
            playLoop(s);
        };
        runner->start();
    }
    const int rc = app.exec();
    return runner && runner->failures() ? 1 : rc;
}
