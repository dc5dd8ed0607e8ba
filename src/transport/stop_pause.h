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

// The steps the stops share.  hideCursors: the cursor pictures of both
// sheet windows hidden.  dropSource: the player's URL set to "" (the music
// stops at once), then close; with `tellClients`, StopPlaying in between.
// Harmless with no player or no file.
void hideCursors(Session& s);
void dropSource(Session& s, bool tellClients);

// The stops that come before other work; each is its own combination.
// Before the random choice ("Select Random MP3"): the cursors hidden before
// and after, StopRequested, the source taken away, &STOP/, the file closed.
void stopForRandomChoice(Session& s);
// Before renaming ("Set Z", "Remove Z", after the user's Yes): the source
// taken away, &STOP/, the file closed, then every map open for reading
// closed (FileTable::closeReads), so a running play ends silently at its
// next read.  StopRequested stays as is.
void stopForRenaming(Session& s);
// "&STOP/" arriving on a client: StopRequested, the source taken away.  The
// cursors are left to the loop.
void stopOnClient(Session& s);

} // namespace mv
