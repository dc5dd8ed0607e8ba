#include "sheet/panel_windows.h"

#include "core/messages.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "sheet/panels.h"
#include "sheet/pedal_keys.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_widgets.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QTouchEvent>
#include <algorithm>
#include <map>

namespace mv {

ButtonPanel::ButtonPanel(Session& s, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("BControl"));
    setWindowTitle(QStringLiteral("Button Control"));
    BControlState& b = s.bControl;
    // In the tab order: the foot switch's two keys land on Command4 and
    // Command5 from Command17, the last one.
    const std::pair<const char*, QString> captions[] = {
        {"Command4", QStringLiteral("Next")},
        {"Command1", b.Command1.text()},
        {"Command2", QStringLiteral("Manual Scroll")},
        {"Command3", QStringLiteral("Auto Scroll")},
        {"Command6", b.Command6.text()},
        {"Command5", QStringLiteral("Previous")},
        {"Command17", QStringLiteral("Disp List")}};
    QFont big(QStringLiteral("DejaVu Sans"), 14, QFont::Bold);
    for (const auto& [name, caption] : captions) {
        auto* btn = new QPushButton(caption, this);
        btn->setObjectName(QString::fromLatin1(name));
        btn->setFont(big);
        btn->installEventFilter(this);
        const QString key = btn->objectName();
        connect(btn, &QPushButton::clicked, this, [this, key] { clicked(key); });
        if (!buttons_.empty()) setTabOrder(buttons_.back(), btn);
        buttons_.push_back(btn);
    }
    button(QStringLiteral("Command17"))->setFont(QFont(QStringLiteral("DejaVu Sans"), 7));
    subs_.push_back(b.Command1.subscribe(
        [this, &b] { button(QStringLiteral("Command1"))->setText(b.Command1.text()); }));
    subs_.push_back(b.Command6.subscribe(
        [this, &b] { button(QStringLiteral("Command6"))->setText(b.Command6.text()); }));
    subs_.push_back(b.Vertical.subscribe([this] { layOut(); }));
    auto place = [this] { placeOnScreen(); };
    subs_.push_back(b.Left.subscribe(place));
    subs_.push_back(b.Top.subscribe(place));
    layOut();
    place();
    // The foot switch's rest: its two keys reach Command4 and Command5 from here.
    button(QStringLiteral("Command17"))->setFocus(Qt::OtherFocusReason);
    subs_.push_back(bindVisible(b.Visible, this));
    installPedalKeys(s, this);
}

QPushButton* ButtonPanel::button(const QString& name) const {
    for (QPushButton* b : buttons_)
        if (b->objectName() == name) return b;
    return nullptr;
}

void ButtonPanel::guarded(const std::function<void()>& handler) {
    runGuarded(s_.messages, handler);
}

void ButtonPanel::layOut() {
    const bool vertical = s_.bControl.Vertical.get();
    const PanelLayout& l = panelLayout(vertical);
    // Buttons of one left edge and width (Manual Play over Cursor Play) are
    // one column, as wide as its widest caption and at least its width; in
    // the row the columns right of a wider one move along.
    using Column = std::pair<double, double>; // left, width in twips
    std::map<Column, int> widths;
    for (const PanelLayout::Place& p : l.buttons) {
        int& w = widths[{p.left, p.width}];
        w = std::max({w, px(p.width), button(QString::fromLatin1(p.name))->sizeHint().width()});
    }
    auto grownLeftOf = [&](double left) {
        int grow = 0;
        for (const auto& [c, w] : widths)
            if (c.first < left) grow += w - px(c.second);
        return grow;
    };
    // A button below another in its column starts where that one ends
    // and keeps its own bottom: the layout has them share a row of twips.
    std::map<Column, int> bottoms;
    int column = px(l.width);
    for (const PanelLayout::Place& p : l.buttons) {
        const Column c{p.left, p.width};
        const int bottom = px(p.top) + px(p.height);
        const int top = std::max(px(p.top), bottoms.count(c) ? bottoms[c] : 0);
        button(QString::fromLatin1(p.name))
            ->setGeometry(px(p.left) + (vertical ? 0 : grownLeftOf(p.left)), top, widths[c],
                          bottom - top);
        bottoms[c] = bottom;
        column = std::max(column, widths[c]);
    }
    setFixedSize(vertical ? column : px(l.width) + grownLeftOf(l.width), px(l.height));
    placeOnScreen();
}

void ButtonPanel::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    // The window manager's frame is known a moment after the showing: the
    // place is taken again with it.
    QTimer::singleShot(300, this, [this] { placeOnScreen(); });
}

// A frame that arrives late (a busy window manager) may push the panel past
// the screen's edge: it is placed again then.
void ButtonPanel::moveEvent(QMoveEvent* e) {
    QWidget::moveEvent(e);
    const QScreen* sc = screen();
    if (isVisible() && sc && !sc->availableGeometry().contains(frameGeometry()))
        QTimer::singleShot(0, this, [this] { placeOnScreen(); });
}

void ButtonPanel::placeOnScreen() {
    // Inside the free part of the screen its sheet window stands on; a
    // place on no screen goes to that screen's top left.
    const BControlState& b = s_.bControl;
    std::vector<TwipRect> screens;
    for (const QScreen* sc : QGuiApplication::screens())
        screens.push_back(twipsOf(sc->availableGeometry()));
    const QSize frame = frameGeometry().size().expandedTo(size());
    const TwipRect want{b.Left.get(), b.Top.get(), frame.width() * 15.0, frame.height() * 15.0};
    const double sheetLeft = s_.adobeF.Left, sheetTop = s_.adobeF.Top;
    TwipRect home{};
    for (const TwipRect& sc : screens)
        if (sheetLeft >= sc.left && sheetLeft < sc.right() && sheetTop >= sc.top &&
            sheetTop < sc.bottom())
            home = sc;
    const TwipRect r = home.width > 0
                           ? fitInto(want, home)
                           : placeOnScreens(want, screens, {0, 0, want.width, want.height});
    move(px(r.left), px(r.top));
}

