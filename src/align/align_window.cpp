#include "align/align_window.h"

#include "align/audition.h"
#include "align/wave_strip.h"
#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/values.h"
#include "cursormap/map_file.h"
#include "recording/edit_history.h"
#include "sheet/sheet_window.h"

#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QProgressDialog>
#include <atomic>
#include <cmath>
#include <thread>

namespace mv::align {

std::optional<MapResult> runWithProgress(Session& s, QWidget* parent, const QString& label,
                                         const std::function<MapResult(const Progress&)>& work) {
    QProgressDialog dialog(label, QStringLiteral("Cancel"), 0, 100, parent);
    dialog.setObjectName(QStringLiteral("AlignProgress"));
    dialog.setWindowModality(Qt::WindowModal);
    dialog.setMinimumDuration(0);
    dialog.show();
    std::atomic<bool> cancel{false}, done{false};
    std::atomic<int> percent{0};
    std::optional<MapResult> result;
    QString error;
    Progress progress;
    progress.cancel = &cancel;
    progress.report = [&percent](int p) { percent = p; };
    // The worker only computes; it touches no window and no session state.
    std::thread worker([&] {
        try {
            result = work(progress);
        } catch (const std::exception& e) {
            error = QString::fromUtf8(e.what());
        }
        done = true;
    });
    while (!done) {
        s.pump.waitRound(s.clock.tickMs() + 50);
        dialog.setValue(percent);
        if (dialog.wasCanceled()) cancel = true;
    }
    worker.join();
    dialog.close();
    if (!error.isEmpty()) {
        s.messages.msgBox(error);
        return std::nullopt;
    }
    if (cancel || !result || result->cancelled) return std::nullopt;
    return result;
}

namespace {

// The table as map bytes: its rows in the file's order, no header.
QByteArray tableBytes(const TicTable& t) {
    QByteArray b;
    for (int r = 0; r < t.length(); ++r)
        for (const QString* c : {&t.Tic[size_t(r)], &t.X[size_t(r)], &t.Y[size_t(r)],
                                 &t.Scr[size_t(r)], &t.Nxt[size_t(r)], &t.Prv[size_t(r)]})
            b += (c->isEmpty() ? QStringLiteral("0") : *c).toLatin1() + "\r\n";
    return b;
}

} // namespace

void TightenB_MouseDown(Session& s, QWidget* parent, int button, QString& summary) {
    if (!s.adobeF.Shape2.get()) return; // edit mode only
    const int rows = s.tic.length();
    if (rows == 0 || s.g.SongFile.isEmpty()) return;
    const int from = button == 2 ? std::clamp(int(s.g.CursorIndex), 0, rows - 1) : 0;
    const QByteArray bytes = tableBytes(s.tic);
    const QString song = recordingOf(s.g.SongFile, s.g.SongBase);
    const PlayTiming timing = playTimingOf(s);
    const std::optional<MapResult> r = runWithProgress(
        s, parent, QStringLiteral("Tightening the map to the music…"),
        [=](const Progress& p) { return tightenMap(song, bytes, timing, from, p); });
    if (!r || !s.adobeF.Shape2.get()) return; // cancelled, or edit mode left meanwhile
    adobeF::EditScope edit(s, QStringLiteral("Tighten"));
    const MapText out = MapText::parse(r->bytes);
    for (int k = 0; k < rows && k < int(out.tics.size()); ++k) {
        const QString text = numberText(out.tics[size_t(k)]);
        if (val(s.tic.Tic[size_t(k)]) != out.tics[size_t(k)]) s.tic.Tic[size_t(k)] = text;
    }
    summary = QStringLiteral("Tightened: %1 of %2 tics moved, median %3 ms, largest %4 ms")
                  .arg(r->moved)
                  .arg(r->tics)
                  .arg(std::lround(r->medianShiftMs))
                  .arg(std::lround(r->maxShiftMs));
}

// The recording of a song path: itself when it is one, else the MP3 beside it.
QString recordingOf(const QString& songFile, const QString& songBase) {
    if (songFile.endsWith(QStringLiteral(".mp3"), Qt::CaseInsensitive) ||
        songFile.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive))
        return songFile;
    const QFileInfo b(songBase);
    return existingPathIgnoringCase(b.path() + QLatin1Char('/') + b.fileName().section('.', 0, 0) +
                                    QStringLiteral(".mp3"));
}

