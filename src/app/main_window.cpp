#include "app/main_window.h"

#include "core/messages.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "core/setup_screen.h"
#include "library/song_list.h"
#include "notation/notation_mode.h"
#include "recording/edit_mode.h"
#include "sheet/sheet_widgets.h"
#include "transport/delay_measure_window.h"
#include "transport/media_player.h"
#include "transport/play_start.h"
#include "transport/player_control_area.h"
#include "transport/stop_pause.h"
#include "transport/volume_speed.h"
#include "web/web_install.h"

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
#include <QMouseEvent>
#include <QMoveEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QVBoxLayout>
#include <algorithm>
#include <tuple>

namespace mv {

namespace {

constexpr double kSmall = kSmallWidth;

QLabel* heading(const QString& text, QWidget* parent) {
    auto* l = new QLabel(text, parent);
    QFont f = l->font();
    f.setBold(true);
    l->setFont(f);
    return l;
}

// An option button that a click leaves chosen: clicking the chosen one
// again does not clear it.  Not auto-exclusive: the settings file and
// Restore Settings may leave every option of its group unchosen.
class OptionButton : public QRadioButton {
  public:
    using QRadioButton::QRadioButton;

  protected:
    void nextCheckState() override { setChecked(true); }
};

} // namespace

MainWindow::MainWindow(Session& s, MediaPlayer& player, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("Velmor"));
    setWindowTitle(QStringLiteral("Media Player"));
    VelmorState& v = s.velmor;
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    buildMenu(outer);
    body_ = new QWidget(this);
    body_->installEventFilter(this); // its size places the areas
    outer->addWidget(body_, 1);

    head_ = buildHead(player);
    file1_ = new QListWidget(body_);
    file1_->setObjectName(QStringLiteral("File1"));
    nameControl(file1_, QStringLiteral("Song list"));
    // Every entry is one line of the same font: the view then measures one
    // entry, not each of a folder's thousands.
    file1_->setUniformItemSizes(true);
    file1_->viewport()->installEventFilter(this);
    file1_->installEventFilter(this);
    subs_.push_back(v.File1List.subscribe([this] { fillList(); }));
    subs_.push_back(v.File1ListIndex.subscribe([this, &v] {
        if (file1_->currentRow() != v.File1ListIndex.get())
            file1_->setCurrentRow(v.File1ListIndex.get());
    }));
    // Moving the selection with the keys loads nothing.
    connect(file1_, &QListWidget::currentRowChanged, this,
            [&v](int row) { v.File1ListIndex.set(row); });
    fillList();
    foot_ = buildFoot();
    setup_ = buildSetup();
    nwc_ = buildNwcFields();

    for (const auto& [name, tip] : setupToolTips())
        if (QWidget* w = findChild<QWidget*>(QString::fromLatin1(name)))
            w->setToolTip(QString::fromLatin1(tip));

    // The window mirrors its size and the list's place from the setup logic.
    for (Notifier* n : std::initializer_list<Notifier*>{
             &v.WindowWidth, &v.WindowHeight, &v.File1Width, &v.File1Top, &v.File1Height,
             &v.File1FontSize, &v.NWCFieldsVisible, &v.ZM})
        subs_.push_back(n->subscribe([this] { layoutAreas(); }));
    layoutAreas();
}

