#include "desktop/desktop_install.h"

#include "core/session_state.h"
#include "desktop/media_controls.h"
#include "desktop/mpris_service.h"
#include "desktop/observed_player.h"

#include <cstdio>
#include <map>

namespace mv {

Desktop::Desktop() = default;
Desktop::~Desktop() {
    if (session && player && session->player == player.get()) session->player = inner;
}

void Desktop::playerChanged() {
    if (controls) controls->schedule();
}

bool Desktop::mediaVerb(const QStringList& args) {
    if (!controls) return false;
    MediaControls& c = *controls;
    const QString verb = args.value(0).toLower();
    const std::map<QString, void (MediaControls::*)()> plain = {
        {QStringLiteral("play"), &MediaControls::play},
        {QStringLiteral("pause"), &MediaControls::pause},
        {QStringLiteral("playpause"), &MediaControls::playPause},
        {QStringLiteral("stop"), &MediaControls::stop},
        {QStringLiteral("next"), &MediaControls::next},
        {QStringLiteral("previous"), &MediaControls::previous}};
    if (auto it = plain.find(verb); it != plain.end()) {
        (c.*(it->second))();
        return true;
    }
    bool ok = false;
    const double value = args.value(1).toDouble(&ok);
    if (!ok) return false;
    if (verb == u"volume")
        c.setVolume(value);
    else if (verb == u"rate")
        c.setRate(value);
    else
        return false;
    return true;
}

std::unique_ptr<Desktop> installDesktop(Session& s, Library& library, std::function<void()> raise,
                                        std::function<void()> quit) {
    auto d = std::make_unique<Desktop>();
    d->controls = std::make_unique<MediaControls>(s, &library);
    d->controls->raise = std::move(raise);
    d->controls->quit = std::move(quit);
    d->session = &s;
    d->inner = s.player;
    if (s.player) {
        MediaControls* c = d->controls.get();
        d->player = std::make_unique<ObservedPlayer>(
            *s.player, [c] { c->schedule(); }, [c] { c->musicStarted(); });
        s.player = d->player.get();
    }
    QString why;
    if (!registerMpris(*d->controls, &why))
        std::fprintf(stderr, "mellivane: media keys and remote control are off: %s\n",
                     qPrintable(why));
    return d;
}

} // namespace mv
