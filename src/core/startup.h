#pragma once
// Start-up and shut-down of the program, in their order, over the session.
// The windows and other programs are reached through the hooks below; the
// logic runs without them.

#include <QString>
#include <functional>

namespace mv {

struct Session;

struct StartupHooks {
    std::function<void()> showSheet1;                          // load and show sheet window 1
    std::function<void()> adjustAll;                           // AdjustAll of sheet window 1
    std::function<void(const QString& title)> activateProgram; // bring a window of that title up
    std::function<void()> focusMainWindow;
    std::function<void()> listen; // the server's socket starts listening
    std::function<void()> showMainWindow;
    std::function<void()> focusList; // File1 takes the focus: start-up ran to its end
    // Restores a minimised main window and takes its place into the session.
    std::function<void()> restoreMainWindow;
    std::function<void()> unloadWindows; // sheet windows, play list, help, index
    std::function<void()> closeNotationViewer;
};

// Runs the 16 steps of start-up.  `demoRoot`, when not empty, holds the
// demo songs ("songs", "songs-2"): a first run (no settings file) starts on
// them.  Until the viewer step errors are passed over; after it an error
// ends start-up with "Error " + number + " " + description.  A server whose
// socket cannot listen ends it so in any case, and logs why.  The main
// window comes up either way; the list takes the focus only when start-up
// ran to its end.
void startUp(Session& s, const StartupHooks& hooks, const QString& demoRoot);

// The Audio Out menu's names: the player's first seven devices, blanks after.
// Runs at start-up and again when the player knows its devices.
void audioMenu(Session& s);

// Shut-down: unload the windows, SaveVelmor, write "PlayedList.txt", close a
// notation viewer the program started.  Errors end it quietly.
void shutDown(Session& s, const StartupHooks& hooks);

// The program closes (its main window, a signal, the session's logout):
// every wait on the stack returns at once and nothing waiting starts
// afterwards (a count-off does not go on to the music), a running play ends
// at its next step, the files are closed, the music stops, and shutDown
// saves.  The caller then ends the event loop.
void closeProgram(Session& s, const StartupHooks& hooks);

} // namespace mv
