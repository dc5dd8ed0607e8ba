#include "transport/play_start.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "cursormap/map_file.h"
#include "cursormap/play_loop.h"
#include "sheet/pdf_viewer.h"
#include "transport/media_player.h"
#include "transport/stop_pause.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <utility>

namespace mv {

namespace {

bool guard(const Session& s) { return s.clock.dayClock() > 20.0f; }

void focus(Session& s, const char* window) {
    if (s.giveFocus) s.giveFocus(QString::fromLatin1(window));
}

// A song list of type *.PDF plays the same-named MP3, found whatever the
// case of its name ("Song.pdf" plays "Song.mp3").  Only the file's name is
// looked at: a folder "Scores.PDF" stays as it is.
void pdfToMp3(Session& s) {
    const qsizetype name = s.g.SongFile.lastIndexOf(u'/') + 1;
    const qsizetype i = s.g.SongFile.toUpper().indexOf(QStringLiteral(".PDF"), name);
    if (i < 0) return;
    s.g.SongFile.replace(i, 4, QStringLiteral(".MP3"));
    s.g.SongFile = existingPathIgnoringCase(s.g.SongFile);
}

// The modes that refuse a start, with their message; true when refused.
bool refused(Session& s) {
    if (s.adobeF.Shape2.get()) {
        s.messages.msgBox(QStringLiteral("You are in edit mode"));
        return true;
    }
    if (s.adobeF.Shape1.get()) {
        s.messages.msgBox(QStringLiteral("You are in Record mode"));
        return true;
    }
    return false;
}

void cursorToFront(Session& s) {
    s.adobeF.Picture1.repaint();
    s.adobeF.Picture1.bringToFront();
    if (s.adobeF2.Visible.get()) {
        s.adobeF2.Picture1.repaint();
        s.adobeF2.Picture1.bringToFront();
    }
}

void setRate(Session& s) {
    if (s.player && s.player->settingsIsAvailable(QStringLiteral("Rate")))
        s.player->setSettingsRate(strictNumber(s.velmor.Speed.text()));
}

void scrnFocus(Session& s) {
    if (s.velmor.Scrn0.get() && s.adobeF.Visible.get()) focus(s, "AdobeF");
    if (s.velmor.Scrn1.get() && s.adobeF2.Visible.get()) focus(s, "AdobeF2");
}

void writeCount(Session& s, int count) {
    s.adobeF.Text11.setNumber(count);
    if (s.adobeF2.Visible.get()) s.adobeF2.Text11.setNumber(count);
}

// The whole second of the time of day, as the count-off's steps see it.
int64_t secondOfDay(const Session& s) {
    return static_cast<int64_t>(std::floor(s.clock.dayClock()));
}

// Waits one round, waking at the next whole second of the time of day or at
// `endTick`, whichever comes first.
void waitForSecond(Session& s, int64_t endTick) {
    const double day = s.clock.dayClock();
    const int64_t toNext = static_cast<int64_t>(std::ceil((std::floor(day) + 1 - day) * 1000));
    s.pump.waitRound(std::min(endTick, s.clock.tickMs() + std::max<int64_t>(1, toNext)));
}

bool serving(const Session& s) {
    return s.sendToClients && s.velmor.IamaServer.get() == 1 && s.velmor.Shape1.get();
}

// Clock Start on a server with clients: the tick at which the music of a
// play whose count-off begins now goes, here and on every client that
// follows this clock; the count-off, or the start lead when that is longer,
// so that the announcement reaches the clients in time.  0 otherwise.
int64_t clockStartInstant(const Session& s) {
    const VelmorState& v = s.velmor;
    if (v.ClockStart.get() != 1 || !serving(s) || !s.announceStartAt) return 0;
    const double ms = std::max(v.PDFDLY.value() * 1000, v.StartLead.value());
    return s.clock.tickMs() + std::llround(std::clamp(ms, 0.0, 600e3)); // as clients accept
}

// `at`: the announced instant the count-off ends at, or 0; `zero`: the tick
// that start's tics count from.
void countOff(Session& s, int64_t at, int64_t zero) {
    VelmorState& v = s.velmor;
    const bool client = v.IamaServer.get() == 0 && v.Shape1.get();
    const double delay = client ? v.ClientDelay.value() : v.PDFDLY.value();
    // The end of the wait on the tick clock: a count-off across midnight ends.
    const int64_t endTick = at ? at : s.clock.tickMs() + std::llround(std::max(0.0, delay) * 1000);
    int count = roundWord(v.PDFDLY.value());
    scrnFocus(s);
    if (serving(s)) {
        // Announced first: a client that follows the clock then leaves the
        // plain start after it alone.
        if (at) s.announceStartAt(at, zero);
        s.sendToClients(QStringLiteral("&START/"));
    }
    if (s.adobeF2.Visible.get()) s.adobeF2.Text11Visible.set(true);
    s.adobeF.Text11Visible.set(true);
    writeCount(s, count);
    // The count's steps fall on the clock's seconds.
    const int64_t first = secondOfDay(s);
    while (secondOfDay(s) == first && s.clock.tickMs() < endTick && !s.pump.quitting())
        waitForSecond(s, endTick);
    int64_t shown = secondOfDay(s);
    while (s.clock.tickMs() < endTick && !s.pump.quitting()) {
        waitForSecond(s, endTick);
        if (secondOfDay(s) != shown) {
            shown = secondOfDay(s);
            writeCount(s, --count);
        }
    }
    s.adobeF.Text11Visible.set(false);
    if (s.adobeF2.Visible.get()) s.adobeF2.Text11Visible.set(false);
    scrnFocus(s);
}

void stopByClick(Session& s) {
    hideCursors(s);
    s.g.StopRequested = kTrue;
    dropSource(s, true);
    if (s.adobeF.AcroPDF1) s.adobeF.AcroPDF1->gotoFirstPage();
    if (s.adobeF2.Visible.get() && s.adobeF2.AcroPDF1) s.adobeF2.AcroPDF1->gotoFirstPage();
    if (s.focusMainWindow) s.focusMainWindow();
}

// `announced`: the instant a server announced for this start, or 0, and
// `announcedZero` the tick its tics count from there, or 0 when not told.
void start(Session& s, int64_t announced, int64_t announcedZero) {
    VelmorState& v = s.velmor;
    s.g.PlayStartTick = s.clock.tickMs();
    s.g.StopRequested = 0;
    if (v.CNWC.get() == 1) {
        if (s.nwcActivate) s.nwcActivate();
        if (guard(s)) {
            s.pump.waitUntil(s.clock.tickMs() + 100);
            if (s.nwcSendKeys) s.nwcSendKeys(QStringLiteral(" "));
        }
        if (guard(s)) s.pump.guardedWait(std::max(0.0, v.Text4.value()));
        if (s.pump.quitting()) return;
        if (s.player) s.player->setURL(s.g.SongFile);
    }
    const bool counting = v.LoadPDF.get() == 1 && v.PDFDLY.value() > 0 && guard(s);
    // Clock Start: the music goes at an instant, loaded ahead and held till
    // then, so that it does not wait for its file.  A notation viewer's
    // start keeps its own timing.
    int64_t at = 0;
    if (v.LoadPDF.get() == 1 && v.CNWC.get() != 1)
        at = announced ? announced : counting ? clockStartInstant(s) : 0;
    // The tics keep to the music as without the box: they count from the
    // count-off's length before it, or on a client from the server's own
    // zero, so that its cursor keeps to the server's as its music does.
    const int64_t zero = !at         ? s.g.PlayStartTick
                         : announced ? (announcedZero ? announcedZero : s.g.PlayStartTick)
                                     : at - std::llround(v.PDFDLY.value() * 1000);
    const bool held = at && s.player && s.adobeF.Tick.get() != 1;
    if (held) s.player->setURLPaused(s.g.SongFile);
    const bool withMap = v.LoadPDF.get() == 1 && v.CNWC.get() != 1 &&
                         QFileInfo(existingPathIgnoringCase(mapFileName(s.g.SongBase))).isFile();
    if (withMap) s.g.MapZeroAhead.set(zero);
    if (counting) countOff(s, at, zero);
    if (at) s.pump.waitUntil(at);
    s.g.MapZeroAhead.set(0);
    if (at) s.g.PlayStartTick = zero;
    // The program closed during the waits: nothing may start now.
    if (s.pump.quitting()) return;
    // Held music goes first thing at the instant.  Music that something
    // took away meanwhile (a stop in the count-off) is loaded anew below,
    // as without Clock Start.
    const bool letGo = held && s.player->URL() == s.g.SongFile && s.player->playState() == 2;
    if (letGo) s.player->controlsPlay();
    if (v.LoadPDF.get() != 1) {
        if (s.focusMainWindow) s.focusMainWindow();
        return;
    }
    // The map stage.
    const QString map = existingPathIgnoringCase(mapFileName(s.g.SongBase));
    s.files.close(1);
    if (!letGo && s.player) s.player->setURL(s.adobeF.Tick.get() == 1 ? QString() : s.g.SongFile);
    setRate(s);
    if (!QFileInfo(map).isFile()) {
        if (s.focusMainWindow) s.focusMainWindow();
        return;
    }
    s.adobeF.Shape3.set(true);
    s.files.open(1, map, FileMode::Input);
    // From the map's opening to the loop's end, however it ends.
    const TrueWhile running(s.g.MapPlaying);
    // A play started in the closing wait of the one before runs inside it:
    // its own tics are to come.
    s.g.MapTicsDone.set(false);
    if (v.FirstNote.value() > 0 && guard(s))
        s.pump.waitUntil(s.clock.tickMs() + static_cast<int64_t>(std::floor(v.FirstNote.value())) +
                         1);
    if (s.pump.quitting()) return;
    playLoop(s);
}

} // namespace

void WindowsMediaPlayer1_MouseDown(Session& s, int button, int, double x, double) {
    // An announced start counts for this press alone, whatever comes of it.
    const int64_t announced = std::exchange(s.g.StartAtTick, 0);
    const int64_t announcedZero = std::exchange(s.g.StartZeroTick, 0);
    if (button == 2) return;
    try {
        pdfToMp3(s);
        s.bControl.Command1.setText(QStringLiteral("Manual Play"));
        s.g.AbortScroll = kTrue;
        s.g.Paused = 0;
        s.g.PauseHeld = 0;
        if (s.adobeF2.Visible.get()) s.adobeF2.PageNR.setText(QStringLiteral("1"));
        s.velmor.Command10.setText(QStringLiteral("Pause"));
        if (refused(s)) return;
        if (s.adobeF2.Visible.get()) focus(s, "AdobeF2");
        if (s.adobeF.Visible.get()) focus(s, "AdobeF");
        s.g.PlayLoopCount = 0;
        if (s.velmor.LoadPDF.get() == 1 && s.player) {
            s.player->setURL(s.g.SongFile);
            s.player->close();
        }
        if (s.g.SongFile.isEmpty()) return;
        s.files.close(3);
        s.g.CursorStarted = 0;
        if (s.velmor.LoadPDF.get() == 1) cursorToFront(s);
        if (x >= 30)
            stopByClick(s);
        else
            start(s, announced, announcedZero);
    } catch (const std::exception&) {
        // As the play loop: the operation ends silently where it stands.
        s.files.close(3);
    }
}

void Command8_Click(Session& s) {
    if (s.g.SongBase.isEmpty()) return;
    if (refused(s)) return;
    try {
        s.g.AbortScroll = 0;
        s.files.close(3);
        s.g.CursorStarted = 0;
        s.g.PlayStartTick = s.clock.tickMs();
        cursorToFront(s);
        s.g.StopRequested = 0;
        pdfToMp3(s);
        if (s.player) s.player->setURL(s.g.SongFile);
        setRate(s);
        if (s.adobeF.focusCommand14 && s.adobeF.Visible.get()) s.adobeF.focusCommand14();
    } catch (const std::exception&) {
        // Its own handler: the manual start just ends.
    }
}

void BControl_Command6_Click(Session& s) {
    if (s.bControl.Command6.text() == u"Cursor Play") {
        s.bControl.Command6.setText(QStringLiteral("Stop Play"));
        WindowsMediaPlayer1_MouseDown(s, 1, 0, 0, 0);
        return;
    }
    s.form1.Visible.set(false);
    s.bControl.Command6.setText(QStringLiteral("Cursor Play"));
    if (s.player) s.player->controlsStop();
    s.g.CursorPlaySwitch = kTrue;
}

void BControl_Command1_Click(Session& s) {
    if (s.bControl.Command1.text() == u"Manual Play") {
        s.bControl.Command1.setText(QStringLiteral("Stop Play"));
        Command8_Click(s);
        return;
    }
    s.bControl.Command1.setText(QStringLiteral("Manual Play"));
    if (s.player) s.player->controlsStop();
    s.form1.Visible.set(false);
}

void installPlayStart(Session& s) {
    s.WindowsMediaPlayer1_MouseDown = [&s](int b, int sh, double x, double y) {
        WindowsMediaPlayer1_MouseDown(s, b, sh, x, y);
    };
}

} // namespace mv
