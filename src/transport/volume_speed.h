#pragma once
// Volume and speed: the volume bar HScroll1 and the player's volume follow
// each other; the Speed arrows step by .05 and write the sum's number text.

namespace mv {

struct Session;

// HScroll1 sets the player's volume at once; a change of Speed goes to the
// clients of a connected server as @SPEED/; a change of Pitch calls SetPitch;
// a change of Output Delay is kept for the present output.
void installVolume(Session& s);
// "<" and ">" beside Speed: the value less or plus .05, as number text
// (.95, .9, 1.05); nothing keeps it above 0.
void Command12_Click(Session& s);
void Command13_Click(Session& s);
// "<" and ">" beside Pitch: .5 less or more.  Pitch does not change the
// sound yet: a change says so, with the playing position.
void Command18_Click(Session& s);
void Command19_Click(Session& s);
void SetPitch(Session& s);
// An entry of the Audio Out menu: -1 "Default", 0..6 the devices.  It takes
// the check mark, sets SoundDevice and routes the player's sound there;
// Output Delay then shows the delay kept for that output.
void AudioOut_Click(Session& s, int entry);
void setsound(Session& s);
// Output Delay's editing has finished: the field shows the delay in use,
// the typed number held to -500..1000 and rounded (text without a number: 0).
void OutputDelay_LostFocus(Session& s);
// The Mixer button: starts the system's volume program, or says "Can't open
// the Volume control program" titled "Sorry".
void Mixer_Click(Session& s);

} // namespace mv
