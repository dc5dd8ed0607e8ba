#pragma once
// A text control.  Writing it, by program or by hand, runs its change
// behaviour inside the writing statement when the text really changes.  Its
// value is the numeric value of its text.

#include "core/observable.h"
#include "core/values.h"

namespace mv {

class Field : public Notifier {
  public:
    explicit Field(QString initial = {}) : text_(std::move(initial)) {}
    const QString& text() const { return text_; }
    void setText(const QString& t) {
        if (t == text_) return;
        text_ = t;
        notify();
    }
    // Writes the number text of v.
    void setNumber(double v) { setText(numberText(v)); }
    double value() const { return val(text_); }

  private:
    QString text_;
};

// A scroll bar's Value.  Setting it outside Min..Max is failure 380 "Invalid
// property value" and leaves it as it was.
class ScrollValue : public Notifier {
  public:
    ScrollValue(int min, int max, int init = 0) : min_(min), max_(max), v_(init) {}
    int get() const { return v_; }
    void set(int v) {
        if (v < min_ || v > max_) throw failures::invalidProperty();
        if (v == v_) return;
        v_ = v;
        notify();
    }
    int min() const { return min_; }
    int max() const { return max_; }

  private:
    int min_, max_, v_;
};

} // namespace mv
