#include "app/main_window.h"

#include "core/qt_bind.h"
#include "core/session_state.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

namespace mv {

MainWindow::MainWindow(Session& s, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("Velmor"));
    setWindowTitle(QStringLiteral("Media Player"));
    auto* top = new QHBoxLayout(this);
    auto* left = new QVBoxLayout;
    file1_ = new QListWidget(this);
    file1_->setObjectName(QStringLiteral("File1"));
    left->addWidget(file1_);
    top->addLayout(left, 1);
    setup_ = new QFormLayout;
    top->addLayout(setup_);

    VelmorState& v = s.velmor;
    addField("Text5", QStringLiteral("Tic Offset"), v.Text5);
    addField("Speed", QStringLiteral("Speed"), v.Speed);
    addField("ScrollOffset", QStringLiteral("Scroll Offset"), v.ScrollOffset);
    addField("XOffset", QStringLiteral("X Offset"), v.XOffset);
    addField("YOffset", QStringLiteral("Y Offset"), v.YOffset);
    addField("ZoomIt", QStringLiteral("Zoom This "), v.ZoomIt);
    addField("BeepX", QStringLiteral("Beep"), v.BeepX);
    addField("PDFHeight", QStringLiteral("PDF Height"), v.PDFHeight);
    addField("PDFWidth", QStringLiteral("PDF Width"), v.PDFWidth);
    addCheck("NoCursor", QStringLiteral("No Cursor"), v.NoCursor);
    addCheck("NoScroll", QStringLiteral("No Scroll"), v.NoScroll);
    resize(640, 480);
}

void MainWindow::setPlayerArea(QWidget* area) {
    static_cast<QVBoxLayout*>(static_cast<QHBoxLayout*>(layout())->itemAt(0)->layout())
        ->insertWidget(0, area);
}

void MainWindow::addField(const char* name, const QString& caption, Field& f) {
    auto* e = new QLineEdit(this);
    e->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindLineEdit(f, e));
    setup_->addRow(caption, e);
}

void MainWindow::addCheck(const char* name, const QString& caption, Prop<int>& c) {
    auto* b = new QCheckBox(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindCheckBox(c, b));
    setup_->addRow(QString(), b);
}

} // namespace mv
