#include "recording/edit_mode.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/map_file.h"
#include "recording/edit_history.h"
#include "recording/recorder.h"
#include "sheet/pdf_viewer.h"
#include "transport/media_player.h"

#include <QFileInfo>
#include <algorithm>
#include <functional>

namespace mv::adobeF {

namespace {

enum class Step { Forward, SearchForward, Back, SearchBack };

bool forward(Step k) { return k == Step::Forward || k == Step::SearchForward; }
bool search(Step k) { return k == Step::SearchForward || k == Step::SearchBack; }

// A step never stops on a value: an action that fails (a scroll value the
// bar does not take, a zoom that is no number) is dropped and the step goes
// on with the next one.
void tryAction(const std::function<void()>& action) {
    try {
        action();
    } catch (const Failure&) {
    }
}

QString mapPath(const Session& s) { return existingPathIgnoringCase(mapFileName(s.g.SongBase)); }

void showCursorIfAllowed(Session& s) {
    if (s.velmor.NoCursor.get() != 0 && s.g.ScrollMarkPending == 0) return;
    s.adobeF.Picture1.Visible.set(true);
    if (s.adobeF2.Visible.get()) s.adobeF2.Picture1.Visible.set(true);
}

int16_t sheetScroll(const Session& s, double scr) {
    return roundWord((scr + s.velmor.ScrollOffset.value()) *
                     (strictNumber(s.adobeF.ZoomThis.text()) / 100));
}

// A page turn met in a step: `next` is the direction of the turn.
void turnPage(Session& s, bool next) {
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;
    tryAction([&] {
        if (f.AcroPDF1) next ? f.AcroPDF1->gotoNextPage() : f.AcroPDF1->gotoPreviousPage();
    });
    if (w2.Visible.get()) {
        tryAction([&] {
            if (next)
                w2.PageNR.setNumber(w2.PageNR.value() + 1);
            else if (w2.PageNR.value() > 1)
                w2.PageNR.setNumber(w2.PageNR.value() - 1);
        });
    }
    tryAction([&] { f.VScroll1.set(sheetScroll(s, f.Text7.value())); });
    if (w2.Visible.get()) {
        tryAction([&] {
            if (w2.AcroPDF1) next ? w2.AcroPDF1->gotoNextPage() : w2.AcroPDF1->gotoPreviousPage();
        });
        tryAction(
            [&] { w2.VScroll1.set(roundWord(f.Text7.value() + s.velmor.ScrollOffset.value())); });
        tryAction([&] { pageAdjustment(s); });
    }
}

// Puts row `row` on show, adding the offset fields to X, Y and Scr.
void showRow(Session& s, int row, Step k) {
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;
    VelmorState& v = s.velmor;
    TicTable& t = s.tic;
    tryAction([&] { f.Text4.setText(t.Tic[row]); });
    tryAction([&] {
        t.X[row] = numberText(val(t.X[row]) + f.Text5.value());
        PosLeft(s, val(t.X[row]) + v.XOffset.value());
        f.Text1.setText(t.X[row]);
    });
    tryAction([&] {
        t.Y[row] = numberText(val(t.Y[row]) + f.Text6.value());
        f.Text2.setText(t.Y[row]);
        PosTop(s, (val(t.Y[row]) + v.YOffset.value()) * (v.ZoomIt.value() / 100));
    });
    if (k == Step::SearchForward && w2.Visible.get()) {
        // This one search places the second cursor plainly: no left
        // adjustment and no zoom.
        w2.Picture1.Left.set(val(t.X[row]) + v.XOffset.value());
        w2.Picture1.Top.set(val(t.Y[row]) + v.YOffset.value() + w2.ScrollOffset.value());
    }
    showCursorIfAllowed(s);
    tryAction([&] {
        t.Scr[row] = numberText(val(t.Scr[row]) + f.Text8.value());
        f.Text7.setText(t.Scr[row]);
    });
    // The red cursor lets events run; a step served there has moved the
    // index, and this one goes on from the row it names now.
    row = s.g.CursorIndex;
    tryAction([&] { f.VScroll1.set(sheetScroll(s, val(t.Scr[row]))); });
    if (w2.Visible.get())
        tryAction([&] { w2.VScroll1.set(roundWord(val(t.Scr[row]) + v.ScrollOffset.value())); });
    const bool fwd = forward(k);
    f.Text9.setText(t.Nxt[row]);
    if (isTrueText(f.Text9.text())) turnPage(s, fwd);
    f.Text10.setText(t.Prv[row]);
    if (isTrueText(f.Text10.text())) turnPage(s, !fwd);
}

void runStep(Session& s, Step k) {
    SheetOneState& f = s.adobeF;
    Globals& g = s.g;
    if (k != Step::SearchForward && (s.tic.Tic[0].isEmpty() || !f.Shape2.get())) return;
    const QString remembered = f.Text7.text();
    for (;;) {
        takeRedMarkBack(s);
        showCursorIfAllowed(s);
        f.Picture1.bringToFront();
        if (!g.CursorStarted) {
            g.CursorStarted = kTrue;
            g.CursorIndex = 0;
        }
        const int before = g.CursorIndex;
        g.CursorIndex = int16_t(forward(k) ? std::min(before + 1, int(TicTable::kLastRow))
                                           : std::max(before - 1, 0));
        f.Text3.setNumber(g.CursorIndex);
        s.pump.letEventsRun();
        // An Edit press served meanwhile may have saved and left edit mode:
        // a guarded step ends there rather than change a table already saved.
        if (k != Step::SearchForward && !f.Shape2.get()) return;
        // Events may have moved the index: the row is the one it names now.
        const int row = g.CursorIndex;
        if (k == Step::SearchForward && val(s.tic.Tic[row]) == 0) return;
        showRow(s, row, k);
        if (!search(k)) return;
        const bool changed = f.Text7.text() != remembered || isTrueText(f.Text9.text()) ||
                             isTrueText(f.Text10.text());
        // A search also ends at the end of the table it walks: after row
        // 5000 going forward, after row 0 going back.
        const int shown = g.CursorIndex;
        const bool atEnd = forward(k) ? shown >= TicTable::kLastRow : shown <= 0;
        if (changed || atEnd) return;
    }
}

void enterEditMode(Session& s) {
    SheetOneState& f = s.adobeF;
    if (s.g.SongBase.isEmpty()) return;
    s.tic.clear();
    f.Shape2.set(true);
    const QString map = mapPath(s);
    if (!QFileInfo(map).isFile()) return;
    f.Shape3.set(true);
    s.g.CursorStarted = kTrue;
    s.g.CursorIndex = 0;
    editLoad(s, map);
    s.g.CursorStarted = 0;
    if (s.history) s.history->begin(); // the history starts at the table as read
}

void leaveSaving(Session& s) {
    SheetOneState& f = s.adobeF;
    s.g.OverlayArmed = kTrue;
    s.g.OverlayTicks = 40;
    // A write that fails keeps edit mode: the append taken is then a step.
    adobeF::endAppend(s);
    s.g.CursorStarted = 0;
    if (s.adobeF2.Visible.get()) s.adobeF2.PageNR.setText(QStringLiteral("1"));
    const QString map = mapPath(s);
    try {
        tableWrite(s, map);
    } catch (const Failure& e) {
        s.messages.msgBox(QStringLiteral("The map could not be written to ") + map +
                          QStringLiteral(" (") + e.description() +
                          QStringLiteral("). Your changes are kept: edit mode stays on, so you "
                                         "can save again once the folder can be written."));
        return;
    }
    for (Field* field : {&f.Text1, &f.Text2, &f.Text3, &f.Text4})
        field->setText(QString());
    f.Picture1.Visible.set(false);
    f.Shape2.set(false);
}

void leaveWithoutSaving(Session& s) {
    SheetOneState& f = s.adobeF;
    s.g.OverlayArmed = 0;
    f.Shape2.set(false);
    f.Shape4.set(false);
    s.g.AppendMode = 0;
    if (s.player) {
        s.player->setURL(QString());
        s.player->close();
    }
    f.Picture1.Visible.set(false);
    s.g.CursorStarted = 0;
}

} // namespace

void Command7_MouseDown(Session& s, int button) {
    SheetOneState& f = s.adobeF;
    if (button == 2) return leaveWithoutSaving(s);
    s.g.OverlayArmed = 0;
    if (s.player && s.player->playState() == 3 && !f.Shape4.get()) return;
    if (f.Shape1.get()) {
        s.messages.msgBox(QStringLiteral("You should complete the recording before trying to "
                                         "edit. Click record to end the session."));
        return;
    }
    for (Field* field : {&f.Text5, &f.Text6, &f.Text8})
        field->setText(QString());
    if (s.g.EditBusy) return;
    s.g.EditBusy = kTrue;
    struct Release {
        Flag& busy;
        ~Release() { busy = 0; }
    } release{s.g.EditBusy};
    if (f.Shape2.get())
        leaveSaving(s);
    else
        enterEditMode(s);
}

void Command5_MouseDown(Session& s, int button) { button == 1 ? StepForward(s) : SearchForward(s); }

void Command8_MouseDown(Session& s, int button) { button == 1 ? StepBack(s) : SearchBack(s); }

// A step adds the offset fields to the rows it shows: with offsets, an edit.
void StepForward(Session& s) {
    EditScope edit(s, QStringLiteral("Step"));
    runStep(s, Step::Forward);
}
void SearchForward(Session& s) {
    EditScope edit(s, QStringLiteral("Step"));
    runStep(s, Step::SearchForward);
}
void StepBack(Session& s) {
    EditScope edit(s, QStringLiteral("Step"));
    runStep(s, Step::Back);
}
void SearchBack(Session& s) {
    EditScope edit(s, QStringLiteral("Step"));
    runStep(s, Step::SearchBack);
}

void ShowRowAt(Session& s, int row, int pageTurns) {
    SheetOneState& f = s.adobeF;
    SheetTwoState& w2 = s.adobeF2;
    VelmorState& v = s.velmor;
    const TicTable& t = s.tic;
    if (!f.Shape2.get() || row < 0 || row > TicTable::kLastRow) return;
    takeRedMarkBack(s);
    s.g.CursorStarted = kTrue;
    s.g.CursorIndex = int16_t(row);
    f.Text3.setNumber(row);
    // The readouts write their cells back as they are: the table stays.
    const auto r = size_t(row);
    f.Text4.setText(t.Tic[r]);
    f.Text1.setText(t.X[r]);
    tryAction([&] { PosLeft(s, val(t.X[r]) + v.XOffset.value()); });
    f.Text2.setText(t.Y[r]);
    tryAction([&] { PosTop(s, (val(t.Y[r]) + v.YOffset.value()) * (v.ZoomIt.value() / 100)); });
    showCursorIfAllowed(s);
    f.Text7.setText(t.Scr[r]);
    tryAction([&] { f.VScroll1.set(sheetScroll(s, val(t.Scr[r]))); });
    if (w2.Visible.get())
        tryAction([&] { w2.VScroll1.set(roundWord(val(t.Scr[r]) + v.ScrollOffset.value())); });
    f.Text9.setText(t.Nxt[r]);
    f.Text10.setText(t.Prv[r]);
    for (int k = 0; k < std::abs(pageTurns); ++k)
        turnPage(s, pageTurns > 0);
}

void SAV_Click(Session& s) {
    if (!s.adobeF.Shape2.get()) {
        s.g.SaveInProgress = kTrue;
        Command7_MouseDown(s, 1);
        // At least a second and at least 20000 rounds, events served in
        // every one; once the rounds are done the rest is slept in the pump.
        const int64_t end = s.clock.tickMs() + 1000;
        for (int round = 0; (round < 20000 || s.clock.tickMs() < end) && !s.pump.quitting();
             ++round)
            round < 20000 ? s.pump.letEventsRun() : s.pump.waitRound(end);
        s.g.SaveInProgress = 0;
    }
    if (s.adobeF.Shape2.get()) Command7_MouseDown(s, 1);
    if (s.SaveVelmor) s.SaveVelmor();
}

} // namespace mv::adobeF
