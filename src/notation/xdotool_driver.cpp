#include "notation/xdotool_driver.h"

#include "core/event_pump.h"
#include "core/values.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <csignal>

namespace mv {

namespace {

// How long a started program may take to show its first window.
constexpr int kFirstWindowMs = 10000;

// The start time of process `pid` (field 22 of /proc/<pid>/stat, in clock
// ticks since boot); 0 when there is no such process.  A process id that is
// used again belongs to a process with another start time.
qint64 startTimeOf(qint64 pid) {
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (pid <= 0 || !f.open(QIODevice::ReadOnly)) return 0;
    const QByteArray stat = f.readAll();
    // The name in parentheses may hold blanks and parentheses: fields count
    // from the last ")".
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 19 ? fields.at(19).toLongLong() : 0; // field 22
}

// `pid` and all its descendants, parents first (a wrapper script's viewer
// is a child of the process started).
QList<qint64> processTree(qint64 pid) {
    QList<qint64> tree{pid};
    for (qsizetype i = 0; i < tree.size() && tree.size() < 256; ++i) {
        const QString tasks = QStringLiteral("/proc/%1/task").arg(tree.at(i));
        for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile children(tasks + u'/' + task + QStringLiteral("/children"));
            if (!children.open(QIODevice::ReadOnly)) continue;
            for (const QByteArray& child : children.readAll().split(' '))
                if (const qint64 c = child.trimmed().toLongLong(); c > 0 && !tree.contains(c))
                    tree.append(c);
        }
    }
    return tree;
}

// How long one xdotool run of `args` may take: typing takes about 12 ms a
// character, so a long name gets longer.
int timeLimitMs(const QStringList& args) {
    return args.value(0) == u"type" ? 3000 + 20 * int(args.last().size()) : 3000;
}

// The X keysym name of a character pressed with Alt.
QString keysymOf(QChar c) {
    static const std::map<char16_t, const char*> names = {
        {u'-', "minus"},       {u'+', "plus"},        {u'=', "equal"},       {u' ', "space"},
        {u'.', "period"},      {u',', "comma"},       {u'/', "slash"},       {u';', "semicolon"},
        {u'\'', "apostrophe"}, {u'[', "bracketleft"}, {u']', "bracketright"}};
    if (auto it = names.find(c.unicode()); it != names.end())
        return QString::fromLatin1(it->second);
    return c.toLower();
}

} // namespace

XdotoolDriver::XdotoolDriver(EventPump& pump, QString xdotool)
    : pump_(pump),
      xdotool_(xdotool.isEmpty() ? QStandardPaths::findExecutable(QStringLiteral("xdotool"))
                                 : std::move(xdotool)) {}

QString XdotoolDriver::unavailableReason() const {
    // Under Wayland the compositor doesn't let an X11 client bring another
    // window to the front, so typed keys could land anywhere: refused, even
    // where Xwayland gives a DISPLAY.
    // The program itself as a Wayland client: xdotool neither sees its
    // windows nor may it give them the keyboard back.
    // The platform in use, however it was chosen (-platform, a fallback list).
    if (QGuiApplication::platformName().startsWith(u"wayland"))
        return QStringLiteral(
                   "The notation viewer can only be controlled through X11 (the program xdotool), "
                   "and "
                   "this program runs as a Wayland client (Qt platform \"%1\"). Start it in an X11 "
                   "session to use it. The sheet (PDF) mode goes on working.")
            .arg(QGuiApplication::platformName());
    if (qEnvironmentVariable("XDG_SESSION_TYPE").compare(u"wayland", Qt::CaseInsensitive) == 0)
        return QStringLiteral(
            "The notation viewer can only be controlled in an X11 session, and this is a "
            "Wayland session. Choose an X11 session (\"GNOME on Xorg\", \"Plasma (X11)\") "
            "at the login screen to use it. The sheet (PDF) mode goes on working.");
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return QStringLiteral(
            "The notation viewer can only be controlled on an X11 desktop, and this session has "
            "no X11 display (a Wayland session without Xwayland?). Log in to an X11 session to "
            "use it. The sheet (PDF) mode goes on working.");
    if (xdotool_.isEmpty() || !QFileInfo(xdotool_).isExecutable())
        return QStringLiteral(
            "The notation viewer is controlled through the program xdotool, which is not "
            "installed. Install the package \"xdotool\" to use it. The sheet (PDF) mode goes on "
            "working.");
    return {};
}

void XdotoolDriver::fail() {
    throw Failure(5, QStringLiteral("Invalid procedure call or argument"));
}

XdotoolDriver::Result XdotoolDriver::xdo(const QStringList& args, int timeoutMs) {
    Result r;
    if (!unavailableReason().isEmpty()) return r;
    QProcess p;
    p.setProgram(xdotool_);
    p.setArguments(args);
    p.setProcessChannelMode(QProcess::SeparateChannels);
    p.start();
    // Waited for in the event pump: the process's end wakes it.
    const int64_t end = pump_.clock().tickMs() + timeoutMs;
    while (p.state() != QProcess::NotRunning && pump_.clock().tickMs() < end && !pump_.quitting())
        pump_.waitRound(end);
    if (p.state() != QProcess::NotRunning) {
        p.kill();
        p.waitForFinished(1000); // a killed process ends at once
        // A run killed midway may leave a key pressed.
        if (args.value(0) != u"keyup") {
            QProcess up;
            up.start(xdotool_,
                     {QStringLiteral("keyup"), QStringLiteral("alt"), QStringLiteral("shift"),
                      QStringLiteral("ctrl"), QStringLiteral("Return")});
            up.waitForFinished(1000);
        }
        return r;
    }
    // A program that could not be started is NotRunning too, with an error.
    r.ok = p.error() == QProcess::UnknownError && p.exitStatus() == QProcess::NormalExit &&
           p.exitCode() == 0;
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput()).trimmed();
    return r;
}

