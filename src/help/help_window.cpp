#include "help/help_window.h"

#include "core/session_state.h"
#include "core/values.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace mv {

HelpWindow::HelpWindow(Session& s, const QString& caption, const QString& text) : s_(s) {
    setWindowTitle(caption);
    // Unloaded when closed, by "Close" or by the frame.
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* text1 = new QPlainTextEdit(this); // the help text
    text1->setObjectName(QStringLiteral("Text1"));
    text1->setReadOnly(true);
    text1->setPlainText(text);
    text1->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    layout->addWidget(text1, 1);
    auto* close = new QPushButton(QStringLiteral("Close"), this);
    close->setObjectName(QStringLiteral("Command1"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    layout->addWidget(close, 0, Qt::AlignRight);
    resize(640, 720);
    s_.g.OverlayArmed = 0;
}

HelpWindow::~HelpWindow() { s_.g.OverlayArmed = kTrue; }

} // namespace mv