void MainWindow::buildMenu(QLayout* outer) {
    auto* bar = new QMenuBar(this);
    outer->setMenuBar(bar);
    Session& s = s_;
    // A menu entry that runs `handler` under the guard.
    auto entry = [this](auto* where, const char* name, const QString& caption,
                        std::function<void()> handler) {
        QAction* a = where->addAction(caption);
        a->setObjectName(QString::fromLatin1(name));
        connect(a, &QAction::triggered, this, [this, handler] { guarded(handler); });
        return a;
    };
    auto hook = [](std::function<void()>& h) {
        return [&h] {
            if (h) h();
        };
    };
    QMenu* ff = bar->addMenu(QStringLiteral("File"));
    ff->setObjectName(QStringLiteral("FF"));
    QAction* ex = ff->addAction(QStringLiteral("Exit"));
    ex->setObjectName(QStringLiteral("EX"));
    connect(ex, &QAction::triggered, this, &QWidget::close);
    entry(ff, "LA2", QStringLiteral("Load Sheet 2"), hook(s.LA2_Click));
    // "Save": the song's map through the Edit button, then the settings.
    entry(ff, "SAV", QStringLiteral("Save"), [&s] { adobeF::SAV_Click(s); });
    // "Connect" / "Disconnect": a client connects, either side ends the session.
    QAction* connectIt =
        entry(bar, "ConnectIt", s.velmor.ConnectIt.text(), hook(s.ConnectIt_Click));
    subs_.push_back(s.velmor.ConnectIt.subscribe(
        [connectIt, &s] { connectIt->setText(s.velmor.ConnectIt.text()); }));
    entry(bar, "SS", QStringLiteral("Setup"), [&s] { SS_Click(s); });
    entry(bar, "ABT", QStringLiteral("About"), [&s] { ABT_Click(s); });
    entry(bar, "HH", QStringLiteral("Help"), hook(s.HH_Click));
    // Audio Out: "Default" and the first seven devices, with their marks.
    QMenu* stx = bar->addMenu(QStringLiteral("Audio Out"));
    stx->setObjectName(QStringLiteral("STX"));
    connect(stx, &QMenu::aboutToShow, this, [this, stx, &s] {
        stx->clear();
        for (int i = -1; i < 7; ++i) {
            const QString caption =
                i < 0 ? QStringLiteral("Default") : s.velmor.AudioOutNames.value(i);
            if (i >= 0 && caption.isEmpty()) continue;
            QAction* a = stx->addAction(
                caption, this, [this, &s, i] { guarded([&s, i] { AudioOut_Click(s, i); }); });
            a->setObjectName(i < 0 ? QStringLiteral("TXDF") : QStringLiteral("TXS%1").arg(i));
            a->setCheckable(true);
            a->setChecked(s.velmor.audioOutChecked(i));
        }
    });
    QAction* zm = entry(bar, "ZM", s.velmor.ZM.text(), [&s] { ZM_Click(s); });
    subs_.push_back(s.velmor.ZM.subscribe([zm, &s] { zm->setText(s.velmor.ZM.text()); }));
}

