#include "app/main_window.h"

#include "core/messages.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "library/song_list.h"
#include "recording/edit_mode.h"
#include "sheet/navigation.h"
#include "transport/media_player.h"
#include "transport/play_start.h"
#include "transport/player_control_area.h"
#include "transport/stop_pause.h"
#include "transport/volume_speed.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QVBoxLayout>

namespace mv {

namespace {

// "I Am A Server": its mouse-up comes after the press has changed the check.
class MouseUpCheckBox : public QCheckBox {
  public:
    using QCheckBox::QCheckBox;
    std::function<void()> mouseUp;

  protected:
    void mouseReleaseEvent(QMouseEvent* e) override {
        QCheckBox::mouseReleaseEvent(e);
        if (mouseUp) mouseUp();
    }
};

} // namespace

MainWindow::MainWindow(Session& s, MediaPlayer& player, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("Velmor"));
    setWindowTitle(QStringLiteral("Media Player"));
    VelmorState& v = s.velmor;
    auto* outer = new QVBoxLayout(this);
    auto* bar = new QMenuBar(this);
    outer->setMenuBar(bar);
    auto* top = new QHBoxLayout;
    outer->addLayout(top, 1);
    auto* left = new QVBoxLayout;
    top->addLayout(left, 1);

    QMenu* ff = bar->addMenu(QStringLiteral("File"));
    ff->setObjectName(QStringLiteral("FF"));
    // "Save": the song's map through the Edit button, then the settings.
    ff->addAction(QStringLiteral("Save"), this, [&s] {
          adobeF::SAV_Click(s);
      })->setObjectName(QStringLiteral("SAV"));
    ff->addAction(QStringLiteral("Exit"), this, &QWidget::close)
        ->setObjectName(QStringLiteral("EX"));
    // "Connect" / "Disconnect": a client connects, either side ends the session.
    QAction* connectIt = bar->addAction(v.ConnectIt.text(), this, [&s] {
        if (s.ConnectIt_Click) s.ConnectIt_Click();
    });
    connectIt->setObjectName(QStringLiteral("ConnectIt"));
    subs_.push_back(
        v.ConnectIt.subscribe([connectIt, &v] { connectIt->setText(v.ConnectIt.text()); }));
    // Audio Out: "Default" and the first seven devices, one check mark.
    QMenu* stx = bar->addMenu(QStringLiteral("Audio Out"));
    stx->setObjectName(QStringLiteral("STX"));
    connect(stx, &QMenu::aboutToShow, this, [this, stx, &s] {
        stx->clear();
        for (int i = -1; i < 7; ++i) {
            const QString caption =
                i < 0 ? QStringLiteral("Default") : s.velmor.AudioOutNames.value(i);
            if (i >= 0 && caption.isEmpty()) continue;
            QAction* a = stx->addAction(caption, this, [&s, i] { AudioOut_Click(s, i); });
            a->setObjectName(i < 0 ? QStringLiteral("TXDF") : QStringLiteral("TXS%1").arg(i));
            a->setCheckable(true);
            a->setChecked(s.velmor.AudioOutChecked.get() == i);
        }
    });
    bar->addAction(QStringLiteral("About"), this, [&s] {
        s.g.OverlayTicks = 1;
        s.messages.msgBox(QStringLiteral("Mellivane Version 2.4"));
    });

    // The player's control area: Start in its first 30 pixels, stop beyond.
    auto* strip = new QHBoxLayout;
    auto* area = new PlayerControlArea(player, this);
    area->mouseDown = [&s](int b, int sh, double x, double y) {
        if (s.WindowsMediaPlayer1_MouseDown) s.WindowsMediaPlayer1_MouseDown(b, sh, x, y);
    };
    strip->addWidget(area, 1);
    strip->addWidget(new FastForwardLabel(player, this));
    // The network dot: a red dot with the number of clients, and "Connected".
    auto* dot = new QLabel(this);
    dot->setObjectName(QStringLiteral("Shape1"));
    dot->setFixedSize(22, 22);
    dot->setStyleSheet(QStringLiteral("background: red; border-radius: 11px;"));
    auto* number = new QLabel(v.Label29.text(), dot);
    number->setObjectName(QStringLiteral("Label29"));
    number->setGeometry(0, 0, 22, 22);
    number->setAlignment(Qt::AlignCenter);
    number->setStyleSheet(QStringLiteral("color: white; font-weight: bold;"));
    subs_.push_back(v.Label29.subscribe([number, &v] { number->setText(v.Label29.text()); }));
    auto* connected = new QLabel(QStringLiteral("Connected"), this);
    connected->setObjectName(QStringLiteral("Label28"));
    strip->addWidget(dot);
    strip->addWidget(connected);
    subs_.push_back(bindVisible(v.Shape1, dot));
    subs_.push_back(bindVisible(v.Shape1, connected));
    left->addLayout(strip);

