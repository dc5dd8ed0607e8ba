#include "app/action_script.h"

#include "core/window_registry.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QGuiApplication>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QScreen>
#include <QTextStream>
#include <QTimer>
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

void ActionScript::start() { QTimer::singleShot(0, this, &ActionScript::step); }

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
    return w->findChild<QWidget*>(name);
}

void ActionScript::step() {
    while (next_ < lines_.size()) {
        const QString line = lines_[next_++].trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        if (line.startsWith(QLatin1String("wait "))) {
            QTimer::singleShot(line.section(u' ', 1, 1).toInt(), this, &ActionScript::step);
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

void sendMouse(QWidget* w, QEvent::Type type, Qt::MouseButton b, QPoint p) {
    const QPointF local(p);
    QMouseEvent e(type, local, w->mapToGlobal(local), b,
                  type == QEvent::MouseButtonRelease ? Qt::NoButton : b, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

QString textOf(QWidget* w) {
    if (auto* e = qobject_cast<QLineEdit*>(w)) return e->text();
    if (auto* l = qobject_cast<QLabel*>(w)) return l->text();
    if (auto* c = qobject_cast<QCheckBox*>(w))
        return c->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    if (auto* b = qobject_cast<QAbstractButton*>(w)) return b->text();
    if (auto* l = qobject_cast<QListWidget*>(w))
        return l->currentItem() ? l->currentItem()->text() : QString();
    return w->windowTitle();
}

} // namespace

void ActionScript::runLine(const QString& line) {
    const QStringList a = line.split(u' ', Qt::SkipEmptyParts);
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
        if (!screen || !screen->grabWindow(0).save(a.value(1))) fail("screenshot " + a.value(1));
        return;
    }
    QWidget* w = control(a.value(1));
    if (!w) {
        fail("no control " + a.value(1));
        return;
    }
    const Qt::MouseButton button = a.value(2) == u"right" ? Qt::RightButton : Qt::LeftButton;
    const QPoint at(a.size() > 3 ? a[3].toInt() : w->width() / 2, w->height() / 2);
    if (verb == u"show") {
        w->show();
    } else if (verb == u"hide") {
        w->hide();
    } else if (verb == u"click" || verb == u"press") {
        sendMouse(w, QEvent::MouseButtonPress, button, at);
        if (verb == u"click") sendMouse(w, QEvent::MouseButtonRelease, button, at);
    } else if (verb == u"type") {
        w->setFocus();
        if (auto* e = qobject_cast<QLineEdit*>(w)) e->selectAll();
        for (QChar ch : rest) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            QApplication::sendEvent(w, &press);
        }
    } else if (verb == u"select") {
        auto* list = qobject_cast<QListWidget*>(w);
        const auto items =
            list ? list->findItems(rest, Qt::MatchExactly) : QList<QListWidgetItem*>{};
        if (items.isEmpty()) return fail("no entry " + rest + " in " + a[1]);
        list->scrollToItem(items[0]);
        const QPoint p = list->visualItemRect(items[0]).center();
        sendMouse(list->viewport(), QEvent::MouseButtonPress, Qt::LeftButton, p);
        sendMouse(list->viewport(), QEvent::MouseButtonRelease, Qt::LeftButton, p);
    } else if (verb == u"key") {
        const QKeySequence seq(a.value(2));
        const int key = seq.isEmpty() ? 0 : seq[0].key();
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier,
                        a.value(2).size() == 1 ? a.value(2).toLower() : QString());
        QApplication::sendEvent(w, &press);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(w, &release);
    } else if (verb == u"check") {
        if (textOf(w) != rest) fail(a[1] + " is \"" + textOf(w) + "\", not \"" + rest + "\"");
    } else if (verb == u"checkvisible") {
        const bool want = a.value(2) == u"yes";
        if (w->isVisible() != want) fail(a[1] + (want ? " is hidden" : " is visible"));
    } else if (verb == u"checkgeom") {
        const QPoint p = w->pos();
        if (p.x() != a.value(2).toInt() || p.y() != a.value(3).toInt())
            fail(QStringLiteral("%1 at %2,%3").arg(a[1]).arg(p.x()).arg(p.y()));
    } else {
        fail("unknown action " + verb);
    }
}

} // namespace mv
