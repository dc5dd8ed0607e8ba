#include "library/library_windows.h"

#include "core/qt_bind.h"
#include "core/session_state.h"
#include "library/play_list.h"
#include "library/print_index.h"

#include "core/window_registry.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QVBoxLayout>

namespace mv {

namespace {

// Margin of PlayLst, in pixels.
constexpr int kMargin = 8;

QPushButton* button(QWidget* parent, const char* name, const QString& caption) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(QString::fromLatin1(name));
    return b;
}

// A list widget that mirrors `items` and the selection `index`.
void mirrorList(QListWidget* w, Prop<QStringList>& items, Prop<int>& index,
                std::vector<Subscription>& subs) {
    auto fill = [w, &items, &index] {
        const QSignalBlocker block(w);
        w->clear();
        w->addItems(items.get());
        w->setCurrentRow(index.get());
    };
    fill();
    subs.push_back(items.subscribe(fill));
    subs.push_back(index.subscribe([w, &index] {
        if (w->currentRow() != index.get()) w->setCurrentRow(index.get());
    }));
    QObject::connect(w, &QListWidget::currentRowChanged, w, [&index](int row) { index.set(row); });
}

} // namespace

void LibraryWindow::guarded(const std::function<void()>& fn) { runGuarded(s_.messages, fn); }

// ---- PlayLst ----

PlayLstWindow::PlayLstWindow(Session& s, Library& lib) : LibraryWindow(s, lib) {
    setWindowTitle(QStringLiteral("Play List"));
    auto* outer = new QVBoxLayout(this);
    // The window may be narrower than its controls: Setup's 4050 twips show
    // the list and its buttons alone, the check boxes lying beyond the edge.
    outer->setSizeConstraint(QLayout::SetNoConstraint);
    outer->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    auto* bar = new QMenuBar(this);
    outer->setMenuBar(bar);
    auto entry = [this](auto* where, const char* name, const QString& caption,
                        std::function<void()> fn) {
        QAction* a = where->addAction(caption);
        a->setObjectName(QString::fromLatin1(name));
        connect(a, &QAction::triggered, this, [this, fn] { guarded(fn); });
    };
    QMenu* file = bar->addMenu(QStringLiteral("File"));
    entry(file, "SV", QStringLiteral("Save"), [this] { SV_Click(s_, lib_); });
    entry(file, "LD", QStringLiteral("Load"), [this] { Dirx_Load(s_, lib_); });
    entry(file, "XX", QStringLiteral("Exit"), [this] { PlayLst_Unload(s_, lib_); });
    entry(bar, "ST", QStringLiteral("Setup"), [this] { ST_Click(s_); });
    entry(bar, "HP", QStringLiteral("Help"), [this] { HP_Click(s_); });

    auto* row = new QHBoxLayout;
    outer->addLayout(row, 1);
    auto* left = new QVBoxLayout;
    row->addLayout(left, 0);
    list1_ = new QListWidget(this);
    list1_->setObjectName(QStringLiteral("List1"));
    list1_->setFixedWidth(px(4050) - 2 * kMargin);
    list1_->installEventFilter(this);
    list1_->viewport()->installEventFilter(this);
    mirrorList(list1_, s.playLst.List1, s.playLst.ListIndex, subs_);
    left->addWidget(list1_, 1);
    auto* buttons = new QHBoxLayout;
    QPushButton* close = button(this, "Command1", QStringLiteral("Close"));
    QPushButton* clear = button(this, "Command2", QStringLiteral("Clear All"));
    connect(close, &QPushButton::clicked, this,
            [this] { guarded([this] { PlayLst_Unload(s_, lib_); }); });
    connect(clear, &QPushButton::clicked, this,
            [this] { guarded([this] { ClearAll_Click(s_); }); });
    buttons->addWidget(close);
    buttons->addWidget(clear);
    left->addLayout(buttons);

    // The check boxes stand at a fixed place right of the list's 4050 twips,
    // outside the layout, so that the window's width alone shows or hides them.
    auto* panel = new QWidget(this);
    auto* checks = new QVBoxLayout(panel);
    auto check = [&](const char* name, const QString& caption, CheckBox& c) {
        auto* b = new QCheckBox(caption, panel);
        b->setObjectName(QString::fromLatin1(name));
        subs_.push_back(bindCheckBox(c, b, &s_.messages));
        checks->addWidget(b);
    };
    check("CloseSelect", QStringLiteral("Close list after selection is made"),
          s.playLst.CloseSelect);
    check("CloseDelete", QStringLiteral("Close list after Deletion"), s.playLst.CloseDelete);
    check("DelItem", QStringLiteral("Delete item after selection"), s.playLst.DelItem);
    panel->setGeometry(px(4050), bar->sizeHint().height(), panel->sizeHint().width(),
                       panel->sizeHint().height());
    auto width = [this] { resize(px(s_.playLst.Width.get()), height()); };
    subs_.push_back(s.playLst.Width.subscribe(width));
    resize(px(s.playLst.Width.get()), 400);
}