    // Volume, and the limit applied at the next song load.
    auto* vol = new QSlider(Qt::Horizontal, this);
    vol->setObjectName(QStringLiteral("HScroll1"));
    vol->setRange(v.HScroll1.min(), v.HScroll1.max());
    vol->setValue(v.HScroll1.get());
    connect(vol, &QSlider::valueChanged, this, [&v](int x) { v.HScroll1.set(x); });
    subs_.push_back(v.HScroll1.subscribe([vol, &v] { vol->setValue(v.HScroll1.get()); }));
    auto* limit = new QSlider(Qt::Vertical, this);
    limit->setObjectName(QStringLiteral("VScroll1"));
    limit->setRange(v.VScroll1.min(), v.VScroll1.max());
    limit->setValue(v.VScroll1.get());
    limit->setMaximumHeight(60);
    connect(limit, &QSlider::valueChanged, this, [&v](int x) { v.VScroll1.set(x); });
    auto* volRow = new QHBoxLayout;
    volRow->addWidget(vol, 1);
    volRow->addWidget(limit);
    volRow->addWidget(new QLabel(QStringLiteral("%"), this));
    left->addLayout(volRow);

    file1_ = new QListWidget(this);
    file1_->setObjectName(QStringLiteral("File1"));
    file1_->viewport()->installEventFilter(this);
    left->addWidget(file1_, 1);
    subs_.push_back(v.File1List.subscribe([this] { fillList(); }));
    subs_.push_back(v.File1ListIndex.subscribe([this, &v] {
        if (file1_->currentRow() != v.File1ListIndex.get())
            file1_->setCurrentRow(v.File1ListIndex.get());
    }));
    // Moving the selection with the keys loads nothing.
    connect(file1_, &QListWidget::currentRowChanged, this,
            [&v](int row) { v.File1ListIndex.set(row); });
    fillList();

    auto* buttons = new QGridLayout;
    int n = 0;
    auto add = [&](QPushButton* b) { buttons->addWidget(b, n / 3, n % 3), ++n; };
    add(button("Command8", QStringLiteral("Manual Play"), &Command8_Click));
    QPushButton* pause = button("Command10", v.Command10.text(), &Command10_Click);
    subs_.push_back(v.Command10.subscribe([pause, &v] { pause->setText(v.Command10.text()); }));
    add(pause);
    add(button("Command7", QStringLiteral("Fade"), &Command7_Click));
    add(button("Command12", QStringLiteral("<"), &Command12_Click));
    auto* speed = new QLineEdit(this);
    speed->setObjectName(QStringLiteral("Speed"));
    subs_.push_back(bindLineEdit(v.Speed, speed));
    buttons->addWidget(speed, n / 3, n % 3), ++n;
    add(button("Command13", QStringLiteral(">"), &Command13_Click));
    add(button("Command18", QStringLiteral("<"), &Command18_Click));
    auto* pitch = new QLineEdit(this);
    pitch->setObjectName(QStringLiteral("Pitch"));
    subs_.push_back(bindLineEdit(v.Pitch, pitch));
    buttons->addWidget(pitch, n / 3, n % 3), ++n;
    add(button("Command19", QStringLiteral(">"), &Command19_Click));
    add(button("Command2", QStringLiteral("Change Path 1"), &SetPath));
    add(button("Command14", QStringLiteral("Mixer"), &Mixer_Click));
    // "Quit": the clients stop, the music here is released, the program ends.
    auto* quit = new QPushButton(QStringLiteral("Quit"), this);
    quit->setObjectName(QStringLiteral("Command1"));
    connect(quit, &QPushButton::clicked, this, [this, &s] {
        StopPlaying(s);
        if (s.player) s.player->close();
        close();
    });
    add(quit);
    left->addLayout(buttons);

