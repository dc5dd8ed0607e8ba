#pragma once
// Page-turn pedals.  Bluetooth and USB pedals send Page Down / Page Up or
// the arrow keys.  In the sheet windows and on the button panel Page Down,
// Right and Down act as Next PG, Page Up, Left and Up as Prev PG (in edit
// mode too, where those two toggle the page flags).  A held pedal repeats
// its key and a pedal may bounce, so one press turns one page: auto-repeat
// is ignored, and so is a second press of the same key within 300 ms.
// The arrow keys stay with a text field that has the focus (its cursor
// moves); Page Down and Page Up turn pages there too.

#include <QObject>
#include <cstdint>

class QWidget;

namespace mv {

struct Session;
struct Globals;

enum class PedalTurn { None, Next, Prev };

// What the key (a Qt::Key) asks for.
PedalTurn pedalTurnOf(int key);

// Whether a press of the pedal key `key` at `nowMs` (tick clock) turns a
// page, remembering it in `g` when it does.  An auto-repeat never counts;
// the same key again within 300 ms of the last press that counted doesn't
// either; another key always does.
bool pedalPressCounts(Globals& g, int key, bool autoRepeat, int64_t nowMs);

// Serves a key press: true when the key is a pedal key, whether or not it
// turned the page (a repeat is used up all the same).
bool pedalKeyPress(Session& s, int key, bool autoRepeat);

// Makes the pedal keys work in `window` and every widget in it now.
void installPedalKeys(Session& s, QWidget* window);

} // namespace mv
