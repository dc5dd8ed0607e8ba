#include "app/action_script.h"

#include "core/fit_check.h"
#include "core/messages.h"

#include "core/window_registry.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QInputDialog>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QTextStream>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cstdio>

namespace mv {

QStringList readActionScript(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text)) {
        std::fprintf(stderr, "Cannot read the action script %s\n", qPrintable(path));
        return {};
    }
    return QString::fromUtf8(f.readAll()).split(u'\n');
}

ActionScript::ActionScript(WindowRegistry& windows, QStringList lines, QObject* parent)
    : QObject(parent), windows_(windows), lines_(std::move(lines)) {}

void ActionScript::start() {
    origin_.start();
    QTimer::singleShot(0, this, &ActionScript::step);
}

void ActionScript::fail(const QString& why) {
    ++failures_;
    std::fprintf(stderr, "FAIL line %d: %s\n", next_, qPrintable(why));
    std::fflush(stderr);
}

QWidget* ActionScript::control(const QString& address) {
    const QString win = address.section(u'.', 0, 0);
    const QString name = address.section(u'.', 1);
    QWidget* w = windows_.get(win);
    if (!w) return nullptr;
    if (name.isEmpty()) return w;
    if (QWidget* c = w->findChild<QWidget*>(name)) return c;
    // A control without a caption is found by its accessible name too.
    for (QWidget* c : w->findChildren<QWidget*>())
        if (c->accessibleName() == name) return c;
    return nullptr;
}

void ActionScript::step() {
    while (next_ < lines_.size()) {
        const QString line = lines_[next_++].trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        if (line.startsWith(QLatin1String("wait "))) {
            QTimer::singleShot(line.section(u' ', 1, 1).toInt(), this, &ActionScript::step);
            return;
        }
        if (line.startsWith(QLatin1String("waitfor "))) return waitFor(line);
        if (line.startsWith(QLatin1String("realkey ")))
            return realKey(line.section(u' ', 1, 1), line.section(u' ', 2, 2));
        // Its modal waits must not run the lines after it.
        if (line.section(u' ', 0, 0) == u"dialogs")
            return realDialogs(line.split(u' ', Qt::SkipEmptyParts).mid(1));
        if (line.startsWith(QLatin1String("waituntil "))) {
            bool ok = false;
            const qint64 due = line.section(u' ', 1, 1).toLongLong(&ok);
            if (!ok) fail("bad time in " + line);
            // A precise timer: a coarse one may be late by 5 % of the wait.
            const qint64 left = ok ? std::max<qint64>(0, due - origin_.elapsed()) : 0;
            QTimer::singleShot(std::chrono::milliseconds(left), Qt::PreciseTimer, this,
                               &ActionScript::step);
            return;
        }
        // The next action is queued before this one runs, so an action that
        // waits (a play) serves it inside its own wait, as a user's click.
        QTimer::singleShot(0, this, &ActionScript::step);
        runLine(line);
        return;
    }
    emit finished(failures_);
}

