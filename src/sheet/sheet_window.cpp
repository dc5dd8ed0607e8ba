#include "sheet/sheet_window.h"

#include "core/fit_check.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "sheet/navigation.h"
#include "sheet/pdf_viewer.h"
#include "sheet/pedal_keys.h"
#include "sheet/sheet_geometry.h"
#include "sheet/sheet_widgets.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>

namespace mv {

namespace {

// A light: a red circle.
class LightWidget : public QWidget {
  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter g(this);
        g.setRenderHint(QPainter::Antialiasing);
        g.setBrush(Qt::red);
        g.setPen(Qt::darkRed);
        g.drawEllipse(rect().adjusted(1, 1, -1, -1));
    }
};

} // namespace

SheetWindow::SheetWindow(Session& s, QWidget* viewer, QWidget* parent) : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("AdobeF"));
    setWindowTitle(QStringLiteral("Sheet"));
    SheetOneState& f = s.adobeF;

    const SheetLayers layers = makeSheetLayers(this, viewer, f.Text11.text(), 5520, 3720);
    picture3_ = layers.picture3;
    acroPDF1_ = layers.acroPDF1;
    text11_ = layers.text11;
    subs_.push_back(f.Text11.subscribe([this, &f] { text11_->setText(f.Text11.text()); }));
    subs_.push_back(bindVisible(f.Text11Visible, text11_));

    vscroll1_ = new QScrollBar(Qt::Vertical, this);
    vscroll1_->setObjectName(QStringLiteral("VScroll1"));
    vscroll1_->setRange(f.VScroll1.min(), f.VScroll1.max());
    vscroll1_->setValue(f.VScroll1.get());
    vscroll1_->setTracking(false); // the sheet moves on release, not while dragging
    nameControl(vscroll1_, QStringLiteral("Sheet scroll position"));
    connect(vscroll1_, &QScrollBar::valueChanged, this,
            [this, &f](int v) { guarded([&] { f.VScroll1.set(v); }); });
    connect(vscroll1_, &QScrollBar::sliderMoved, this, [this, &f](int v) {
        guarded([&] {
            if (f.Shape2.get()) // in edit mode the bar's position goes into the tic
                f.Text7.setNumber(v - s_.velmor.ScrollOffset.value());
        });
    });
    subs_.push_back(f.VScroll1.subscribe([this, &f] {
        if (vscroll1_->value() != f.VScroll1.get()) vscroll1_->setValue(f.VScroll1.get());
        placeCarrier();
    }));

    // The strip.  Captions as the user sees them.
    const std::pair<const char*, const char*> labels[] = {
        {"Label1", "  X"}, {"Label2", "CNT"}, {"Label3", "  Y"}, {"Label4", "TIC"},
        {"Label5", "SCR"}, {"Label6", "NXT"}, {"Label7", "PRV"}, {"Label8", "Zoom"}};
    for (auto [name, caption] : labels) {
        auto* l = new QLabel(QString::fromLatin1(caption), this);
        l->setObjectName(QString::fromLatin1(name));
        l->setFont(stripFont());
        controls_[l->objectName()] = l;
    }
    // TightenL: what the last Tighten moved, under the readouts (set and
    // cleared by the alignment's handlers).
    auto* tightened = new QLabel(this);
    tightened->setObjectName(QStringLiteral("TightenL"));
    tightened->setWordWrap(true);
    tightened->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    tightened->setFont(stripFont());
    controls_[tightened->objectName()] = tightened;
    const std::pair<const char*, Field*> fields[] = {
        {"Text1", &f.Text1}, {"Text2", &f.Text2}, {"Text3", &f.Text3},   {"Text4", &f.Text4},
        {"Text7", &f.Text7}, {"Text9", &f.Text9}, {"Text10", &f.Text10}, {"ZoomThis", &f.ZoomThis}};
    for (auto [name, field] : fields) {
        auto* e = new QLineEdit(this);
        e->setObjectName(QString::fromLatin1(name));
        e->setFont(stripFont());
        subs_.push_back(bindLineEdit(*field, e, &s.messages));
        controls_[e->objectName()] = e;
        // After the field has the text (the binding connected first).
        const QString key = e->objectName();
        connect(e, &QLineEdit::textEdited, this, [this, key] {
            if (fieldTyped) guarded([&] { fieldTyped(key); });
        });
    }
    // Step additions to X, Y and SCR (edit mode).
    const std::tuple<const char*, Field*, const char*> additions[] = {
        {"Text5", &f.Text5, "Add to X"},
        {"Text6", &f.Text6, "Add to Y"},
        {"Text8", &f.Text8, "Add to SCR"}};
    for (auto [name, field, caption] : additions) {
        auto* e = new QLineEdit(this);
        e->setObjectName(QString::fromLatin1(name));
        e->setAccessibleName(QString::fromLatin1(caption));
        subs_.push_back(bindLineEdit(*field, e, &s.messages));
        controls_[e->objectName()] = e;
    }
    // The readouts and additions take keys only when clicked into: the keys
    // of an activated sheet window belong to its buttons.
    for (const char* name : {"Text1", "Text2", "Text3", "Text4", "Text7", "Text9", "Text10",
                             "ZoomThis", "Text5", "Text6", "Text8"})
        controls_.value(QString::fromLatin1(name))->setFocusPolicy(Qt::ClickFocus);
    auto* tick = new QCheckBox(this);
    tick->setObjectName(QStringLiteral("Tick"));
    tick->setToolTip(QStringLiteral("Play clicks when cursor jumps instead of the mp3"));
    subs_.push_back(bindCheckBox(f.Tick, tick, &s.messages));
    controls_[tick->objectName()] = tick;

    button("Command7", QStringLiteral("Edit"));
    button("Command13", QStringLiteral("Append"));
    button("Command9", QStringLiteral("Insert"));
    button("Command10", QStringLiteral("Delete"));
    button("JumpB", QStringLiteral("Jump"));
    button("AdjB", QStringLiteral("Adj"));
    button("AuditionB", QStringLiteral("Hear")); // the music around the tic, with a click
    button("ASCroll", QStringLiteral("ASC"));
    button("TightenB", QStringLiteral("Tighten")); // tics onto the music's onsets
    button("Command5", QStringLiteral("Step >"));
    button("Command8", QStringLiteral("Step <"));
    button("Command6", QStringLiteral("Manual Scroll"));
    button("Command3", QStringLiteral("Next PG"));
    button("Command4", QStringLiteral("Prev PG"));
    button("Command2", QStringLiteral("Record"));
    button("Command14", QStringLiteral("Auto Scroll"));
    button("Command12", QStringLiteral("Unlock"));
    button("Command15", QStringLiteral("Play"));
    button("Command11", QStringLiteral("Help"));
    button("Command1", QStringLiteral("Close"));
    button("Command16", QStringLiteral("M Play"));
    // Edit mode's history: shown in edit mode only.
    subs_.push_back(bindVisible(f.Shape2, button("UndoB", QStringLiteral("Undo"))));
    subs_.push_back(bindVisible(f.Shape2, button("RedoB", QStringLiteral("Redo"))));
    // Ctrl+Z, Ctrl+Shift+Z and Ctrl+Y; a field being typed in takes them
    // first for its own text.
    const std::pair<QKeySequence, const char*> keys[] = {
        {QKeySequence::Undo, "UndoB"},
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), "RedoB"},
        {QKeySequence(Qt::CTRL | Qt::Key_Y), "RedoB"}};
    for (const auto& [key, name] : keys) {
        auto* sc = new QShortcut(key, this);
        const QString target = QString::fromLatin1(name);
        connect(sc, &QShortcut::activated, this, [this, target] {
            if (auto h = handlers.value(target)) guarded(h);
        });
    }

    const QHash<QString, QString> lightNames = {{"Shape1", "Record light"},
                                                {"Shape2", "Edit light"},
                                                {"Shape3", "Lock light"},
                                                {"Shape4", "Append light"}};
    const std::pair<const char*, Light*> lights[] = {
        {"Shape1", &f.Shape1}, {"Shape2", &f.Shape2}, {"Shape3", &f.Shape3}, {"Shape4", &f.Shape4}};
    for (auto [name, light] : lights) {
        auto* w = new LightWidget(this);
        w->setObjectName(QString::fromLatin1(name));
        w->setAccessibleName(lightNames.value(QString::fromLatin1(name)));
        subs_.push_back(bindVisible(*light, w));
        controls_[w->objectName()] = w;
    }

    // What each control does, shown when the pointer rests on it.
    const std::pair<const char*, const char*> tips[] = {
        {"Command2", "Enter the record mode. Touch again to turn the red light off and exit and "
                     "save your recording"},
        {"Command7", "Enter edit mode. Click again to turn off the red light and save your "
                     "changes. Right click to exit without saving changes."},
        {"Command13", "Enter append mode (You must be the edit mode at the correct cursor start "
                      "position). Click again to turn off append"},
        {"Command5", "Step to the next cursor position if in the edit mode, Right click to go to "
                     "the next scroll"},
        {"Command8", "Step to the previous cursor position if in the edit mode. Right click to go "
                     "to previous scroll change"},
        {"Command9", "Insert one TIC with the same values as displayed. Step back and move the "
                     "cursor by draging it"},
        {"Command10", "Delete this tic"},
        {"AuditionB", "Hear the music around this tic, with a click at its time (key H)"},
        {"AdjB", "This will deduct half of the TIC value in this measure and add it to the next "
                 "measure"},
        {"JumpB", "Click to jump to the next page or section. Right click to go backwards"},
        {"Command3", "Jump to the next page"},
        {"Command4", "Jump to the Previous page"},
        {"Command6", "This will scroll the music down. The distance is changed in the setup "
                     "screen"},
        {"Command14", "Go into edit mode. place the cursor then touch play."},
        {"Text1", "This is the X position of the cusor. You can drag the cursor to a new position "
                  "if in the edit mode"},
        {"Text2", "This is the Y position of the cusor. You can drag the cursor to a new position "
                  "if in the edit mode"},
        {"Text3", "Roughly matches the measure if you are putting placing a cursor on beat one of "
                  "each measure"},
        {"Text4", "This is the number of miliseconds before the cursor will be placed at the X Y "
                  "position"},
        {"Text5", "If you want to change a series of X positions by the same value, In edit mode "
                  "this value will be added to the X position on each step."},
        {"Text6", "If you want to change a series of Y positions by the same value, In edit mode "
                  "this value will be added to the Y position on each step."},
        {"Text9", "True if the Next PG button was pressed at this tic"},
        {"Text10", "True if the Prev PG button was pressed at this tic"}};
    for (auto [name, tip] : tips)
        controls_.value(QString::fromLatin1(name))->setToolTip(QString::fromLatin1(tip));
    // The readouts are named by their labels; uncaptioned controls get a name and a tip.
    const std::pair<const char*, const char*> readouts[] = {
        {"Text1", "X"},   {"Text2", "Y"},   {"Text3", "CNT"},  {"Text4", "TIC"},
        {"Text7", "SCR"}, {"Text9", "NXT"}, {"Text10", "PRV"}, {"ZoomThis", "Zoom"}};
    for (auto [name, caption] : readouts)
        controls_.value(QString::fromLatin1(name))->setAccessibleName(QString::fromLatin1(caption));
    for (QWidget* w : std::as_const(controls_))
        if (!w->accessibleName().isEmpty()) nameControl(w, w->accessibleName());
    nameControl(controls_.value(QStringLiteral("Tick")), QStringLiteral("Tic sound"));

    // The page and scroll operations; the keys of the window itself, of
    // Command14 and of Command1 run them too.
    handlers[QStringLiteral("Command3")] = [&s] { Command3_Click(s); };
    handlers[QStringLiteral("Command4")] = [&s] { Command4_Click(s); };
    handlers[QStringLiteral("Command6")] = [&s] { Command6_Click(s); };
    handlers[QStringLiteral("Command14")] = [&s] { Command14_Click(s); };
    // "Help": the PDF help, which the help subsystem installs.
    handlers[QStringLiteral("Command11")] = [&s] {
        if (s.adobeF_Command11_Click) s.adobeF_Command11_Click();
    };
    QWidget* command14 = controls_.value(QStringLiteral("Command14"));
    for (QWidget* w : std::as_const(controls_))
        w->installEventFilter(this);
    f.focusCommand14 = [this] { takeKeys(); };
    // Where the focus lands whenever the window is activated, until the user
    // clicks elsewhere in it.
    command14->setFocus(Qt::OtherFocusReason);

    picture1_ = new CursorWidget(f.Picture1, this);
    picture1_->setMouseTracking(true); // a move over the cursor counts, button or not
    for (QWidget* w : {picture3_, acroPDF1_, picture1_})
        w->installEventFilter(this);
    CursorPicture& c = f.Picture1;
    for (Notifier* n : std::initializer_list<Notifier*>{&c.Left, &c.Top, &c.Height, &c.Red})
        subs_.push_back(n->subscribe([this] { placeCursor(); }));
    subs_.push_back(bindVisible(c.Visible, picture1_));
    subs_.push_back(c.Raised.subscribe([this] { picture1_->raise(); }));
    subs_.push_back(c.Repainted.subscribe([this] { picture1_->update(); }));

    // Left offset of the sheet: carrier and viewer both move.
    subs_.push_back(f.Picture3Left.subscribe([this] { placeCarrier(); }));
    subs_.push_back(f.Picture3Height.subscribe(
        [this, &f] { picture3_->resize(picture3_->width(), px(f.Picture3Height.get())); }));
    subs_.push_back(f.AcroPDF1Height.subscribe(
        [this, &f] { acroPDF1_->resize(acroPDF1_->width(), px(f.AcroPDF1Height.get())); }));
    auto placeBar = [this, &f] {
        vscroll1_->setGeometry(px(stripLeft()), px(f.VScroll1Top.get()), px(240),
                               px(f.VScroll1Height.get()));
    };
    subs_.push_back(f.VScroll1Top.subscribe(placeBar));
    subs_.push_back(f.VScroll1Height.subscribe(placeBar));
    subs_.push_back(bindVisible(f.Visible, this));
    // The window's size follows the setup's PDF Width and PDF Height.
    subs_.push_back(s.velmor.PDFHeight.subscribe(
        [this, &s] { fitSize(width() * 15.0, s.velmor.PDFHeight.value()); }));
    subs_.push_back(s.velmor.PDFWidth.subscribe([this, &s] {
        fitSize(s.velmor.PDFWidth.value(), height() * 15.0);
        s.adobeF.Width.set(s.velmor.PDFWidth.value());
    }));

    s.g.ButtonStripLeft = f.VScroll1Left.get();
    picture3_->setProperty("mvClipped", true); // the sheet: larger than its window
    fitSize(s.velmor.PDFWidth.value(), s.velmor.PDFHeight.value());
    f.Width.set(s.velmor.PDFWidth.value());
    place(picture3_, 0, 0, 14310, 12455);
    place(acroPDF1_, 0, 0, 14745, 12450);
    AdjustAll();
    placeCarrier();
    placeCursor();
    picture1_->raise();
    installPedalKeys(s, this);
    feedInputClock(s, this);
}