int32_t XdotoolDriver::start(const QString& program) {
    if (!unavailableReason().isEmpty()) fail();
    qint64 pid = 0;
    if (!QFileInfo(program).isExecutable() ||
        !QProcess::startDetached(program, {}, QFileInfo(program).absolutePath(), &pid) || pid <= 0)
        throw Failure(53, QStringLiteral("File not found"));
    const auto id = static_cast<int32_t>(pid);
    startTimes_[id] = startTimeOf(pid);
    // Its first window, found by its process or one it started; then
    // minimised, as a program that waits in the background until a song is
    // opened.
    const int64_t end = pump_.clock().tickMs() + kFirstWindowMs;
    while (running(id)) {
        for (qint64 p : processTree(pid)) {
            const Result found = xdo({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                      QStringLiteral("--pid"), QString::number(p)});
            if (found.ok && !found.out.isEmpty()) {
                const QString window = found.out.section(u'\n', 0, 0);
                windows_[id] = window;
                xdo({QStringLiteral("windowminimize"), window});
                return id;
            }
        }
        if (pump_.clock().tickMs() >= end || pump_.quitting()) break;
        pump_.waitUntil(std::min(end, pump_.clock().tickMs() + 200));
    }
    return id;
}

bool XdotoolDriver::activateWindow(const QString& window, int timeoutMs) {
    return xdo({QStringLiteral("windowactivate"), QStringLiteral("--sync"), window}, timeoutMs).ok;
}

QString XdotoolDriver::activateFound(const QStringList& what) {
    // A window on the screen first.  A minimised one is not on the screen:
    // then each window that matches is tried, briefly (windows that the
    // window manager doesn't manage never become active).
    const QStringList visible = {QStringLiteral("search"), QStringLiteral("--onlyvisible")};
    const Result shown = xdo(visible + what);
    const QString first = shown.out.section(u'\n', 0, 0);
    if (shown.ok && !first.isEmpty()) return activateWindow(first) ? first : QString();
    const Result all = xdo(QStringList{QStringLiteral("search")} + what);
    if (!all.ok) return {};
    const QStringList candidates = all.out.split(u'\n', Qt::SkipEmptyParts);
    for (qsizetype i = 0; i < std::min<qsizetype>(candidates.size(), 4); ++i)
        if (activateWindow(candidates[i], 1000)) return candidates[i];
    return {};
}

bool XdotoolDriver::running(int32_t id) const {
    // The id is only this task's while the process has the start time it
    // had then: a process that got the same id later is another one.
    const auto it = startTimes_.find(id);
    return id > 0 && ::kill(id, 0) == 0 &&
           (it == startTimes_.end() || it->second == 0 || it->second == startTimeOf(id));
}

void XdotoolDriver::activateTask(int32_t id) {
    frontWindow_.clear();
    frontPid_ = 0;
    if (!running(id)) fail();
    QString window = windows_[id];
    if (window.isEmpty() || !activateWindow(window)) {
        // The window it had is gone or never showed: look for its window
        // now, among the processes it started too.
        window.clear();
        for (qint64 p : processTree(id)) {
            window = activateFound({QStringLiteral("--pid"), QString::number(p)});
            if (!window.isEmpty()) break;
        }
        if (window.isEmpty()) fail();
        windows_[id] = window;
    }
    frontWindow_ = window;
    const qint64 owner = xdo({QStringLiteral("getwindowpid"), window}).out.toLongLong();
    frontPid_ = owner > 0 ? owner : id;
}

void XdotoolDriver::activateTitle(const QString& title) {
    frontWindow_.clear();
    frontPid_ = 0;
    // xdotool matches a regular expression.
    QString pattern;
    for (QChar c : title) {
        if (QStringLiteral("\\.^$|?*+()[]{}").contains(c)) pattern += u'\\';
        pattern += c;
    }
    const QString window = activateFound({QStringLiteral("--name"), pattern});
    if (window.isEmpty()) fail();
    frontWindow_ = window;
    frontPid_ = xdo({QStringLiteral("getwindowpid"), window}).out.toLongLong();
}

void XdotoolDriver::sendKeys(const QString& keys) {
    if (frontWindow_.isEmpty()) fail();
    // Only into the program that was brought to the front: a dialog of it
    // may hold the focus now, a window of another program may not.
    const Result active = xdo({QStringLiteral("getactivewindow")});
    if (!active.ok) fail();
    if (active.out != frontWindow_) {
        const qint64 pid = xdo({QStringLiteral("getwindowpid"), active.out}).out.toLongLong();
        if (frontPid_ == 0 || pid != frontPid_) fail();
    }
    for (const NotationKey& k : parseNotationKeys(keys))
        if (const QStringList args = xdotoolArgs(k); !xdo(args, timeLimitMs(args)).ok) fail();
}

QStringList XdotoolDriver::xdotoolArgs(const NotationKey& key) {
    // --clearmodifiers lifts keys the user holds for the time of the typing
    // and puts them back after; every key xdotool presses it releases.
    switch (key.kind) {
    case NotationKey::Enter:
        return {QStringLiteral("key"), QStringLiteral("--clearmodifiers"),
                QStringLiteral("Return")};
    case NotationKey::Alt:
        return {QStringLiteral("key"), QStringLiteral("--clearmodifiers"),
                QStringLiteral("alt+") + keysymOf(key.text.at(0))};
    case NotationKey::Text: break;
    }
    return {QStringLiteral("type"), QStringLiteral("--clearmodifiers"), QStringLiteral("--"),
            key.text};
}

} // namespace mv
