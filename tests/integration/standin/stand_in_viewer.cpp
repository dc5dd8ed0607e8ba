// A stand-in for the notation viewer, for the driver's integration test: a
// window with a File menu (Open..., Exit) that logs, one line each, to the
// file named by MV_STANDIN_LOG: "activated" each time it becomes the active
// program, "key <key>" for each key press it receives (Enter, Alt+F, a
// letter), "open <name>" when its Open dialog is accepted, "exit" on Exit.

#include <QApplication>
#include <QFile>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenuBar>

namespace {

void logLine(const QString& line) {
    QFile f(qEnvironmentVariable("MV_STANDIN_LOG"));
    if (f.open(QIODevice::Append)) f.write(line.toUtf8() + '\n');
}

// Logs each key press once, however many objects it passes through.
class KeyLog : public QObject {
  public:
    bool eventFilter(QObject* o, QEvent* e) override {
        // A key that a menu's shortcut takes never arrives as a press: its
        // shortcut override comes first, with the same time and key.
        if (e->type() != QEvent::KeyPress && e->type() != QEvent::ShortcutOverride)
            return QObject::eventFilter(o, e);
        auto* k = static_cast<QKeyEvent*>(e);
        const int key = k->key();
        if (k->isAutoRepeat() || (k->timestamp() == lastTime_ && key == lastKey_)) return false;
        lastTime_ = k->timestamp();
        lastKey_ = key;
        if (key == Qt::Key_Alt || key == Qt::Key_Shift || key == Qt::Key_Control) return false;
        const bool alt = k->modifiers() & Qt::AltModifier;
        logLine("key " + (key == Qt::Key_Return || key == Qt::Key_Enter ? QStringLiteral("Enter")
                          : alt ? "Alt+" + QKeySequence(key).toString()
                                : k->text()));
        return false;
    }

  private:
    quint64 lastTime_ = 0;
    int lastKey_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    KeyLog keys;
    app.installEventFilter(&keys);
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, [](Qt::ApplicationState st) {
        if (st == Qt::ApplicationActive) logLine(QStringLiteral("activated"));
    });
    QMainWindow w;
    w.setWindowTitle(QStringLiteral("NWC Stand-in Viewer"));
    QMenu* file = w.menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Open..."), [&w] {
        bool ok = false;
        const QString name = QInputDialog::getText(&w, "Open", "File name:", {}, {}, &ok);
        if (ok) logLine("open " + name);
    });
    file->addAction(QStringLiteral("E&xit"), [] {
        logLine(QStringLiteral("exit"));
        QApplication::quit();
    });
    w.resize(500, 300);
    w.show();
    return app.exec();
}
