#pragma once
// Each window exists at most once and is reached by its name.  Loading
// creates it; any reference to a window that is not loaded creates it again,
// hidden; unloading destroys it.

#include <QHash>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>

namespace mv {

class WindowRegistry {
  public:
    using Factory = std::function<QWidget*()>;
    // Tells how to create the window `name`.
    void define(const QString& name, Factory make) { factories_[name] = std::move(make); }
    // How `name` is created; empty for an unknown name.  Lets a later install
    // wrap a window's making.
    Factory factory(const QString& name) const { return factories_.value(name); }
    // The window, created hidden on first use; nullptr for an unknown name.
    QWidget* get(const QString& name) {
        if (QWidget* w = find(name)) return w;
        auto f = factories_.find(name);
        if (f == factories_.end()) return nullptr;
        QWidget* w = (*f)();
        if (w) w->setObjectName(name);
        loaded_[name] = w;
        return w;
    }
    template <class T> T* get(const QString& name) { return qobject_cast<T*>(get(name)); }
    // The window if it is loaded, else nullptr; creates nothing.
    QWidget* find(const QString& name) const {
        auto it = loaded_.find(name);
        return it == loaded_.end() ? nullptr : it->data();
    }
    bool isLoaded(const QString& name) const { return find(name) != nullptr; }
    void unload(const QString& name) {
        if (QWidget* w = find(name)) delete w;
        loaded_.remove(name);
    }
    QStringList names() const { return factories_.keys(); }

  private:
    QHash<QString, Factory> factories_;
    QHash<QString, QPointer<QWidget>> loaded_;
};

} // namespace mv
