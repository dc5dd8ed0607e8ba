#pragma once
// The network sync, wired into the program: the send hooks the senders of
// the other subsystems call, the handlers of the ConnectIt menu entry and
// the "I Am A Server" check box, the listening step of start-up, and Clock
// Start (its announcement hook, and "Clock Start" and "Start Lead" kept in
// "Mellivane.conf" as ClockStart and StartLead).

#include <memory>

namespace mv {

struct Session;
struct StartupHooks;
class Network;
class SocketLayer;

// Creates the socket array over `layer` and installs the hooks into the
// session and, when given, start-up's listening step.  The returned object
// owns the sockets; keep it as long as the session runs.  Call once.
[[nodiscard]] std::unique_ptr<Network> installSync(Session& s, SocketLayer& layer,
                                                   StartupHooks* startup = nullptr);

} // namespace mv
