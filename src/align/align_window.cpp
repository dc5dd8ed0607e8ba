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

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QProgressDialog>
#include <atomic>
#include <cmath>
#include <memory>
#include <thread>
#include <utility>

namespace mv::align {

namespace {

// The work in progress: the worker thread and what it hands back.  The GUI
// thread owns it (`current`) until the worker's last post has run; the
// worker only writes its result and posts.
struct Job {
    std::thread worker;
    std::atomic<bool> cancel{false};
    std::optional<MapResult> result;
    QString error;
    QPointer<QProgressDialog> dialog;
    std::function<void(const MapResult&)> done;
    ~Job() {
        cancel = true;
        if (worker.joinable()) worker.join();
    }
};

std::shared_ptr<Job>& current() {
    static std::shared_ptr<Job> job;
    return job;
}

// On the GUI thread, after the worker's last line: hands the result on.
void finish(const std::shared_ptr<Job>& job, Messages& messages) {
    if (current() != job) return; // ended at shut-down already
    job->worker.join();
    const std::shared_ptr<Job> keep = std::exchange(current(), nullptr);
    if (job->dialog) {
        job->dialog->hide();
        if (!job->dialog->parent()) job->dialog->deleteLater();
    }
    if (!job->error.isEmpty()) {
        messages.msgBox(job->error);
        return;
    }
    if (job->cancel || !job->result || job->result->cancelled) return;
    job->done(*job->result);
}

} // namespace

bool alignmentRunning() { return current() != nullptr; }

bool startWithProgress(Session& s, QWidget* parent, const QString& label,
                       std::function<MapResult(const Progress&)> work,
                       std::function<void(const MapResult&)> done) {
    if (current()) {
        s.messages.msgBox(QStringLiteral("A map is being worked on; wait for it to end."));
        return false;
    }
    auto job = std::make_shared<Job>();
    current() = job;
    job->done = std::move(done);
    // A window keeps its progress dialog ("AlignProgress"), hidden between
    // works, so that a script can wait for it to go.
    auto* dialog = parent ? parent->findChild<QProgressDialog*>(QStringLiteral("AlignProgress"),
                                                                Qt::FindDirectChildrenOnly)
                          : nullptr;
    if (!dialog) {
        dialog = new QProgressDialog(parent);
        dialog->setObjectName(QStringLiteral("AlignProgress"));
        dialog->setCancelButtonText(QStringLiteral("Cancel"));
        dialog->setWindowModality(Qt::WindowModal);
        dialog->setAutoClose(false);
        dialog->setAutoReset(false);
        dialog->setMinimumDuration(0);
        QObject::connect(dialog, &QProgressDialog::canceled, dialog, [] {
            if (current()) current()->cancel = true;
        });
    }
    dialog->reset();
    dialog->setLabelText(label);
    dialog->setRange(0, 100);
    dialog->setValue(0);
    job->dialog = dialog;
    Job* j = job.get();
    dialog->show();
    static const bool closing = [] {
        // A work still running at shut-down is cancelled and waited for.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [] { current().reset(); });
        return true;
    }();
    (void)closing;
    // The worker touches no window and no session state: it posts its
    // progress and its end to the GUI thread.
    const std::weak_ptr<Job> weak = job;
    Messages* messages = &s.messages;
    job->worker = std::thread([j, weak, messages, work = std::move(work)] {
        Progress progress;
        progress.cancel = &j->cancel;
        progress.report = [weak](int p) {
            QMetaObject::invokeMethod(
                qApp,
                [weak, p] {
                    if (const auto job = weak.lock(); job && job->dialog) job->dialog->setValue(p);
                },
                Qt::QueuedConnection);
        };
        try {
            j->result = work(progress);
        } catch (const std::exception& e) {
            j->error = QString::fromUtf8(e.what());
        }
        QMetaObject::invokeMethod(
            qApp,
            [weak, messages] {
                if (const auto job = weak.lock()) finish(job, *messages);
            },
            Qt::QueuedConnection);
    });
    return true;
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

void TightenB_MouseDown(Session& s, QWidget* parent, int button,
                        const std::function<void(const QString&)>& summary) {
    if (!s.adobeF.Shape2.get()) return; // edit mode only
    const int rows = s.tic.length();
    if (rows == 0 || s.g.SongFile.isEmpty()) return;
    const int from = button == 2 ? std::clamp(int(s.g.CursorIndex), 0, rows - 1) : 0;
    const QByteArray bytes = tableBytes(s.tic);
    const QString song = recordingOf(s.g.SongFile, s.g.SongBase);
    const PlayTiming timing = playTimingOf(s);
    startWithProgress(
        s, parent, QStringLiteral("Tightening the map to the music…"),
        [=](const Progress& p) { return tightenMap(song, bytes, timing, from, p); },
        [&s, bytes, rows, summary](const MapResult& r) {
            // Edit mode left, or the table edited, meanwhile: the result
            // belongs to a table that is gone.
            if (!s.adobeF.Shape2.get() || tableBytes(s.tic) != bytes) {
                s.messages.msgBox(
                    QStringLiteral("The map changed while it was tightened; nothing moved."));
                return;
            }
            adobeF::EditScope edit(s, QStringLiteral("Tighten"));
            const MapText out = MapText::parse(r.bytes);
            for (int k = 0; k < rows && k < int(out.tics.size()); ++k) {
                const QString text = numberText(out.tics[size_t(k)]);
                if (val(s.tic.Tic[size_t(k)]) != out.tics[size_t(k)]) s.tic.Tic[size_t(k)] = text;
            }
            summary(QStringLiteral("Tightened: %1 of %2 tics moved, median %3 ms, largest %4 ms")
                        .arg(r.moved)
                        .arg(r.tics)
                        .arg(std::lround(r.medianShiftMs))
                        .arg(std::lround(r.maxShiftMs)));
        });
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

namespace {

// The recording to carry a map from, chosen in a file dialog; when the
// program's questions go elsewhere (a script, a test) the input box asks
// for its path instead.  Nothing when cancelled.
std::optional<QString> chooseRecording(Session& s, QWidget* parent, const QString& dir) {
    const QString title = QStringLiteral("The recording that has a map");
    if (!dynamic_cast<QtMessages*>(&s.messages)) return s.messages.inputBox(title, title, dir);
    const QString name = QFileDialog::getOpenFileName(
        parent, title, dir, QStringLiteral("Recordings (*.mp3 *.MP3 *.wav *.WAV)"));
    if (name.isEmpty()) return std::nullopt;
    return name;
}

} // namespace

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
    const std::optional<QString> from = chooseRecording(s, parent, QFileInfo(s.g.SongFile).path());
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
    startWithProgress(
        s, parent, QStringLiteral("Aligning the two recordings…"),
        [=](const Progress& p) { return transferMap(fromSong, bytes, toSong, timing, p); },
        [&s, toMap, replacing, title](const MapResult& r) {
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
            if (!writeFileAtomically(toMap, r.bytes)) {
                s.messages.msgBox(QStringLiteral("Cannot write \"%1\".").arg(toMap), title);
                return;
            }
            if (toMap == existingPathIgnoringCase(mapFileName(s.g.SongBase)))
                s.adobeF.Shape3.set(true); // the song shown has a map now
            s.messages.msgBox(
                QStringLiteral("Map written: %1 tics, median shift %2 ms, largest %3 ms.")
                    .arg(r.tics)
                    .arg(std::lround(r.medianShiftMs))
                    .arg(std::lround(r.maxShiftMs)),
                title);
        });
}

void installAlignControls(Session& s, SheetWindow& w) {
    QPointer<QLabel> line = w.findChild<QLabel*>(QStringLiteral("TightenL"));
    w.pressHandlers[QStringLiteral("TightenB")] = [&s, &w, line](int b) {
        TightenB_MouseDown(s, &w, b, [line](const QString& summary) {
            if (line) line->setText(summary);
        });
    };
    w.handlers[QStringLiteral("AuditionB")] = [&s] { AuditionB_Click(s); }; // "Hear", key H
    installWaveStrip(s, w);
    // The summary speaks of the edit session only.
    s.adobeF.Shape2.always([&s, line] {
        if (line && !s.adobeF.Shape2.get()) line->clear();
    });
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
