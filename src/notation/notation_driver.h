#pragma once
// The notation viewer is a separate program that this one drives only by
// the keyboard: it starts the program, brings its window to the front and
// types menu keys and a song's name into it.  This is the layer that does
// that on one desktop.  The logic (notation_mode.h) does the waits between
// the keys itself, through the event pump.
//
// Every operation may fail; a failure is a Failure (number 5, "Invalid
// procedure call or argument", as for a window that cannot be activated)
// and leaves nothing half done that the next operation depends on.

#include <QList>
#include <QString>
#include <cstdint>

namespace mv {

class NotationDriver {
  public:
    virtual ~NotationDriver() = default;

    // Empty when this desktop can drive another program; otherwise the
    // sentence that tells the user why not (no X11 display, no xdotool).
    // The other operations fail while this is not empty.
    virtual QString unavailableReason() const = 0;

    // Starts the program file `program`, minimised, and returns its task id
    // (above 0).  The id stays valid until the program ends.  Fails when
    // the program cannot be started.
    virtual int32_t start(const QString& program) = 0;

    // Brings the window of the task `id` to the front and gives it the input
    // focus.  Fails when that task is no longer running or shows no window.
    virtual void activateTask(int32_t id) = 0;

    // Brings a window whose title holds `title` (any case) to the front.
    // Fails when there is none.
    virtual void activateTitle(const QString& title) = 0;

    // Types `keys` into the window last brought to the front.  "~" is Enter,
    // "%" makes the next character a key pressed with Alt held, every other
    // character is typed as itself, so a name is typed letter by letter;
    // nothing escapes the two marks.  Every key pressed is released again.
    // Fails when no activation has succeeded since the last failed one (the
    // keys must not land in some other window).
    virtual void sendKeys(const QString& keys) = 0;
};

// One key of the key language: a character typed as itself, Enter, or a
// character pressed with Alt held.
struct NotationKey {
    enum Kind { Text, Enter, Alt } kind;
    QString text; // Text: the characters, run together; Alt: the one character
    bool operator==(const NotationKey&) const = default;
};

// Splits `keys` into the keys of the key language, plain characters run
// together.  A "%" at the very end stands for nothing.
QList<NotationKey> parseNotationKeys(const QString& keys);

} // namespace mv
