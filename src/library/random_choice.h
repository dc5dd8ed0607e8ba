#pragma once
// "Select Random MP3" and the played list.  The played list is one string of
// entries each ended by ",": plain list entries added here, full paths added
// by every song load.  A name counts as played when the string holds it
// followed by ",", so both kinds are found (and a name that is the tail of a
// longer played name counts as played too).

namespace mv {

struct Session;
class RandomSource;

// Command3 "Clear played list": the played list empties, then the message
// "Already Played list is now clear.".
void clearPlayedList(Session& s);

// Command4 "Select Random MP3": the cursors hidden, any play stopped and the
// music released, then SelR.
void selectRandom(Session& s, RandomSource& random);

// SelR: draws entries 1 .. Range (Range = ListCount - 1, less ZCount with
// IgnZ on) until one is not a Z (IgnZ), not an X (IgnX), holds no "MIX" and
// was not played, letting events run at each round with SuppressLoad set;
// then loads it with a left press and adds it to the played list.  After
// 1000 rounds: "Please clear the played list. " and nothing is loaded.  A
// failure (an empty list, a list of one) shows "Error n text".
void SelR(Session& s, RandomSource& random);

} // namespace mv
