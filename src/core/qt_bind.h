#pragma once
// Mirrors of control state in widgets.  A user's edit writes the state (and
// so runs its change behaviour); a change of the state by program updates
// the widget.  Both directions stop when the texts agree, so nothing loops.

#include "core/field.h"
#include "core/messages.h"
#include "core/observable.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QWidget>

namespace mv {

// The user's edits of a field or a check box run its change behaviour; with
// `guard` under runGuarded, as every handler of a user event in a window.
inline Subscription bindLineEdit(Field& f, QLineEdit* e, Messages* guard = nullptr) {
    // A text set by the program shows from its start: a number too long for
    // the field keeps its leading digits in sight.  One the user is typing
    // in keeps its cursor.
    auto show = [&f, e] {
        if (e->text() == f.text()) return;
        e->setText(f.text());
        if (!e->hasFocus()) e->setCursorPosition(0);
    };
    show();
    QObject::connect(e, &QLineEdit::textEdited, e, [&f, guard](const QString& t) {
        if (guard)
            runGuarded(*guard, [&] { f.setText(t); });
        else
            f.setText(t);
    });
    return f.subscribe(show);
}

inline Subscription bindCheckBox(CheckBox& c, QAbstractButton* b, Messages* guard = nullptr) {
    b->setChecked(c.get() == 1);
    QObject::connect(b, &QAbstractButton::toggled, b, [&c, guard](bool on) {
        if (guard)
            runGuarded(*guard, [&] { c.set(on ? 1 : 0); });
        else
            c.set(on ? 1 : 0);
    });
    return c.subscribe([&c, b] {
        if (b->isChecked() != (c.get() == 1)) b->setChecked(c.get() == 1);
    });
}

// Names a control that shows no caption of its own (a slider, a light, a
// field whose label stands apart): the accessible name that a screen reader
// and the action-script driver use, and the tool tip unless it has one.
inline void nameControl(QWidget* w, const QString& name) {
    w->setAccessibleName(name);
    if (w->toolTip().isEmpty()) w->setToolTip(name);
}

inline Subscription bindVisible(Prop<bool>& p, QWidget* w) {
    w->setVisible(p.get());
    return p.subscribe([&p, w] { w->setVisible(p.get()); });
}

// Twips to pixels at the widget edge: 15 twips a pixel.
// Any number read from a file or typed lands within +-2^24 pixels (no
// screen is nearer that, and Qt's sums of places stay inside int); NaN is 0.
constexpr int px(double twips) {
    constexpr double kLimit = 1 << 24;
    const double p = twips >= 0 ? twips / 15 + 0.5 : twips / 15 - 0.5;
    if (!(p == p)) return 0;
    return static_cast<int>(p > kLimit ? kLimit : p < -kLimit ? -kLimit : p);
}

} // namespace mv
