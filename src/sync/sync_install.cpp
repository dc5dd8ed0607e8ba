#include "sync/sync_install.h"

#include "core/session_state.h"
#include "core/startup.h"
#include "sync/network.h"

namespace mv {

std::unique_ptr<Network> installSync(Session& s, SocketLayer& layer, StartupHooks* startup) {
    auto net = std::make_unique<Network>(s, layer);
    Network* n = net.get();
    s.sendToClients = [n](const QString& token) { n->sendToClients(token); };
    s.sendSheetToClients = [n](const QString& token) { n->sendSheetToClients(token); };
    s.ConnectIt_Click = [n] { n->ConnectIt_Click(); };
    s.announceStartAt = [n](int64_t at, int64_t zero) { n->announceStartAt(at, zero); };
    s.keyed.add(QStringLiteral("ClockStart"), s.velmor.ClockStart);
    s.keyed.add(QStringLiteral("StartLead"), s.velmor.StartLead);
    if (startup) startup->listen = [n] { n->startListening(); };
    return net;
}

} // namespace mv
