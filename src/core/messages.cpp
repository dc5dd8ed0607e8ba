#include "core/messages.h"

#include "core/values.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>

namespace mv {

namespace {
QString titleOr(const QString& t) { return t.isEmpty() ? QStringLiteral("Mellivane") : t; }
} // namespace

void QtMessages::msgBox(const QString& text, const QString& title) {
    QMessageBox::information(QApplication::activeWindow(), titleOr(title), text);
}

bool QtMessages::yesNo(const QString& text, const QString& title) {
    return QMessageBox::question(QApplication::activeWindow(), titleOr(title), text,
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

std::optional<QString> QtMessages::inputBox(const QString& prompt, const QString& title,
                                            const QString& initial) {
    bool ok = false;
    QString s = QInputDialog::getText(QApplication::activeWindow(), titleOr(title), prompt,
                                      QLineEdit::Normal, initial, &ok);
    if (!ok) return std::nullopt;
    return s;
}

void runGuarded(Messages& messages, const std::function<void()>& handler) {
    try {
        handler();
    } catch (const Failure& f) {
        messages.msgBox(f.message());
    } catch (const std::exception& e) {
        messages.msgBox(QString::fromLocal8Bit(e.what()));
    }
}

} // namespace mv