// The player's control area (Start in its first 30 pixels, stop beyond),
// the fast-forward label, the volume and the limit applied at the next load.
QWidget* MainWindow::buildHead(MediaPlayer& player) {
    VelmorState& v = s_.velmor;
    auto* head = new QWidget(body_);
    auto* rows = new QVBoxLayout(head);
    rows->setContentsMargins(8, 4, 8, 0);
    rows->setSpacing(2);
    auto* strip = new QHBoxLayout;
    auto* area = new PlayerControlArea(player, head);
    area->mouseDown = [this](int b, int sh, double x, double y) {
        guarded([&] {
            if (s_.WindowsMediaPlayer1_MouseDown) s_.WindowsMediaPlayer1_MouseDown(b, sh, x, y);
        });
    };
    nameControl(area, QStringLiteral("Player: press at the left to start, at the right to stop"));
    strip->addWidget(area, 1);
    strip->addWidget(new FastForwardLabel(player, head));
    // VScroll1, the volume limit in percent: upright, 100 at the top, beside
    // the "%" of Label25.
    auto* limit = new QSlider(Qt::Vertical, head);
    limit->setObjectName(QStringLiteral("VScroll1"));
    limit->setRange(v.VScroll1.min(), v.VScroll1.max());
    limit->setValue(v.VScroll1.get());
    limit->setFixedHeight(48);
    connect(limit, &QSlider::valueChanged, this,
            [this, &v](int x) { guarded([&] { v.VScroll1.set(x); }); });
    subs_.push_back(v.VScroll1.subscribe([limit, &v] { limit->setValue(v.VScroll1.get()); }));
    nameControl(limit, QStringLiteral("Volume limit in percent"));
    strip->addWidget(limit);
    // The network dot: a red dot with the number of clients, and "Connected".
    auto* dot = new QLabel(head);
    dot->setObjectName(QStringLiteral("Shape1"));
    dot->setFixedSize(22, 22);
    dot->setStyleSheet(QStringLiteral("background: red; border-radius: 11px;"));
    auto* number = new QLabel(v.Label29.text(), dot);
    number->setObjectName(QStringLiteral("Label29"));
    number->setGeometry(0, 0, 22, 22);
    number->setAlignment(Qt::AlignCenter);
    number->setStyleSheet(QStringLiteral("color: white; font-weight: bold;"));
    subs_.push_back(v.Label29.subscribe([number, &v] { number->setText(v.Label29.text()); }));
    auto* connected = new QLabel(QStringLiteral("Connected"), head);
    connected->setObjectName(QStringLiteral("Label28"));
    strip->addWidget(dot);
    strip->addWidget(connected);
    nameControl(dot, QStringLiteral("Connected clients"));
    subs_.push_back(bindVisible(v.Shape1, dot));
    subs_.push_back(bindVisible(v.Shape1, connected));
    // The web followers beside the dot, while the page is served.
    auto* web = new QLabel(head);
    web->setObjectName(QStringLiteral("WebFollowers"));
    nameControl(web, QStringLiteral("Web followers"));
    strip->addWidget(web);
    const auto showWeb = [web, &v] {
        web->setText(QStringLiteral("Web %1").arg(v.WebFollowers.get()));
        web->setToolTip(v.WebAddress.text());
        web->setVisible(!v.WebAddress.text().isEmpty());
    };
    showWeb();
    subs_.push_back(v.WebFollowers.subscribe(showWeb));
    subs_.push_back(v.WebAddress.subscribe(showWeb));
    rows->addLayout(strip);
    auto* vol = new QSlider(Qt::Horizontal, head);
    vol->setObjectName(QStringLiteral("HScroll1"));
    vol->setRange(v.HScroll1.min(), v.HScroll1.max());
    vol->setValue(v.HScroll1.get());
    connect(vol, &QSlider::valueChanged, this,
            [this, &v](int x) { guarded([&] { v.HScroll1.set(x); }); });
    subs_.push_back(v.HScroll1.subscribe([vol, &v] { vol->setValue(v.HScroll1.get()); }));
    nameControl(vol, QStringLiteral("Volume"));
    rows->addWidget(vol);
    return head;
}

// Manual Play, Pause, Fade; the speed and pitch rows; Mixer and Quit.
QWidget* MainWindow::buildFoot() {
    VelmorState& v = s_.velmor;
    auto* foot = new QWidget(body_);
    auto* grid = new QGridLayout(foot);
    grid->setContentsMargins(8, 0, 8, 4);
    grid->setVerticalSpacing(2);
    grid->addWidget(button("Command8", QStringLiteral("Manual Play"), &Command8_Click), 0, 0, 1, 2);
    QPushButton* pause = button("Command10", v.Command10.text(), &Command10_Click);
    subs_.push_back(v.Command10.subscribe([pause, &v] { pause->setText(v.Command10.text()); }));
    pause->setVisible(v.Command10Visible.get());
    subs_.push_back(
        v.Command10Visible.subscribe([pause, &v] { pause->setVisible(v.Command10Visible.get()); }));
    grid->addWidget(pause, 0, 2);
    grid->addWidget(button("Command7", QStringLiteral("Fade"), &Command7_Click), 0, 3);
    auto valueRow = [&](int row, const QString& caption, const char* name, Field& f,
                        QPushButton* down, QPushButton* up) {
        grid->addWidget(new QLabel(caption, foot), row, 0);
        auto* e = new QLineEdit(foot);
        e->setObjectName(QString::fromLatin1(name));
        nameControl(e, caption);
        subs_.push_back(bindLineEdit(f, e, &s_.messages));
        nameControl(down, caption + QStringLiteral(" down"));
        nameControl(up, caption + QStringLiteral(" up"));
        grid->addWidget(down, row, 1);
        grid->addWidget(e, row, 2);
        grid->addWidget(up, row, 3);
    };
    valueRow(1, QStringLiteral("Speed"), "Speed", v.Speed,
             button("Command12", QStringLiteral("<"), &Command12_Click),
             button("Command13", QStringLiteral(">"), &Command13_Click));
    valueRow(2, QStringLiteral("Pitch"), "Pitch", v.Pitch,
             button("Command18", QStringLiteral("<"), &Command18_Click),
             button("Command19", QStringLiteral(">"), &Command19_Click));
    grid->addWidget(button("Command14", QStringLiteral("Mixer"), &Mixer_Click), 3, 0, 1, 2);
    // "Quit": the clients stop, the music here is released, the program ends.
    auto* quit = new QPushButton(QStringLiteral("Quit"), foot);
    quit->setObjectName(QStringLiteral("Command1"));
    connect(quit, &QPushButton::clicked, this, [this] {
        guarded([this] {
            StopPlaying(s_);
            if (s_.player) s_.player->close();
        });
        close();
    });
    grid->addWidget(quit, 3, 2, 1, 2);
    // The song library's buttons, installed by the library.
    auto library = [this](const char* name, const QString& caption, std::function<void()>& hook) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(QString::fromLatin1(name));
        connect(b, &QPushButton::clicked, this, [this, &hook] {
            guarded([&hook] {
                if (hook) hook();
            });
        });
        return b;
    };
    grid->addWidget(library("Command4", QStringLiteral("Select Random MP3"), s_.Command4_Click), 4,
                    0, 1, 2);
    grid->addWidget(library("Command3", QStringLiteral("Clear played list"), s_.Command3_Click), 4,
                    2, 1, 2);
    grid->addWidget(library("Command5", QStringLiteral("Set Z"), s_.Command5_Click), 5, 0);
    grid->addWidget(library("Command6", QStringLiteral("Remove Z"), s_.Command6_Click), 5, 1);
    grid->addWidget(library("Command9", QStringLiteral("Print Index"), s_.Command9_Click), 5, 2);
    grid->addWidget(library("Command15", QStringLiteral("Play List"), s_.Command15_Click), 5, 3);
    return foot;
}

