#pragma once
// The desktop ending the program: SIGTERM, SIGHUP and SIGINT (a logout, a
// `kill`, Ctrl+C in a terminal) run `close` on the GUI thread, once, as if
// the user had closed the main window.  The signal handler only writes a
// byte to a pipe; a socket notifier on the GUI thread reads it.

#include <QObject>
#include <functional>

class QSocketNotifier;

namespace mv {

class QuitSignals : public QObject {
  public:
    // Only one may exist: the handlers are process-wide.
    QuitSignals(std::function<void()> close, QObject* parent = nullptr);
    ~QuitSignals() override;

  private:
    void arrived();
    std::function<void()> close_;
    QSocketNotifier* notifier_ = nullptr;
};

} // namespace mv