void TransferMap_Click(Session& s, QWidget* parent) {
    const QString title = QStringLiteral("Map From Another Recording");
    if (s.adobeF.Shape2.get()) {
        s.messages.msgBox(QStringLiteral("Leave edit mode first."), title);
        return;
    }
    if (s.g.SongBase.isEmpty()) {
        s.messages.msgBox(QStringLiteral("Select the song that needs the map first."), title);
        return;
    }
    const std::optional<QString> from =
        s.messages.inputBox(QStringLiteral("The MP3 of the recording that has a map:"), title,
                            QFileInfo(s.g.SongFile).path() + QLatin1Char('/'));
    if (!from || from->trimmed().isEmpty()) return;
    const QString fromSong = from->trimmed();
    const QString fromMap = existingPathIgnoringCase(mapFileName(fromSong));
    QFile mapFile(fromMap);
    if (!mapFile.open(QIODevice::ReadOnly)) {
        s.messages.msgBox(QStringLiteral("\"%1\" has no map beside it.").arg(fromSong), title);
        return;
    }
    const QByteArray bytes = mapFile.readAll();
    const QString toSong = recordingOf(s.g.SongFile, s.g.SongBase);
    const QString toMap = existingPathIgnoringCase(mapFileName(s.g.SongBase));
    const bool replacing = QFileInfo::exists(toMap);
    if (replacing &&
        !s.messages.yesNo(QStringLiteral("\"%1\" has a map. Replace it? The old one "
                                         "is kept as \"%2.bak\".")
                              .arg(QFileInfo(toMap).fileName(), QFileInfo(toMap).fileName()),
                          title))
        return;
    const PlayTiming timing = playTimingOf(s);
    const std::optional<MapResult> r = runWithProgress(
        s, parent, QStringLiteral("Aligning the two recordings…"),
        [=](const Progress& p) { return transferMap(fromSong, bytes, toSong, timing, p); });
    if (!r) return;
    if (replacing) {
        QFile::remove(toMap + QStringLiteral(".bak"));
        if (!QFile::copy(toMap, toMap + QStringLiteral(".bak"))) {
            s.messages.msgBox(
                QStringLiteral("Cannot keep the old map as \"%1.bak\"; nothing written.")
                    .arg(toMap),
                title);
            return;
        }
    }
    if (!writeFileAtomically(toMap, r->bytes)) {
        s.messages.msgBox(QStringLiteral("Cannot write \"%1\".").arg(toMap), title);
        return;
    }
    s.adobeF.Shape3.set(true); // the song has a map now
    s.messages.msgBox(QStringLiteral("Map written: %1 tics, median shift %2 ms, largest %3 ms.")
                          .arg(r->tics)
                          .arg(std::lround(r->medianShiftMs))
                          .arg(std::lround(r->maxShiftMs)),
                      title);
}

void installAlignControls(Session& s, SheetWindow& w) {
    auto* line = new QLabel(&w);
    line->setObjectName(QStringLiteral("TightenL")); // the summary under the table
    line->setGeometry(8, 5400 / 15, 400, 18);
    line->show();
    w.pressHandlers[QStringLiteral("TightenB")] = [&s, &w, line](int b) {
        QString summary;
        TightenB_MouseDown(s, &w, b, summary);
        if (!summary.isEmpty()) line->setText(summary);
    };
    w.handlers[QStringLiteral("AuditionB")] = [&s] { AuditionB_Click(s); }; // "Hear", key H
    installWaveStrip(s, w);
}

void installAlign(Session& s, QWidget& mainWindow) {
    s.keyed.add(QStringLiteral("WaveHeight"), s.adobeF.WaveHeight);
    auto* file = mainWindow.findChild<QMenu*>(QStringLiteral("FF"));
    if (!file) return;
    QAction* transfer = file->addAction(QStringLiteral("Map From Another Recording…"));
    transfer->setObjectName(QStringLiteral("TransferMap"));
    QWidget* parent = &mainWindow;
    QObject::connect(transfer, &QAction::triggered, parent, [&s, parent] {
        runGuarded(s.messages, [&] { TransferMap_Click(s, parent); });
    });
}

} // namespace mv::align