// The setup fields, read by every part at each use.
QWidget* MainWindow::buildSetup() {
    VelmorState& v = s_.velmor;
    auto* panel = new QWidget;
    auto* form = new QFormLayout(panel);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    auto section = [&](const QString& title) { form->addRow(heading(title, panel)); };
    section(QStringLiteral("Songs"));
    addField(form, "Text1", QStringLiteral("Path 1"), v.Text1);
    form->addRow(QString(), button("Command2", QStringLiteral("Change Path 1"), &SetPath));
    addField(form, "Text2", QStringLiteral("Type"), v.Text2);
    addField(form, "Text7", QStringLiteral("Path 2"), v.Text7);
    addField(form, "PDFView", QStringLiteral("PDF Viewer"), v.PDFView);
    addCheck(form, "IGNNR", QStringLiteral("Ignore number at beginning of file for NWC"), v.IGNNR);
    addCheck(form, "IgnZ", QStringLiteral("Ignore MP3 files that start with Z"), v.IgnZ);
    addCheck(form, "IgnX", QStringLiteral("Ignore MP3 files that start with X"), v.IgnX);
    section(QStringLiteral("Timing"));
    addField(form, "PDFDLY", QStringLiteral("PDF Delay"), v.PDFDLY, QStringLiteral("seconds"));
    addField(form, "ClientDelay", QStringLiteral("Client Delay"), v.ClientDelay);
    addField(form, "FirstNote", QStringLiteral("1st Note Delay"), v.FirstNote);
    addField(form, "Text5", QStringLiteral("Tic Offset"), v.Text5);
    addField(form, "FadeT", QStringLiteral("Fade Time"), v.FadeT, QStringLiteral("in seconds"));
    addField(form, "BeepX", QStringLiteral("Beep"), v.BeepX);
    // The present audio output's own delay (kept per output), and its measuring.
    auto* delay = static_cast<QLineEdit*>(addField(
        form, "OutputDelay", QStringLiteral("Output Delay"), v.OutputDelay, QStringLiteral("ms")));
    connect(delay, &QLineEdit::editingFinished, this, [this] { OutputDelay_LostFocus(s_); });
    form->addRow(QString(), button("MeasureB", QStringLiteral("Measure…"), &MeasureB_Click));
    section(QStringLiteral("Sheet"));
    addField(form, "ZoomIt", QStringLiteral("Zoom This"), v.ZoomIt);
    addField(form, "ZoomAll", QStringLiteral("Zoom ALL"), v.ZoomAll);
    addField(form, "Text6", QStringLiteral("PDF Value"), v.Text6);
    addField(form, "ScrollOffset", QStringLiteral("Scroll Offset"), v.ScrollOffset);
    addField(form, "AddNext", QStringLiteral("Add to Next"), v.AddNext);
    addField(form, "AutoScroll", QStringLiteral("Auto Scroll"), v.AutoScroll);
    addField(form, "ScrollSpeed", QStringLiteral("Scroll Speed"), v.ScrollSpeed);
    addField(form, "ScrollStep", QStringLiteral("Scroll Step"), v.ScrollStep);
    addField(form, "XOffset", QStringLiteral("X Offset"), v.XOffset);
    addField(form, "YOffset", QStringLiteral("Y Offset"), v.YOffset);
    addField(form, "PDFHeight", QStringLiteral("PDF Height"), v.PDFHeight);
    addField(form, "PDFWidth", QStringLiteral("PDF Width"), v.PDFWidth);
    addField(form, "PDFLeft", QStringLiteral("PDF Left"), v.PDFLeft);
    addField(form, "PDFLeftD", QStringLiteral("PDF L  Default"), v.PDFLeftD);
    addCheck(form, "NoPDFAdj", QStringLiteral("No 2nd PDF Adjustment"), v.NoPDFAdj);
    addCheck(form, "NoCursor", QStringLiteral("No Cursor"), v.NoCursor);
    addCheck(form, "NoScroll", QStringLiteral("No Scroll"), v.NoScroll);
    // Which sheet window takes the focus at a play's start: option buttons,
    // one or the other (the logic turns the other off); neither only as the
    // settings file or Restore Settings leave them.
    auto* screens = new QHBoxLayout;
    for (auto [name, caption, c] :
         {std::tuple{"Scrn0", "Scrn1", &v.Scrn0}, std::tuple{"Scrn1", "Scrn 2", &v.Scrn1}}) {
        auto* b = new OptionButton(QString::fromLatin1(caption), panel);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoExclusive(false);
        subs_.push_back(bindCheckBox(*c, b, &s_.messages));
        screens->addWidget(b);
    }
    screens->addStretch(1);
    form->addRow(QString(), screens);
    section(QStringLiteral("Buttons"));
    addCheck(form, "ShowB", QStringLiteral("Show Horizontal Buttons"), v.ShowB);
    addCheck(form, "ShowVB", QStringLiteral("Show Vertical Buttons"), v.ShowVB);
    addCheck(form, "FootControl", QStringLiteral("Foot Control"), v.FootControl);
    section(QStringLiteral("Network"));
    addField(form, "IPAddress", QStringLiteral("IP Address:"), v.IPAddress);
    addField(form, "PortNr", QStringLiteral("Port:"), v.PortNr);
    QWidget* server = addCheck(form, "IamaServer", QStringLiteral("I Am A Server"), v.IamaServer);
    connect(static_cast<QCheckBox*>(server), &QCheckBox::clicked, this,
            [this] { guarded([this] { IamaServer_MouseUp(s_); }); });
    addCheck(form, "SendAS", QStringLiteral("Send AutoScroll"), v.SendAS);
    // Clock Start: on a server and on each client that should follow its clock.
    addCheck(form, "ClockStart", QStringLiteral("Clock Start"), v.ClockStart);
    addField(form, "StartLead", QStringLiteral("Start Lead"), v.StartLead, QStringLiteral("ms"));
    addField(form, "WebPort", QStringLiteral("Web Port"), v.WebPort);
    addField(form, "WebPin", QStringLiteral("Web PIN"), v.WebPin);
    // What the band opens: the address and its QR code, once served.
    auto* address = new QLabel(panel);
    address->setObjectName(QStringLiteral("WebAddress"));
    address->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* qr = new QLabel(panel);
    qr->setObjectName(QStringLiteral("WebQR"));
    nameControl(qr, QStringLiteral("QR code of the web page"));
    form->addRow(address, qr);
    const auto showAddress = [address, qr, &v] {
        const QString text = v.WebAddress.text();
        address->setText(text);
        const QImage code = qrCode(text);
        qr->setPixmap(code.isNull() || text.isEmpty()
                          ? QPixmap()
                          : QPixmap::fromImage(code.scaled(code.size() * 3)));
        address->setVisible(!text.isEmpty());
        qr->setVisible(!text.isEmpty());
    };
    showAddress();
    subs_.push_back(v.WebAddress.subscribe(showAddress));
    form->addRow(QString(),
                 button("Command11", QStringLiteral("Restore Settings"), &Command11_Click));
    // Back to sheet mode, with sheet window 1 or 2; outside the notation
    // box, so they stay on the panel while Label20 hides the box.
    form->addRow(
        button("Command16", QStringLiteral("Load Sheet 1"), &Command16_Click),
        button(
            "Command17", QStringLiteral("Load Sheet 2"), +[](Session& s) { Command17_Click(s); }));
    // The empty label: a press shows or hides the notation viewer's fields.
    auto* label20 = new QLabel(panel);
    label20->setObjectName(QStringLiteral("Label20"));
    label20->setFrameShape(QFrame::Panel);
    label20->setFrameShadow(QFrame::Sunken);
    label20->setFixedSize(48, 16);
    label20->setCursor(Qt::PointingHandCursor);
    label20->installEventFilter(this);
    nameControl(label20, QStringLiteral("Show or hide the notation viewer's fields"));
    form->addRow(QString(), label20);

    auto* scroll = new QScrollArea(body_);
    scroll->setObjectName(QStringLiteral("SetupPanel"));
    scroll->setWidget(panel);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    return scroll;
}

