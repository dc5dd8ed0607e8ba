#pragma once
// A notation viewer driver whose viewers are entries in a table: it logs
// every operation with the moment on the test's clock, and fails where the
// X11 driver fails (a task that has ended, a title no window holds, keys
// after a failed activation, a program file that isn't there, a desktop
// that cannot drive programs).  A viewer ends when it gets Alt+F and then X
// (File, Exit), or when the test ends it.

#include "core/clock.h"
#include "notation/notation_driver.h"

#include <QStringList>
#include <set>

namespace mv::test {

class FakeNotationDriver final : public NotationDriver {
  public:
    explicit FakeNotationDriver(const Clock& clock) : clock_(clock) {}
    QString unavailableReason() const override { return unavailable; }
    int32_t start(const QString& program) override;
    void activateTask(int32_t id) override;
    void activateTitle(const QString& title) override;
    void sendKeys(const QString& keys) override;

    bool isRunning(int32_t id) const { return running_.count(id) > 0; }
    void end(int32_t id) { running_.erase(id); }
    // The log's times count from now on.
    void mark() { origin_ = clock_.tickMs(); }

    // "<ms> start|activate|title|keys <argument>", "... failed" when it failed.
    QStringList log;
    QString unavailable; // the desktop's answer; empty: it can drive programs
    QStringList titles;  // titles of the other programs' windows

  private:
    void note(const QString& what) {
        log << QStringLiteral("%1 %2").arg(clock_.tickMs() - origin_).arg(what);
    }
    [[noreturn]] void fail(const QString& what);

    const Clock& clock_;
    int64_t origin_ = 0;
    int32_t nextId_ = 4711;
    std::set<int32_t> running_;
    int32_t front_ = 0; // the task in front; -1 another program's window
    bool fileMenuOpen_ = false;
};

} // namespace mv::test
