#include "cursormap/map_file.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "transport/media_player.h"

#include <QFileInfo>
#include <QScopeGuard>

namespace mv {

namespace {

// Reads the lines of an open number; the end of the file ends the reader
// wherever it stands (`more()` false).
class LineReader {
  public:
    LineReader(FileTable& files, int number) : files_(files), number_(number) {}
    // Takes the next line into `line`; false at the end of the file or when
    // the number was closed by someone else.
    bool next(QString& line) {
        try {
            if (files_.eof(number_)) return false;
            line = files_.readLine(number_);
            return true;
        } catch (const Failure&) {
            return false;
        }
    }

  private:
    FileTable& files_;
    int number_;
};

QString headerSlotMarker(int k) { return QStringLiteral("#%1").arg(k); }

int playerVolume(const Session& s) {
    return s.player ? s.player->settingsVolume() : s.velmor.HScroll1.get();
}

// The header lines the writers put ahead of the first record.
QStringList headerLines(const Session& s, bool always) {
    QStringList l;
    if (always || s.velmor.ZoomIt.value() != 100) l << s.velmor.ZoomIt.text() + u'@';
    if (always || s.velmor.PDFLeft.value() != 0) l << s.velmor.PDFLeft.text() + u'%';
    for (int k = 1; k <= 6; ++k)
        l << s.g.MapHeaderLines[k] + headerSlotMarker(k);
    l << u' ' + numberText(playerVolume(s)) + u'^';
    return l;
}

} // namespace

QString mapFileName(const QString& songBase) {
    return siblingPath(songBase, QStringLiteral("map"));
}

bool headerTake(Session& s, const QString& path,
                const std::function<void(const QString& volumeLine)>& applyVolume,
                bool sheetTwoOnly) {
    constexpr int kFile = 4;
    if (!QFileInfo(path).isFile()) return false;
    s.files.close(kFile);
    try {
        s.files.open(kFile, path, FileMode::Input);
    } catch (const Failure&) {
        return false; // unreadable: as good as absent
    }
    // The file is closed however the take ends.
    const auto closeFile = qScopeGuard([&s] { s.files.close(kFile); });
    LineReader in(s.files, kFile);
    const bool window2 = s.adobeF2.Visible.get();
    // A second sheet's slider value from a map line; a value out of its
    // range is not applied, the line is kept all the same.
    auto slider2 = [&s](const QString& line) {
        if (s.velmor.NoPDFAdj.get() != 0) return;
        try {
            s.adobeF2.VScroll2.set(roundWord(val(line)));
        } catch (const Failure&) {
        }
    };
    QString L;
    // Each test that matches takes the next line for the test after it; the
    // end of the file stops the take at once.
    while (in.next(L)) {
        // A line the take passes over still moves the chain on, so that
        // the window-2 lines are the same ones either way.
        if (L.contains(u'@')) {
            if (!sheetTwoOnly) s.velmor.ZoomIt.setText(numberText(val(L)));
            if (!in.next(L)) break;
        }
        if (L.contains(u'%')) {
            if (!sheetTwoOnly) s.velmor.PDFLeft.setText(numberText(val(L)));
            if (!in.next(L)) break;
        }
        if (L.contains(u'~')) {
            if (!in.next(L)) break;
        }
        if (window2 && L.endsWith(u'#')) {
            slider2(L);
            s.g.MapHeaderLines[1] = L;
            if (!in.next(L)) break;
        }
        bool ended = false;
        for (int k = 1; k <= 6 && !ended; ++k) {
            if (window2 && L.contains(headerSlotMarker(k))) {
                if (k == 1) slider2(L);
                s.g.MapHeaderLines[k] = L;
                ended = !in.next(L);
            }
        }
        if (ended) break;
        if (L.contains(u'^') && applyVolume && !sheetTwoOnly) applyVolume(L);
    }
    return true;
}

void editLoad(Session& s, const QString& path) {
    constexpr int kFile = 3;
    if (!QFileInfo(path).isFile()) return;
    s.files.close(kFile);
    try {
        s.files.open(kFile, path, FileMode::Input);
    } catch (const Failure&) {
        return;
    }
    s.g.CursorStarted = kTrue;
    s.g.CursorIndex = 0;
    LineReader in(s.files, kFile);
    TicTable& t = s.tic;
    const bool keepView = s.g.SaveInProgress != 0;
    int row = 0;
    QString L;
    while (in.next(L)) {
        // The chain of this reader: zoom and left are taken, the rest of the
        // header is passed over.
        if (L.contains(u'@')) {
            if (!keepView) s.velmor.ZoomIt.setText(numberText(val(L)));
            if (!in.next(L)) break;
        }
        if (L.contains(u'%')) {
            if (!keepView) s.velmor.PDFLeft.setText(numberText(val(L)));
            if (!in.next(L)) break;
        }
        if (L.contains(u'^') && !in.next(L)) break;
        if (L.endsWith(u'#') && !in.next(L)) break;
        bool ended = false;
        for (int k = 1; k <= 6 && !ended; ++k)
            if (L.contains(headerSlotMarker(k))) ended = !in.next(L);
        if (ended) break;
        if (L.contains(u'~') && !in.next(L)) break;
        if (L.contains(u'^') && !in.next(L)) break;

        if (row >= TicTable::kLastRow) {
            // The 5001st record: the table would be full.
            s.messages.msgBox(QStringLiteral("Music is to large to edit"));
            s.adobeF.Shape2.set(false);
            break;
        }
        t.Tic[row] = L;
        for (auto* col : {&t.X, &t.Y, &t.Scr, &t.Nxt, &t.Prv}) {
            if (!in.next(L)) break;
            (*col)[row] = L;
        }
        ++row;
        s.pump.letEventsRun();
        if (!s.files.isOpen(kFile)) break; // closed by a handler that ran meanwhile
    }
    s.files.close(kFile);
    s.g.CursorStarted = 0;
}

void tableWrite(Session& s, const QString& path) {
    constexpr int kFile = 1;
    s.files.close(kFile);
    s.files.open(kFile, path, FileMode::Output);
    const TicTable& t = s.tic;
    for (int row = 0; row <= TicTable::kLastRow; ++row) {
        if (t.Tic[row].isEmpty()) break;
        if (row == 0) s.files.writeLines(kFile, headerLines(s, false));
        for (const auto* col : {&t.Tic, &t.X, &t.Y, &t.Scr, &t.Nxt, &t.Prv})
            s.files.writeLine(kFile, (*col)[row]);
    }
    s.files.commit(kFile);
}

void streamOpen(Session& s, const QString& path) {
    s.files.close(2);
    s.files.open(2, path, FileMode::Stream);
}

void streamHeader(Session& s) { s.files.writeLines(2, headerLines(s, true)); }

void streamTic(Session& s, double tic, double x, double y, double scr, bool nxt, bool prv) {
    // The record's six lines in one write: a kill leaves it whole or absent.
    s.files.writeLines(2, {numberText(tic), printFormSingle(x), printFormSingle(y), numberText(scr),
                           boolText(nxt), boolText(prv)});
}

void streamClose(Session& s) { s.files.close(2); }

} // namespace mv