// A left press loads the item under the mouse (the selection when the press
// is below the items); a right press removes the selected item.  The list
// getting the focus disarms the overlay.
bool PlayLstWindow::eventFilter(QObject* watched, QEvent* e) {
    if (e->type() == QEvent::FocusIn && watched == list1_) s_.g.OverlayArmed = 0;
    if (e->type() != QEvent::MouseButtonPress) return QWidget::eventFilter(watched, e);
    auto* me = static_cast<QMouseEvent*>(e);
    if (me->button() == Qt::RightButton) {
        guarded([this] { List1_RightPress(s_, lib_); });
        return true;
    }
    if (me->button() == Qt::LeftButton && watched == list1_->viewport()) {
        const int row = list1_->row(list1_->itemAt(me->position().toPoint()));
        if (row >= 0) s_.playLst.ListIndex.set(row);
        const int item = s_.playLst.ListIndex.get();
        guarded([this, item] { List1_LeftPress(s_, lib_, item); });
        return true;
    }
    return QWidget::eventFilter(watched, e);
}

void PlayLstWindow::closeEvent(QCloseEvent* e) {
    guarded([this] { PlayLst_Unload(s_, lib_); });
    QWidget::closeEvent(e);
}

// ---- Dirx ----

DirxWindow::DirxWindow(Session& s, Library& lib) : LibraryWindow(s, lib) {
    setWindowTitle(QStringLiteral("Load a set"));
    DirxState& d = lib.dirx;
    auto* outer = new QVBoxLayout(this);
    auto* drive1 = new QComboBox(this);
    drive1->setObjectName(QStringLiteral("Drive1"));
    for (const QFileInfo& root : QDir::drives())
        drive1->addItem(root.absoluteFilePath());
    connect(drive1, &QComboBox::currentTextChanged, this,
            [this](const QString& root) { guarded([this, root] { lib_.dirx.Dir1.set(root); }); });
    outer->addWidget(drive1);
    auto* lists = new QHBoxLayout;
    outer->addLayout(lists, 1);
    // Dir1: the folders under its folder; choosing one is a change of Dir1,
    // which brings the file list back to the song folder.
    auto* dir1 = new QListWidget(this);
    dir1->setObjectName(QStringLiteral("Dir1"));
    auto fillDirs = [dir1, &d] {
        dir1->clear();
        dir1->addItems(QDir(d.Dir1.get()).entryList(QDir::Dirs | QDir::NoDot));
    };
    subs_.push_back(d.Dir1.subscribe([this, fillDirs] {
        fillDirs();
        guarded([this] { Dir1_Change(s_, lib_); });
    }));
    fillDirs();
    connect(dir1, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* it) {
        const QString to = QDir(lib_.dirx.Dir1.get()).absoluteFilePath(it->text());
        guarded([this, to] { lib_.dirx.Dir1.set(QDir::cleanPath(to)); });
    });
    lists->addWidget(dir1);
    auto* file1 = new QListWidget(this);
    file1->setObjectName(QStringLiteral("File1"));
    mirrorList(file1, d.File1, d.File1Index, subs_);
    connect(file1, &QListWidget::itemDoubleClicked, this,
            [this] { guarded([this] { Dirx_Go(s_, lib_); }); });
    lists->addWidget(file1);
    auto* filetype = new QLineEdit(this);
    filetype->setObjectName(QStringLiteral("Filetype"));
    filetype->setText(d.Filetype.get());
    subs_.push_back(d.Filetype.subscribe([filetype, &d] {
        if (filetype->text() != d.Filetype.get()) filetype->setText(d.Filetype.get());
    }));
    connect(filetype, &QLineEdit::textEdited, this, [&d](const QString& t) { d.Filetype.set(t); });
    filetype->installEventFilter(this);
    outer->addWidget(filetype);
    auto* buttons = new QHBoxLayout;
    QPushButton* go = button(this, "Command2", QStringLiteral("Go F2"));
    QPushButton* close = button(this, "Command1", QStringLiteral("Close"));
    connect(go, &QPushButton::clicked, this, [this] { guarded([this] { Dirx_Go(s_, lib_); }); });
    connect(close, &QPushButton::clicked, this,
            [this] { guarded([this] { Dirx_Unload(s_, lib_); }); });
    buttons->addWidget(go);
    buttons->addWidget(close);
    outer->addLayout(buttons);
    resize(420, 320);
}

bool DirxWindow::eventFilter(QObject* watched, QEvent* e) {
    if (e->type() == QEvent::FocusOut && watched->objectName() == u"Filetype")
        guarded([this] { Filetype_LostFocus(s_, lib_); });
    return QWidget::eventFilter(watched, e);
}

// Escape closes; F2 is "Go F2", as its caption promises.
void DirxWindow::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_Escape) return guarded([this] { Dirx_Unload(s_, lib_); });
    if (e->key() == Qt::Key_F2) return guarded([this] { Dirx_Go(s_, lib_); });
    QWidget::keyPressEvent(e);
}

void DirxWindow::changeEvent(QEvent* e) {
    if (e->type() == QEvent::ActivationChange && isActiveWindow()) {
        guarded([this] { Dirx_Activate(s_, lib_); });
        if (auto* f = findChild<QListWidget*>(QStringLiteral("File1"))) f->setFocus();
    }
    QWidget::changeEvent(e);
}

