#include "transport/mpv_library.h"

#include <dlfcn.h>

namespace mv {

namespace {

const MpvApi* openMpv() {
    void* lib = nullptr;
    // The library of the installed libmpv, else the development link.
    for (const char* name : {"libmpv.so.2", "libmpv.so"}) {
        lib = dlopen(name, RTLD_LAZY | RTLD_LOCAL);
        if (lib) break;
    }
    if (!lib) return nullptr;
    static MpvApi api;
    bool complete = true;
#define MV_MPV_RESOLVE(name)                                                                       \
    api.name = reinterpret_cast<decltype(api.name)>(dlsym(lib, "mpv_" #name));                     \
    complete = complete && api.name;
    MV_MPV_FUNCTIONS(MV_MPV_RESOLVE)
#undef MV_MPV_RESOLVE
    return complete ? &api : nullptr;
}

mpv_handle* createMpv(const MpvOptions& options) {
    const MpvApi* api = mpvApi();
    if (!api) return nullptr;
    mpv_handle* mpv = api->create();
    if (!mpv) return nullptr;
    // An embedded player: no user configuration (a stray mpv.conf must not
    // change the music on stage) and none of mpv's own Lua scripts, whose
    // start costs more than the player's.
    for (const char* off : {"config", "load-scripts", "osc", "ytdl", "load-stats-overlay",
                            "load-osd-console", "load-auto-profiles"})
        api->set_option_string(mpv, off, "no");
    for (const auto& [name, value] : options)
        api->set_option_string(mpv, name.constData(), value.constData());
    if (api->initialize(mpv) < 0) {
        api->terminate_destroy(mpv);
        return nullptr;
    }
    return mpv;
}

} // namespace

const MpvApi* mpvApi() {
    // A function-local static: the first caller opens, concurrent callers wait.
    static const MpvApi* const api = openMpv();
    return api;
}

std::future<mpv_handle*> startMpv(MpvOptions options, std::function<void()> ready) {
    return std::async(std::launch::async,
                      [options = std::move(options), ready = std::move(ready)]() -> mpv_handle* {
                          mpv_handle* mpv = createMpv(options);
                          if (ready) ready();
                          return mpv;
                      });
}

} // namespace mv
