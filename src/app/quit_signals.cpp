#include "app/quit_signals.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace mv {

namespace {

int pipeEnds[2] = {-1, -1}; // [0] read on the GUI thread, [1] written by the handler
constexpr int kSignals[] = {SIGTERM, SIGHUP, SIGINT};

extern "C" void onQuitSignal(int) {
    const char byte = 1;
    // Async-signal-safe; a full pipe already holds a wake-up.
    [[maybe_unused]] const ssize_t n = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> close, QObject* parent)
    : QObject(parent), close_(std::move(close)) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pipeEnds) != 0)
        return; // no pipe, no handlers: the signals keep their default action
    notifier_ = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &QuitSignals::arrived);
    struct sigaction sa = {};
    sa.sa_handler = onQuitSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    for (int sig : kSignals)
        ::sigaction(sig, &sa, nullptr);
}

QuitSignals::~QuitSignals() {
    if (!notifier_) return;
    for (int sig : kSignals)
        ::signal(sig, SIG_DFL);
    ::close(pipeEnds[0]);
    ::close(pipeEnds[1]);
    pipeEnds[0] = pipeEnds[1] = -1;
}

void QuitSignals::arrived() {
    char buf[64];
    while (::read(pipeEnds[0], buf, sizeof buf) > 0) {
    }
    // A second signal while closing changes nothing: the close runs once.
    if (close_) std::exchange(close_, nullptr)();
}

} // namespace mv
