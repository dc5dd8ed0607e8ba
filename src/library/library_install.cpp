#include "core/messages.h"
#include "core/session_state.h"
#include "library/library.h"
#include "library/library_windows.h"
#include "library/play_list.h"
#include "library/print_index.h"
#include "library/random_choice.h"
#include "library/z_marking.h"

namespace mv {

void installLibrary(Session& s, Library& lib) {
    s.Command3_Click = [&s] { clearPlayedList(s); };
    s.Command4_Click = [&s, &lib] {
        if (lib.random) selectRandom(s, *lib.random);
    };
    s.Command5_Click = [&s] { setZ(s); };
    s.Command6_Click = [&s] { removeZ(s); };
    s.Command9_Click = [&s, &lib] { printIndex(s, lib); };
    s.Command15_Click = [&s, &lib] { Command15_Click(s, lib); };
    // A right press on the song list shows the play list: loaded first, so
    // the entry it adds comes after the items of "PlayList.txt".  A file that
    // cannot be read is said; the window shows what the session has, and the
    // next showing tries the file again.
    lib.subs.push_back(s.playLst.Visible.subscribe([&s, &lib] {
        if (s.playLst.Visible.get() && !lib.playLstLoaded)
            runGuarded(s.messages, [&] { PlayLst_Load(s, lib); });
    }));
    if (s.windows) installLibraryWindows(s, lib);
}

void unloadLibraryWindows(Session& s, Library& lib) {
    // Deliberately lenient: a play list that cannot be written is said, and
    // shut-down goes on (the old file stands) so the other settings are saved.
    runGuarded(s.messages, [&] { PlayLst_Unload(s, lib); });
    Dirx_Unload(s, lib);
    IndexForm_Close(s, lib);
}

} // namespace mv