// The notation viewer's fields, shown by a press on Label20.
QWidget* MainWindow::buildNwcFields() {
    VelmorState& v = s_.velmor;
    auto* box = new QWidget(body_);
    auto* form = new QFormLayout(box);
    form->addRow(heading(QStringLiteral("Notation viewer"), box));
    addCheck(form, "LoadPDF", QStringLiteral("Load pdf"), v.LoadPDF);
    addCheck(form, "CNWC", QStringLiteral("Control NWCViewer"), v.CNWC);
    addCheck(form, "ZoomNWC", QStringLiteral("Zoom NWC to 50%"), v.ZoomNWC);
    addCheck(form, "ZoomPDF", QStringLiteral("Zoom PDF to 100%"), v.ZoomPDF);
    auto* label3 = new QLabel(QStringLiteral("NWCViewer"), box);
    label3->setObjectName(QStringLiteral("Label3"));
    form->addRow(label3);
    QWidget* text3 = addField(form, "Text3", QStringLiteral("Path"), v.Text3, {}, "Label4");
    // Text3's tip: one while its text changes, the other under the pointer.
    connect(static_cast<QLineEdit*>(text3), &QLineEdit::textChanged, text3,
            [text3] { text3->setToolTip(QString::fromLatin1(kText3ChangeTip)); });
    text3->installEventFilter(this);
    addField(form, "Text4", QStringLiteral("NWC Delay"), v.Text4, QStringLiteral("seconds"),
             "Label5", "Label6");
    return box;
}

