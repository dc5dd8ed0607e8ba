#include "sheet/sheet_views_install.h"

#include "sheet/sheet_widgets.h"

#include "core/messages.h"
#include "core/session_state.h"
#include "core/window_registry.h"
#include "sheet/panel_windows.h"
#include "sheet/panels.h"
#include "sheet/sheet_two.h"
#include "sheet/sheet_two_window.h"

#include <QCoreApplication>

namespace mv {

namespace {

void showSheetTwo(Session& s, WindowRegistry& windows) {
    windows.get(QStringLiteral("AdobeF2"));
    s.adobeF2.Visible.set(true);
}

// Opened by the user: a window that was not showing yet gets the song
// already selected, else it would stay empty until the next selection.
void openSheetTwoOnSong(Session& s, WindowRegistry& windows) {
    const bool was = s.adobeF2.Visible.get();
    showSheetTwo(s, windows);
    if (!was && s.sheetTwoShown) runGuarded(s.messages, s.sheetTwoShown);
}

} // namespace

void installSheetViews(Session& s, WindowRegistry& windows, SheetViewHooks hooks) {
    installSheetTwo(s);

    windows.define(QStringLiteral("AdobeF2"), [&s, &windows, hooks] {
        PdfViewer* viewer = nullptr;
        QWidget* widget = hooks.makeViewer ? hooks.makeViewer(viewer) : nullptr;
        s.adobeF2.AcroPDF1 = viewer;
        auto* w = new SheetTwoWindow(s, widget);
        w->setAttribute(Qt::WA_DeleteOnClose); // "CLOSE" unloads it
        QObject::connect(w, &QObject::destroyed, [&s, viewer] {
            if (s.adobeF2.AcroPDF1 == viewer) s.adobeF2.AcroPDF1 = nullptr;
            s.adobeF2.Visible.set(false);
        });
        runGuarded(s.messages, [&] { openSheetTwo(s); });
        w->placeOnScreen();
        // One screen: beside the main window and sheet window 1, else over
        // the sheet window (closing this one shows it again).
        std::vector<TwipRect> taken;
        TwipRect cover{};
        for (const char* name : {"Velmor", "AdobeF"})
            if (QWidget* other = windows.find(QString::fromLatin1(name));
                other && other->isVisible()) {
                taken.push_back(twipsOf(other->frameGeometry()));
                cover = taken.back();
            }
        if (!taken.empty()) w->standBeside(taken, cover);
        return w;
    });
    // "Load Sheet 2" (menu and button) is the notation mode's switch, which
    // shows the window through this.
    s.showSheet2 = [&s, &windows] { openSheetTwoOnSong(s, windows); };
    s.reloadSheetWindow2 = [&s, &windows] {
        if (QWidget* w = windows.find(QStringLiteral("AdobeF2"))) w->close();
        windows.unload(QStringLiteral("AdobeF2"));
        showSheetTwo(s, windows);
    };
    // The program's end unloads window 2 too, so its files are written.
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, [&windows] {
        if (QWidget* w = windows.find(QStringLiteral("AdobeF2"))) w->close();
    });

    windows.define(QStringLiteral("BControl"), [&s, &windows, hooks] {
        auto* p = new ButtonPanel(s);
        p->manualPlay = hooks.manualPlay;
        p->cursorPlay = hooks.cursorPlay;
        // Disp List: the main window in its normal state, its list focused.
        p->showSongList = [&windows] {
            QWidget* main = windows.find(QStringLiteral("Velmor"));
            if (!main) return;
            // Minimised, maximised or full screen alike: back to normal.
            if (main->windowState() != Qt::WindowNoState) main->showNormal();
            main->activateWindow();
            if (auto* list = main->findChild<QWidget*>(QStringLiteral("File1"))) list->setFocus();
        };
        return p;
    });
    s.bControl.Visible.always([&s, &windows] {
        if (s.bControl.Visible.get()) windows.get(QStringLiteral("BControl"));
    });
    windows.define(QStringLiteral("Form1"), [&s, &windows] {
        auto* o = new OverlayWidget(s, windows.get(QStringLiteral("AdobeF")));
        // It goes with sheet window 1; the next raise makes it anew.
        QObject::connect(o, &QObject::destroyed, [&s] { s.form1.Visible.set(false); });
        return o;
    });
    s.form1.Visible.always([&s, &windows] {
        if (s.form1.Visible.get()) windows.get(QStringLiteral("Form1"));
    });

    s.ShowB_Click = [&s] { ShowB_Click(s); };
    s.ShowVB_Click = [&s] { ShowVB_Click(s); };
    s.FootControl_Click = [] {}; // the panel reads the box at each focus
    s.overlayTimerWork = [&s] { overlayTimerWork(s); };
    s.clock.every(100, [&s] { runGuarded(s.messages, [&] { Timer3_Timer(s); }); });
    // Sheet window 1's opening brings the panel and the overlay.
    s.adobeF.Visible.always([&s] {
        if (!s.adobeF.Visible.get()) return;
        if (s.velmor.ShowB.get() == 1) s.bControl.Visible.set(true);
        if (s.velmor.ShowB.get() == 1 || s.velmor.ShowVB.get() == 1) raiseOverlay(s, false);
    });
    s.focusSheetWindow = [&s] {
        if (!s.giveFocus) return;
        if (s.velmor.Scrn0.get() == 1 && s.adobeF.Visible.get())
            s.giveFocus(QStringLiteral("AdobeF"));
        if (s.velmor.Scrn1.get() == 1 && s.adobeF2.Visible.get())
            s.giveFocus(QStringLiteral("AdobeF2"));
    };
}

} // namespace mv
