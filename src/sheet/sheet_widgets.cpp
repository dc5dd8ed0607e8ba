#include "sheet/sheet_widgets.h"

#include "core/qt_bind.h"
#include "core/session_state.h"

#include <QPainter>

namespace mv {

CursorWidget::CursorWidget(CursorPicture& p, QWidget* parent) : QWidget(parent), p_(p) {
    setObjectName(QStringLiteral("Picture1"));
    setAttribute(Qt::WA_TransparentForMouseEvents, false);
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

void placeTwips(QWidget* w, double left, double top, double width, double height) {
    const int wpx = width < 0 ? w->width() : px(width);
    const int hpx = height < 0 ? w->height() : px(height);
    w->setGeometry(px(left), px(top), wpx, hpx);
}

TwipRect twipsOf(const QRect& r) {
    return {r.x() * 15.0, r.y() * 15.0, r.width() * 15.0, r.height() * 15.0};
}

} // namespace mv