void MainWindow::measureColumns() {
    auto* scroll = static_cast<QScrollArea*>(setup_);
    const int scrollBar = scroll->verticalScrollBar()->sizeHint().width();
    const int frame = 2 * scroll->frameWidth();
    columns_.small =
        std::max({px(kSmall), head_->minimumSizeHint().width(), foot_->minimumSizeHint().width(),
                  layout()->menuBar()->sizeHint().width()});
    // Each column at least as wide as its controls need; as wide as its
    // twips say while the screen has room for that.
    const int room =
        screen() ? screen()->availableGeometry().width() - (frameGeometry().width() - width())
                 : 1 << 20;
    const int setupNeeds = scroll->widget()->minimumSizeHint().width() + scrollBar + frame;
    columns_.setup =
        std::max(setupNeeds, std::min(px(kSetupRight - kSmall), room - columns_.small));
    columns_.nwc =
        std::max(nwc_->minimumSizeHint().width(),
                 std::min(px(kNwcRight - kSetupRight), room - columns_.small - columns_.setup));
    footHeight_ = foot_->minimumSizeHint().height();
    headHeight_ = head_->minimumSizeHint().height();
    setMinimumWidth(columns_.small);
}

int MainWindow::pixelHeight() const {
    // The list keeps room for a few entries between the player and the
    // buttons, at the list's font.
    const int menu = layout()->menuBar()->sizeHint().height();
    const int listMin = 4 * file1_->fontMetrics().height() + 8;
    return std::max(px(s_.velmor.WindowHeight.get()), menu + headHeight_ + listMin + footHeight_);
}