SheetWindow::~SheetWindow() {
    s_.adobeF.focusCommand14 = nullptr;
    // The viewer goes with the window ("Load pdf" turned off unloads it):
    // song loading and play start must not reach it afterwards.
    if (dynamic_cast<QWidget*>(s_.adobeF.AcroPDF1) == acroPDF1_) s_.adobeF.AcroPDF1 = nullptr;
}

bool SheetWindow::eventFilter(QObject* watched, QEvent* e) {
    auto* widget = qobject_cast<QWidget*>(watched);
    const QString name = watched->objectName();
    switch (e->type()) {
    case QEvent::KeyPress: {
        // The keys of the window reach its Command14, Command1 and JumpB too.
        if (name != u"Command14" && name != u"Command1" && name != u"JumpB") break;
        const QString t = static_cast<QKeyEvent*>(e)->text();
        bool taken = false;
        if (t.size() == 1) guarded([&] { taken = sheetKeyPress(s_, t[0]); });
        if (taken) return true;
        break;
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: // a quick second press is a press all the same
    case QEvent::MouseButtonRelease:
    case QEvent::MouseMove: {
        auto* m = static_cast<QMouseEvent*>(e);
        if (widget == picture3_ || widget == acroPDF1_ || widget == picture1_)
            return sheetMouse(widget, m);
        if (e->type() != QEvent::MouseButtonPress && e->type() != QEvent::MouseButtonDblClick)
            break;
        const int b = m->button() == Qt::LeftButton ? 1 : m->button() == Qt::RightButton ? 2 : 4;
        if (name == u"JumpB") {
            guarded([&] { JumpB_MouseDown(s_, b); });
            return true;
        }
        if (auto h = pressHandlers.value(name)) {
            guarded([&] { h(b); });
            return true;
        }
        break;
    }
    default: break;
    }
    return QWidget::eventFilter(watched, e);
}

bool SheetWindow::sheetMouse(QWidget* watched, QMouseEvent* e) {
    // Screen pixels as the recorder counts them: the window's own place plus
    // the place inside it, so that X and Y come out relative to the window.
    const QPoint in = watched->mapTo(this, e->position().toPoint());
    const double x = s_.adobeF.Left / 15 + in.x(), y = s_.adobeF.Top / 15 + in.y();
    SheetPresses& p = s_.adobeF.presses;
    switch (e->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        // The press's own moment, not the handling's: a busy GUI must not
        // make the tic late.  A virtual clock has nothing to do with the
        // window system's, so there the handling tick stands.
        if (e->button() == Qt::LeftButton)
            p.press(
                x, y,
                s_.inputTime.toTick(s_.clock.isVirtual() ? 0 : e->timestamp(), s_.clock.tickMs()));
        return true; // the sheet takes its clicks; the window's surface does not see them
    case QEvent::MouseButtonRelease:
        if (e->button() == Qt::LeftButton) p.release();
        if (watched == picture1_ && cursorReleased) guarded(cursorReleased);
        return true;
    case QEvent::MouseMove:
        if (watched == picture1_ && cursorMoved)
            guarded([&] { cursorMoved(e->buttons() & Qt::LeftButton, x, y); });
        return watched == picture1_;
    default: return false;
    }
}

// The window's free surface: any press starts a width drag (a left press
// also gives the main window the focus); moving with the right button held
// puts the strip's anchor under the mouse.
void SheetWindow::mousePressEvent(QMouseEvent* e) {
    widthDragging_ = kTrue;
    if (e->button() == Qt::LeftButton && s_.focusMainWindow) s_.focusMainWindow();
}

void SheetWindow::mouseMoveEvent(QMouseEvent* e) {
    if (!(e->buttons() & Qt::RightButton) || !widthDragging_) return;
    s_.adobeF.VScroll1Left.set(e->position().x() * 15 - 100);
    s_.g.ButtonStripLeft = s_.adobeF.VScroll1Left.get();
    AdjustAll();
}

void SheetWindow::mouseReleaseEvent(QMouseEvent*) { widthDragging_ = 0; }

void SheetWindow::keyPressEvent(QKeyEvent* e) {
    bool taken = false;
    if (e->text().size() == 1) guarded([&] { taken = sheetKeyPress(s_, e->text()[0]); });
    // H is Hear; a focused readout field takes its letters before this.
    if (!taken && e->key() == Qt::Key_H && !e->isAutoRepeat())
        if (auto h = handlers.value(QStringLiteral("AuditionB"))) {
            guarded(h);
            taken = true;
        }
    if (!taken) QWidget::keyPressEvent(e);
}

void SheetWindow::takeKeys() { giveKeys(s_, this, controls_.value(QStringLiteral("Command14"))); }

void SheetWindow::guarded(const std::function<void()>& handler) {
    runGuarded(s_.messages, handler);
}

// Closing the window keeps its place in "AdobeFx.ini" at once.
void SheetWindow::closeEvent(QCloseEvent* e) {
    s_.adobeF.Visible.set(false);
    guarded([this] { writeAdobeFx(s_); });
    QWidget::closeEvent(e);
}

// The window's place on the screen (its frame's top left), for the
// recorder's frame and for "AdobeFx.ini".
void SheetWindow::moveEvent(QMoveEvent* e) {
    // A stored value within the pixel the window stands on stays as it is.
    if (windowPlaceKnown()) {
        if (x() != px(s_.adobeF.Left)) s_.adobeF.Left = x() * 15.0;
        if (y() != px(s_.adobeF.Top)) s_.adobeF.Top = y() * 15.0;
    }
    QWidget::moveEvent(e);
}

// The window's outer height, which the button panel and the overlay follow.
void SheetWindow::resizeEvent(QResizeEvent* e) {
    s_.adobeF.Height = frameGeometry().height() * 15.0;
    placeBottomStrip();
    QWidget::resizeEvent(e);
}

void SheetWindow::setOuterPlace(const TwipRect& r) {
    // The frame's share: known once the window manager has framed the
    // window; before, room for a title bar is kept.
    const QRect frame = frameGeometry();
    const bool framed = isVisible() && frame.height() > height();
    const int dw = framed ? frame.width() - width() : 0;
    const int dh = framed ? frame.height() - height() : 30;
    move(px(r.left), px(r.top));
    resize(std::max(1, px(r.width) - dw), std::max(1, px(r.height) - dh));
    AdjustAll(); // the strip follows the room the screen has here
}

void SheetWindow::placeOnScreen(bool placeFileRead) {
    QScreen* sc = screen();
    if (!sc) return;
    const TwipRect avail = twipsOf(sc->availableGeometry());
    const TwipRect r = sheetOnePlace(s_, placeFileRead, avail);
    setOuterPlace(r);
    // Once framed, the frame is taken off the size so that all of the
    // window stays on the screen.  A stored place is where the frame goes
    // (a move made before the frame was known lands it a border's width off,
    // and the next start would read that place back); a first place is
    // beside the main window, whose frame is known by now.
    QTimer::singleShot(300, this, [this, avail, r, placeFileRead] {
        if (QScreen* now = screen()) {
            const TwipRect room = twipsOf(now->availableGeometry());
            // The stored place as it was asked for: the size the window
            // got before its frame was known overshoots by the frame.
            const TwipRect want = placeFileRead ? r : sheetOnePlace(s_, false, room);
            setOuterPlace(fitInto(want, room));
        } else {
            setOuterPlace(avail);
        }
    });
}

void SheetWindow::fitSize(double widthTwips, double heightTwips) {
    const QScreen* sc = screen();
    if (!sc) return resize(px(widthTwips), px(heightTwips));
    const QRect avail = sc->availableGeometry();
    const QRect frame = frameGeometry();
    const int dw = std::max(0, frame.width() - width());
    const int dh = std::max(0, frame.height() - height());
    resize(std::min(px(widthTwips), avail.width() - dw),
           std::min(px(heightTwips), avail.height() - dh));
}

QPushButton* SheetWindow::button(const char* name, const QString& caption) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(QString::fromLatin1(name));
    b->setFont(stripFont());
    const QString key = b->objectName();
    connect(b, &QPushButton::clicked, this, [this, key] {
        if (auto h = handlers.value(key)) guarded(h);
    });
    controls_[key] = b;
    return b;
}

