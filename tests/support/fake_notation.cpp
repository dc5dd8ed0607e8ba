#include "fake_notation.h"

#include "core/values.h"

#include <QFileInfo>
#include <algorithm>

namespace mv::test {

void FakeNotationDriver::fail(const QString& what) {
    note(what + QStringLiteral(" failed"));
    front_ = 0;
    throw Failure(5, QStringLiteral("Invalid procedure call or argument"));
}

int32_t FakeNotationDriver::start(const QString& program) {
    if (!unavailable.isEmpty() || !QFileInfo(program).isFile())
        fail(QStringLiteral("start ") + program);
    note(QStringLiteral("start ") + program);
    running_.insert(nextId_);
    return nextId_++;
}

void FakeNotationDriver::activateTask(int32_t id) {
    const QString what = QStringLiteral("activate %1").arg(id);
    if (!unavailable.isEmpty() || !isRunning(id)) fail(what);
    note(what);
    front_ = id;
}

void FakeNotationDriver::activateTitle(const QString& title) {
    const auto holds = [&](const QString& t) { return t.contains(title, Qt::CaseInsensitive); };
    if (!unavailable.isEmpty() || std::none_of(titles.begin(), titles.end(), holds))
        fail(QStringLiteral("title ") + title);
    note(QStringLiteral("title ") + title);
    front_ = -1;
}

void FakeNotationDriver::sendKeys(const QString& keys) {
    const QString what = QStringLiteral("keys ") + keys;
    if (!unavailable.isEmpty() || front_ == 0 || (front_ > 0 && !isRunning(front_))) fail(what);
    note(what);
    if (front_ < 0) return;
    for (const NotationKey& k : parseNotationKeys(keys)) {
        if (fileMenuOpen_ && k.kind == NotationKey::Text && k.text.startsWith(u'X')) {
            end(front_); // File, Exit
            front_ = 0;
            return;
        }
        fileMenuOpen_ =
            k.kind == NotationKey::Alt && k.text.compare(u"F", Qt::CaseInsensitive) == 0;
    }
}

} // namespace mv::test
