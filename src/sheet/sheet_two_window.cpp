#include "sheet/sheet_two_window.h"

#include "core/fit_check.h"
#include "core/messages.h"
#include "core/qt_bind.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "sheet/navigation.h"
#include "sheet/pedal_keys.h"
#include "sheet/sheet_widgets.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QWindow>
#include <algorithm>

namespace mv {

namespace {

ScreenRef refOf(QScreen* sc) {
    const QList<QScreen*> all = QGuiApplication::screens();
    return {sc->name(), int(all.indexOf(sc)), sc->size().width(), sc->size().height()};
}

QList<ScreenRef> allScreens() {
    QList<ScreenRef> out;
    for (QScreen* sc : QGuiApplication::screens())
        out << refOf(sc);
    return out;
}

} // namespace

SheetTwoWindow::SheetTwoWindow(Session& s, QWidget* viewer, QWidget* parent)
    : QWidget(parent), s_(s) {
    setObjectName(QStringLiteral("AdobeF2"));
    setWindowTitle(QStringLiteral("Sheet 2"));
    SheetTwoState& w = s.adobeF2;

    const SheetLayers layers = makeSheetLayers(this, viewer, w.Text11.text(), 5760, 1920);
    picture3_ = layers.picture3;
    picture3_->setProperty("mvClipped", true); // the sheet: larger than its window
    acroPDF1_ = layers.acroPDF1;
    text11_ = layers.text11;
    subs_.push_back(w.Text11.subscribe([this, &w] { text11_->setText(w.Text11.text()); }));
    subs_.push_back(bindVisible(w.Text11Visible, text11_));

    vscroll1_ = new QScrollBar(Qt::Vertical, this);
    vscroll1_->setObjectName(QStringLiteral("VScroll1"));
    vscroll1_->setRange(w.VScroll1.min(), w.VScroll1.max());
    vscroll1_->setValue(w.VScroll1.get());
    vscroll1_->setTracking(false);
    nameControl(vscroll1_, QStringLiteral("Sheet scroll position"));
    connect(vscroll1_, &QScrollBar::valueChanged, this,
            [this, &w](int v) { guarded([&] { w.VScroll1.set(v); }); });
    subs_.push_back(w.VScroll1.subscribe([this, &w] {
        if (vscroll1_->value() != w.VScroll1.get()) vscroll1_->setValue(w.VScroll1.get());
        placeLayers();
    }));

    // The strip, placed from the anchor (left of VScroll1) by these offsets.
    auto add = [this](QWidget* c, const char* name, double dx, double top) {
        c->setObjectName(QString::fromLatin1(name));
        c->setFont(stripFont());
        strip_ << c;
        stripPlace_.emplace_back(dx, top);
    };
    const std::tuple<const char*, const char*, double, double> labels[] = {
        {"Label1", "Page", 300, 120},       {"Label2", "Cursor Adj", 300, 840},
        {"Label3", "Top", 300, 1200},       {"Label4", "Left", 300, 1620},
        {"Label5", "PDF", 300, 2400},       {"Label6", "Offset", 300, 2820},
        {"Label7", "Adjust PDF", 300, 3360}};
    for (auto [name, caption, dx, top] : labels)
        add(new QLabel(QString::fromLatin1(caption), this), name, dx, top);
    const std::tuple<const char*, Field*, double, double, const char*> fields[] = {
        {"PageNR", &w.PageNR, 300, 420, "Page"},
        {"ScrollOffset", &w.ScrollOffset, 960, 1140, "Cursor top adjustment"},
        {"AdjLeft", &w.AdjLeft, 960, 1560, "Cursor left adjustment"},
        {"PDFTop", &w.PDFTop, 960, 2340, "PDF top adjustment"},
        {"PDFOffset", &w.PDFOffset, 960, 2760, "PDF offset adjustment"}};
    for (auto [name, field, dx, top, caption] : fields) {
        auto* e = new QLineEdit(this);
        nameControl(e, QString::fromLatin1(caption));
        e->setFocusPolicy(Qt::ClickFocus); // the window's keys are the sheet's
        subs_.push_back(bindLineEdit(*field, e, &s.messages));
        add(e, name, dx, top);
    }
    vscroll2_ = new QScrollBar(Qt::Vertical, this);
    vscroll2_->setRange(w.VScroll2.min(), w.VScroll2.max());
    vscroll2_->setValue(w.VScroll2.get());
    connect(vscroll2_, &QScrollBar::valueChanged, this,
            [this, &w](int v) { guarded([&] { w.VScroll2.set(v); }); });
    subs_.push_back(w.VScroll2.subscribe([this, &w] {
        if (vscroll2_->value() != w.VScroll2.get()) vscroll2_->setValue(w.VScroll2.get());
    }));
    nameControl(vscroll2_, QStringLiteral("Adjust PDF"));
    add(vscroll2_, "VScroll2", 600, 3660);
    auto* close = new QPushButton(QStringLiteral("CLOSE"), this);
    close->setFocusPolicy(Qt::ClickFocus); // a space bar must not close it
    connect(close, &QPushButton::clicked, this, [this] { QWidget::close(); });
    add(close, "Command1", 300, 7320);

    picture1_ = new CursorWidget(w.Picture1, this);
    CursorPicture& c = w.Picture1;
    for (Notifier* n : std::initializer_list<Notifier*>{&c.Left, &c.Top, &c.Height, &c.Red})
        subs_.push_back(n->subscribe([this] { placeCursor(); }));
    subs_.push_back(bindVisible(c.Visible, picture1_));
    subs_.push_back(c.Raised.subscribe([this] { picture1_->raise(); }));
    subs_.push_back(c.Repainted.subscribe([this] { picture1_->update(); }));

    for (Notifier* n :
         std::initializer_list<Notifier*>{&w.Picture3Width, &w.Picture3Height, &w.AcroPDF1Left,
                                          &w.AcroPDF1Top, &w.AcroPDF1Width, &w.AcroPDF1Height})
        subs_.push_back(n->subscribe([this] { placeLayers(); }));
    subs_.push_back(w.VScroll1Left.subscribe([this] { layoutStrip(); }));
    subs_.push_back(w.VScroll1Top.subscribe([this] { layoutStrip(); }));
    subs_.push_back(w.VScroll1Height.subscribe([this] { layoutStrip(); }));
    subs_.push_back(w.Width.subscribe([this, &w] { resize(px(w.Width.get()), height()); }));
    subs_.push_back(bindVisible(w.Visible, this));

    connect(qApp, &QGuiApplication::screenRemoved, this, &SheetTwoWindow::screenRemoved);
    connect(qApp, &QGuiApplication::screenAdded, this, &SheetTwoWindow::screenAdded);

    resize(px(w.Width.get()), px(w.Height > 0 ? w.Height : s.screenHeight - 1000));
    placeLayers();
    layoutStrip();
    placeCursor();
    installPedalKeys(s, this);
}

SheetTwoWindow::~SheetTwoWindow() = default;

void SheetTwoWindow::guarded(const std::function<void()>& handler) {
    runGuarded(s_.messages, handler);
}

void SheetTwoWindow::placeLayers() {
    const SheetTwoState& w = s_.adobeF2;
    picture3_->setGeometry(0, px(-double(w.VScroll1.get())), px(w.Picture3Width.get()),
                           px(w.Picture3Height.get()));
    placeTwips(acroPDF1_, w.AcroPDF1Left.get(), w.AcroPDF1Top.get(), w.AcroPDF1Width.get(),
               w.AcroPDF1Height.get());
}

void SheetTwoWindow::layoutStrip() {
    const SheetTwoState& w = s_.adobeF2;
    // The strip moves left when the window is narrower than the map's
    // strip place needs: it stays whole inside the window, a margin short
    // of its right edge.
    // Labels as wide as their captions (those beside a field end before
    // it), buttons too and at least 1200 twips, fields 735.
    auto widthOf = [this](int i) {
        if (strip_[i] == vscroll2_) return 255.0;
        const double caption = captionWidth(strip_[i]) * 15.0;
        if (qobject_cast<QLabel*>(strip_[i])) return caption;
        return qobject_cast<QPushButton*>(strip_[i]) ? std::max(1200.0, caption) : 735.0;
    };
    double extent = 255;
    for (int i = 0; i < strip_.size(); ++i)
        extent = std::max(extent, stripPlace_[i].first + widthOf(i));
    constexpr double margin = 60;
    const double L =
        std::max(1000.0, std::min(w.VScroll1Left.get(), width() * 15.0 - extent - margin));
    placeTwips(vscroll1_, L, w.VScroll1Top.get(), 240, w.VScroll1Height.get());
    for (int i = 0; i < strip_.size(); ++i) {
        const bool bar = strip_[i] == vscroll2_;
        placeTwips(strip_[i], L + stripPlace_[i].first, stripPlace_[i].second, widthOf(i),
                   bar ? 3495 : 315);
        strip_[i]->raise();
    }
    picture1_->raise();
}

void SheetTwoWindow::placeCursor() {
    const CursorPicture& c = s_.adobeF2.Picture1;
    picture1_->setGeometry(px(c.Left.get()), px(c.Top.get()), px(CursorPicture::kWidth),
                           px(c.Height.get()));
    picture1_->update();
}

// The free surface: a press of any button starts a drag; a move with the
// right button held widens or narrows the sheet by the distance moved.
void SheetTwoWindow::mousePressEvent(QMouseEvent* e) {
    guarded([&] { sheetTwoPress(s_, e->position().x() * 15); });
}

void SheetTwoWindow::mouseMoveEvent(QMouseEvent* e) {
    if (e->buttons() & Qt::RightButton)
        guarded([&] { sheetTwoAdjustAll(s_, e->position().x() * 15); });
}

void SheetTwoWindow::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_F11) {
        setWindowState(windowState() ^ Qt::WindowFullScreen);
        return;
    }
    if (e->key() == Qt::Key_F12) {
        const int n = int(QGuiApplication::screens().size());
        if (n > 1) moveToScreen((std::max(0, screenIndex()) + 1) % n);
        return;
    }
    bool taken = false;
    if (e->text().size() == 1) guarded([&] { taken = sheetKeyPress(s_, e->text()[0]); });
    if (!taken) QWidget::keyPressEvent(e);
}

