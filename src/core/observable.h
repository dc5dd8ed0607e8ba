#pragma once
// Observable values: the controls' state (texts, check marks, lights, cursor
// positions) lives in these, in the logic, and the windows only mirror it.
// A write that really changes the value runs the subscribers inside the
// writing statement, in subscription order; the logic subscribes first, the
// widgets after it.  Failures thrown by a subscriber reach the writer.

#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace mv {

class Subscription {
  public:
    Subscription() = default;
    Subscription(std::weak_ptr<std::map<int, std::function<void()>>> list, int id)
        : list_(std::move(list)), id_(id) {}
    Subscription(Subscription&& o) noexcept : list_(std::move(o.list_)), id_(o.id_) { o.id_ = 0; }
    Subscription& operator=(Subscription&& o) noexcept {
        reset();
        list_ = std::move(o.list_);
        id_ = o.id_;
        o.id_ = 0;
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }
    void reset() {
        if (auto l = list_.lock(); l && id_) l->erase(id_);
        id_ = 0;
    }

  private:
    std::weak_ptr<std::map<int, std::function<void()>>> list_;
    int id_ = 0;
};

// The subscriber list shared by every observable kind.
class Notifier {
  public:
    // The handler runs after each real change until the subscription dies.
    [[nodiscard]] Subscription subscribe(std::function<void()> fn) {
        const int id = nextId_++;
        (*handlers_)[id] = std::move(fn);
        return Subscription(handlers_, id);
    }
    // Handlers that live as long as the observable itself (logic wiring).
    void always(std::function<void()> fn) { (*handlers_)[nextId_++] = std::move(fn); }

  protected:
    void notify() {
        // Copy the ids first: a handler may subscribe or unsubscribe.
        std::vector<int> ids;
        ids.reserve(handlers_->size());
        for (auto& [id, fn] : *handlers_)
            ids.push_back(id);
        auto keep = handlers_;
        for (int id : ids) {
            auto it = keep->find(id);
            if (it == keep->end()) continue;
            auto fn = it->second; // the handler may remove itself
            fn();
        }
    }

  private:
    std::shared_ptr<std::map<int, std::function<void()>>> handlers_ =
        std::make_shared<std::map<int, std::function<void()>>>();
    int nextId_ = 1;
};

template <class T> class Prop : public Notifier {
  public:
    explicit Prop(T init = T{}) : v_(std::move(init)) {}
    const T& get() const { return v_; }
    void set(const T& v) {
        if (v == v_) return;
        v_ = v;
        notify();
    }

  private:
    T v_;
};

// Holds a flag true for its own lifetime, however the scope is left.
class TrueWhile {
  public:
    explicit TrueWhile(Prop<bool>& flag) : flag_(flag) { flag_.set(true); }
    ~TrueWhile() { flag_.set(false); }
    TrueWhile(const TrueWhile&) = delete;
    TrueWhile& operator=(const TrueWhile&) = delete;

  private:
    Prop<bool>& flag_;
};

// A check box: Value is 0 or 1.
using CheckBox = Prop<int>;
// A light: a shape made visible or hidden.
using Light = Prop<bool>;

} // namespace mv
