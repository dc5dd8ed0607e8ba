#pragma once
// libmpv, opened at run time on a thread of its own.
//
// Opening libmpv maps and relocates a few dozen libraries (FFmpeg, Lua,
// libass, ...): on a small machine that is over a hundred milliseconds, more
// than the whole rest of the start.  The program therefore doesn't link it:
// a player starts its mpv instance in the background (`startMpv`) once the
// window is up (the loading holds the dynamic loader's lock, which Qt's
// plugins would wait for).  Whoever needs the instance before it's ready
// waits for it; nobody else does.
//
// A machine without libmpv still runs the program: `mpvApi` gives nullptr and
// the players stay silent.

#include <QByteArray>
#include <functional>
#include <future>
#include <mpv/client.h>
#include <utility>
#include <vector>

namespace mv {

// The libmpv calls the program makes.
#define MV_MPV_FUNCTIONS(X)                                                                        \
    X(create)                                                                                      \
    X(initialize)                                                                                  \
    X(terminate_destroy)                                                                           \
    X(set_option_string)                                                                           \
    X(set_property)                                                                                \
    X(set_property_string)                                                                         \
    X(get_property)                                                                                \
    X(free_node_contents)                                                                          \
    X(command)                                                                                     \
    X(command_async)                                                                               \
    X(command_node)                                                                                \
    X(observe_property)                                                                            \
    X(set_wakeup_callback)                                                                         \
    X(wait_event)

struct MpvApi {
#define MV_MPV_POINTER(name) decltype(&::mpv_##name) name = nullptr;
    MV_MPV_FUNCTIONS(MV_MPV_POINTER)
#undef MV_MPV_POINTER
};

// The functions of libmpv; the first call opens the library, and a call
// while another thread opens it waits for that.  nullptr when libmpv can't be
// opened or lacks one of the functions.
const MpvApi* mpvApi();

using MpvOptions = std::vector<std::pair<QByteArray, QByteArray>>;

// Creates and initializes an mpv instance with these options on a
// background thread, then calls `ready` there (which should only queue a
// call).  The future gives nullptr when libmpv is missing or refuses the
// options.
std::future<mpv_handle*> startMpv(MpvOptions options, std::function<void()> ready = {});

} // namespace mv