// Unloading keeps "AdobeF2.ini" and the screen.
void SheetTwoWindow::closeEvent(QCloseEvent* e) {
    s_.adobeF2.Visible.set(false);
    guarded([this] {
        writeAdobeF2(s_);
        if (!remembered_.name.isEmpty()) writeSheetTwoScreen(s_, remembered_);
    });
    QWidget::closeEvent(e);
}

void SheetTwoWindow::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    // The frame is known a moment after the showing; a window placed
    // before it is fitted again with it.
    QTimer::singleShot(300, this, [this] { refitFrame(); });
}

void SheetTwoWindow::refitFrame() {
    const QScreen* now = windowHandle() ? windowHandle()->screen() : screen();
    if (!now || isFullScreen() || !isVisible()) return;
    const QRect avail = now->availableGeometry();
    if (avail.contains(frameGeometry())) return;
    refitting_ = true;
    setOuterPlace(fitInto(twipsOf(frameGeometry()), twipsOf(avail)));
    refitting_ = false;
}

void SheetTwoWindow::moveEvent(QMoveEvent* e) {
    if (!isFullScreen()) {
        s_.adobeF2.Left = x() * 15.0;
        s_.adobeF2.Top = y() * 15.0;
    }
    QWidget::moveEvent(e);
    // A frame that arrives late (a busy window manager) may push the window
    // past the screen's edge: it is fitted again then.
    const QScreen* sc = windowHandle() ? windowHandle()->screen() : screen();
    if (isVisible() && !isFullScreen() && sc && !sc->availableGeometry().contains(frameGeometry()))
        QTimer::singleShot(0, this, [this] { refitFrame(); });
}

