#pragma once
// Volume and speed: the volume bar HScroll1 and the player's volume follow
// each other; the Speed arrows step by .05 and write the sum's number text.

namespace mv {

struct Session;

// HScroll1 sets the player's volume at once.
void installVolume(Session& s);
// "<" and ">" beside Speed: the value less or plus .05, as number text
// (.95, .9, 1.05); nothing keeps it above 0.
void Command12_Click(Session& s);
void Command13_Click(Session& s);
// The Mixer button: starts the system's volume program, or says "Can't open
// the Volume control program" titled "Sorry".
void Mixer_Click(Session& s);

} // namespace mv
