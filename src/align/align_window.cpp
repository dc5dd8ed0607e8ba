#include "align/align_window.h"

#include "core/file_lookup.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "core/values.h"
#include "sheet/sheet_window.h"

#include <QFileInfo>
#include <QLabel>
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
    // The recording: the selected entry, or the MP3 beside a selected sheet.
    QString song = s.g.SongFile;
    if (!song.endsWith(QStringLiteral(".mp3"), Qt::CaseInsensitive) &&
        !song.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive))
        song = existingPathIgnoringCase(QFileInfo(s.g.SongBase).path() + QLatin1Char('/') +
                                        QFileInfo(s.g.SongBase).fileName().section('.', 0, 0) +
                                        QStringLiteral(".mp3"));
    const PlayTiming timing = playTimingOf(s);
    const std::optional<MapResult> r = runWithProgress(
        s, parent, QStringLiteral("Tightening the map to the music…"),
        [=](const Progress& p) { return tightenMap(song, bytes, timing, from, p); });
    if (!r || !s.adobeF.Shape2.get()) return; // cancelled, or edit mode left meanwhile
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
}

} // namespace mv::align
