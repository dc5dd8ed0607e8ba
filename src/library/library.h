#pragma once
// The song library beyond the list itself: random choice and the played
// list, Z marking, the play list with its saved sets, the printed index.
// The main window's buttons reach it through the Session hooks
// Command3_Click ... Command15_Click; its windows (PlayLst, Dirx,
// IndexForm) are defined in the session's window registry when there is one.
// Without a registry the logic runs alone (the scenario tests do that).

#include "core/observable.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class QPrinter;

namespace mv {

struct Session;

// The random generator of "Select Random MP3".
class RandomSource {
  public:
    virtual ~RandomSource() = default;
    // Starts a new sequence from `seed` (the tick clock at each choice).
    virtual void randomize(int64_t seed) = 0;
    // The next number, 0 up to but not 1.
    virtual double next() = 0;
};

// A Mersenne twister: the program's generator.
std::unique_ptr<RandomSource> makeRandomSource();

// Printing of the index.  The caller hands a printer and renders into it
// once this returns true.
class IndexPrinting {
  public:
    virtual ~IndexPrinting() = default;
    // The system's print dialog over `printer`: the user chooses a printer
    // (or the dialog's own "print to file").  False when cancelled.
    virtual bool choosePrinter(QPrinter& printer) = 0;
    // The name of the PDF that "Export PDF" writes, `suggested` offered;
    // nullopt when cancelled.
    virtual std::optional<QString> pdfFileName(const QString& suggested) = 0;
};

// The window IndexForm: its text field Text1 (caption-less, fixed pitch).
struct IndexFormState {
    Prop<bool> Visible{false};
    Prop<QString> Text1;
};

// The set chooser Dirx: the folder its file list File1 shows, the pattern
// Filetype, and the names on offer.
struct DirxState {
    Prop<bool> Visible{false};
    Prop<QString> Filetype{QStringLiteral("*.SSS")};
    Prop<QString> Folder;     // the file list's folder
    Prop<QStringList> File1;  // the files of Folder that match Filetype
    Prop<int> File1Index{-1}; // the selected file, -1 none
    Prop<QString> Dir1;       // the folder list's folder
};

struct Library {
    RandomSource* random = nullptr;    // set by the program or a test
    IndexPrinting* printing = nullptr; // set by the program or a test
    bool playLstLoaded = false;        // PlayLst is loaded (its list file was read)
    QString setName;                   // the name of the last set saved, offered again
    IndexFormState indexForm;
    DirxState dirx;
    std::vector<Subscription> subs; // the install's own subscriptions
};

// Installs the hooks of the main window's library buttons, the play list's
// loading on a right click of the song list, and, when the session has a
// window registry, the windows PlayLst, Dirx and IndexForm.
void installLibrary(Session& s, Library& lib);

// Unloads the library's windows (PlayLst writes "PlayList.txt"; a failure
// to write is shown and passed over); at shut-down.
void unloadLibraryWindows(Session& s, Library& lib);

} // namespace mv
