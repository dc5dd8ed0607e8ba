#pragma once
// "Hear" (AuditionB) on sheet window 1 in edit mode, and its key H: plays
// the song from 2 s before the row on show's tic to 1 s after it, with a
// short click (the beeper, at the "Beep" pitch) at the tic's moment over the
// music, so the musician hears whether the tic is on the note.  The tic's
// moment in the music is where a play fires it under the present settings
// (Tic Offset, Speed, count-off, first-note delay: playTimingOf, and
// musicPositions over the table's tics up to the row).  It changes neither
// the table nor the mode; the music stops at the span's end.

#include "align/map_times.h"

namespace mv {

struct Session;
struct TicTable;

namespace align {

// The span a Hear plays, in ms of the music: from 2 s before the tic (not
// before 0) to 1 s after it.
struct HearSpan {
    double fromMs = 0, ticMs = 0, toMs = 0;
};
HearSpan hearSpan(const TicTable& table, int row, const PlayTiming& timing);

// The press of Hear: nothing outside edit mode, during an append or without
// a song; a Speed of 0 or below plays at normal speed.  Returns
// when the span has played.  Leaving edit mode meanwhile stops it and its
// music; a second Hear takes the player over, and closing the program ends
// it where it stands.
void AuditionB_Click(Session& s);

} // namespace align
} // namespace mv
