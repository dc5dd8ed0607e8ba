#include "cursormap/play_loop.h"

#include "core/beeper.h"
#include "core/output_delay.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "sheet/pdf_viewer.h"
#include "transport/media_player.h"

#include <algorithm>
#include <cmath>

namespace mv {

namespace {

constexpr int kFile = 1;
// Targets beyond this are treated as this (about 127,000 years): the tick
// clock reaches it only in virtual time, and below 2^53 every millisecond is
// exact in a double, so an absurd tic in a damaged map cannot make the wait's
// comparison stick.
constexpr double kFarTick = 4.0e15;

// A pass ends in one of these ways.
enum class Pass { Next, Restart, Leave };

class Loop {
  public:
    explicit Loop(Session& s) : s_(s), v_(s.velmor), f_(s.adobeF), w2_(s.adobeF2) {}

    void run() {
        try {
            {
                // However the loop is left, the cursor no longer moves by the map.
                struct Moving {
                    Prop<int>& tic;
                    ~Moving() { tic.set(-1); }
                } moving{s_.g.MapTicMoved};
                for (;;) {
                    const Pass p = pass();
                    if (p == Pass::Leave) break;
                }
            }
            afterLoop();
        } catch (const std::exception&) {
            // One silent handler: the play just ends where it stands.
            s_.files.close(3);
        }
    }

  private:
    bool eof() { return s_.files.eof(kFile); }
    QString next() { return s_.files.readLine(kFile); }
    bool window2() const { return w2_.Visible.get(); }

    int16_t sheetOneScroll(double scr) {
        const double zoomThis = strictNumber(f_.ZoomThis.text());
        return roundWord((scr + v_.ScrollOffset.value()) * (zoomThis / 100));
    }

    void raiseOverlay() {
        if (v_.ShowB.get() != 1 && v_.ShowVB.get() != 1) return;
        OverlayState& o = s_.form1;
        o.Visible.set(true);
        // Over the whole sheet window, as wide as its viewer.
        o.Left = f_.Left;
        o.Top = f_.Top;
        o.Width = f_.VScroll1Left.get() - 50;
        o.Height = f_.Height;
        o.Raised.set(o.Raised.get() + 1);
    }

    Pass pass() {
        raiseOverlay();              // 1
        s_.pump.letEventsRun();      // 2
        if (s_.g.CursorPlaySwitch) { // 3
            s_.g.CursorPlaySwitch = 0;
            return Pass::Leave;
        }
        if (eof()) return Pass::Leave; // 4
        QString L = next();

        // 5: header lines, each test once per pass, in this order.
        if (L.contains(u'@')) {
            v_.ZoomIt.setText(numberText(val(L)));
            L = next();
        }
        if (L.contains(u'%')) {
            v_.PDFLeft.setText(numberText(val(L)));
            L = next();
        }
        if (L.contains(u'~')) return Pass::Restart;
        if (L.endsWith(u'#')) {
            s_.g.MapHeaderLines[1] = L;
            if (eof()) return Pass::Leave;
            L = next();
        }
        for (int k = 1; k <= 6; ++k) {
            if (L.contains(QStringLiteral("#%1").arg(k))) {
                s_.g.MapHeaderLines[k] = L;
                if (eof()) return Pass::Leave;
                L = next();
            }
        }
        if (L.contains(u'^')) L = next();
        if (L.contains(u'^')) L = next();

        // 6: the rate is set at every pass; the tic is divided by Speed.
        MediaPlayer* player = s_.player;
        if (player && player->settingsIsAvailable(QStringLiteral("Rate")))
            player->setSettingsRate(strictNumber(v_.Speed.text()));
        if (player && player->settingsIsAvailable(QStringLiteral("Rate")) && v_.Speed.value() != 0)
            L = numberText(val(L) / v_.Speed.value());

        f_.Text3.setText(numberText(s_.g.PlayLoopCount)); // 7
        f_.Text4.setText(L);

        waitTic(val(L), firstTic_ ? firstTicShift(val(L)) : 0.0); // 8
        firstTic_ = false;

        if (s_.g.Paused) { // 9
            s_.g.PauseHeld = kTrue;
            if (player) player->controlsPause();
        }

        if (eof()) return Pass::Leave; // 10
        s_.g.PlayStartTick = s_.clock.tickMs();

        const QString X = next(); // 11
        f_.Text1.setText(X);
        f_.Picture1.Left.set(val(X) + v_.XOffset.value());
        if (f_.Tick.get() == 1) { // 12
            const int hz = roundLong(v_.BeepX.value());
            if (s_.beeper)
                s_.beeper->beep(hz, 50);
            else
                s_.clock.sleepBlocking(50);
        }
        if (window2()) // 13
            w2_.Picture1.Left.set(val(X) + v_.XOffset.value() + w2_.AdjLeft.value());

        if (eof()) return Pass::Leave; // 14
        const QString Y = next();
        f_.Text2.setText(Y);
        PosTop(s_, (val(Y) + v_.YOffset.value()) * (v_.ZoomIt.value() / 100));
        if (window2()) // 15
            w2_.Picture1.Top.set(val(Y) + v_.YOffset.value() + w2_.ScrollOffset.value());

        if (v_.NoCursor.get() == 0 || s_.g.ScrollMarkPending) { // 16
            f_.Picture1.Visible.set(true);
            if (window2()) w2_.Picture1.Visible.set(true);
        }
        f_.Picture1.repaint();
        if (window2()) w2_.Picture1.repaint();

        takeRedMarkBack(s_); // 17

        if (eof()) return Pass::Leave; // 18
        QString S = next();
        if (v_.NoScroll.get() == 1 && val(S) > 0) {
            f_.Text2.setNumber(f_.Text2.value() + val(S));
            S = QStringLiteral("0");
        }
        f_.Text7.setText(S);
        f_.VScroll1.set(sheetOneScroll(val(S)));
        if (window2()) w2_.VScroll1.set(roundWord(val(S) + v_.ScrollOffset.value()));

        if (eof()) return Pass::Leave; // 19
        const QString N = next();
        f_.Text9.setText(N);
        if (isTrueText(N)) {
            if (f_.AcroPDF1) f_.AcroPDF1->gotoNextPage();
            if (window2()) w2_.PageNR.setNumber(w2_.PageNR.value() + 1);
            f_.VScroll1.set(sheetOneScroll(f_.Text7.value()));
            if (window2()) {
                pageAdjustment(s_);
                if (w2_.AcroPDF1) w2_.AcroPDF1->gotoNextPage();
                w2_.VScroll1.set(roundWord(f_.Text7.value() + v_.ScrollOffset.value()));
                pageAdjustment(s_);
            }
        }

        if (eof()) return Pass::Leave; // 20
        const QString P = next();
        f_.Text10.setText(P);
        if (isTrueText(P)) {
            if (f_.AcroPDF1) f_.AcroPDF1->gotoPreviousPage();
            if (window2() && w2_.PageNR.value() > 1) w2_.PageNR.setNumber(w2_.PageNR.value() - 1);
            f_.VScroll1.set(sheetOneScroll(f_.Text7.value()));
            if (window2()) {
                if (w2_.AcroPDF1) w2_.AcroPDF1->gotoPreviousPage();
                w2_.VScroll1.set(roundWord(f_.Text7.value() + v_.ScrollOffset.value()));
                pageAdjustment(s_);
            }
        }

        s_.g.MapTicMoved.set(s_.g.PlayLoopCount);             // the tic's move is made
        if (s_.g.PlayLoopCount < 30000) ++s_.g.PlayLoopCount; // 21
        if (s_.g.StopRequested) return Pass::Leave;           // 22

        if (s_.g.ScrollMarkPending == kTrue && v_.NoCursor.get() != 0) { // 23
            if (++s_.g.ScrollMarkTicks >= 2) {
                s_.g.ScrollMarkTicks = 0;
                s_.g.ScrollMarkPending = 0;
                if (v_.NoCursor.get() != 0) {
                    f_.Picture1.Visible.set(false);
                    if (window2()) w2_.Picture1.Visible.set(false);
                }
            }
        }
        return Pass::Next; // 24
    }