void MainWindow::layoutAreas() {
    const VelmorState& v = s_.velmor;
    const bool large = v.ZM.text() == u"-Zoom";
    QFont f = file1_->font();
    f.setPointSize(v.File1FontSize.get());
    file1_->setFont(f);
    measureColumns();
    const int wantW = columns_.pixels(v.WindowWidth.get()), wantH = pixelHeight();
    if (wantW != width() || wantH != height()) {
        const bool grows = wantW > width();
        resize(wantW, wantH);
        keepOnScreen(grows);
    }
    const int h = body_->height(), small = columns_.small;
    const int headH = std::max(headHeight_, px(v.File1Top.get() > 0 ? v.File1Top.get() : 920));
    head_->setGeometry(0, 0, small, headH);
    if (large) {
        file1_->setGeometry(0, 0, std::min(columns_.pixels(v.File1Width.get()), body_->width()),
                            std::min(px(v.File1Height.get()), h));
    } else {
        // The list between the player and the buttons; the buttons keep
        // the room they need.
        const int listH =
            std::max(0, std::min(px(v.File1Height.get()), h - headH - footHeight_ - 4));
        file1_->setGeometry(8, headH, small - 16, listH);
    }
    const int footTop = file1_->geometry().bottom() + 4;
    foot_->setGeometry(0, footTop, small, std::max(0, h - footTop));
    setup_->setGeometry(small, 0, columns_.setup, h);
    nwc_->setGeometry(small + columns_.setup, 0, columns_.nwc, h);
    head_->setVisible(!large);
    foot_->setVisible(!large);
    setup_->setVisible(!large && width() > small);
    nwc_->setVisible(!large && v.NWCFieldsVisible.get());
}

void MainWindow::keepOnScreen(bool grew) {
    if (!isVisible()) return;
    const QScreen* sc = screen();
    if (sc) {
        // The frame stays inside the free part of the screen: a window that
        // grows past its right edge moves left.
        const QRect avail = sc->availableGeometry();
        const QRect frame = frameGeometry();
        const int dx = std::min(0, avail.right() - frame.right());
        const int dy = std::min(0, avail.bottom() - frame.bottom());
        if (dx || dy)
            move(std::max(avail.left(), frame.left() + dx),
                 std::max(avail.top(), frame.top() + dy));
    }
    // A window that grows shows what it grew for: in front of the sheet.
    if (grew) {
        raise();
        activateWindow();
    }
}

