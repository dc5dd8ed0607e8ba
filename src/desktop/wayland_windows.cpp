#include "desktop/wayland_windows.h"

#include "core/session_state.h"
#include "core/window_registry.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <QWindow>
#include <cstdio>
#include <utility>

namespace mv {

namespace {

void sayOnce() {
    static bool said = false;
    if (std::exchange(said, true)) return;
    std::fprintf(stderr, "mellivane: on Wayland the compositor places the windows: sheet window "
                         "2 goes full screen on its monitor, the button panel is a tool window\n");
}

// Sheet window 2 on Wayland: full screen on the screen its placing chose by
// name, since a window there cannot move itself onto a monitor.
void fullScreenOnItsScreen(QWidget* w) {
    QScreen* target = w->screen();
    w->winId(); // makes its window
    if (target && w->windowHandle()) w->windowHandle()->setScreen(target);
    w->setWindowState(w->windowState() | Qt::WindowFullScreen);
    sayOnce();
}

} // namespace

bool onWayland() { return QGuiApplication::platformName().startsWith(QStringLiteral("wayland")); }

void installWaylandWindows(Session&, WindowRegistry& windows) {
    if (!onWayland()) return;
    if (auto make = windows.factory(QStringLiteral("AdobeF2")))
        windows.define(QStringLiteral("AdobeF2"), [make] {
            QWidget* w = make();
            if (w) fullScreenOnItsScreen(w);
            return w;
        });
    if (auto make = windows.factory(QStringLiteral("BControl")))
        windows.define(QStringLiteral("BControl"), [make, &windows] {
            QWidget* p = make();
            if (!p) return p;
            // A tool window that belongs to sheet window 1: the compositor
            // keeps it over the sheet and places it.
            const bool shown = p->isVisible();
            p->setWindowFlag(Qt::Tool, true); // hides it: shown again below
            if (QWidget* sheet = windows.find(QStringLiteral("AdobeF"))) {
                sheet->winId();
                p->winId();
                p->windowHandle()->setTransientParent(sheet->windowHandle());
            }
            if (shown) p->show();
            sayOnce();
            return p;
        });
}

} // namespace mv