// The height "AdobeF2.ini" judges the top by: the window as it stands.
void SheetTwoWindow::resizeEvent(QResizeEvent* e) {
    if (!isFullScreen()) s_.adobeF2.Height = frameGeometry().height() * 15.0;
    QWidget::resizeEvent(e);
    if (!strip_.isEmpty()) layoutStrip();
}

int SheetTwoWindow::screenIndex() const {
    QScreen* sc = windowHandle() ? windowHandle()->screen() : screen();
    return sc ? int(QGuiApplication::screens().indexOf(sc)) : -1;
}

namespace {

// The frame's share of a window: known once the window manager framed it;
// before, room for a title bar.
QSize frameShare(const QWidget* w) {
    const QRect frame = w->frameGeometry();
    const bool framed = w->isVisible() && frame.height() > w->height();
    return framed ? frame.size() - w->size() : QSize(0, 30);
}

} // namespace

void SheetTwoWindow::setOuterPlace(const TwipRect& r) {
    const QSize share = frameShare(this);
    move(px(r.left), px(r.top));
    resize(std::max(1, px(r.width) - share.width()), std::max(1, px(r.height) - share.height()));
    // Once framed, the frame is taken off the size so that all of the
    // window stays on the screen.
    if (refitting_) return;
    QTimer::singleShot(300, this, [this] {
        const QScreen* sc = windowHandle() ? windowHandle()->screen() : screen();
        if (!sc || isFullScreen()) return;
        refitting_ = true;
        setOuterPlace(fitInto(twipsOf(frameGeometry()), twipsOf(sc->availableGeometry())));
        refitting_ = false;
    });
}

