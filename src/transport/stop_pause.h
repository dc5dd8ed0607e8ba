#pragma once
// Stopping, pausing and fading.  The music is stopped by taking the
// player's source away; a running play loop sees a flag at its next test.

namespace mv {

struct Session;

// On a connected server, &STOP/ to the clients; nothing elsewhere.  Does
// not touch the local player.
void StopPlaying(Session& s);
// "Pause" / "Continue".  A pause falls on the next tic: the loop holds it.
void Command10_Click(Session& s);
// "Fade": the clients stop, the music here fades out over FadeT seconds
// from volume 50 (0.02 x FadeT per volume step), then the volume returns.
void Command7_Click(Session& s);
void phaseout(Session& s);

} // namespace mv