void SheetWindow::place(QWidget* w, double left, double top, double width, double height) {
    placeTwips(w, left, top, width, height);
    // A caption wider than its place at today's fonts widens the control.
    if (const int needs = captionWidth(w); needs > w->width())
        w->resize(needs + (w->width() - w->contentsRect().width()), w->height());
}

double SheetWindow::scrollBarLeft() const { return s_.adobeF.VScroll1Left.get(); }

void SheetWindow::setScrollBarLeft(double twips) {
    s_.adobeF.VScroll1Left.set(twips);
    AdjustAll();
}

void SheetWindow::placeCarrier() {
    // The carrier's top is minus V; the viewer sits at the same left offset
    // inside it, so the sheet moves by twice the offset.
    const int v = s_.adobeF.VScroll1.get();
    const double left = s_.adobeF.Picture3Left.get();
    picture3_->move(px(left), px(-double(v)));
    acroPDF1_->move(px(left), acroPDF1_->y());
}

void SheetWindow::placeCursor() {
    const CursorPicture& c = s_.adobeF.Picture1;
    picture1_->setGeometry(px(c.Left.get()), px(c.Top.get()), px(CursorPicture::kWidth),
                           px(c.Height.get()));
    picture1_->update();
}

double SheetWindow::stripLeft() const {
    const double L = s_.adobeF.VScroll1Left.get();
    const QScreen* sc = screen();
    if (!sc || L < 1000) return L;
    // The strip moves left when the screen has no room for it where the
    // map puts it: the window never reaches past the screen's right edge.
    const QRect avail = sc->availableGeometry();
    const int share = std::max(0, frameGeometry().width() - width());
    const double room = (avail.right() + 1 - frameGeometry().left() - share) * 15.0;
    return std::max(1000.0, std::min(L, room - kStripWidth));
}

