#include "core/fit_check.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionGroupBox>
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

bool isRich(const QLabel* l) {
    return l->textFormat() == Qt::RichText ||
           (l->textFormat() == Qt::AutoText && Qt::mightBeRichText(l->text()));
}

QString tooNarrow(const QString& text, int needs, int has) {
    return QStringLiteral("\"%1\" needs %2 px, has %3").arg(text).arg(needs).arg(has);
}

QString tooLow(const QString& text, int needs, int has) {
    return QStringLiteral("\"%1\" needs %2 px of height, has %3").arg(text).arg(needs).arg(has);
}

// What of a line edit's text does not fit the room the field gives it: 2 px
// of text margin each side, 1 above and below, and the style's frame.
QString lineEditCut(const QLineEdit* e, const QString& text) {
    const int frame =
        e->hasFrame() ? 2 * e->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, e) : 0;
    const QMargins m = e->textMargins();
    const QFontMetrics fm = e->fontMetrics();
    const int has = e->width() - frame - 4 - m.left() - m.right();
    if (const int needs = fm.horizontalAdvance(text); needs > has)
        return tooNarrow(text, needs, has);
    const int hasDown = e->height() - frame - 2 - m.top() - m.bottom();
    if (fm.height() > hasDown) return tooLow(text, fm.height(), hasDown);
    return {};
}

// What of a label's text does not fit it.  A word-wrapped or rich text
// label needs the height its text takes at its width; a plain one line.
QString labelCut(const QLabel* l) {
    if (l->text().isEmpty()) return {};
    const QRect has = l->contentsRect();
    const bool rich = isRich(l);
    if (l->wordWrap()) {
        // heightForWidth counts the frame, the margin and the indent.
        const int needs = l->heightForWidth(l->width());
        if (needs > l->height()) return tooLow(l->text(), needs, l->height());
        return {};
    }
    const int needsAcross = captionWidth(l) - (rich ? 0 : 2 * l->margin());
    const int roomAcross = has.width() - (rich ? 0 : 2 * l->margin());
    if (needsAcross > roomAcross) return tooNarrow(l->text(), needsAcross, roomAcross);
    const int needsDown = rich ? l->sizeHint().height() - (l->height() - has.height())
                               : l->fontMetrics().size(0, l->text()).height();
    const int roomDown = has.height() - (rich ? 0 : 2 * l->margin());
    if (needsDown > roomDown) return tooLow(l->text(), needsDown, roomDown);
    return {};
}

// What of a button's caption does not fit it: across, its caption width;
// down, a line of its font inside the style's frame.
QString buttonCut(const QAbstractButton* b) {
    if (b->text().isEmpty()) return {};
    if (const int needs = captionWidth(b); needs > b->width())
        return tooNarrow(b->text(), needs, b->width());
    const int frame = qobject_cast<const QPushButton*>(b)
                          ? 2 * b->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, b)
                          : 0;
    const int has = b->height() - frame;
    if (b->fontMetrics().height() > has) return tooLow(b->text(), b->fontMetrics().height(), has);
    return {};
}

// A combo box's chosen entry in its edit field (an editable box's field is
// a line edit of its own, checked as one).
QString comboCut(const QComboBox* c) {
    if (c->isEditable() || c->currentText().isEmpty()) return {};
    QStyleOptionComboBox opt;
    opt.initFrom(c);
    opt.editable = false;
    opt.frame = c->hasFrame();
    opt.currentText = c->currentText();
    const QRect field =
        c->style()->subControlRect(QStyle::CC_ComboBox, &opt, QStyle::SC_ComboBoxEditField, c);
    const QFontMetrics fm = c->fontMetrics();
    if (const int needs = fm.horizontalAdvance(c->currentText()); needs > field.width())
        return tooNarrow(c->currentText(), needs, field.width());
    if (fm.height() > field.height()) return tooLow(c->currentText(), fm.height(), field.height());
    return {};
}