void SheetTwoWindow::fitIntoScreen(QScreen* sc) {
    // The stored place is the frame's; the whole frame stays on the screen.
    const SheetTwoState& w = s_.adobeF2;
    const QSize share = frameShare(this);
    const TwipRect want{w.Left, w.Top, (width() + share.width()) * 15.0,
                        (height() + share.height()) * 15.0};
    setOuterPlace(fitInto(want, twipsOf(sc->availableGeometry())));
}

void SheetTwoWindow::standBeside(const std::vector<TwipRect>& taken, const TwipRect& cover) {
    if (QGuiApplication::screens().size() != 1) return;
    const TwipRect screen = twipsOf(QGuiApplication::primaryScreen()->availableGeometry());
    const TwipRect now = twipsOf(frameGeometry());
    const QSize share = frameShare(this);
    const TwipRect here{now.left, now.top, (width() + share.width()) * 15.0,
                        (height() + share.height()) * 15.0};
    auto overlaps = [&here](const TwipRect& t) {
        return std::min(here.right(), t.right()) > std::max(here.left, t.left) &&
               std::min(here.bottom(), t.bottom()) > std::max(here.top, t.top);
    };
    if (std::none_of(taken.begin(), taken.end(), overlaps)) return;
    setOuterPlace(placeBeside(here.width, screen.height, screen, taken, screen.width / 4, cover));
}

void SheetTwoWindow::placeOnScreen() {
    const QList<QScreen*> all = QGuiApplication::screens();
    if (all.isEmpty()) return;
    remembered_ = readSheetTwoScreen(s_);
    const int i = chooseScreen(remembered_, allScreens());
    QScreen* target = i >= 0 ? all[i] : QGuiApplication::primaryScreen();
    if (remembered_.name.isEmpty()) remembered_ = refOf(target);
    setScreen(target);
    fitIntoScreen(target);
    create();
    // Dragged onto another monitor of the same desktop: that one is the
    // user's choice now; a move the system made when a screen went away is
    // not.
    connect(windowHandle(), &QWindow::screenChanged, this, [this](QScreen* sc) {
        if (systemMove_ || !sc) return;
        remembered_ = refOf(sc);
    });
}

void SheetTwoWindow::moveToScreen(int index) {
    const QList<QScreen*> all = QGuiApplication::screens();
    if (index < 0 || index >= all.size()) return;
    remembered_ = refOf(all[index]);
    const bool shown = isVisible();
    const bool full = isFullScreen();
    // A window moves to another X screen only by being made anew there.
    if (shown) hide();
    setScreen(all[index]);
    if (windowHandle()) windowHandle()->setScreen(all[index]);
    fitIntoScreen(all[index]);
    if (shown) full ? showFullScreen() : show();
}

void SheetTwoWindow::screenRemoved(QScreen* sc) {
    if (screen() != sc && (!windowHandle() || windowHandle()->screen() != sc)) return;
    // The system moves the window; we keep it whole on the screen it lands
    // on, and keep remembering the one the user chose.
    QScreen* primary = QGuiApplication::primaryScreen();
    if (!primary || primary == sc) return;
    systemMove_ = true;
    const bool shown = isVisible();
    if (shown) hide();
    setScreen(primary);
    fitIntoScreen(primary);
    if (shown) show();
    systemMove_ = false;
}

void SheetTwoWindow::screenAdded(QScreen* sc) {
    const QList<QScreen*> all = QGuiApplication::screens();
    const int i = chooseScreen(remembered_, allScreens());
    if (i >= 0 && all[i] == sc && screenIndex() != i) moveToScreen(i);
}

} // namespace mv
