#pragma once
// The program at home on the desktop: the media controls on the session bus
// (media keys, the desktop's player panel, phones, playerctl).  Without a
// session bus the program runs as before and says so in one line on stderr.

#include <QStringList>
#include <functional>
#include <memory>

namespace mv {

struct Session;
struct Library;
class MediaControls;
class ObservedPlayer;
class MediaPlayer;

struct Desktop {
    Desktop();
    // Hands the session its own player back: windows unloaded later still reach it.
    ~Desktop();
    std::unique_ptr<ObservedPlayer> player;
    std::unique_ptr<MediaControls> controls;
    // The music changed by itself (it ended): tells the media controls.
    void playerChanged();
    // The media controls' verbs for an action script, as a media key or
    // playerctl gives them: play, pause, playpause, stop, next, previous,
    // volume V (0..1), rate R.  False for another verb.
    bool mediaVerb(const QStringList& args);

    Session* session = nullptr;
    MediaPlayer* inner = nullptr; // the player the observing one wraps
};

// Puts an observing player in front of `s.player` (call it right after the
// player is set, before anything keeps a pointer to it), and the media
// controls on the bus.  `raise` and `quit` serve Raise and Quit.
std::unique_ptr<Desktop> installDesktop(Session& s, Library& library, std::function<void()> raise,
                                        std::function<void()> quit);

} // namespace mv
