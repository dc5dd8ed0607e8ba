#pragma once
// What the web followers are told and what they may say, without any
// network: the map read as the play loop reads it, each tic placed on its
// page in the page's own coordinates, the JSON messages of the stream, the
// messages a browser sends, and the paths the web server answers.
//
// A follower animates the cursor itself: it gets the song's tics once, with
// their times from the map's zero, and then only the play clock (the server
// tick at which the map stood at a given time, and the rate it runs at).

#include <QByteArray>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <vector>

namespace mv::web {

// One tic as the play loop reads it from the map: its stored time and the
// texts of its place, scroll and page flags ("True" counts, as in the loop).
struct MapTic {
    double time = 0; // the Tic column, ms between clicks
    double x = 0, y = 0, scr = 0;
    bool next = false, prev = false;
};

// The tics of a map, read line by line with the play loop's rules: the
// header lines ("@", "%", "~", "#", "#1".."#6", "^") are passed over where
// the loop passes them over, and a tic cut short by the end of the file is
// kept as far as the loop would have moved it (a tic with no X line is not
// a move and is dropped).  At most `maxTics` are read.
std::vector<MapTic> readMapTics(const QStringList& lines, int maxTics = 30000);

// The sheet window's geometry for placing the tics, in twips and percent,
// as the setup and the sheet stand.
struct SheetPlacement {
    double ticOffset = .995; // Text5: the factor on every tic time
    double xOffset = 0, yOffset = 0;
    double scrollOffset = 500;
    double zoomIt = 100;        // scale of Y (percent)
    double zoomThis = 100;      // scale of the scroll value (percent)
    double viewerZoom = 100;    // the zoom the viewer draws the page at
    double viewerWidth = 14230; // the viewer's width: the strip's anchor - 50
    double viewerLeft = 0;      // the viewer's left in the window (twice PDFLeft)
    double viewerTop = 0;       // the viewer's top in the carrier
    bool noScroll = false;
    std::vector<QSizeF> pages; // each page's size in PDF points
};

// A tic as the follower shows it: `ms` from the map's zero at speed 1 (Tic
// Offset applied), the page on show after the tic (1-based, counted from
// page 1, turns clamped to the document as the viewer clamps them), the
// cursor's top-left and the page's point at the top of the window, all in
// PDF points of that page.
struct FollowerTic {
    double ms = 0;
    int page = 1;
    double x = 0, y = 0, top = 0;
};

std::vector<FollowerTic> placeTics(const std::vector<MapTic>& tics, const SheetPlacement& p);

// The page's point at the top of the window for a scroll value V.
double pageTopOf(double v, const SheetPlacement& p);

// The messages of the stream, each one JSON object with a "type".
struct SongInfo {
    int serial = 0; // changes with every song: the page images' addresses carry it
    QString name;
    std::vector<QSizeF> pages, pages2; // the two sheets' page sizes (points); empty: none
    std::vector<FollowerTic> tics, tics2;
    QSizeF cursor;  // the cursor's size in points on sheet 1 (sheet 2 alike)
    int page = 1;   // the page on show now
    double top = 0; // and the point at the window's top
};
QByteArray songMessage(const SongInfo& song);
// The play clock: at server tick `at` the map stood at `mapMs` and runs at
// `rate` map ms per tick ms (0: held on tic `tic`).
QByteArray clockMessage(double at, double mapMs, double rate, int tic);
QByteArray stopMessage();
// The page and scroll of the sheet, set by hand (not by a tic); during a
// play `tic` is the last tic moved (-1 before the first), else -1.
QByteArray viewMessage(int page, double top, int tic);
QByteArray speedMessage(double speed);
// The music fades out over `seconds`; the play stops with it.
QByteArray fadeMessage(double seconds);
QByteArray pongMessage(double clientStamp, double serverMs);
// The follower is in; `key` opens the page images (their "?key=").
QByteArray welcomeMessage(int followers, const QString& key);
// The PIN is asked for (`wrong`: the one given was not it), or with
// `waitSeconds` above 0: too many wrong ones were tried of late, none is
// looked at for that long.
QByteArray pinMessage(bool wrong, int waitSeconds = 0);
QByteArray fullMessage();
// The text the 65th follower reads, in the "full" message and as the reason
// of the close that follows it (a close reason holds at most 123 bytes).
QString fullText();
// The close code the 65th follower's stream ends with ("policy violated";
// Qt's own client refuses "try again later"); the page takes it as "do not
// reconnect by yourself".
constexpr int kCloseCodeFull = 1008;

// What a browser sent.  Anything else, or more than kMaxClientMessage
// bytes, is Unknown and ignored.
constexpr int kMaxClientMessage = 1024;
struct ClientMessage {
    enum class Kind { Unknown, Hello, Ping, Part } kind = Kind::Unknown;
    QString pin;      // Hello
    QString key;      // Hello: the key this device was given before, if any
    int part = 1;     // Hello, Part: 1 or 2
    double stamp = 0; // Ping: the browser's clock, echoed back
};
ClientMessage readClientMessage(const QByteArray& text);

// A request the web server answers.  Only these exist; every other path
// (and every path with "..", "%", a second "/" where none belongs) is
// NotFound.  No part of a path ever names a file.
struct Route {
    enum class Kind { NotFound, Page, Script, Style, Image, Stream } kind = Kind::NotFound;
    int serial = 0, part = 1, page = 1, width = 0; // Image: /sheet/SERIAL/PART/PAGE/WIDTH.png
    QString key;                                   // ?key=, for images
};
Route routeOf(const QString& path, const QString& query);

// The widths a page image is rendered at: from 200 to 2400 pixels, in
// steps of 100 (a device's width rounded up), so that a few images serve
// every device and the cache stays small.
int imageWidthFor(int asked);

} // namespace mv::web