void SheetWindow::AdjustAll() {
    const double L = stripLeft();
    place(vscroll1_, L, s_.adobeF.VScroll1Top.get(), 240, s_.adobeF.VScroll1Height.get());
    vscroll1_->raise();
    if (L < 1000) return;
    auto c = [this](const char* n) { return controls_.value(QString::fromLatin1(n)); };
    auto left = [&](const char* n) { return c(n)->x() * 15.0; };
    auto right = [&](const char* n) { return (c(n)->x() + c(n)->width()) * 15.0; };
    picture3_->resize(px(L - 50), picture3_->height());
    acroPDF1_->resize(px(L - 50), acroPDF1_->height());
    place(c("Command7"), L + 510, 120, 735, 315);
    place(c("Command13"), L + 510, 480, 735, 315);
    place(c("Command9"), L + 310, 840, 735, 315);
    place(c("Command10"), left("Command9") + 810, 840, 735, 315);
    place(c("Shape2"), left("Command7") + 840, 120, 255, 255);
    place(c("Shape4"), left("Command7") + 840, 480, 255, 255);
    const double labelTops[] = {2340, 1650, 2760, 2040, 3120, 3480, 3840};
    for (int i = 0; i < 7; ++i)
        place(c(QStringLiteral("Label%1").arg(i + 1).toLatin1().constData()), L + 384, labelTops[i],
              360, 255);
    const double fieldLeft = left("Label1") + 360;
    // X, Y and SCR hold numbers like " 2496.41 ": as wide as CNT and TIC.
    place(c("Text1"), fieldLeft, 2280, 855, 375);
    place(c("ZoomThis"), left("Text1"), 1200, 855, 405);
    // "Zoom" ends where its field begins.
    place(c("Label8"), left("ZoomThis") - 460, 1250, 460, 255);
    place(c("Text3"), fieldLeft, 1600, 855, 285);
    place(c("Text4"), fieldLeft, 1920, 855, 375);
    place(c("JumpB"), left("Label8"), 4800, 615, 270);
    place(c("AdjB"), right("JumpB"), 4800, 495, 270);
    place(c("ASCroll"), right("AdjB"), 4800, 495, 270);
    // The added rows below Jump, Adj and ASC; every control under them
    // moves down by their height.
    double top = 5100;
    for (const auto& row : kAddedRows) {
        double at = left("JumpB");
        for (const char* name : row) {
            place(c(name), at, top, 495, 270);
            at = right(name);
        }
        top += kAddedRowPitch;
    }
    const double down = top - 5100;
    place(c("Tick"), right("Text4"), 1920, 375, 375);
    place(c("Text7"), fieldLeft, 3000, 855, 375);
    place(c("Text9"), fieldLeft, 3360, 855, 375);
    place(c("Text10"), fieldLeft, 3720, 855, 375);
    place(c("Text2"), fieldLeft, 2640, 855, 375);
    place(c("Text5"), left("Text1") + 870, 2280, 495, 375);
    place(c("Text6"), left("Text1") + 870, 2640, 495, 375);
    place(c("Text8"), left("Text1") + 870, 3000, 495, 375);
    place(c("Command5"), left("Text10"), 4080, 855, 255);
    place(c("Command8"), left("Text10"), 4440, 855, 255);
    place(c("UndoB"), right("Command5") + 30, 4080, 570, 255);
    place(c("RedoB"), right("Command8") + 30, 4440, 570, 255);
    place(c("Command6"), left("Label7"), 5160 + down, 1335, 735);
    place(c("Command3"), left("Label7"), 6000 + down, 1335, 615);
    place(c("Command4"), left("Label7"), 6720 + down, 1335, 615);
    place(c("Command2"), left("Command7"), 7920 + down, 735, 255);
    place(c("Command14"), left("Command4"), 7440 + down, 1335, 375);
    place(c("Command12"), left("Command7"), 8280 + down, 735, 255);
    place(c("Command15"), left("Command7") - 200, 8640 + down, 735, 255);
    place(c("Command11"), left("Command7") - 200, 9000 + down, 735, 255);
    place(c("Command1"), left("Text1") + 380, 9000 + down, 735, 255);
    place(c("Command16"), left("Command1"), 8640 + down, 735, 255);
    place(c("TightenL"), L + 280, 9360 + down, kStripWidth - 300, 660);
    place(c("Shape1"), left("Shape2"), 7920 + down, 255, 255);
    place(c("Shape3"), left("Shape2"), 8280 + down, 255, 255);
    if (width() != px(L + kStripWidth)) resize(px(L + kStripWidth), height());
    s_.adobeF.Width.set(L + kStripWidth);
    for (QWidget* w : std::as_const(controls_))
        w->raise();
    picture1_->raise();
    placeBottomStrip();
}

void SheetWindow::setBottomStrip(QWidget* strip) {
    bottom_ = strip;
    placeBottomStrip();
}

void SheetWindow::placeBottomStrip() {
    if (!bottom_) return;
    // The setting's height, kept between 40 pixels and half the window.
    const int h = std::clamp(int(s_.adobeF.WaveHeight.value()), 40, std::max(40, height() / 2));
    bottom_->setGeometry(0, height() - h, std::max(1, vscroll1_->x()), h);
    bottom_->raise();
}

} // namespace mv