void ButtonPanel::clicked(const QString& name) {
    guarded([&] {
        if (name == u"Command1") {
            if (manualPlay) manualPlay();
        } else if (name == u"Command6") {
            if (cursorPlay) cursorPlay();
        } else if (name == u"Command17") {
            if (showSongList) showSongList();
        } else {
            BControl_Click(s_, name.toLatin1().constData());
        }
    });
}

bool ButtonPanel::eventFilter(QObject* watched, QEvent* e) {
    const QByteArray name = watched->objectName().toLatin1();
    switch (e->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        guarded([&] { BControl_MouseDown(s_, name.constData()); });
        break;
    case QEvent::MouseButtonRelease:
        guarded([&] { BControl_MouseUp(s_, name.constData()); });
        break;
    case QEvent::FocusIn: {
        // The window coming to the front puts the focus back where it was:
        // that is no step of the foot switch.
        const Qt::FocusReason why = static_cast<QFocusEvent*>(e)->reason();
        if (why == Qt::ActiveWindowFocusReason || why == Qt::PopupFocusReason) break;
        bool acted = false;
        guarded([&] { acted = BControl_GotFocus(s_, name.constData()); });
        if (acted) button(QStringLiteral("Command17"))->setFocus(Qt::OtherFocusReason);
        break;
    }
    default: break;
    }
    return QWidget::eventFilter(watched, e);
}

OverlayWidget::OverlayWidget(Session& s, QWidget* sheet) : QWidget(sheet), s_(s) {
    setObjectName(QStringLiteral("Form1"));
    setAttribute(Qt::WA_AcceptTouchEvents);
    setAutoFillBackground(false); // nothing drawn: the sheet shows through
    setProperty("mvAbove", true);
    // It takes the sheet window's focus at each raise but never activates
    // the window: raised every 5 s, it would otherwise take the keyboard from
    // the panel, where a foot switch works.
    setFocusPolicy(Qt::ClickFocus); // out of the sheet window's tab order
    setAttribute(Qt::WA_ShowWithoutActivating);
    subs_.push_back(s.form1.Raised.subscribe([this] { raiseOver(); }));
    subs_.push_back(s.form1.Visible.subscribe([this] { setVisible(s_.form1.Visible.get()); }));
    if (s.form1.Visible.get()) raiseOver();
}

void OverlayWidget::raiseOver() {
    const OverlayState& o = s_.form1;
    QWidget* sheet = parentWidget();
    // The overlay's place is on the screen; the window's inside starts below
    // its frame.
    const QPoint inside = sheet->geometry().topLeft() - sheet->frameGeometry().topLeft();
    const int x = std::max(0, px(o.Left - s_.adobeF.Left) - inside.x());
    const int y = std::max(0, px(o.Top - s_.adobeF.Top) - inside.y());
    setGeometry(x, y, std::max(1, px(o.Width)),
                std::max(1, std::min(px(o.Height), sheet->height() - y)));
    setVisible(o.Visible.get());
    raise();
    if (QWidget* cursor =
            sheet->findChild<QWidget*>(QStringLiteral("Picture1"), Qt::FindDirectChildrenOnly))
        cursor->raise(); // the cursor stays in sight above it
    // The focus inside the sheet window only: in an inactive window this
    // just marks where the keys go once the user activates it.
    if (o.Visible.get() && !hasFocus()) setFocus(Qt::OtherFocusReason);
}

void OverlayWidget::press(QPointF at) {
    if (!hasFocus()) setFocus(Qt::MouseFocusReason); // a touch gives no click focus
    runGuarded(s_.messages, [&] { Form1_MouseDown(s_, at.x() * 15, at.y() * 15); });
}

// Pedal keys turn pages; every other key stops here, so the sheet window's
// letter keys stay quiet while the overlay has the focus.
void OverlayWidget::keyPressEvent(QKeyEvent* e) {
    runGuarded(s_.messages, [&] { pedalKeyPress(s_, e->key(), e->isAutoRepeat()); });
    e->accept();
}

void OverlayWidget::release() {
    runGuarded(s_.messages, [&] { Form1_MouseUp(s_); });
}

bool OverlayWidget::event(QEvent* e) {
    switch (e->type()) {
    case QEvent::TouchBegin: {
        auto* t = static_cast<QTouchEvent*>(e);
        if (!t->points().isEmpty()) press(t->points().first().position());
        e->accept();
        return true;
    }
    case QEvent::TouchUpdate: e->accept(); return true;
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
        release();
        e->accept();
        return true;
    default: return QWidget::event(e);
    }
}

namespace {

// A mouse event Qt or the system made from a touch the overlay has served.
bool fromTouch(const QMouseEvent* e) {
    const QInputDevice* d = e->device();
    return d && (d->type() == QInputDevice::DeviceType::TouchScreen ||
                 d->type() == QInputDevice::DeviceType::TouchPad);
}

} // namespace

void OverlayWidget::mousePressEvent(QMouseEvent* e) {
    if (!fromTouch(e)) press(e->position());
}

void OverlayWidget::mouseReleaseEvent(QMouseEvent* e) {
    if (!fromTouch(e)) release();
}

} // namespace mv
