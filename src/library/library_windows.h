#pragma once
// The library's windows.  Each is its named controls, their layout and thin
// handlers over the logic of play_list.h and print_index.h; the state they
// show lives in Session::playLst and Library.
//   PlayLst   the play list: List1, CloseSelect, CloseDelete, DelItem,
//             menus File (SV "Save", LD "Load", XX "Exit"), ST "Setup",
//             HP "Help"; Command1 "Close", Command2 "Clear All".
//   Dirx      the set chooser: Drive1, Dir1, File1, Filetype, Command2
//             "Go F2", Command1 "Close".  Escape closes it; F2 acts as
//             "Go F2".
//   IndexForm the index: Text1, Command1 "Close", Command2 "Print",
//             Command3 "Export PDF".

#include "core/messages.h"
#include "library/library.h"

#include <QWidget>

class QListWidget;

namespace mv {

// What the three windows share: the session and library their handlers work
// on, the field subscriptions that live as long as the window, and
// `guarded`, which runs a handler and shows a failure as a message.
class LibraryWindow : public QWidget {
  public:
    LibraryWindow(Session& s, Library& lib) : s_(s), lib_(lib) {}

  protected:
    void guarded(const std::function<void()>& fn);
    Session& s_;
    Library& lib_;
    std::vector<Subscription> subs_;
};

class PlayLstWindow : public LibraryWindow {
    Q_OBJECT
  public:
    PlayLstWindow(Session& s, Library& lib);

  protected:
    bool eventFilter(QObject* watched, QEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

  private:
    QListWidget* list1_ = nullptr;
};

class DirxWindow : public LibraryWindow {
    Q_OBJECT
  public:
    DirxWindow(Session& s, Library& lib);

  protected:
    bool eventFilter(QObject* watched, QEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void changeEvent(QEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
};

class IndexFormWindow : public LibraryWindow {
    Q_OBJECT
  public:
    IndexFormWindow(Session& s, Library& lib);

  protected:
    void closeEvent(QCloseEvent* e) override;
};

// Real printing: the system's print dialog (CUPS printers and "print to
// file") and a save-file box for the PDF.
class QtIndexPrinting final : public IndexPrinting {
  public:
    bool choosePrinter(QPrinter& printer) override;
    std::optional<QString> pdfFileName(const QString& suggested) override;
};

// Printing for unattended runs: the printer's name (or a file name ending
// in ".pdf", which prints to that file) and the PDF's name are asked in
// input boxes, which the action script answers.
class AskedIndexPrinting final : public IndexPrinting {
  public:
    explicit AskedIndexPrinting(Messages& m) : m_(m) {}
    bool choosePrinter(QPrinter& printer) override;
    std::optional<QString> pdfFileName(const QString& suggested) override;

  private:
    Messages& m_;
};

// Defines PlayLst, Dirx and IndexForm in the session's registry; each is
// shown and hidden with its Visible state.
void installLibraryWindows(Session& s, Library& lib);

} // namespace mv
