// Any bytes a browser sends on the stream, cut into messages where the input
// holds 0x1F, to a follower of a hub with a PIN and a song playing: the
// hub must never crash, and must only ever answer with bounded messages.
#include "fuzz_session.h"
#include "web/follower_hub.h"

#include <algorithm>

namespace {

struct Link : mv::web::FollowerLink {
    qint64 queued = 0;
    void sendText(const QByteArray& text) override {
        queued += text.size();
        if (text.size() > 64 * 1024) __builtin_trap();
    }
    qint64 queuedBytes() const override { return queued; }
    void closeLink() override {}
    void refuse(const QString&) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mv::fuzz::FuzzSession f;
    mv::web::FollowerHub hub(f.s, [](const QString&) { return std::vector<QSizeF>{}; });
    f.s.velmor.WebPin.setText(QStringLiteral("4711"));
    hub.refreshSong();
    f.s.g.MapPlaying.set(true);
    Link a, b;
    hub.join(&a);
    hub.join(&b);
    hub.receive(&b, R"({"type":"hello","pin":"4711"})");
    const char* p = reinterpret_cast<const char*>(data);
    const char* end = p + size;
    while (p < end) {
        const char* cut = std::find(p, end, '\x1f');
        hub.receive(&a, QByteArray(p, cut - p));
        hub.receive(&b, QByteArray(p, cut - p));
        p = cut == end ? end : cut + 1;
    }
    return 0;
}