    // The setup fields, read by every part at each use.
    auto* panel = new QWidget;
    setup_ = new QFormLayout(panel);
    addField("Text1", QStringLiteral("Path 1"), v.Text1);
    addField("Text2", QStringLiteral("Type"), v.Text2);
    addField("Text7", QStringLiteral("Path 2"), v.Text7);
    addField("PDFDLY", QStringLiteral("PDF Delay"), v.PDFDLY);
    addField("ClientDelay", QStringLiteral("Client Delay"), v.ClientDelay);
    addField("FirstNote", QStringLiteral("1st Note Delay"), v.FirstNote);
    addField("Text5", QStringLiteral("Tic Offset"), v.Text5);
    addField("Text6", QStringLiteral("PDF Value"), v.Text6);
    addField("ScrollOffset", QStringLiteral("Scroll Offset"), v.ScrollOffset);
    addField("XOffset", QStringLiteral("X Offset"), v.XOffset);
    addField("YOffset", QStringLiteral("Y Offset"), v.YOffset);
    addField("AutoScroll", QStringLiteral("Auto Scroll"), v.AutoScroll);
    addField("ScrollSpeed", QStringLiteral("Scroll Speed"), v.ScrollSpeed);
    addField("ScrollStep", QStringLiteral("Scroll Step"), v.ScrollStep);
    addField("AddNext", QStringLiteral("Add to Next"), v.AddNext);
    addField("FadeT", QStringLiteral("Fade Time in seconds"), v.FadeT);
    addField("BeepX", QStringLiteral("Beep"), v.BeepX);
    addField("ZoomIt", QStringLiteral("Zoom This "), v.ZoomIt);
    addField("PDFHeight", QStringLiteral("PDF Height"), v.PDFHeight);
    addField("PDFWidth", QStringLiteral("PDF Width"), v.PDFWidth);
    addField("PDFLeft", QStringLiteral("PDF Left"), v.PDFLeft);
    addField("PDFLeftD", QStringLiteral("PDF L  Default"), v.PDFLeftD);
    addCheck("LoadPDF", QStringLiteral("Load pdf"), v.LoadPDF);
    addCheck("IGNNR", QStringLiteral("Ignore number at beginning of file for NWC"), v.IGNNR);
    addCheck("NoCursor", QStringLiteral("No Cursor"), v.NoCursor);
    addCheck("NoScroll", QStringLiteral("No Scroll"), v.NoScroll);
    addCheck("NoPDFAdj", QStringLiteral("No 2nd PDF Adjustment"), v.NoPDFAdj);
    addCheck("Scrn0", QStringLiteral("Scrn1"), v.Scrn0);
    addCheck("Scrn1", QStringLiteral("Scrn 2"), v.Scrn1);
    addField("IPAddress", QStringLiteral("IP Address:"), v.IPAddress);
    addField("PortNr", QStringLiteral("Port:"), v.PortNr);
    auto* server = new MouseUpCheckBox(QStringLiteral("I Am A Server"), this);
    server->setObjectName(QStringLiteral("IamaServer"));
    subs_.push_back(bindCheckBox(v.IamaServer, server));
    server->mouseUp = [&s] {
        if (s.IamaServer_MouseUp) s.IamaServer_MouseUp();
    };
    setup_->addRow(QString(), server);
    addCheck("SendAS", QStringLiteral("Send AutoScroll"), v.SendAS)
        ->setToolTip(QStringLiteral("As a server send AutoScroll info to clients"));
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(panel);
    scroll->setWidgetResizable(true);
    top->addWidget(scroll, 1);
    resize(760, 560);
}

void MainWindow::fillList() {
    const QStringList& l = s_.velmor.File1List.get();
    QStringList shown;
    for (int i = 0; i < file1_->count(); ++i)
        shown << file1_->item(i)->text();
    if (shown == l) return;
    const QSignalBlocker block(file1_);
    file1_->clear();
    file1_->addItems(l);
    file1_->setCurrentRow(s_.velmor.File1ListIndex.get());
}

// A press on the list selects the entry under the mouse and runs the load
// (left) or adds it to the play list (right); plain clicks do nothing more.
bool MainWindow::eventFilter(QObject* watched, QEvent* e) {
    if (watched == file1_->viewport() && e->type() == QEvent::MouseButtonPress) {
        auto* me = static_cast<QMouseEvent*>(e);
        const int row = file1_->row(file1_->itemAt(me->position().toPoint()));
        if (row >= 0) {
            s_.velmor.File1ListIndex.set(row);
            const int b = me->button() == Qt::LeftButton    ? 1
                          : me->button() == Qt::RightButton ? 2
                                                            : 4;
            if (s_.File1_MouseDown)
                s_.File1_MouseDown(b, 0, me->position().x() * 15, me->position().y() * 15);
        }
        return row >= 0 && me->button() != Qt::LeftButton;
    }
    return QWidget::eventFilter(watched, e);
}

void MainWindow::closeEvent(QCloseEvent* e) {
    if (onClose) {
        auto fn = std::move(onClose); // once
        fn();
    }
    QWidget::closeEvent(e);
}

// The page keys work on the main window too.
void MainWindow::keyPressEvent(QKeyEvent* e) {
    if (e->text().size() == 1 && sheetKeyPress(s_, e->text()[0])) return;
    QWidget::keyPressEvent(e);
}

QPushButton* MainWindow::button(const char* name, const QString& caption,
                                void (*handler)(Session&)) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    connect(b, &QPushButton::clicked, this, [this, handler] { handler(s_); });
    return b;
}

void MainWindow::addField(const char* name, const QString& caption, Field& f) {
    auto* e = new QLineEdit(this);
    e->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindLineEdit(f, e));
    setup_->addRow(caption, e);
}

QCheckBox* MainWindow::addCheck(const char* name, const QString& caption, Prop<int>& c) {
    auto* b = new QCheckBox(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindCheckBox(c, b));
    setup_->addRow(QString(), b);
    return b;
}

} // namespace mv
