// Any request path and query: the web server's router must never crash and
// must only ever route to the resources it names, with an image's numbers in
// range.  The input's first 0x1F separates the path from the query.
#include "web/follower_protocol.h"

#include <QString>
#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* p = reinterpret_cast<const char*>(data);
    const char* cut = std::find(p, p + size, '\x1f');
    const QString path = QString::fromUtf8(p, cut - p);
    const QString query =
        cut == p + size ? QString() : QString::fromUtf8(cut + 1, p + size - cut - 1);
    const mv::web::Route r = mv::web::routeOf(path, query);
    using K = mv::web::Route::Kind;
    if (r.kind == K::Image) {
        // Only /sheet/N/N/N/N.png with digits: nothing that could name a file.
        if (!path.startsWith(QLatin1String("/sheet/")) || path.contains(QLatin1String("..")) ||
            path.contains(u'%') || (r.part != 1 && r.part != 2) || r.page < 1 || r.width < 1 ||
            r.key.size() > 64)
            __builtin_trap();
        const int w = mv::web::imageWidthFor(r.width);
        if (w < 200 || w > 2400) __builtin_trap();
    } else if (r.kind != K::NotFound && path.size() > 13) {
        __builtin_trap();
    }
    return 0;
}
