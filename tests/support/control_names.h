#pragma once
// The controls of a window that show no caption of their own (sliders,
// lights, buttons and check boxes without text, fields that no label names)
// and lack an accessible name or a tool tip: what a screen reader could not
// name.  Qt's own parts (no object name, "qt_...") are not the window's.

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QLabel>
#include <QLineEdit>
#include <QStringList>
#include <QWidget>

namespace mv::test {

inline QStringList unnamedControls(QWidget* window) {
    QStringList captions;
    for (QLabel* l : window->findChildren<QLabel*>())
        captions << l->text().trimmed().remove(QLatin1Char(':'));
    QStringList out;
    for (QWidget* c : window->findChildren<QWidget*>()) {
        if (c->objectName().isEmpty() || c->objectName().startsWith(QLatin1String("qt_"))) continue;
        auto* b = qobject_cast<QAbstractButton*>(c);
        const bool labelled = qobject_cast<QLineEdit*>(c) && !c->accessibleName().isEmpty() &&
                              captions.contains(c->accessibleName().remove(QLatin1Char(':')));
        const bool uncaptioned =
            qobject_cast<QAbstractSlider*>(c) || (qobject_cast<QLineEdit*>(c) && !labelled) ||
            (b && b->text().isEmpty()) || c->objectName().startsWith(QLatin1String("Shape"));
        if (!uncaptioned && !labelled && !qobject_cast<QLineEdit*>(c)) continue;
        if (c->accessibleName().isEmpty() || (uncaptioned && c->toolTip().isEmpty()))
            out << c->objectName();
    }
    return out;
}

} // namespace mv::test
