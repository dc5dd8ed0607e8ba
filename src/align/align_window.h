#pragma once
// The map operations in the windows: the Tighten button of sheet window 1
// in edit mode, and the work on a worker thread behind a progress dialog.

#include "align/operations.h"

#include <QString>
#include <functional>

class QWidget;

namespace mv {

struct Session;
class SheetWindow;

namespace align {

// Starts `work` on a worker thread behind a progress dialog with Cancel
// showing `label`, and returns at once: no wait of the GUI thread sits under
// the work, so a play in progress keeps its times.  When the work ends,
// `done` runs on the GUI thread with its result; after Cancel nothing runs,
// and a failure of the work is shown as a message instead.  One work at a
// time: while one runs, another is refused with a message (false).
bool startWithProgress(Session& s, QWidget* parent, const QString& label,
                       std::function<MapResult(const Progress&)> work,
                       std::function<void(const MapResult&)> done);

// True while a work started above has not ended.
bool alignmentRunning();

// "Tighten" (TightenB) pressed with `button`: in edit mode with a map in the
// table, starts moving the tics (all with the left button, from the current
// row on with the right) onto the recording's onsets.  Only the Tic cells
// change, and only if edit mode is still on with the same table when the
// work ends.  `summary` then gets the line shown under the table.
void TightenB_MouseDown(Session& s, QWidget* parent, int button,
                        const std::function<void(const QString&)>& summary);

// File > "Map From Another Recording…" (TransferMap): asks for the MP3 of a
// recording that has a map (found beside it by the usual rule) and starts
// writing the selected song's map from it.  An existing map is replaced only
// when the user agrees, and kept as "NAME.map.bak".  Refused in edit mode.
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
