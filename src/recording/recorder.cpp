#include "recording/recorder.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/output_delay.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/map_file.h"
#include "recording/edit_history.h"
#include "transport/media_player.h"

#include <algorithm>

namespace mv {

namespace {

// The song's file beside the list entry as listed (not cleaned: "Song
// MIX.mp3" records "Song MIX.map"), with extension `ext`, found whatever the
// case of its name.
QString listedSibling(const Session& s, const QString& ext) {
    const QString entry = s.velmor.Text1.text().trimmed() + u'/' + s.velmor.File1FileName();
    return existingPathIgnoringCase(siblingPath(entry, ext));
}

void setCursorsVisible(Session& s, bool visible) {
    s.adobeF.Picture1.Visible.set(visible);
    if (s.adobeF2.Visible.get()) s.adobeF2.Picture1.Visible.set(visible);
}

bool cursorMayShow(const Session& s) {
    return s.velmor.NoCursor.get() == 0 || s.g.ScrollMarkPending != 0;
}

// Presses made before a start are not clicks of the recording.
void forgetPresses(Session& s) {
    s.adobeF.presses.pressedSince = false;
    s.adobeF.presses.fresh = false;
}

void endRecording(Session& s) {
    s.files.close(2);
    setCursorsVisible(s, false);
    s.g.RecordMode = 0;
    s.adobeF.Shape1.set(false);
    s.g.OverlayArmed = kTrue;
    s.g.OverlayTicks = 40;
}

void startRecording(Session& s) {
    SheetOneState& f = s.adobeF;
    // The map is opened first, so that a folder that cannot be written
    // leaves everything as it was: no light, no music, no half a start.
    const QString map = listedSibling(s, QStringLiteral("map"));
    try {
        streamOpen(s, map);
    } catch (const Failure& e) {
        s.messages.msgBox(QStringLiteral("The map could not be opened for recording: ") + map +
                          QStringLiteral(" (") + e.description() + u')');
        return;
    }
    // A cursor play still reading its map ends at its next read, so it no
    // longer moves the tic base the clicks are counted from.
    s.files.close(1);
    f.Shape3.set(true); // a map, once started, is locked
    f.Picture1.Height.set(CursorPicture::kNormalHeight);
    f.Picture1.Red.set(false);
    if (s.adobeF2.Visible.get()) s.adobeF2.Picture1.Height.set(CursorPicture::kNormalHeight);
    if (cursorMayShow(s)) setCursorsVisible(s, true);
    forgetPresses(s);
    s.g.RecordMode = kTrue;
    s.g.RecordFirstTic = kTrue;
    f.Shape1.set(true);
    if (s.player) s.player->setURL(listedSibling(s, QStringLiteral("mp3")));
}

// The append branch of the sampler: the click becomes the row after CNT.
void appendTic(Session& s, int64_t elapsed, int64_t at) {
    SheetOneState& f = s.adobeF;
    TicTable& t = s.tic;
    toNormalForm(f.Picture1);
    // The rows a map can be edited in end at 4999: a click past them is not
    // taken, so the appended map can always be loaded again.
    if (f.Text3.value() + 1 > TicTable::kLastRow - 1) {
        adobeF::endAppend(s);
        s.messages.msgBox(QStringLiteral("The map is full: 5000 tics is the most that can be "
                                         "edited. The append has ended; this click was not "
                                         "taken."));
        return;
    }
    f.Text3.setNumber(f.Text3.value() + 1);
    const int n = s.g.CursorIndex;
    t.Tic[n] = numberText(double(elapsed));
    s.g.PlayStartTick = at;
    t.X[n] = numberText(f.Picture1.Left.get());
    f.Text1.setText(t.X[n]);
    t.Y[n] = numberText(f.Picture1.Top.get());
    f.Text2.setText(t.Y[n]);
    t.Scr[n] = numberText(f.VScroll1.get() - s.velmor.ScrollOffset.value());
    f.Text7.setText(t.Scr[n]);
    t.Nxt[n] = boolText(s.g.NextPageMark != 0);
    f.Text9.setText(t.Nxt[n]);
    s.g.NextPageMark = 0;
    t.Prv[n] = boolText(s.g.PrevPageMark != 0);
    f.Text10.setText(t.Prv[n]);
    s.g.PrevPageMark = 0;
}

// The record branch: the click becomes the next record of the stream.
void recordTic(Session& s, int64_t elapsed, int64_t at) {
    SheetOneState& f = s.adobeF;
    toNormalForm(f.Picture1);
    if (s.g.RecordFirstTic) {
        s.g.RecordFirstTic = 0;
        streamHeader(s);
    }
    s.g.PlayStartTick = at;
    const double x = f.Picture1.Left.get();
    const double y = f.Picture1.Top.get();
    const double scr = f.VScroll1.get() - s.velmor.ScrollOffset.value();
    // The record reaches the disk before anything else happens: a crash from
    // here on loses nothing of this click.
    streamTic(s, double(elapsed), x, y, scr, s.g.NextPageMark != 0, s.g.PrevPageMark != 0);
    s.g.NextPageMark = 0;
    s.g.PrevPageMark = 0;
    f.Text4.setNumber(double(elapsed));
    f.Text1.setNumber(x);
    f.Text2.setNumber(y);
    f.Text7.setNumber(scr);
}

} // namespace

namespace adobeF {

void Command2_Click(Session& s) {
    SheetOneState& f = s.adobeF;
    s.g.OverlayArmed = 0;
    if (s.velmor.File1ListIndex.get() < 0) return;
    if (s.adobeF2.Visible.get()) s.adobeF2.PageNR.setText(QStringLiteral("1"));
    if (s.player && s.player->playState() == 3 && !f.Shape1.get()) return;
    if (f.Shape2.get()) {
        s.messages.msgBox(
            QStringLiteral("You should exit the edit mode before starting a new recording."));
        return;
    }
    s.files.close(3);
    s.g.CursorStarted = 0;
    s.g.PlayStartTick = s.clock.tickMs();
    if (f.Shape1.get()) return endRecording(s);
    if (f.Shape3.get()) {
        s.messages.msgBox(QStringLiteral("Recording is locked. Click the Unlock button before "
                                         "you can record over this file"));
        return;
    }
    startRecording(s);
}

void Command12_Click(Session& s) {
    s.g.OverlayArmed = 0;
    s.adobeF.Shape3.set(!s.adobeF.Shape3.get());
}

void Command13_MouseDown(Session& s, int) {
    SheetOneState& f = s.adobeF;
    VelmorState& v = s.velmor;
    s.g.OverlayArmed = 0;
    if (!f.Shape2.get()) {
        s.messages.msgBox(
            QStringLiteral("You should be in edit mode at the append cursor position."));
        return;
    }
    if (f.Shape4.get()) return endAppend(s);
    f.Shape4.set(true);
    s.g.AppendFromRow = s.g.CursorIndex;
    // What was changed before the append is a step of its own.
    if (s.history) s.history->record(QStringLiteral("Edit"), s.g.CursorIndex);
    PosLeft(s, f.Text1.value() + v.XOffset.value());
    PosTop(s, (f.Text2.value() + v.YOffset.value()) * (v.ZoomIt.value() / 100));
    // The time at which the row on show is reached: the tics of the rows
    // before it, each by its numeric value (an empty or non-numeric cell
    // counts for what its leading number says, or 0).
    double sum = 0;
    const double last = std::min<double>(f.Text3.value() - 1, TicTable::kLastRow);
    for (int row = 0; row <= last; ++row)
        sum += val(s.tic.Tic[row]);
    s.g.AppendStartMs = sum;
    s.g.PlayStartTick = s.clock.tickMs();
    if (s.player) {
        s.player->close();
        s.player->setURL(listedSibling(s, QStringLiteral("mp3")));
        s.player->setControlsCurrentPosition(0);
        s.player->setControlsCurrentPosition(s.g.AppendStartMs / 1000);
    }
    forgetPresses(s);
    s.g.AppendMode = kTrue;
}

void endAppend(Session& s) {
    SheetOneState& f = s.adobeF;
    const bool appending = f.Shape4.get() || s.g.AppendMode;
    f.Shape4.set(false);
    if (s.player) s.player->close();
    s.g.AppendMode = 0;
    if (appending && s.history) s.history->record(QStringLiteral("Append"), s.g.AppendFromRow);
}

void Timer1_Timer(Session& s) {
    SheetOneState& f = s.adobeF;
    Globals& g = s.g;
    if (s.adobeF2.Visible.get()) return;
    if (s.overlayTimerWork) s.overlayTimerWork();
    if (!g.RecordMode && !g.AppendMode) return;
    SheetPresses& p = f.presses;
    // A new press is not the press the sampler took last: it may be taken.
    if (p.fresh) {
        p.fresh = false;
        g.RecordTicSeen = 0;
    }
    const double x = p.x, y = p.y;
    if (x == g.LastMouseX && y == g.LastMouseY) return;
    if (x * 15 > f.Left + f.Width.get() - 2000) return; // the button strip
    if (!p.query() || g.RecordTicSeen) {
        if (!p.query()) g.RecordTicSeen = 0;
        return;
    }
    g.RecordTicSeen = kTrue;
    g.LastMouseX = x;
    g.LastMouseY = y;
    f.Picture1.Left.set(x * 15 - f.Left - 100);
    f.Picture1.Top.set(y * 15 - f.Top - 500);
    f.Picture1.bringToFront();
    // The musician tapped with what they heard, which the output sent that
    // many ms late: the tap stands for the music's moment before it.  A tap
    // before the start (a first tap inside the delay) counts as 0.
    const int64_t tap = p.tick - outputDelayMs(s.velmor);
    const int64_t elapsed = std::max<int64_t>(0, tap - g.PlayStartTick);
    try {
        if (g.RecordMode)
            recordTic(s, elapsed, tap);
        else
            appendTic(s, elapsed, tap);
    } catch (const Failure& e) {
        // The map can no longer be written (a full disk, a removed stick):
        // what reached it stays, the recording ends and says why.
        if (!g.RecordMode) return s.messages.msgBox(e.description());
        // Only a rename of its song or a set loaded closes the stream.
        const bool closed = !s.files.isOpen(2);
        endRecording(s);
        s.messages.msgBox(closed ? QStringLiteral("The recording stopped: its song was renamed or "
                                                  "a set was loaded. The clicks before this one "
                                                  "are in the map.")
                                 : QStringLiteral("The recording stopped: the map could not be "
                                                  "written (") +
                                       e.description() +
                                       QStringLiteral("). The clicks before this one are "
                                                      "in the map."));
    }
}

} // namespace adobeF

} // namespace mv