void MainWindow::resizeEvent(QResizeEvent* e) {
    // A size given by the frame counts as the window's size.
    VelmorState& v = s_.velmor;
    if (nwc_ && columns_.pixels(v.WindowWidth.get()) != width())
        v.WindowWidth.set(columns_.twips(width()));
    if (nwc_ && pixelHeight() != height()) v.WindowHeight.set(height() * 15.0);
    QWidget::resizeEvent(e);
    if (isVisible()) v.FrameRight = (frameGeometry().right() + 1) * 15.0;
    if (nwc_) layoutAreas();
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
// A press below the last entry runs the same with the selection as it
// stands, which it keeps.  The page keys reach sheet window 1 also while
// the list has the focus.
bool MainWindow::eventFilter(QObject* watched, QEvent* e) {
    if (watched == body_) {
        if (e->type() == QEvent::Resize && nwc_) layoutAreas();
        return false;
    }
    if (file1_ && watched == file1_->viewport() && e->type() == QEvent::MouseButtonPress) {
        auto* me = static_cast<QMouseEvent*>(e);
        const int row = file1_->row(file1_->itemAt(me->position().toPoint()));
        if (row >= 0) s_.velmor.File1ListIndex.set(row);
        const int b = me->button() == Qt::LeftButton ? 1 : me->button() == Qt::RightButton ? 2 : 4;
        guarded([&] {
            if (s_.File1_MouseDown)
                s_.File1_MouseDown(b, 0, me->position().x() * 15, me->position().y() * 15);
        });
        return row < 0 || me->button() != Qt::LeftButton;
    }
    if (watched == file1_ && e->type() == QEvent::KeyPress)
        return pageKey(static_cast<QKeyEvent*>(e));
    const QString name = watched->objectName();
    if (name == u"Label20" && e->type() == QEvent::MouseButtonPress) {
        guarded([this] { Label20_Click(s_); });
        return true;
    }
    if (name == u"Text3" && e->type() == QEvent::Enter)
        static_cast<QWidget*>(watched)->setToolTip(
            QStringLiteral("Enter the path to NWCViewer in this box."));
    return QWidget::eventFilter(watched, e);
}

bool MainWindow::pageKey(QKeyEvent* e) {
    bool taken = false;
    if (e->text().size() == 1) guarded([&] { taken = Velmor_KeyPress(s_, e->text()[0]); });
    return taken;
}

void MainWindow::keyPressEvent(QKeyEvent* e) {
    if (!pageKey(e)) QWidget::keyPressEvent(e);
}

void MainWindow::mousePressEvent(QMouseEvent* e) {
    guarded([this] { Velmor_Activity(s_); });
    QWidget::mousePressEvent(e);
}

void MainWindow::changeEvent(QEvent* e) {
    if (e->type() == QEvent::ActivationChange && isActiveWindow())
        guarded([this] { Velmor_Activity(s_); });
    QWidget::changeEvent(e);
}

// The window's top and left are settings lines 6 and 7 (and 22): kept as the
// window moves, frame included, so that File "Save" and shut-down write
// where the window stands now.  Where a window cannot know its place
// (Wayland) the stored values stay.
void MainWindow::moveEvent(QMoveEvent* e) {
    // A stored value within the pixel the window stands on stays as it is
    // (the left edge of 1 twip is pixel 0).
    VelmorState& v = s_.velmor;
    if (windowPlaceKnown()) {
        if (y() != int(v.WindowTop / 15)) v.WindowTop = y() * 15.0;
        if (x() != int(v.WindowLeft / 15)) v.WindowLeft = x() * 15.0;
    }
    v.FrameRight = (frameGeometry().right() + 1) * 15.0;
    QWidget::moveEvent(e);
}

void MainWindow::closeEvent(QCloseEvent* e) {
    if (onClose) {
        auto fn = std::move(onClose); // once
        guarded(fn);
    }
    QWidget::closeEvent(e);
}

void MainWindow::guarded(const std::function<void()>& handler) { runGuarded(s_.messages, handler); }

QPushButton* MainWindow::button(const char* name, const QString& caption,
                                void (*handler)(Session&)) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    connect(b, &QPushButton::clicked, this, [this, handler] { guarded([&] { handler(s_); }); });
    return b;
}

QWidget* MainWindow::addField(QFormLayout* form, const char* name, const QString& caption, Field& f,
                              const QString& unit, const char* labelName, const char* unitName) {
    QWidget* parent = form->parentWidget();
    auto* e = new QLineEdit(parent);
    e->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindLineEdit(f, e, &s_.messages));
    auto* label = new QLabel(caption, parent);
    label->setBuddy(e);
    e->setAccessibleName(caption.trimmed());
    if (labelName) label->setObjectName(QString::fromLatin1(labelName));
    if (unit.isEmpty()) {
        form->addRow(label, e);
        return e;
    }
    // A field with its unit after it ("seconds").
    auto* row = new QHBoxLayout;
    row->addWidget(e, 1);
    auto* unitLabel = new QLabel(unit, parent);
    if (unitName) unitLabel->setObjectName(QString::fromLatin1(unitName));
    row->addWidget(unitLabel);
    form->addRow(label, row);
    return e;
}

QWidget* MainWindow::addCheck(QFormLayout* form, const char* name, const QString& caption,
                              Prop<int>& c) {
    auto* b = new QCheckBox(caption, form->parentWidget());
    b->setObjectName(QString::fromLatin1(name));
    subs_.push_back(bindCheckBox(c, b, &s_.messages));
    form->addRow(QString(), b);
    return b;
}

} // namespace mv
