#pragma once
// The map operations in the windows: the Tighten button of sheet window 1
// in edit mode, and the work on a worker thread behind a progress dialog.

#include "align/operations.h"

#include <QString>
#include <functional>
#include <optional>

class QWidget;

namespace mv {

struct Session;
class SheetWindow;

namespace align {

// Runs `work` on a worker thread while a progress dialog with Cancel shows
// `label`; the GUI thread waits through the event pump, so windows stay
// live.  Returns the result, or nothing when cancelled or when the work
// failed (its message is then shown).
std::optional<MapResult> runWithProgress(Session& s, QWidget* parent, const QString& label,
                                         const std::function<MapResult(const Progress&)>& work);

// "Tighten" (TightenB) pressed with `button`: in edit mode with a map in the
// table, moves the tics (all with the left button, from the current row on
// with the right) onto the recording's onsets.  Only the Tic cells change.
// Sets `summary` to the line shown under the table.
void TightenB_MouseDown(Session& s, QWidget* parent, int button, QString& summary);

// File > "Map From Another Recording…" (TransferMap): asks for the MP3 of a
// recording that has a map (found beside it by the usual rule) and writes
// the selected song's map from it.  An existing map is replaced only when
// the user agrees, and kept as "NAME.map.bak".  Refused in edit mode.
void TransferMap_Click(Session& s, QWidget* parent);

// The recording of a song path: itself when it is an MP3 or WAV, else the
// MP3 beside the song base (any case of its name).
QString recordingOf(const QString& songFile, const QString& songBase);

// Adds the handlers of Tighten and Hear, the summary line and the waveform strip to
// sheet window 1.
void installAlignControls(Session& s, SheetWindow& w);

// Adds "Map From Another Recording…" (TransferMap) to the File menu (the
// QMenu "FF") of the main window, and keeps the waveform strip's height
// ("WaveHeight") in "Mellivane.conf".
void installAlign(Session& s, QWidget& mainWindow);

} // namespace align
} // namespace mv