    // The output's delay moves the whole play: the first tic fires that many
    // ms after the moment it would fire without it (a tic already due fires
    // then at now + delay), and every later tic counts from it.  A negative
    // delay cannot bring a due tic before now.
    double firstTicShift(double tic) const {
        const double base = tic * v_.Text5.value() + double(s_.g.PlayStartTick);
        const double late = std::max(0.0, double(s_.clock.tickMs()) - 1 - base);
        return outputDelayMs(v_) + late;
    }

    // Waits until the tick clock is strictly above tic * Text5 + PlayStartTick
    // + shift, reading Text5 afresh in each round; a held pause keeps moving
    // the base.
    void waitTic(double tic, double shift) {
        for (;;) {
            double target = tic * v_.Text5.value() + double(s_.g.PlayStartTick) + shift;
            if (!(target < kFarTick)) target = kFarTick; // also catches NaN
            const int64_t now = s_.clock.tickMs();
            if (double(now) > target || s_.pump.quitting()) return;
            const bool held = s_.clock.dayClock() > 20.0f && s_.g.PauseHeld;
            if (held) s_.g.PlayStartTick = now;
            s_.pump.waitRound(static_cast<int64_t>(std::floor(target)) + 1);
            // A held wait is re-based in every pass.  This round may have slept
            // until an event (Continue) came, so the pass's base is the moment
            // after that event, not the moment before the sleep.
            if (held) s_.g.PlayStartTick = s_.clock.tickMs();
        }
    }

    void afterLoop() {
        // No tic is held from here on: a pause now is the music's alone.
        const TrueWhile done(s_.g.MapTicsDone);
        s_.form1.Visible.set(false); // 1
        s_.pump.waitAfterPlay(3.0);  // 2
        if (f_.Visible.get()) {      // 3
            for (Field* fld : {&f_.Text1, &f_.Text2, &f_.Text3, &f_.Text4, &f_.Text7})
                fld->setText(QStringLiteral("0"));
            if (s_.adobeF_Command4_Click) s_.adobeF_Command4_Click();
        }
        f_.Picture1.Visible.set(false); // 4
        if (window2()) w2_.Picture1.Visible.set(false);
        if (s_.focusMainWindow) s_.focusMainWindow(); // 5
    }

    Session& s_;
    VelmorState& v_;
    SheetOneState& f_;
    SheetTwoState& w2_;
    bool firstTic_ = true;
};

} // namespace

void playLoop(Session& s) { Loop(s).run(); }

} // namespace mv
