#include "core/fit_check.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionButton>
#include <QToolButton>

namespace mv {

namespace {

QString nameOf(const QWidget* w) {
    if (!w->objectName().isEmpty()) return w->objectName();
    return QString::fromLatin1(w->metaObject()->className());
}

QString describe(const QWidget* window, const QWidget* w) {
    return nameOf(window) + u'.' + nameOf(w);
}

// What of `w`'s caption does not fit its width, or an empty text.
QString captionCut(const QWidget* w) {
    if (qobject_cast<const QAbstractButton*>(w) || qobject_cast<const QLabel*>(w)) {
        const int needs = captionWidth(w);
        const int has = qobject_cast<const QLabel*>(w) ? w->contentsRect().width() : w->width();
        if (needs > has)
            return QStringLiteral("\"%1\" needs %2 px, has %3")
                .arg(w->property("text").toString())
                .arg(needs)
                .arg(has);
        return {};
    }
    if (const auto* e = qobject_cast<const QLineEdit*>(w)) {
        // The field's own margins and frame: 2 px of text margin each side
        // and the style's frame width.
        const int frame =
            e->hasFrame() ? 2 * e->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, e)
                          : 0;
        const QMargins m = e->textMargins();
        const int has = e->width() - frame - 4 - m.left() - m.right();
        const int needs = e->fontMetrics().horizontalAdvance(e->text());
        if (needs > has)
            return QStringLiteral("\"%1\" needs %2 px, has %3").arg(e->text()).arg(needs).arg(has);
        return {};
    }
    if (const auto* bar = qobject_cast<const QMenuBar*>(w)) {
        // The "»" button stands for titles the bar could not show.
        for (const QToolButton* t : bar->findChildren<QToolButton*>(Qt::FindDirectChildrenOnly))
            if (t->objectName() == u"qt_menubar_ext_button" && t->isVisible())
                return QStringLiteral("menu titles hidden behind the overflow (%1 px wide)")
                    .arg(bar->width());
        return {};
    }
    return {};
}

// Whether `w` lies inside every widget that clips it, up to its window.
// Inside a scroll area's viewport the directions it can scroll are free:
// scrolling reaches what lies beyond.
QString outsideCut(const QWidget* window, const QWidget* w) {
    const QRect inWindow(w->mapTo(window, QPoint(0, 0)), w->size());
    bool freeAcross = false, freeDown = false;
    QRect room(QPoint(-(1 << 24), -(1 << 24)), QPoint(1 << 24, 1 << 24));
    auto clampTo = [&](const QRect& r) {
        if (!freeAcross)
            room.setLeft(std::max(room.left(), r.left())),
                room.setRight(std::min(room.right(), r.right()));
        if (!freeDown)
            room.setTop(std::max(room.top(), r.top())),
                room.setBottom(std::min(room.bottom(), r.bottom()));
    };
    for (const QWidget* q = w; q != window && q->parentWidget(); q = q->parentWidget()) {
        const QWidget* p = q->parentWidget();
        const auto* area = qobject_cast<const QAbstractScrollArea*>(p->parentWidget());
        const bool viewport = area && area->viewport() == p;
        if (viewport) {
            // What lies on a scroll area's surface is reached by scrolling
            // in the directions the area scrolls.
            freeAcross = freeAcross || area->horizontalScrollBarPolicy() != Qt::ScrollBarAlwaysOff;
            freeDown = freeDown || area->verticalScrollBarPolicy() != Qt::ScrollBarAlwaysOff;
        }
        clampTo(QRect(p->mapTo(window, QPoint(0, 0)), p->size()));
        if (viewport) break; // the viewport is checked on its own turn
    }
    if (room.contains(inWindow)) return {};
    return QStringLiteral("lies outside what shows it (%1,%2 %3x%4 in %5,%6 %7x%8)")
        .arg(inWindow.x())
        .arg(inWindow.y())
        .arg(inWindow.width())
        .arg(inWindow.height())
        .arg(room.x())
        .arg(room.y())
        .arg(room.width())
        .arg(room.height());
}

// A surface larger than its window by design (a sheet that scrolls under
// its window), marked with the property "mvClipped", and what lies on it.
bool clippedOnPurpose(const QWidget* window, const QWidget* w) {
    for (; w && w != window; w = w->parentWidget())
        if (w->property("mvClipped").toBool()) return true;
    return false;
}

} // namespace

int captionWidth(const QWidget* w) {
    if (const auto* p = qobject_cast<const QPushButton*>(w)) {
        if (p->text().isEmpty()) return 0;
        // A push button's frame draws over its margins: its text needs its
        // advance and the style's inner margin.
        QStyleOptionButton opt;
        opt.initFrom(p);
        const int margin = p->style()->pixelMetric(QStyle::PM_ButtonMargin, &opt, p);
        return p->fontMetrics().horizontalAdvance(p->text().remove(u'&')) + margin;
    }
    if (const auto* b = qobject_cast<const QAbstractButton*>(w))
        return b->text().isEmpty() ? 0 : b->sizeHint().width(); // the box or circle and text
    if (const auto* l = qobject_cast<const QLabel*>(w)) {
        if (l->text().isEmpty() || l->wordWrap() || l->textFormat() == Qt::RichText ||
            Qt::mightBeRichText(l->text()))
            return 0;
        return l->fontMetrics().horizontalAdvance(l->text()) + 2 * l->margin();
    }
    return 0;
}

QStringList fitProblems(const QWidget* window) {
    QStringList faults;
    if (!window || !window->isVisible()) return faults;
    if (const QScreen* sc = window->screen()) {
        const QRect avail = sc->availableGeometry();
        const QRect frame = window->frameGeometry();
        if (!avail.contains(frame))
            faults << QStringLiteral("%1: frame %2,%3 %4x%5 outside the screen's %6,%7 %8x%9")
                          .arg(nameOf(window))
                          .arg(frame.x())
                          .arg(frame.y())
                          .arg(frame.width())
                          .arg(frame.height())
                          .arg(avail.x())
                          .arg(avail.y())
                          .arg(avail.width())
                          .arg(avail.height());
    }
    for (const QWidget* w : window->findChildren<QWidget*>()) {
        if (w->isWindow() || !w->isVisibleTo(window) || w->width() <= 0) continue;
        // Scroll bars and the parts of composite controls are the style's.
        if (qobject_cast<const QScrollBar*>(w) || w->objectName().startsWith(u"qt_")) continue;
        if (const QString cut = captionCut(w); !cut.isEmpty())
            faults << describe(window, w) + QStringLiteral(": ") + cut;
        if (clippedOnPurpose(window, w)) continue;
        if (const QString out = outsideCut(window, w); !out.isEmpty())
            faults << describe(window, w) + QStringLiteral(": ") + out;
    }
    return faults;
}

} // namespace mv