namespace {

// A mouse event at a point of the screen, its local position taken from where
// the widget stands now (a dragged cursor follows the mouse).  An event the
// widget ignores goes on to its parents, as Qt does with the user's input.
void sendMouse(QWidget* w, QEvent::Type type, Qt::MouseButton b, Qt::MouseButtons held,
               QPointF global) {
    QMouseEvent e(type, w->mapFromGlobal(global), global, b, held, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

void sendMouse(QWidget* w, QEvent::Type type, Qt::MouseButton b, QPoint p) {
    sendMouse(w, type, b, type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(b),
              w->mapToGlobal(QPointF(p)));
}

// The line's words: split at blanks, a word in double quotes may hold blanks.
QStringList words(const QString& line) {
    QStringList out;
    qsizetype i = 0;
    while (i < line.size()) {
        if (line[i] == u' ') {
            ++i;
            continue;
        }
        const qsizetype close = line[i] == u'"' ? line.indexOf(u'"', i + 1) : -1;
        if (close > i) {
            out << line.mid(i + 1, close - i - 1);
            i = close + 1;
            continue;
        }
        qsizetype end = line.indexOf(u' ', i);
        if (end < 0) end = line.size();
        out << line.mid(i, end - i);
        i = end;
    }
    return out;
}

// Reads whole numbers from a[from] on into `out`; false when one is not a
// number.  Missing words keep their defaults.
bool numbers(const QStringList& a, int from, std::initializer_list<int*> out) {
    for (int* n : out) {
        if (from >= a.size()) break;
        bool ok = false;
        *n = a[from++].toInt(&ok);
        if (!ok) return false;
    }
    return true;
}

// A key named as QKeySequence names it ("PageDown", "Tab", "Shift+Tab", "N").
struct QSeqKey {
    int key = 0;
    Qt::KeyboardModifiers mods;
    QString text;
};

QSeqKey keyOf(QString name) {
    if (name == u"PageDown" || name == u"PageUp") name.replace(QStringLiteral("Page"), "Pg");
    const QKeySequence seq(name);
    QSeqKey k;
    if (seq.isEmpty()) return k;
    k.key = seq[0].key();
    k.mods = seq[0].keyboardModifiers();
    if (k.key == Qt::Key_Tab && (k.mods & Qt::ShiftModifier)) k.key = Qt::Key_Backtab;
    if (name.size() == 1) k.text = name.toLower();
    return k;
}

QString textOf(QWidget* w) {
    if (auto* e = qobject_cast<QLineEdit*>(w)) return e->text();
    if (auto* l = qobject_cast<QLabel*>(w)) return l->text();
    if (auto* c = qobject_cast<QCheckBox*>(w))
        return c->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    if (auto* b = qobject_cast<QAbstractButton*>(w)) return b->text();
    if (auto* bar = qobject_cast<QAbstractSlider*>(w)) return QString::number(bar->value());
    if (auto* l = qobject_cast<QListWidget*>(w))
        return l->currentItem() ? l->currentItem()->text() : QString();
    // A sheet viewer: the page on show.
    if (const QVariant page = w->property("currentPage"); page.isValid()) return page.toString();
    return w->windowTitle();
}

} // namespace

void ActionScript::mouse(const QString& verb, const QStringList& a, QWidget* w) {
    // A user's mouse reaches only what is shown.
    if (!w->isVisible()) return fail(a[1] + " is hidden");
    const QPointer<QWidget> target(w);
    int x = w->width() / 2, y = w->height() / 2;
    if (verb == u"move") {
        const QString held = a.value(4, QStringLiteral("none"));
        if (a.size() < 4 || !numbers(a, 2, {&x, &y}))
            return fail("move needs x y: " + a.join(u' '));
        if (held != u"left" && held != u"right" && held != u"none")
            return fail("no mouse button " + held);
        const Qt::MouseButtons b = held == u"left"    ? Qt::LeftButton
                                   : held == u"right" ? Qt::RightButton
                                                      : Qt::NoButton;
        return sendMouse(w, QEvent::MouseMove, Qt::NoButton, b, w->mapToGlobal(QPointF(x, y)));
    }
    if (verb == u"drag") {
        int x2 = 0, y2 = 0, steps = 5;
        if (a.size() < 6 || !numbers(a, 2, {&x, &y, &x2, &y2, &steps}) || steps < 1)
            return fail("drag needs x1 y1 x2 y2 [steps]: " + a.join(u' '));
        // The path is fixed on the screen when the press falls.
        const QPointF from = w->mapToGlobal(QPointF(x, y));
        const QPointF to = w->mapToGlobal(QPointF(x2, y2));
        sendMouse(w, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, from);
        for (int i = 1; i <= steps && target; ++i)
            sendMouse(target, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton,
                      from + (to - from) * i / steps);
        if (target) sendMouse(target, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton, to);
        return;
    }
    const Qt::MouseButton b = a.value(2) == u"right" ? Qt::RightButton : Qt::LeftButton;
    if (!numbers(a, 3, {&x, &y})) return fail("bad position: " + a.join(u' '));
    if (verb != u"release") sendMouse(w, QEvent::MouseButtonPress, b, QPoint(x, y));
    if (verb != u"press" && target) sendMouse(target, QEvent::MouseButtonRelease, b, QPoint(x, y));
}

void ActionScript::menu(const QString& address) {
    QWidget* w = windows_.get(address.section(u'.', 0, 0));
    const QString name = address.section(u'.', 1);
    QAction* act = w && !name.isEmpty() ? w->findChild<QAction*>(name) : nullptr;
    if (w && !name.isEmpty() && !act) {
        // Some menus make their entries as they open.
        for (QMenu* m : w->findChildren<QMenu*>())
            emit m->aboutToShow();
        act = w->findChild<QAction*>(name);
    }
    if (!act) return fail("no menu entry " + address);
    if (!act->isEnabled()) return fail("menu entry " + address + " is disabled");
    act->trigger();
}

void ActionScript::checkFile(const QString& path, const QString& expected) {
    QFile got(path), want(expected);
    if (!got.open(QIODevice::ReadOnly)) return fail("cannot read " + path);
    if (!want.open(QIODevice::ReadOnly)) return fail("cannot read " + expected);
    const QByteArray g = got.readAll(), w = want.readAll();
    if (g == w) return;
    qsizetype at = 0;
    while (at < g.size() && at < w.size() && g[at] == w[at])
        ++at;
    fail(QStringLiteral("%1 differs from %2 at offset %3 (sizes %4 and %5)")
             .arg(path, expected)
             .arg(at)
             .arg(g.size())
             .arg(w.size()));
}

QString ActionScript::probe(const QStringList& a, const QString& rest) {
    const QString& verb = a[0];
    QWidget* w = control(a.value(1));
    if (!w && verb == u"check") {
        // A menu entry's caption.
        QWidget* win = windows_.get(a.value(1).section(u'.', 0, 0));
        const QString name = a.value(1).section(u'.', 1);
        if (auto* act = win && !name.isEmpty() ? win->findChild<QAction*>(name) : nullptr) {
            if (act->text() == rest) return {};
            return a[1] + " is \"" + act->text() + "\", not \"" + rest + "\"";
        }
    }
    if (!w) return "no control " + a.value(1);
    if (verb == u"check") {
        if (textOf(w) == rest) return {};
        return a[1] + " is \"" + textOf(w) + "\", not \"" + rest + "\"";
    }
    if (verb == u"checkvalue") {
        auto* slider = qobject_cast<QAbstractSlider*>(w);
        if (!slider) return a[1] + " is no slider";
        if (QString::number(slider->value()) == rest) return {};
        return a[1] + " stands at " + QString::number(slider->value()) + ", not " + rest;
    }
    const bool want = a.value(2) == u"yes";
    if (w->isVisible() == want) return {};
    return a[1] + (want ? " is hidden" : " is visible");
}

void ActionScript::waitFor(const QString& line) {
    bool ok = false;
    const int ms = line.section(u' ', 1, 1).toInt(&ok);
    const QString inner = line.section(u' ', 2);
    const QStringList a = words(inner);
    if (!ok || a.isEmpty() ||
        (a[0] != u"check" && a[0] != u"checkvisible" && a[0] != u"checkvalue")) {
        fail("waitfor needs ms and a check: " + line);
        QTimer::singleShot(0, this, &ActionScript::step);
        return;
    }
    const QString rest = inner.section(u' ', 2);
    // The check is tried every 25 ms; the script goes on once it holds, or
    // with a failure when the time is over.
    QElapsedTimer since;
    since.start();
    auto* retry = new QTimer(this);
    retry->setInterval(25);
    connect(retry, &QTimer::timeout, this, [this, retry, a, rest, ms, since] {
        const QString why = probe(a, rest);
        if (!why.isEmpty() && since.elapsed() < ms) return;
        retry->stop(); // a deleteLater waits while a handler waits: the timer must not fire again
        retry->deleteLater();
        if (!why.isEmpty()) fail(why + QStringLiteral(" after %1 ms").arg(ms));
        step();
    });
    retry->start();
}

// The driver's key names as X key symbols: Space, PageDown, Slash, Shift+Tab,
// N ... ; any other name is taken as a key symbol as it stands.
static QString xKeySym(const QString& name) {
    static const QHash<QString, QString> names = {
        {"Space", "space"},      {"PageDown", "Next"},     {"PageUp", "Prior"},
        {"Slash", "slash"},      {"Question", "question"}, {"Shift+Tab", "shift+Tab"},
        {"Backtab", "shift+Tab"}};
    if (names.contains(name)) return names[name];
    if (name.size() == 1) return name.toLower();
    return name;
}

void ActionScript::realKey(const QString& name, const QString& window) {
    auto next = [this] {
        // The key's events come back from the X server: let them arrive.
        QTimer::singleShot(150, this, &ActionScript::step);
    };
    if (!QGuiApplication::platformName().startsWith(QLatin1String("xcb"))) {
        fail("realkey needs an X11 display, not " + QGuiApplication::platformName());
        return next();
    }
    QStringList args;
    if (!window.isEmpty()) {
        // The window manager makes the window active first and xdotool waits
        // until it has: the key then goes where the window manager's focus
        // is, whatever Qt believed.
        QWidget* w = windows_.get(window);
        if (!w || !w->isVisible()) {
            fail("realkey: no window " + window + " on the screen");
            return next();
        }
        args << QStringLiteral("windowactivate") << QStringLiteral("--sync")
             << QString::number(w->window()->winId());
    }
    args << QStringLiteral("key") << xKeySym(name);
    auto* xdotool = new QProcess(this);
    // A window manager that never activates the window would hold --sync.
    QTimer::singleShot(10000, xdotool, [xdotool] { xdotool->kill(); });
    connect(xdotool, &QProcess::finished, this, [this, xdotool, name, next](int code) {
        xdotool->deleteLater();
        if (code != 0) fail("xdotool key " + name + " failed");
        next();
    });
    connect(xdotool, &QProcess::errorOccurred, this,
            [this, xdotool, next](QProcess::ProcessError e) {
                if (e != QProcess::FailedToStart) return;
                xdotool->deleteLater();
                fail("realkey needs the program xdotool");
                next();
            });
    xdotool->start(QStringLiteral("xdotool"), args);
}

namespace {

// Answers the next modal dialog once the window system has put it on the
// screen (its window exposed); one still not shown after five seconds is
// rejected, so that the run goes on.
class DialogAnswer : public QObject {
  public:
    explicit DialogAnswer(std::function<void(QDialog*)> answer) : answer_(std::move(answer)) {
        since_.start();
        connect(&poll_, &QTimer::timeout, this, &DialogAnswer::look);
        poll_.start(20);
    }
    bool shown = false;

  private:
    void look() {
        auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (d && d->windowHandle() && d->windowHandle()->isExposed()) {
            shown = true;
            poll_.stop();
            answer_(d);
        } else if (since_.elapsed() > 5000) {
            poll_.stop();
            if (d) d->reject();
        }
    }
    std::function<void(QDialog*)> answer_;
    QTimer poll_;
    QElapsedTimer since_;
};

// Presses the button of the given role on a message box.
std::function<void(QDialog*)> pressing(QMessageBox::StandardButton which) {
    return [which](QDialog* d) {
        auto* box = qobject_cast<QMessageBox*>(d);
        QAbstractButton* b = box ? box->button(which) : nullptr;
        b ? b->click() : d->reject();
    };
}

} // namespace

void ActionScript::realDialogs(const QStringList& kinds) {
    auto asked = [&kinds](const char* kind) {
        return kinds.isEmpty() || kinds.contains(QLatin1String(kind));
    };
    QtMessages real;
    if (asked("message")) {
        DialogAnswer a(pressing(QMessageBox::Ok));
        real.msgBox(QStringLiteral("A message box of the driver."));
        if (!a.shown) fail("the message box was not shown");
    }
    if (asked("question")) {
        DialogAnswer a(pressing(QMessageBox::No));
        // No, the button that is not the default: the answer came from the press.
        if (real.yesNo(QStringLiteral("A question of the driver?")) || !a.shown)
            fail("the question was not shown or not answered No");
    }
    if (asked("input")) {
        DialogAnswer a([](QDialog* d) {
            auto* in = qobject_cast<QInputDialog*>(d);
            if (in) in->setTextValue(QStringLiteral("typed"));
            d->accept();
        });
        if (real.inputBox(QStringLiteral("An input box of the driver:")) != u"typed" || !a.shown)
            fail("the input box was not shown or did not give its text");
    }
    QTimer::singleShot(0, this, &ActionScript::step);
}

void ActionScript::runLine(const QString& line) {
    const QStringList a = words(line);
    const QString verb = a[0];
    const QString rest = line.section(u' ', 2); // text after the address
    if (extra.contains(verb)) {
        extra[verb](a.mid(1));
        return;
    }
    if (verb == u"quit") {
        // The main window first: its closing is the program's shut-down.
        if (QWidget* main = windows_.find(QStringLiteral("Velmor"))) main->close();
        for (QWidget* w : QApplication::topLevelWidgets())
            w->close();
        QApplication::exit(failures_ ? 1 : 0);
        lines_.clear();
        return;
    }
    if (verb == u"screenshot") {
        QScreen* screen = QGuiApplication::primaryScreen();
        QPixmap shot = screen ? screen->grabWindow(0) : QPixmap();
        if (shot.isNull() && screen) {
            // Wayland lets no client read the screen: the program's own
            // windows, each drawn where it stands, on a grey screen.
            shot = QPixmap(screen->size());
            shot.fill(Qt::darkGray);
            QPainter painter(&shot);
            for (const bool full : {true, false})
                for (QWidget* w : QApplication::topLevelWidgets())
                    if (w->isVisible() && w->isFullScreen() == full)
                        painter.drawPixmap(w->pos(), w->grab());
        }
        if (shot.isNull() || !shot.save(a.value(1))) fail("screenshot " + a.value(1));
        return;
    }
    if (verb == u"mark") return origin_.start();
    if (verb == u"stamp") {
        // Printed in the same call as the action, just before it, so that a
        // test can take the moment the action ran however late the driver
        // got to it.  The waits run from step(), not from here.
        const QString action = line.mid(verb.size()).trimmed();
        const QString inner = action.section(u' ', 0, 0);
        static const QStringList untimed = {"stamp",   "wait",    "waituntil",
                                            "waitfor", "realkey", "dialogs"};
        if (inner.isEmpty() || untimed.contains(inner))
            return fail("stamp needs an action, not " + (inner.isEmpty() ? "nothing" : inner));
        std::fprintf(stderr, "STAMP %lld\n", static_cast<long long>(origin_.elapsed()));
        std::fflush(stderr);
        return runLine(action);
    }
    if (verb == u"menu") return menu(a.value(1));
    if (verb == u"checkfile") return checkFile(a.value(1), a.value(2));
    if (verb == u"checkexists") {
        const QString want = a.value(2);
        if (want != u"yes" && want != u"no") return fail("checkexists needs yes or no");
        const bool there = QFileInfo::exists(a.value(1));
        if (there != (want == u"yes")) fail(a.value(1) + (there ? " exists" : " does not exist"));
        return;
    }
    if (verb == u"check" || verb == u"checkvisible" || verb == u"checkvalue") {
        const QString why = probe(a, rest);
        if (!why.isEmpty()) fail(why);
        return;
    }
    if (verb == u"checkfit") {
        // A window not loaded or hidden has nothing to cut; the check does
        // not load it.  Fails with each control that is cut, by name and how.
        for (const QString& fault : fitProblems(windows_.find(a.value(1).section(u'.', 0, 0))))
            fail("checkfit " + fault);
        return;
    }
    QWidget* w = control(a.value(1));
    if (!w) {
        fail("no control " + a.value(1));
        return;
    }
    if (verb == u"show") {
        w->show();
    } else if (verb == u"activate") {
        w->window()->raise();
        w->window()->activateWindow();
    } else if (verb == u"hide") {
        w->hide();
    } else if (verb == u"close") {
        // The request of the title bar's close button: closeEvent runs.
        w->window()->close();
    } else if (verb == u"click" || verb == u"press" || verb == u"release" || verb == u"move" ||
               verb == u"drag") {
        mouse(verb, a, w);
    } else if (verb == u"type") {
        w->setFocus();
        if (auto* e = qobject_cast<QLineEdit*>(w)) e->selectAll();
        for (QChar ch : rest) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            QApplication::sendEvent(w, &press);
        }
    } else if (verb == u"select" || verb == u"selectright") {
        auto* list = qobject_cast<QListWidget*>(w);
        const auto items =
            list ? list->findItems(rest, Qt::MatchExactly) : QList<QListWidgetItem*>{};
        if (items.isEmpty()) return fail("no entry " + rest + " in " + a[1]);
        list->scrollToItem(items[0]);
        const QPoint p = list->visualItemRect(items[0]).center();
        const Qt::MouseButton b = verb == u"select" ? Qt::LeftButton : Qt::RightButton;
        sendMouse(list->viewport(), QEvent::MouseButtonPress, b, p);
        sendMouse(list->viewport(), QEvent::MouseButtonRelease, b, p);
    } else if (verb == u"key" || verb == u"keyfocus") {
        // keyfocus: the key goes where the keyboard's keys go, the widget of
        // the window that has the focus (Tab and Backtab move it).
        QWidget* to = verb == u"key" ? w : w->window()->focusWidget();
        if (!to) to = w;
        const QSeqKey k = keyOf(a.value(2));
        const bool repeat = a.value(3) == u"repeat";
        QKeyEvent press(QEvent::KeyPress, k.key, k.mods, k.text, repeat);
        QApplication::sendEvent(to, &press);
        QKeyEvent release(QEvent::KeyRelease, k.key, k.mods, k.text, repeat);
        QApplication::sendEvent(to, &release);
    } else if (verb == u"checkfocus") {
        if (w->window()->focusWidget() != w)
            fail(a[1] + " has no focus (" +
                 (w->window()->focusWidget() ? w->window()->focusWidget()->objectName()
                                             : QStringLiteral("none")) +
                 " has)");
    } else if (verb == u"checkactive") {
        const QWidget* active = QApplication::activeWindow();
        if (active != w->window())
            fail(a[1] + " is not active (" +
                 (active ? active->objectName() : QStringLiteral("none")) + " is)");
    } else if (verb == u"checkscreen") {
        const QScreen* sc = w->window()->windowHandle() ? w->window()->windowHandle()->screen()
                                                        : w->window()->screen();
        const int at = int(QGuiApplication::screens().indexOf(const_cast<QScreen*>(sc)));
        if (at != a.value(2).toInt()) fail(QStringLiteral("%1 on screen %2").arg(a[1]).arg(at));
    } else if (verb == u"checkfullscreen") {
        // Full screen in its state and in fact: the window covers its screen.
        QWidget* win = w->window();
        const QScreen* sc = win->screen();
        const bool full =
            win->isFullScreen() && sc && win->frameGeometry().size() == sc->geometry().size();
        if (full != (a.value(2) == u"yes"))
            fail(QStringLiteral("%1 is %2full screen (%3x%4)")
                     .arg(a[1], full ? QString() : QStringLiteral("not "))
                     .arg(win->width())
                     .arg(win->height()));
    } else if (verb == u"checkgeom") {
        const QPoint p = w->pos();
        if (p.x() != a.value(2).toInt() || p.y() != a.value(3).toInt())
            fail(QStringLiteral("%1 at %2,%3").arg(a[1]).arg(p.x()).arg(p.y()));
    } else {
        fail("unknown action " + verb);
    }
}

} // namespace mv
