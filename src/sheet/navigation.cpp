#include "sheet/navigation.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "sheet/pdf_viewer.h"

#include <cmath>

namespace mv {

namespace {

bool editMode(const Session& s) { return s.adobeF.Shape2.get(); }

// Sending to clients: only a connected server with Send AutoScroll on.
void send(Session& s, const char* token) {
    const VelmorState& v = s.velmor;
    if (v.IamaServer.get() == 1 && v.Shape1.get() && v.SendAS.get() == 1 && s.sendSheetToClients)
        s.sendSheetToClients(QString::fromLatin1(token));
}

// Top of page: ScrollOffset + Text8, rounded.
int16_t topOfPage(const Session& s) {
    return roundWord(s.velmor.ScrollOffset.value() + s.adobeF.Text8.value());
}

void setV(Session& s, double v) { s.adobeF.VScroll1.set(roundWord(v)); }

void next1(Session& s) {
    if (s.adobeF.AcroPDF1) s.adobeF.AcroPDF1->gotoNextPage();
}
void prev1(Session& s) {
    if (s.adobeF.AcroPDF1) s.adobeF.AcroPDF1->gotoPreviousPage();
}
bool window2(const Session& s) { return s.adobeF2.Visible.get(); }
void pageUp2(Session& s) { s.adobeF2.PageNR.setNumber(s.adobeF2.PageNR.value() + 1); }
void pageDown2(Session& s) {
    if (s.adobeF2.PageNR.value() > 1) s.adobeF2.PageNR.setNumber(s.adobeF2.PageNR.value() - 1);
}

// The focus goes to "Auto Scroll", so the next space bar scrolls.  A hidden
// window cannot take it: that is a failure of the operation.
void focusCommand14(Session& s) {
    if (!s.adobeF.Visible.get())
        throw Failure(5, QStringLiteral("Invalid procedure call or argument"));
    if (s.adobeF.focusCommand14) s.adobeF.focusCommand14();
}

// One failure handler per operation: the failure's own description.
template <class Fn> void guarded(Session& s, Fn fn) {
    try {
        fn();
    } catch (const Failure& f) {
        s.messages.msgBox(f.description());
    }
}

// Sheet 1's V for a tic's scroll value, with the zoom of the sheet.
int16_t ticScroll(const Session& s, double scr) {
    return roundWord((scr + s.velmor.ScrollOffset.value()) *
                     (strictNumber(s.adobeF.ZoomThis.text()) / 100));
}

} // namespace

void Command3_Click(Session& s) {
    guarded(s, [&] {
        SheetOneState& f = s.adobeF;
        s.g.AbortScroll = kTrue;
        send(s, "&COMMAND3/");
        if (!editMode(s)) {
            next1(s);
            if (window2(s)) pageUp2(s);
            s.g.NextPageMark = kTrue;
            const int16_t v = roundWord(s.velmor.ScrollOffset.value() + f.Text8.value() +
                                        s.velmor.AddNext.value());
            f.VScroll1.set(v);
            if (window2(s)) {
                if (s.adobeF2.AcroPDF1) s.adobeF2.AcroPDF1->gotoNextPage();
                s.adobeF2.VScroll1.set(v);
                pageAdjustment(s);
            }
        } else if (f.Text9.text() == u"False") {
            next1(s);
            if (window2(s)) pageUp2(s);
            f.VScroll1.set(topOfPage(s));
            if (f.Text10.text() == u"False") f.Text9.setText(QStringLiteral("True"));
            f.Text10.setText(QStringLiteral("False"));
            s.g.NextPageMark = kTrue;
        } else {
            f.Text9.setText(QStringLiteral("False"));
            prev1(s);
            if (window2(s)) pageDown2(s);
            f.VScroll1.set(topOfPage(s));
            s.g.PrevPageMark = kTrue;
        }
        focusCommand14(s);
    });
}

void Command4_Click(Session& s) {
    guarded(s, [&] {
        SheetOneState& f = s.adobeF;
        s.g.AbortScroll = kTrue;
        send(s, "&COMMAND4/");
        if (!editMode(s)) {
            prev1(s);
            s.g.PrevPageMark = kTrue;
            f.VScroll1.set(topOfPage(s));
            if (window2(s)) pageDown2(s);
            if (window2(s)) {
                if (s.adobeF2.AcroPDF1) s.adobeF2.AcroPDF1->gotoPreviousPage();
                s.adobeF2.VScroll1.set(topOfPage(s));
                pageAdjustment(s);
            }
        } else if (f.Text10.text() == u"False") {
            prev1(s);
            if (window2(s)) pageDown2(s);
            f.VScroll1.set(topOfPage(s));
            s.g.PrevPageMark = kTrue;
            if (f.Text9.text() == u"False") f.Text10.setText(QStringLiteral("True"));
            f.Text9.setText(QStringLiteral("False"));
        } else {
            f.Text10.setText(QStringLiteral("False"));
            f.VScroll1.set(topOfPage(s));
            next1(s);
            pageUp2(s); // whether window 2 is visible or not
            s.g.NextPageMark = kTrue;
        }
        focusCommand14(s);
    });
}

void Command14_Click(Session& s) {
    guarded(s, [&] {
        SheetOneState& f = s.adobeF;
        VelmorState& v = s.velmor;
        s.g.AbortScroll = 0;
        const double a = v.ScrollOffset.value() + f.Text8.value() + v.AddNext.value() + 100;
        if (a < f.VScroll1.get()) {
            // Below the top of the page: the press turns the page instead.
            Command3_Click(s);
            return;
        }
        send(s, "&AUTOSCROLL/");
        for (;;) {
            s.pump.letEventsRun();
            if (window2(s))
                s.adobeF2.VScroll1.set(roundWord(s.adobeF2.VScroll1.get() + v.ScrollStep.value()));
            setV(s, f.VScroll1.get() + v.ScrollStep.value());
            if (!(f.VScroll1.get() < v.AutoScroll.value())) {
                focusCommand14(s);
                return;
            }
            // Measured on the tick clock, so a scroll across midnight ends.
            const double wait = v.ScrollSpeed.value() * 1000;
            s.pump.waitUntil(s.clock.tickMs() +
                             static_cast<int64_t>(std::llround(std::max(0.0, wait))));
            if (s.g.AbortScroll) {
                s.g.AbortScroll = 0;
                return;
            }
        }
    });
}

void Command6_Click(Session& s) {
    guarded(s, [&] {
        SheetOneState& f = s.adobeF;
        send(s, "&COMMAND6/");
        setV(s, s.velmor.AutoScroll.value() + s.velmor.ScrollOffset.value());
        if (editMode(s)) f.Text7.setText(s.velmor.AutoScroll.text());
        if (window2(s)) s.adobeF2.VScroll1.set(f.VScroll1.get());
        focusCommand14(s);
    });
}

void JumpNext(Session& s) {
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;
    TicTable& t = s.tic;
    const QString s0 = f.Text7.text();
    auto showCursor = [&] {
        if (s.velmor.NoCursor.get() == 0 || s.g.ScrollMarkPending) {
            f.Picture1.Visible.set(true);
            if (window2(s)) w2.Picture1.Visible.set(true);
        }
    };
    auto repaint = [&] {
        f.Picture1.repaint();
        if (window2(s)) w2.Picture1.repaint();
    };
    try {
        for (bool stop = false; !stop;) {
            takeRedMarkBack(s);
            repaint();
            showCursor();
            f.Picture1.bringToFront();
            if (window2(s)) w2.Picture1.bringToFront();
            if (s.g.CursorStarted == 0) {
                s.g.CursorStarted = kTrue;
                s.g.CursorIndex = 0;
            }
            if (s.g.CursorIndex < TicTable::kLastRow) ++s.g.CursorIndex;
            f.Text3.setNumber(s.g.CursorIndex);
            s.pump.letEventsRun();
            // A step served meanwhile has moved the index: the walk goes on
            // from the row it names now, so the fields store into that row.
            int i = s.g.CursorIndex;
            if (val(t.Tic[i]) == 0) return; // the end of the map
            f.Text4.setText(t.Tic[i]);
            const double xo = s.velmor.XOffset.value();
            PosLeft(s, val(t.X[i]) + xo);
            if (window2(s)) w2.Picture1.Left.set(val(t.X[i]) + xo);
            t.X[i] = numberText(val(t.X[i]) + f.Text5.value());
            f.Text1.setText(t.X[i]);
            t.Y[i] = numberText(val(t.Y[i]) + f.Text6.value());
            f.Text2.setText(t.Y[i]);
            PosTop(s, (val(t.Y[i]) + s.velmor.YOffset.value()) * (s.velmor.ZoomIt.value() / 100));
            if (window2(s))
                w2.Picture1.Top.set(val(t.Y[i]) + s.velmor.YOffset.value() +
                                    w2.ScrollOffset.value());
            showCursor();
            repaint();
            t.Scr[i] = numberText(val(t.Scr[i]) + f.Text8.value());
            f.Text7.setText(t.Scr[i]);
            if (t.Scr[i] != s0) stop = true;
            i = s.g.CursorIndex; // the red cursor lets events run too
            f.VScroll1.set(ticScroll(s, val(t.Scr[i])));
            if (window2(s))
                w2.VScroll1.set(roundWord(val(t.Scr[i]) + s.velmor.ScrollOffset.value()));
            f.Text9.setText(t.Nxt[i]);
            if (isTrueText(t.Nxt[i])) {
                stop = true;
                next1(s);
                if (window2(s)) pageUp2(s);
                f.VScroll1.set(ticScroll(s, f.Text7.value()));
                if (window2(s)) {
                    if (w2.AcroPDF1) w2.AcroPDF1->gotoNextPage();
                    w2.VScroll1.set(roundWord(f.Text7.value() + s.velmor.ScrollOffset.value()));
                    pageAdjustment(s);
                }
            }
            f.Text10.setText(t.Prv[i]);
            if (isTrueText(t.Prv[i])) {
                stop = true;
                prev1(s);
                if (window2(s)) pageDown2(s);
                f.VScroll1.set(ticScroll(s, f.Text7.value()));
                if (window2(s)) {
                    if (w2.AcroPDF1) w2.AcroPDF1->gotoPreviousPage();
                    w2.VScroll1.set(roundWord(f.Text7.value() + s.velmor.ScrollOffset.value()));
                    pageAdjustment(s);
                }
            }
        }
    } catch (const Failure& e) {
        // No handler of its own in the design; we end the walk where it
        // stands and say why, as the page buttons do.
        s.messages.msgBox(e.description());
    }
}

void JumpB_MouseDown(Session& s, int button) {
    if (!editMode(s)) return;
    if (button == 1)
        JumpNext(s);
    else if (s.adobeF.searchBack)
        s.adobeF.searchBack();
}

const SheetKeyTable& sheetKeys() {
    static const SheetKeyTable table{{{"NEXT PAGE", "n/?", &Command3_Click},
                                      {"PREV PAGE", "pz", &Command4_Click},
                                      {"MANUAL SCROLL", "m", &Command6_Click},
                                      {"AUTO SCROLL", "a ", &Command14_Click}}};
    return table;
}

bool sheetKeyPress(Session& s, QChar key) {
    if (key == u' ') return false; // the focused button's own activation
    for (const SheetKeyRow& row : sheetKeys().rows)
        if (QString::fromLatin1(row.keys).contains(key)) {
            row.operation(s);
            return true;
        }
    return false;
}

void installNavigation(Session& s) {
    s.adobeF_Command3_Click = [&s] { Command3_Click(s); };
    s.adobeF_Command4_Click = [&s] { Command4_Click(s); };
    s.adobeF_Command6_Click = [&s] { Command6_Click(s); };
    s.adobeF_Command14_Click = [&s] { Command14_Click(s); };
}

} // namespace mv
