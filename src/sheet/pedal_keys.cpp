#include "sheet/pedal_keys.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "sheet/navigation.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QWidget>

namespace mv {

namespace {

constexpr int64_t kBounceMs = 300;

// Watches the key presses of one window's widgets.
class PedalKeyFilter : public QObject {
  public:
    PedalKeyFilter(Session& s, QObject* parent) : QObject(parent), s_(s) {}

  protected:
    bool eventFilter(QObject* watched, QEvent* e) override {
        if (e->type() != QEvent::KeyPress) return false;
        auto* k = static_cast<QKeyEvent*>(e);
        if (k->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) return false;
        const bool arrow = k->key() == Qt::Key_Left || k->key() == Qt::Key_Right ||
                           k->key() == Qt::Key_Up || k->key() == Qt::Key_Down;
        if (arrow && qobject_cast<QLineEdit*>(watched)) return false; // the text cursor's
        bool taken = false;
        runGuarded(s_.messages, [&] { taken = pedalKeyPress(s_, k->key(), k->isAutoRepeat()); });
        return taken;
    }

  private:
    Session& s_;
};

} // namespace

PedalTurn pedalTurnOf(int key) {
    switch (key) {
    case Qt::Key_PageDown:
    case Qt::Key_Right:
    case Qt::Key_Down: return PedalTurn::Next;
    case Qt::Key_PageUp:
    case Qt::Key_Left:
    case Qt::Key_Up: return PedalTurn::Prev;
    default: return PedalTurn::None;
    }
}

bool pedalPressCounts(Globals& g, int key, bool autoRepeat, int64_t nowMs) {
    if (autoRepeat) return false;
    if (key == g.LastPedalKey && nowMs - g.LastPedalTick < kBounceMs) return false;
    g.LastPedalKey = key;
    g.LastPedalTick = nowMs;
    return true;
}

bool pedalKeyPress(Session& s, int key, bool autoRepeat) {
    const PedalTurn turn = pedalTurnOf(key);
    if (turn == PedalTurn::None) return false;
    if (!pedalPressCounts(s.g, key, autoRepeat, s.clock.tickMs())) return true;
    if (turn == PedalTurn::Next)
        Command3_Click(s);
    else
        Command4_Click(s);
    return true;
}

void installPedalKeys(Session& s, QWidget* window) {
    auto* filter = new PedalKeyFilter(s, window);
    window->installEventFilter(filter);
    for (QWidget* w : window->findChildren<QWidget*>())
        w->installEventFilter(filter);
}

} // namespace mv
