#include "help/help_install.h"

#include "core/session_state.h"
#include "core/startup.h"
#include "core/window_registry.h"
#include "help/help_window.h"

#include <QFile>

namespace mv {

QString helpText(const QString& window) {
    QFile f(QStringLiteral(":/help/%1.txt").arg(window.toLower()));
    if (!f.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(f.readAll());
}

void installHelp(Session& s, WindowRegistry& windows, StartupHooks* startup) {
    windows.define(QStringLiteral("HLPF"), [&s] {
        return new HelpWindow(s, QStringLiteral("Help"), helpText(QStringLiteral("HLPF")));
    });
    windows.define(QStringLiteral("PDFHelp"), [&s] {
        return new HelpWindow(s, QStringLiteral("PDF Help"), helpText(QStringLiteral("PDFHelp")));
    });
    // Loads the window if it isn't, and brings it up.
    auto show = [&windows](const QString& name) {
        if (QWidget* w = windows.get(name)) {
            w->show();
            w->raise();
            w->activateWindow();
        }
    };
    s.HH_Click = [show] { show(QStringLiteral("HLPF")); };
    s.adobeF_Command11_Click = [show] { show(QStringLiteral("PDFHelp")); };
    if (!startup) return;
    startup->unloadWindows = [&windows, before = startup->unloadWindows] {
        if (before) before();
        windows.unload(QStringLiteral("HLPF"));
        windows.unload(QStringLiteral("PDFHelp"));
    };
}

} // namespace mv
