#pragma once
// Runs a plain-text script of user actions on named controls, for
// end-to-end tests of the real binary.  Controls are addressed as
// Window.Control (AdobeF.Command15, Velmor.File1) or Window alone (AdobeF,
// the window's own surface; AdobeF2, BControl, and Form1 for the touch
// overlay over sheet window 1); the window is found by name in the registry
// (created on first use, as any reference does), the control by its object
// name or, for a control without a caption, its accessible name.  Every action is delivered as the
// user's input events would be (mouse presses, key presses), so it reaches the same handlers.  Each
// action runs from the event queue: an action whose handler waits (a play) lets the following
// actions run inside its waits, as a user's clicks would.
//
// One action per line; blank lines and lines starting with # are skipped.
// Words are separated by blanks; a word in double quotes ("a b.ini") may hold
// blanks.  Positions are pixels inside the control from its top left corner;
// a missing x or y stands for the middle.  The mouse verbs fail on a
// control that is not shown (a hidden window, a closed panel): a user could
// not reach it.
//   click W.C [left|right] [x [y]]  press and release
//   press W.C [left|right] [x [y]]  press only
//   release W.C [left|right] [x [y]]
//   move W.C x y [left|right|none]  the mouse moves there with that button held
//   drag W.C x1 y1 x2 y2 [steps]   left press at x1 y1, `steps` moves (5) with
//                                  the button held, release at x2 y2; all go to
//                                  the control, positions as it stood at the press
//   menu W.NAME                    choose the menu entry with that object name
//   type W.C text...               focus, select all, type the text
//   select W.C entry text          press on the list entry with that text
//   selectright W.C entry text     the same with the right button
//   answer yes|no                  the next question's answer (else Yes)
//   input text... / cancel         the next input box's answer (else cancelled)
//   key W.C KeyName [repeat]       a key press on the control (Space, N, Slash,
//                                  PageDown, ...); `repeat`: an auto-repeat
//   keyfocus W KeyName [repeat]    the same to the widget of W that has the focus
//                                  (Tab, Shift+Tab move the focus)
//   realkey KeyName [W]            the key through the X server (xdotool) to
//                                  the window the window system has active:
//                                  where a user's key would land (X11 only);
//                                  with W, the window manager activates W
//                                  first, and the key waits until it has
//   checkfocus W.C                 the control has its window's focus
//   checkactive W                  the window system has W active
//   checkscreen W index            the window stands on screen `index`
//   checkfullscreen W yes|no       the window is full screen, covering its screen
//   show W / hide W                show or hide a window
//   close W                        ask the window to close, as its title bar's
//                                  close button does (its closeEvent runs)
//   activate W                     bring the window to the front, with the keyboard
//   wait ms                        let the program run for ms
//   mark                           the origin of waituntil is now
//   waituntil ms                   let the program run until ms after the last
//                                  mark (or the script's start)
//   stamp ACTION...                prints "STAMP ms" (ms since the last mark)
//                                  to the error stream just before it runs
//                                  the action, in the same call; not for the
//                                  waits, realkey or dialogs
//   check W.C text...              the control's text (field, label, button, the
//                                  page of a sheet viewer, a slider's value, a
//                                  menu entry's caption)
//                                  equals
//   checkvisible W.C yes|no        the control (a light, the cursor) is visible
//   checkvalue W.C n               the slider (a volume bar, a scroll bar)
//                                  stands at n
//   waitfor ms check...            holds the script until the check (check,
//                                  checkvisible or checkvalue) passes, a
//                                  failure after ms
//   checkfit W                     the window fits its screen and every visible
//                                  control's caption is whole (one failure per
//                                  control that is cut, naming what is cut); a
//                                  window not loaded or hidden passes, unloaded
//   checkgeom W.C x y              the control's position in the window, pixels
//   checkexists path yes|no        the file exists
//   checkfile path expected        the two files hold the same bytes
//   screenshot path.png            the screen (all windows) as a PNG
//   dayclock seconds               the day clock reads that many seconds past
//                                  midnight now, and runs on from there (a
//                                  script starts at 43200, noon, at any hour)
//   dialogs [message] [question] [input]
//                                  the program's real dialogs, whatever the
//                                  script's answers (all three when none is
//                                  named), each answered by its button once
//                                  the window system shows it; fails naming
//                                  one that did not show or answer
//   media VERB [value]             a media key: play, pause, playpause, stop,
//                                  next, previous, volume 0..1, rate R
//   quit                           close the program
// A failed check is printed ("FAIL line N: ...") and makes the exit code 1;
// the script goes on.

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <functional>

namespace mv {

class WindowRegistry;

class ActionScript : public QObject {
    Q_OBJECT
  public:
    ActionScript(WindowRegistry& windows, QStringList lines, QObject* parent = nullptr);
    // Starts at the first line, from the event queue.
    void start();
    int failures() const { return failures_; }
    // Extra actions the program adds (name -> handler taking the arguments).
    QHash<QString, std::function<void(const QStringList&)>> extra;

  signals:
    void finished(int failures);

  private:
    void step();
    void runLine(const QString& line);
    QWidget* control(const QString& address);
    void fail(const QString& why);
    void mouse(const QString& verb, const QStringList& a, QWidget* w);
    void menu(const QString& address);
    void checkFile(const QString& path, const QString& expected);
    // Why the check `a` ("check" or "checkvisible") fails; empty when it holds.
    QString probe(const QStringList& a, const QString& rest);
    void waitFor(const QString& line);
    // Sends the key through the X server (XTEST, by xdotool) to whatever
    // window the window system has active, or first has the window manager
    // activate `window` (when not empty); the script goes on after it.
    void realKey(const QString& name, const QString& window);
    // Shows the three kinds of dialog of QtMessages and answers each from
    // a timer once it is exposed; the script goes on after them.
    void realDialogs(const QStringList& kinds);

    WindowRegistry& windows_;
    QStringList lines_;
    int next_ = 0;
    int failures_ = 0;
    QElapsedTimer origin_; // of waituntil
};

// Reads a script file; empty list and a message on stderr when unreadable.
QStringList readActionScript(const QString& path);

} // namespace mv
