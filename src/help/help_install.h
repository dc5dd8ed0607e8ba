#pragma once
// Help, wired into the program: the windows HLPF and PDFHelp with their
// texts (plain text files compiled in as resources), the main window's
// "Help" menu entry (HH), "Help" (Command11) of sheet window 1, and their
// unloading at shut-down.

#include <QString>

namespace mv {

struct Session;
struct StartupHooks;
class WindowRegistry;

// The text of a help window: "HLPF" or "PDFHelp"; empty for another name.
QString helpText(const QString& window);

// Defines the two windows in `windows` and installs the hooks; when given,
// shut-down unloads them after the windows it unloads already.  Call once,
// after the start-up hooks are set.
void installHelp(Session& s, WindowRegistry& windows, StartupHooks* startup = nullptr);

} // namespace mv
