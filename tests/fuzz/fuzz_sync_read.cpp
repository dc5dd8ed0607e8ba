// Any bytes from a server, cut into reads where the input holds 0x1F: a
// connected client decodes each piece (UTF-8 or Windows-1252, a character
// cut at the end of a read) and reads it in virtual time, with a play's waits in
// which later reads nest, and must never crash or hang.  The first byte's
// low bit turns "Clock Start" on, so that the clock's answers and announced
// starts (any instant, any answer) are read too; each piece is also read as
// what a client may send a server with Clock Start.
#include "fake_net.h"
#include "fuzz_session.h"
#include "sheet/navigation.h"
#include "sync/network.h"
#include "sync/sync_install.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    mv::fuzz::FuzzSession f;
    mv::test::FakeNet net(f.clock);
    const auto sync = mv::installSync(f.s, net);
    mv::installNavigation(f.s);
    f.s.File1_MouseDown = [](int, int, double, double) {};
    f.s.WindowsMediaPlayer1_MouseDown = [&f](int, int, double, double) {
        f.s.pump.waitUntil(f.clock.tickMs() + 3000);
    };
    // Names beyond ASCII, so that reads decoded either way are matched too.
    f.s.velmor.File1List.set({QStringLiteral("Song.mp3"),
                              QStringLiteral("12 SONG B.MP3"),
                              {},
                              QStringLiteral("Калинка.pdf"),
                              QStringLiteral("Don’t Stop.pdf")});
    f.s.velmor.IPAddress.setText(QStringLiteral("127.0.0.1"));
    f.s.velmor.PortNr.setText(QStringLiteral("7000"));
    const auto server = net.endpoint();
    server->setLocalPort(7000);
    server->Listen();
    std::unique_ptr<mv::test::FakeSocket> link;
    server->onConnectionRequest = [&](long id) {
        link = net.endpoint();
        link->Accept(id);
    };
    f.s.velmor.ClockStart.set(size > 0 && (data[0] & 1));
    f.s.ConnectIt_Click();
    if (!link) __builtin_trap();
    const char* p = reinterpret_cast<const char*>(data);
    const char* end = p + size;
    while (p < end) {
        const char* cut = std::find(p, end, '\x1f');
        link->SendData(QByteArray(p, cut - p));
        for (const QString& ask : mv::clockAsks(QByteArrayView(p, cut - p)))
            if (mv::clockAnswerToken(ask, 0).size() > 64) __builtin_trap(); // bounded payloads
        f.clock.advanceBy(10);
        p = cut == end ? end : cut + 1;
    }
    f.clock.advanceBy(60000);
    return 0;
}
