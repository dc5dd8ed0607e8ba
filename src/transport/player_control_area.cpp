#include "transport/player_control_area.h"

#include "transport/media_player.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

namespace mv {

namespace {
int buttonCode(Qt::MouseButton b) {
    return b == Qt::LeftButton ? 1 : b == Qt::RightButton ? 2 : b == Qt::MiddleButton ? 4 : 0;
}
int shiftCode(Qt::KeyboardModifiers m) {
    return (m & Qt::ShiftModifier ? 1 : 0) | (m & Qt::ControlModifier ? 2 : 0) |
           (m & Qt::AltModifier ? 4 : 0);
}
} // namespace

PlayerControlArea::PlayerControlArea(MediaPlayer& player, QWidget* parent)
    : QWidget(parent), player_(player) {
    setObjectName(QStringLiteral("WindowsMediaPlayer1"));
    setMinimumHeight(26);
    // The position readout is refreshed a few times a second while shown.
    auto* refresh = new QTimer(this);
    connect(refresh, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    refresh->start(250);
}

void PlayerControlArea::paintEvent(QPaintEvent*) {
    QPainter g(this);
    g.setRenderHint(QPainter::Antialiasing);
    g.fillRect(rect(), QColor(40, 40, 48));
    // Start button: the first 30 pixels.
    g.fillRect(QRect(0, 0, 30, height()), QColor(70, 120, 70));
    const int h = height();
    const QPointF tri[3] = {{10, h * 0.25}, {10, h * 0.75}, {22, h * 0.5}};
    g.setBrush(Qt::white);
    g.setPen(Qt::NoPen);
    g.drawPolygon(tri, 3);
    // Stop area.
    g.setBrush(QColor(200, 200, 200));
    g.drawRect(QRectF(38, h * 0.3, h * 0.4, h * 0.4));
    const double pos = player_.controlsCurrentPosition();
    const int secs = static_cast<int>(pos);
    g.setPen(Qt::white);
    g.drawText(rect().adjusted(60, 0, -6, 0), Qt::AlignVCenter | Qt::AlignLeft,
               player_.URL().isEmpty()
                   ? QStringLiteral("--:--")
                   : QStringLiteral("%1:%2").arg(secs / 60).arg(secs % 60, 2, 10, QChar(u'0')));
}

void PlayerControlArea::mousePressEvent(QMouseEvent* e) {
    if (mouseDown)
        mouseDown(buttonCode(e->button()), shiftCode(e->modifiers()), e->position().x(),
                  e->position().y());
}

FastForwardLabel::FastForwardLabel(MediaPlayer& player, QWidget* parent)
    : QLabel(QStringLiteral("%"), parent), player_(player) {
    setObjectName(QStringLiteral("Label25"));
    setAlignment(Qt::AlignCenter);
    setMinimumWidth(16);
}

void FastForwardLabel::mousePressEvent(QMouseEvent*) { player_.controlsFastForward(); }
void FastForwardLabel::mouseReleaseEvent(QMouseEvent*) { player_.controlsPlay(); }

} // namespace mv
