#pragma once
// The notation viewer driver on an X11 desktop, through the xdotool program.
//
// Windows are found by the process that this driver started (_NET_WM_PID),
// never by guessing from titles, except where the caller asks by title.
// Keys go through the XTEST extension to the window that has the focus, so
// they arrive as real key presses (keys sent to a window that is not active
// are marked synthetic and many programs drop them): the window is activated
// and waited for until the window manager reports it active, and keys are
// typed only while the active window still belongs to the program last
// activated.  Each xdotool run is waited for through the event pump, with a
// time limit (longer for a long text); a run killed at its limit is followed
// by a release of Alt, Shift, Control and Return.  A task's windows are
// looked for among the processes it started too (a wrapper script that runs
// the viewer under Wine).  A Wayland session is refused: the compositor
// doesn't let one program activate another's window.

#include "notation/notation_driver.h"

#include <QStringList>
#include <map>

namespace mv {

class EventPump;

class XdotoolDriver final : public NotationDriver {
  public:
    // `xdotool`: the program to run; empty looks it up on the PATH.
    explicit XdotoolDriver(EventPump& pump, QString xdotool = {});

    QString unavailableReason() const override;
    int32_t start(const QString& program) override;
    void activateTask(int32_t id) override;
    void activateTitle(const QString& title) override;
    void sendKeys(const QString& keys) override;

    // The xdotool arguments that type `key` (one run each).
    static QStringList xdotoolArgs(const NotationKey& key);

  private:
    struct Result {
        bool ok = false; // ran to its end with exit code 0
        QString out;     // its standard output, trimmed
    };
    Result xdo(const QStringList& args, int timeoutMs = 3000);
    bool activateWindow(const QString& window, int timeoutMs = 3000);
    // Searches with the xdotool search options `what` and activates the
    // first window found that becomes active; its id, empty when none.
    QString activateFound(const QStringList& what);
    [[noreturn]] static void fail();
    // Whether the task `id` this driver started still runs (the same
    // process, not another that got its id since).
    bool running(int32_t id) const;

    EventPump& pump_;
    QString xdotool_;
    std::map<int32_t, QString> windows_;   // task id -> its main window
    std::map<int32_t, qint64> startTimes_; // task id -> its process's start time
    QString frontWindow_;                  // the window last activated; empty after a failure
    qint64 frontPid_ = 0;                  // its process, 0 when it tells none
};

} // namespace mv
