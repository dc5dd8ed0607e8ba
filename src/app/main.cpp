// Mellivane: plays a recording, shows its sheet music and moves a cursor
// over the sheet from a recorded cursor map.

#include "align/align_cli.h"
#include "align/align_window.h"
#include "app/action_script.h"
#include "app/command_line.h"
#include "app/console_messages.h"
#include "app/main_window.h"
#include "app/quit_signals.h"
#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/setup_screen.h"
#include "core/startup.h"
#include "core/window_registry.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "desktop/desktop_install.h"
#include "desktop/wayland_windows.h"
#include "help/help_install.h"
#include "library/library.h"
#include "library/library_windows.h"
#include "library/song_list.h"
#include "notation/notation_install.h"
#include "notation/xdotool_driver.h"
#include "recording/recording_install.h"
#include "sheet/navigation.h"
#include "sheet/qtpdf_viewer.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_views_install.h"
#include "sheet/sheet_widgets.h"
#include "sheet/sheet_window.h"
#include "sync/network.h"
#include "sync/qt_socket.h"
#include "sync/sync_install.h"
#include "transport/delay_measure_window.h"
#include "transport/mpv_player.h"
#include "transport/play_start.h"
#include "transport/song_loading.h"
#include "transport/tone_beeper.h"
#include "transport/volume_speed.h"
#include "web/web_install.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QListWidget>
#include <QScreen>
#include <QSessionManager>
#include <QTimer>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <memory>
#include <utility>

using namespace mv;

namespace {

// The bundled demo songs: those installed with the binary, else those
// beside the sources of this build.
QString demoRoot() {
    const QStringList candidates = {QApplication::applicationDirPath() +
                                        QStringLiteral("/../share/mellivane/demo"),
                                    QStringLiteral(MELLIVANE_SOURCE_DIR "/demo")};
    for (const QString& c : candidates)
        if (QDir(c + QStringLiteral("/songs")).exists()) return QDir(c).absolutePath();
    return {};
}

// Runs `fn` once, after the first paint of the watched window (or after two
// seconds, should the window not paint).
class AfterFirstPaint : public QObject {
  public:
    AfterFirstPaint(QWidget* window, std::function<void()> fn)
        : QObject(window), fn_(std::move(fn)) {
        window->installEventFilter(this);
        QTimer::singleShot(2000, this, [this] { run(); });
    }