void DirxWindow::closeEvent(QCloseEvent* e) {
    guarded([this] { Dirx_Unload(s_, lib_); });
    QWidget::closeEvent(e);
}

// ---- IndexForm ----

IndexFormWindow::IndexFormWindow(Session& s, Library& lib) : LibraryWindow(s, lib) {
    setWindowTitle(QStringLiteral("Index"));
    auto* outer = new QVBoxLayout(this);
    auto* text1 = new QPlainTextEdit(this);
    text1->setObjectName(QStringLiteral("Text1"));
    QFont f(QStringLiteral("Courier New"), 10);
    f.setStyleHint(QFont::Monospace);
    f.setFixedPitch(true);
    if (!QFontInfo(f).fixedPitch()) f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    text1->setFont(f);
    text1->setLineWrapMode(QPlainTextEdit::NoWrap);
    // The text holds CR LF line ends; the field shows plain lines.
    Prop<QString>& t = lib.indexForm.Text1;
    auto show = [text1, &t] {
        QString shown = t.get();
        shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        if (text1->toPlainText() != shown) text1->setPlainText(shown);
    };
    show();
    subs_.push_back(t.subscribe(show));
    connect(text1, &QPlainTextEdit::textChanged, this, [text1, &t] {
        QString typed = text1->toPlainText();
        QString stored = t.get();
        stored.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        if (typed == stored) return;
        typed.replace(u'\n', QStringLiteral("\r\n"));
        t.set(typed);
    });
    outer->addWidget(text1, 1);
    auto* buttons = new QHBoxLayout;
    QPushButton* close = button(this, "Command1", QStringLiteral("Close"));
    QPushButton* print = button(this, "Command2", QStringLiteral("Print"));
    QPushButton* pdf = button(this, "Command3", QStringLiteral("Export PDF"));
    connect(close, &QPushButton::clicked, this,
            [this] { guarded([this] { IndexForm_Close(s_, lib_); }); });
    connect(print, &QPushButton::clicked, this,
            [this] { guarded([this] { IndexForm_Print(s_, lib_); }); });
    connect(pdf, &QPushButton::clicked, this,
            [this] { guarded([this] { IndexForm_ExportPdf(s_, lib_); }); });
    buttons->addWidget(close);
    buttons->addWidget(print);
    buttons->addWidget(pdf);
    outer->addLayout(buttons);
    resize(760, 600);
}

void IndexFormWindow::closeEvent(QCloseEvent* e) {
    guarded([this] { IndexForm_Close(s_, lib_); });
    QWidget::closeEvent(e);
}

// ---- printing ----

bool QtIndexPrinting::choosePrinter(QPrinter& printer) {
    QPrintDialog dialog(&printer, QApplication::activeWindow());
    return dialog.exec() == QDialog::Accepted;
}

std::optional<QString> QtIndexPrinting::pdfFileName(const QString& suggested) {
    const QString name =
        QFileDialog::getSaveFileName(QApplication::activeWindow(), QStringLiteral("Export PDF"),
                                     suggested, QStringLiteral("PDF (*.pdf)"));
    if (name.isEmpty()) return std::nullopt;
    return name;
}

bool AskedIndexPrinting::choosePrinter(QPrinter& printer) {
    const std::optional<QString> target = m_.inputBox(
        QStringLiteral("Printer"), QStringLiteral("Print"), QPrinterInfo::defaultPrinterName());
    if (!target) return false;
    if (target->endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive)) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(*target);
    } else {
        printer.setPrinterName(*target);
    }
    return true;
}

std::optional<QString> AskedIndexPrinting::pdfFileName(const QString& suggested) {
    return m_.inputBox(QStringLiteral("PDF file name"), QStringLiteral("Export PDF"), suggested);
}

// ---- install ----

namespace {

// Shows the window `name` while `visible` holds, hides it when it goes.
void mirrorWindow(Session& s, Library& lib, const QString& name, Prop<bool>& visible) {
    lib.subs.push_back(visible.subscribe([&s, name, &visible] {
        if (visible.get()) {
            if (QWidget* w = s.windows->get(name)) {
                w->show();
                w->raise();
                w->activateWindow();
            }
        } else if (QWidget* w = s.windows->find(name)) {
            w->hide();
        }
    }));
}

} // namespace

void installLibraryWindows(Session& s, Library& lib) {
    WindowRegistry& r = *s.windows;
    r.define(QStringLiteral("PlayLst"), [&s, &lib] { return new PlayLstWindow(s, lib); });
    r.define(QStringLiteral("Dirx"), [&s, &lib] { return new DirxWindow(s, lib); });
    r.define(QStringLiteral("IndexForm"), [&s, &lib] { return new IndexFormWindow(s, lib); });
    mirrorWindow(s, lib, QStringLiteral("PlayLst"), s.playLst.Visible);
    mirrorWindow(s, lib, QStringLiteral("Dirx"), lib.dirx.Visible);
    mirrorWindow(s, lib, QStringLiteral("IndexForm"), lib.indexForm.Visible);
}

} // namespace mv