// A group box's title where the style draws it, which must lie in the box.
QString groupTitleCut(const QGroupBox* g) {
    if (g->title().isEmpty()) return {};
    QStyleOptionGroupBox opt;
    opt.initFrom(g);
    opt.text = g->title();
    opt.lineWidth = 1;
    opt.textAlignment = g->alignment();
    opt.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
    if (g->isCheckable()) opt.subControls |= QStyle::SC_GroupBoxCheckBox;
    if (g->isFlat()) opt.features |= QStyleOptionFrame::Flat;
    const QRect label =
        g->style()->subControlRect(QStyle::CC_GroupBox, &opt, QStyle::SC_GroupBoxLabel, g);
    if (g->rect().contains(label)) return {};
    return QStringLiteral("title \"%1\" drawn at %2,%3 %4x%5 in a box of %6x%7")
        .arg(g->title())
        .arg(label.x())
        .arg(label.y())
        .arg(label.width())
        .arg(label.height())
        .arg(g->width())
        .arg(g->height());
}

// What of `w`'s caption or text does not fit it, or an empty text.
QString captionCut(const QWidget* w) {
    if (const auto* b = qobject_cast<const QAbstractButton*>(w)) return buttonCut(b);
    if (const auto* l = qobject_cast<const QLabel*>(w)) return labelCut(l);
    if (const auto* e = qobject_cast<const QLineEdit*>(w)) return lineEditCut(e, e->text());
    // A spin box's own field is the style's part; its text is checked here.
    if (const auto* sp = qobject_cast<const QAbstractSpinBox*>(w))
        if (const QLineEdit* e = sp->findChild<QLineEdit*>()) return lineEditCut(e, sp->text());
    if (const auto* c = qobject_cast<const QComboBox*>(w)) return comboCut(c);
    if (const auto* g = qobject_cast<const QGroupBox*>(w)) return groupTitleCut(g);
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

// Controls that lie over their siblings by design: the cursor, the
// overlay that takes presses on the sheet (the property "mvAbove").
bool aboveOnPurpose(const QWidget* w) { return w->property("mvAbove").toBool(); }

// The checked children of `window`: visible, not windows of their own, and
// not the style's parts of composite controls.
bool checked(const QWidget* window, const QWidget* w) {
    if (w->isWindow() || !w->isVisibleTo(window) || w->width() <= 0) return false;
    return !qobject_cast<const QScrollBar*>(w) && !w->objectName().startsWith(u"qt_");
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
        if (l->text().isEmpty() || l->wordWrap()) return 0;
        if (isRich(l)) return l->sizeHint().width() - (l->width() - l->contentsRect().width());
        return l->fontMetrics().size(0, l->text()).width() + 2 * l->margin();
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
    const QList<QWidget*> all = window->findChildren<QWidget*>();
    for (const QWidget* w : all) {
        if (!checked(window, w)) continue;
        if (const QString cut = captionCut(w); !cut.isEmpty())
            faults << describe(window, w) + QStringLiteral(": ") + cut;
        if (clippedOnPurpose(window, w)) continue;
        if (const QString out = outsideCut(window, w); !out.isEmpty())
            faults << describe(window, w) + QStringLiteral(": ") + out;
        if (aboveOnPurpose(w)) continue;
        // Siblings drawn over each other hide a part of one of them.
        for (const QObject* o : w->parentWidget()->children()) {
            const auto* other = qobject_cast<const QWidget*>(o);
            if (other == w) break; // each pair once, the earlier sibling first
            if (!other || !checked(window, other) || aboveOnPurpose(other) ||
                clippedOnPurpose(window, other))
                continue;
            // Fields stacked with their frames on one shared line of
            // pixels hide nothing.
            const QRect both = other->geometry() & w->geometry();
            if (both.width() > 1 && both.height() > 1)
                faults << describe(window, w) + QStringLiteral(": overlaps ") + nameOf(other);
        }
    }
    return faults;
}

} // namespace mv
