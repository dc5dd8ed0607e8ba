#pragma once
// The web followers, wired into the program: the "Web Port" and "Web PIN"
// setup fields (kept in "Mellivane.conf"), the web server started beside the
// server's listening socket at start-up, the song told to the followers at
// every selection, and the address and the count of followers shown on the
// main window.

#include <QImage>
#include <QString>
#include <memory>

namespace mv {

struct Session;
struct StartupHooks;

namespace web {
class FollowerHub;
class WebServer;
} // namespace web

class WebFollowers {
  public:
    explicit WebFollowers(Session& s);
    ~WebFollowers();
    // Starts serving when "I Am A Server" is on and the web port is not 0:
    // WebAddress then shows what to open.  A port that cannot be opened is
    // told in a message; the rest of the program goes on.
    void start();
    web::FollowerHub& hub() { return *hub_; }

  private:
    Session& s_;
    std::unique_ptr<web::FollowerHub> hub_;
    std::unique_ptr<web::WebServer> server_;
};

// The port the web server uses: the "Web Port" field, or when it is empty
// the "Port:" field + 1; 0 for none (also when neither holds a port).
int webPortOf(const QString& webPort, const QString& tcpPort);

// The address a device on the band's network opens: the computer's first
// non-loopback IPv4 address (else 127.0.0.1) and the port.
QString followerAddress(int port);

// A QR code of `text`, one pixel a module with a quiet zone of four; a null
// image when the text cannot be encoded.
QImage qrCode(const QString& text);

// Adds the settings, wraps the song selection and the listening step of
// start-up.  Call after the sync's and the song loading's install; keep the
// object as long as the session runs.
[[nodiscard]] std::unique_ptr<WebFollowers> installWeb(Session& s, StartupHooks& hooks);

} // namespace mv
