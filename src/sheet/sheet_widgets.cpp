#include "sheet/sheet_widgets.h"

#include "core/qt_bind.h"
#include "core/session_state.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputEvent>
#include <QPainter>
#include <QPointer>
#include <QTimer>
#include <cstdio>

namespace mv {

CursorWidget::CursorWidget(CursorPicture& p, QWidget* parent) : QWidget(parent), p_(p) {
    setObjectName(QStringLiteral("Picture1"));
    setAttribute(Qt::WA_TransparentForMouseEvents, false);
    setProperty("mvAbove", true); // drawn over the sheet and the strip
}

void CursorWidget::paintEvent(QPaintEvent*) {
    QPainter g(this);
    if (p_.Red.get()) {
        g.fillRect(rect(), Qt::red);
        return;
    }
    // A marker that reads over black notes: blue bar, white middle line.
    g.fillRect(rect(), QColor(30, 80, 220));
    g.setPen(Qt::white);
    g.drawLine(1, height() / 2, width() - 2, height() / 2);
}

QFont stripFont() { return QFont(QStringLiteral("DejaVu Sans"), 7); }

void placeTwips(QWidget* w, double left, double top, double width, double height) {
    const int wpx = width < 0 ? w->width() : px(width);
    const int hpx = height < 0 ? w->height() : px(height);
    w->setGeometry(px(left), px(top), wpx, hpx);
}

SheetLayers makeSheetLayers(QWidget* window, QWidget* viewer, const QString& text,
                            double text11Left, double text11Top) {
    auto* picture3 = new QWidget(window);
    picture3->setObjectName(QStringLiteral("Picture3"));
    picture3->setAutoFillBackground(true);
    QWidget* acroPDF1 = viewer ? viewer : new QWidget;
    acroPDF1->setParent(picture3);
    acroPDF1->setObjectName(QStringLiteral("AcroPDF1"));
    auto* text11 = new QLabel(text, picture3);
    text11->setObjectName(QStringLiteral("Text11"));
    text11->setFont(QFont(QStringLiteral("DejaVu Sans"), 120, QFont::Bold));
    text11->setAlignment(Qt::AlignCenter);
    placeTwips(text11, text11Left, text11Top, 3135, 2775);
    return {picture3, acroPDF1, text11};
}

TwipRect twipsOf(const QRect& r) {
    return {r.x() * 15.0, r.y() * 15.0, r.width() * 15.0, r.height() * 15.0};
}

void giveKeys(const Session& s, QWidget* window, QWidget* control) {
    if (!window->isVisible()) return;
    QWidget* active = QApplication::activeWindow();
    const bool panelKeeps =
        s.velmor.FootControl.get() == 1 && active && active->objectName() == u"BControl";
    if (!panelKeeps && active != window) {
        window->raise();
        window->activateWindow();
        // Wayland leaves activation to the compositor, which may refuse a
        // request that no user input stands behind.
        if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
            QTimer::singleShot(1000, window, [w = QPointer<QWidget>(window)] {
                static bool told = false;
                if (!w || w->isActiveWindow() || told) return;
                told = true;
                std::fprintf(stderr,
                             "The window system did not activate the sheet window \"%s\": "
                             "click it to give it the keys.\n",
                             qPrintable(w->windowTitle()));
            });
        }
    }
    if (control) control->setFocus(Qt::OtherFocusReason);
}

bool windowPlaceKnown() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

void keepFramePlace(QWidget* w, QPoint topLeft) {
    if (!windowPlaceKnown()) return;
    QTimer::singleShot(300, w, [w, topLeft] {
        if (w->frameGeometry().topLeft() != topLeft) w->move(topLeft);
    });
}

namespace {

class InputClockFeed : public QObject {
  public:
    InputClockFeed(Session& s, QObject* owner) : QObject(owner), s_(s) {}
    bool eventFilter(QObject* watched, QEvent* e) override {
        switch (e->type()) {
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            s_.inputTime.observe(static_cast<QInputEvent*>(e)->timestamp(), s_.clock.tickMs());
            break;
        default: break;
        }
        return QObject::eventFilter(watched, e);
    }

  private:
    Session& s_;
};

} // namespace

void feedInputClock(Session& s, QObject* owner) {
    // The filter goes with its owner: Qt drops a deleted filter by itself.
    if (qApp && !s.clock.isVirtual()) qApp->installEventFilter(new InputClockFeed(s, owner));
}

} // namespace mv