  private:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) QTimer::singleShot(0, this, [this] { run(); });
        return false;
    }
    void run() {
        if (fn_) std::exchange(fn_, nullptr)();
    }
    std::function<void()> fn_;
};

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer sinceMain;
    sinceMain.start();
    // The map operations of the command line run without a window.
    if (const int rc = align::runAlignCommand(argc, argv); rc >= 0) return rc;
    // The plain Unix event dispatcher wakes timers precisely (p99 ~1 ms
    // against ~11 ms with the glib one): the cursor's timing depends on it.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication::setApplicationName(QStringLiteral("Mellivane"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MELLIVANE_VERSION));
    // Help, the version and a wrong command line answer without a display.
    if (const int rc = answerWithoutDisplay(argc, argv); rc >= 0) return rc;
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // libmpv and number parsing need it
    QGuiApplication::setDesktopFileName(QStringLiteral("mellivane")); // its menu entry and icon

    QCommandLineParser cl;
    const Options o = addOptions(cl);
    const QCommandLineOption &script = o.script, &audio = o.audio, &demo = o.demo, &songs = o.songs,
                             &configDir = o.configDir, &startupTime = o.startupTime;
    cl.process(app);

    SystemClock clock;
    QtMessages dialogs;
    ConsoleMessages console;
    Messages& messages = cl.isSet(script) ? static_cast<Messages&>(console) : dialogs;
    Session s(clock, messages);
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        s.screenHeight = screen->size().height() * 15.0;
        s.screenWidth = screen->size().width() * 15.0;
    }
    if (cl.isSet(configDir)) {
        s.configDir = QDir(cl.value(configDir)).absolutePath();
    } else {
        const QString xdg =
            qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config"));
        s.configDir = xdg + QStringLiteral("/mellivane");
    }
    MpvPlayer player(cl.value(audio));
    ToneBeeper beeper(clock, cl.value(audio));
    s.player = &player;
    s.beeper = &beeper;
    WindowRegistry windows;
    s.windows = &windows;

    installReadoutFields(s);
    installNavigation(s);
    installSheetGeometry(s);
    installVolume(s);
    installOutputDelay(s, windows);
    installSongLoading(s);
    installPlayStart(s);
    installRecording(s);
    installSetupScreen(s);
    Library library;
    const std::unique_ptr<RandomSource> random = makeRandomSource();
    QtIndexPrinting printDialogs;
    AskedIndexPrinting askedPrinting(messages);
    library.random = random.get();
    library.printing =
        cl.isSet(script) ? static_cast<IndexPrinting*>(&askedPrinting) : &printDialogs;
    installLibrary(s, library);
    // The media keys and the desktop's player panel; Raise and Quit act on the main window.
    const std::unique_ptr<Desktop> desktop = installDesktop(
        s, library,
        [&windows] {
            if (QWidget* w = windows.find(QStringLiteral("Velmor"))) {
                if (w->isMinimized()) w->showNormal();
                w->raise();
                w->activateWindow();
            }
        },
        [&windows] {
            if (QWidget* w = windows.find(QStringLiteral("Velmor"))) w->close();
        });
    QObject::connect(&player, &MpvPlayer::endOfFile, [&desktop] { desktop->playerChanged(); });

    windows.define(QStringLiteral("Velmor"), [&] { return new MainWindow(s, *s.player); });
    windows.define(QStringLiteral("AdobeF"), [&] {
        auto* viewer = new QtPdfViewer;
        s.adobeF.AcroPDF1 = viewer;
        auto* w = new SheetWindow(s, viewer);
        w->handlers[QStringLiteral("Command15")] = [&s] {
            WindowsMediaPlayer1_MouseDown(s, 1, 0, 0, 0);
        };
        w->handlers[QStringLiteral("Command16")] = [&s] { Command8_Click(s); };
        w->handlers[QStringLiteral("Command1")] = [w] { w->close(); };
        installRecordingControls(s, *w);
        align::installAlignControls(s, *w);
        // Its place: "AdobeFx.ini" when there is one, else beside the main
        // window; inside the screen either way.
        w->placeOnScreen(readAdobeFx(s));
        return w;
    });
    installSheetViews(s, windows,
                      {[](PdfViewer*& viewer) {
                           auto* w = new QtPdfViewer;
                           viewer = w;
                           return static_cast<QWidget*>(w);
                       },
                       [&s] { BControl_Command1_Click(s); }, [&s] { BControl_Command6_Click(s); }});
    installWaylandWindows(s, windows);
    auto* main = windows.get<MainWindow>(QStringLiteral("Velmor"));
    s.focusMainWindow = [main] { main->activateWindow(); };
    s.minimizeMainWindow = [main] { main->showMinimized(); };
    // A sheet window given the focus is activated, with its keys ready.
    s.giveFocus = [&s, &windows](const QString& name) {
        if (auto* sheet = qobject_cast<SheetWindow*>(windows.find(name)))
            sheet->takeKeys();
        else if (QWidget* w = windows.find(name))
            giveKeys(s, w);
    };
    // The player's devices are known once its instance has started, which
    // may be after start-up's Audio Out step: fill the menu again then, and
    // send the sound where the settings say.
    QObject::connect(&player, &MpvPlayer::started, main, [&s] {
        audioMenu(s);
        setsound(s);
    });
    // What the player cannot do is said in the title: a box would block the stage.
    const auto sayInTitle = [main](const char* what) {
        return [main, what] { main->setWindowTitle(QStringLiteral("Media Player - ") + what); };
    };
    QObject::connect(&player, &MpvPlayer::audioOutputMissing, main,
                     sayInTitle("no audio output, playing silently"));
    QObject::connect(&player, &MpvPlayer::musicUnavailable, main,
                     sayInTitle("no music: libmpv (package libmpv2) could not start"));

    align::installAlign(s, *main);
    s.SaveVelmor = [&s] { SaveVelmor(s); };
    StartupHooks hooks;
    QtSocketLayer sockets;
    const std::unique_ptr<Network> network = installSync(s, sockets, &hooks);
    const std::unique_ptr<WebFollowers> web = installWeb(s, hooks);
    XdotoolDriver notationDriver(s.pump);
    installNotation(s, notationDriver, &hooks);
    hooks.showSheet1 = [&] {
        windows.get(QStringLiteral("AdobeF"));
        s.adobeF.Visible.set(true);
    };
    s.showSheet1 = hooks.showSheet1;
    s.placeSheet1Top = [&] {
        auto* w = windows.get<SheetWindow>(QStringLiteral("AdobeF"));
        w->move(w->x(), int(s.adobeF.Top / 15));
    };
    s.unloadSheet1 = [&] { windows.unload(QStringLiteral("AdobeF")); };
    hooks.adjustAll = [&] { windows.get<SheetWindow>(QStringLiteral("AdobeF"))->AdjustAll(); };
    hooks.focusMainWindow = s.focusMainWindow;
    hooks.showMainWindow = [&] {
        const QPoint at(int(s.velmor.WindowLeft / 15), int(s.velmor.WindowTop / 15));
        main->move(at);
        main->show();
        keepFramePlace(main, at);
    };
    hooks.focusList = [&] { main->File1()->setFocus(); };
    hooks.restoreMainWindow = [&] {
        if (main->isMinimized()) main->showNormal();
        // Where the window cannot know its place (Wayland) the stored top
        // stays; a stored top within the pixel the window stands on too.
        if (windowPlaceKnown() && main->y() != int(s.velmor.WindowTop / 15))
            s.velmor.WindowTop = main->y() * 15.0;
    };
    hooks.unloadWindows = [&] {
        // The sheet windows first, then the play list and the other windows.
        if (windows.find(QStringLiteral("AdobeF"))) writeAdobeFx(s);
        windows.unload(QStringLiteral("AdobeF"));
        unloadLibraryWindows(s, library);
    };
    installHelp(s, windows, &hooks);
    // Closing the main window ends a running play at its next step and
    // writes everything back.
    main->onClose = [&] {
        closeProgram(s, hooks);
        QApplication::quit();
    };
    // The desktop ending the program (a logout, a kill) closes it as the
    // user would, so the settings and the played list are saved.
    QuitSignals quitSignals([main] { main->close(); });
    QObject::connect(&app, &QGuiApplication::commitDataRequest, main,
                     [main](QSessionManager&) { main->close(); });

    // libmpv loads once the main window has painted: while it loads it holds
    // the dynamic loader, which the window's own plugins would wait for.
    new AfterFirstPaint(main, [&] {
        if (cl.isSet(startupTime)) {
            // The window has painted with its list: the start as the user
            // sees it; the wall clock lets a caller add the time before main.
            const auto wall = std::chrono::system_clock::now().time_since_epoch();
            std::fprintf(stderr, "startup_inprocess_ms: %lld ms\nstartup_shown_epoch_ms: %lld\n",
                         static_cast<long long>(sinceMain.elapsed()),
                         static_cast<long long>(
                             std::chrono::duration_cast<std::chrono::milliseconds>(wall).count()));
        }
        player.start();
        beeper.start();
    });
    const QString root = demoRoot();
    startUp(s, hooks, root);
    // The song folder: the demo songs, or the one given.
    if (cl.isSet(songs)) {
        s.velmor.Text1.setText(cl.value(songs));
        SetPath(s);
    } else if (cl.isSet(demo) && !root.isEmpty()) {
        s.velmor.Text1.setText(root + QStringLiteral("/songs"));
        s.velmor.Text7.setText(root + QStringLiteral("/songs-2"));
        SetPath(s);
    }
    if (!s.adobeF.Visible.get()) hooks.showSheet1();
    std::unique_ptr<ActionScript> runner;
    if (cl.isSet(script)) {
        const QStringList lines = readActionScript(cl.value(script));
        if (lines.isEmpty()) return 2;
        runner = std::make_unique<ActionScript>(windows, lines);
        // Plays a map file straight from the loop, with no music: lets a
        // script watch a cursor play without a song.
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
        // A scripted run starts at noon on the day clock, whatever the hour:
        // the waits that only run at some hours (after a play, until late
        // evening) then behave the same in every run.  `dayclock` moves it.
        clock.pinDayClock(12 * 3600.0);
        runner->extra[QStringLiteral("dayclock")] = [&clock](const QStringList& args) {
            clock.pinDayClock(args.value(0).toDouble());
        };
        // The media keys' verbs ("media play", "media volume .5").
        runner->extra[QStringLiteral("media")] = [&desktop, &messages](const QStringList& a) {
            if (!desktop->mediaVerb(a)) messages.msgBox(QStringLiteral("media: ") + a.join(u' '));
        };
        console.addScriptAnswers(*runner);
        runner->start();
    }
    const int rc = app.exec();
    return runner && runner->failures() ? 1 : rc;
}
