#include "align/audition.h"

#include "align/align_window.h"
#include "align/operations.h"
#include "core/beeper.h"
#include "core/session_state.h"
#include "core/values.h"
#include "transport/media_player.h"

#include <algorithm>
#include <cmath>

namespace mv::align {

namespace {

constexpr double kBeforeMs = 2000;
constexpr double kAfterMs = 1000;
constexpr int kClickMs = 30;

// Counts the Hears begun: one that finds the count moved on was overtaken
// by a newer one, which owns the player now.
int hearsBegun = 0;

} // namespace

HearSpan hearSpan(const TicTable& table, int row, const PlayTiming& timing) {
    row = std::clamp(row, 0, TicTable::kLastRow);
    std::vector<double> tics;
    for (int k = 0; k <= row; ++k)
        tics.push_back(val(table.Tic[size_t(k)]));
    HearSpan h;
    h.ticMs = musicPositions(tics, timing).back();
    h.fromMs = std::max(0.0, h.ticMs - kBeforeMs);
    h.toMs = h.ticMs + kAfterMs;
    return h;
}

void AuditionB_Click(Session& s) {
    // Edit mode only, and not over an append, whose clicks follow its music.
    if (!s.adobeF.Shape2.get() || s.adobeF.Shape4.get() || !s.player || s.g.SongFile.isEmpty())
        return;
    const QString song = recordingOf(s.g.SongFile, s.g.SongBase);
    if (song.isEmpty()) return;
    PlayTiming timing = playTimingOf(s);
    // A Speed that holds the music (below 0) would never reach the tic.
    if (!(timing.speed > 0)) timing.speed = 1;
    const HearSpan h = hearSpan(s.tic, s.g.CursorIndex, timing);
    const double speed = timing.speed;
    const int serial = ++hearsBegun;
    // Leaving edit mode ends the Hear and its music at once, before any
    // other handler could start music of its own.
    const Subscription leave = s.adobeF.Shape2.subscribe([&s, serial] {
        if (!s.adobeF.Shape2.get() && serial == hearsBegun && s.player) s.player->close();
    });

    s.player->close();
    s.player->setURL(song);
    s.player->setControlsCurrentPosition(h.fromMs / 1000);
    if (s.player->settingsIsAvailable(QStringLiteral("Rate")))
        s.player->setSettingsRate(timing.speed);
    // The music stands at `from` now (the player catches up with the moment
    // of its URL); the tic and the end follow at the speed it plays.
    const int64_t start = s.clock.tickMs();
    auto waitUntil = [&](double musicMs) {
        const int64_t due = start + std::llround((musicMs - h.fromMs) / speed);
        while (s.clock.tickMs() < due) {
            if (s.pump.quitting() || serial != hearsBegun || !s.adobeF.Shape2.get()) return false;
            s.pump.waitRound(due);
        }
        return !s.pump.quitting() && serial == hearsBegun && s.adobeF.Shape2.get();
    };
    if (!waitUntil(h.ticMs)) return;
    if (s.beeper) {
        const double b = s.velmor.BeepX.value();
        s.beeper->beep(b >= 20 && b <= 20000 ? int(std::lround(b)) : 1000, kClickMs);
    }
    if (!waitUntil(h.toMs)) return;
    s.player->close();
}

} // namespace mv::align
