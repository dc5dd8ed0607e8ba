#pragma once
// Mirrors of control state in widgets.  A user's edit writes the state (and
// so runs its change behaviour); a change of the state by program updates
// the widget.  Both directions stop when the texts agree, so nothing loops.

#include "core/field.h"
#include "core/observable.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QWidget>

namespace mv {

inline Subscription bindLineEdit(Field& f, QLineEdit* e) {
    e->setText(f.text());
    QObject::connect(e, &QLineEdit::textEdited, e, [&f](const QString& t) { f.setText(t); });
    return f.subscribe([&f, e] {
        if (e->text() != f.text()) e->setText(f.text());
    });
}

inline Subscription bindCheckBox(CheckBox& c, QCheckBox* b) {
    b->setChecked(c.get() == 1);
    QObject::connect(b, &QCheckBox::toggled, b, [&c](bool on) { c.set(on ? 1 : 0); });
    return c.subscribe([&c, b] {
        if (b->isChecked() != (c.get() == 1)) b->setChecked(c.get() == 1);
    });
}

inline Subscription bindVisible(Prop<bool>& p, QWidget* w) {
    w->setVisible(p.get());
    return p.subscribe([&p, w] { w->setVisible(p.get()); });
}

// Twips to pixels at the widget edge: 15 twips a pixel.
constexpr int px(double twips) {
    return static_cast<int>(twips >= 0 ? twips / 15 + 0.5 : twips / 15 - 0.5);
}

} // namespace mv
