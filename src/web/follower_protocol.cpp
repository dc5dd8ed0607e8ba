#include "web/follower_protocol.h"

#include "core/values.h"
#include "sheet/page_geometry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrlQuery>
#include <algorithm>
#include <cmath>

namespace mv::web {

namespace {

// Two decimals are far below a pixel on any device and keep a long map's
// message small.
double r2(double v) { return std::isfinite(v) ? std::round(v * 100) / 100 : 0; }

QByteArray json(const QJsonObject& o) { return QJsonDocument(o).toJson(QJsonDocument::Compact); }

QJsonArray sizes(const std::vector<QSizeF>& pages) {
    QJsonArray a;
    for (const QSizeF& p : pages)
        a.append(QJsonArray{r2(p.width()), r2(p.height())});
    return a;
}

QJsonArray ticsArray(const std::vector<FollowerTic>& tics) {
    QJsonArray a;
    for (const FollowerTic& t : tics)
        a.append(QJsonArray{r2(t.ms), t.page, r2(t.x), r2(t.y), r2(t.top)});
    return a;
}

// A whole number of at most six digits, nothing else; -1 otherwise.
int smallNumber(QStringView s) {
    if (s.isEmpty() || s.size() > 6) return -1;
    int n = 0;
    for (QChar c : s) {
        if (c < u'0' || c > u'9') return -1;
        n = n * 10 + (c.unicode() - u'0');
    }
    return n;
}

} // namespace

std::vector<MapTic> readMapTics(const QStringList& lines, int maxTics) {
    std::vector<MapTic> out;
    qsizetype i = 0;
    const qsizetype n = lines.size();
    auto eof = [&] { return i >= n; };
    // A read past the end ends the play loop by a failure: here, the reading.
    struct PastEnd {};
    auto next = [&]() -> const QString& {
        if (eof()) throw PastEnd{};
        return lines[i++];
    };
    MapTic last; // what a tic cut short keeps of the one before
    try {
        while (!eof() && int(out.size()) < maxTics) {
            QString L = next();
            if (L.contains(u'@')) L = next();
            if (L.contains(u'%')) L = next();
            if (L.contains(u'~')) continue;
            if (L.endsWith(u'#')) {
                if (eof()) break;
                L = next();
            }
            bool ended = false;
            for (int k = 1; k <= 6 && !ended; ++k) {
                if (!L.contains(QStringLiteral("#%1").arg(k))) continue;
                if (eof())
                    ended = true;
                else
                    L = next();
            }
            if (ended) break;
            if (L.contains(u'^')) L = next();
            if (L.contains(u'^')) L = next();
            MapTic t = last;
            t.time = val(L);
            t.next = t.prev = false;
            if (eof()) break;
            t.x = val(next());
            // From here on the tic has moved the cursor, however it ends.
            struct Keep {
                std::vector<MapTic>& out;
                MapTic& t;
                MapTic& last;
                ~Keep() {
                    out.push_back(t);
                    last = t;
                }
            } keep{out, t, last};
            if (eof()) break;
            t.y = val(next());
            if (eof()) break;
            t.scr = val(next());
            if (eof()) break;
            t.next = isTrueText(next());
            if (eof()) break;
            t.prev = isTrueText(next());
        }
    } catch (const PastEnd&) {
    }
    return out;
}

double pageTopOf(double v, const SheetPlacement& p) {
    return (v - p.viewerTop - page::kTopMarginTwips) / page::scale(p.viewerZoom);
}

std::vector<FollowerTic> placeTics(const std::vector<MapTic>& tics, const SheetPlacement& p) {
    std::vector<FollowerTic> out;
    out.reserve(tics.size());
    const double scale = page::scale(p.viewerZoom > 0 ? p.viewerZoom : 100);
    const int pageCount = std::max<int>(1, int(p.pages.size()));
    int page = 1;
    double ms = 0;
    for (const MapTic& t : tics) {
        ms += t.time * p.ticOffset;
        double y = t.y, scr = t.scr;
        if (p.noScroll && scr > 0) { // the cursor travels down instead of the page
            y += scr;
            scr = 0;
        }
        if (t.next) page = std::min(page + 1, pageCount);
        if (t.prev) page = std::max(page - 1, 1);
        const double v = std::round((scr + p.scrollOffset) * (p.zoomThis / 100));
        const QSizeF size = p.pages.empty() ? QSizeF(612, 792) : p.pages[size_t(page - 1)];
        const double left = page::pageLeft(p.viewerWidth, size.width(), p.viewerZoom);
        FollowerTic f;
        f.ms = ms;
        f.page = page;
        f.x = (t.x + p.xOffset - p.viewerLeft - left) / scale;
        f.y =
            ((y + p.yOffset) * (p.zoomIt / 100) + v - p.viewerTop - page::kTopMarginTwips) / scale;
        f.top = pageTopOf(v, p);
        out.push_back(f);
    }
    return out;
}

QByteArray songMessage(const SongInfo& song) {
    return json({{"type", "song"},
                 {"serial", song.serial},
                 {"name", song.name},
                 {"pages", sizes(song.pages)},
                 {"pages2", sizes(song.pages2)},
                 {"tics", ticsArray(song.tics)},
                 {"tics2", ticsArray(song.tics2)},
                 {"cursor", QJsonArray{r2(song.cursor.width()), r2(song.cursor.height())}},
                 {"page", song.page},
                 {"top", r2(song.top)}});
}

QByteArray clockMessage(double at, double mapMs, double rate, int tic) {
    return json({{"type", "clock"}, {"at", at}, {"map", mapMs}, {"rate", rate}, {"tic", tic}});
}

QByteArray stopMessage() { return json({{"type", "stop"}}); }

QByteArray viewMessage(int page, double top, int tic) {
    return json({{"type", "view"}, {"page", page}, {"top", r2(top)}, {"tic", tic}});
}

QByteArray speedMessage(double speed) { return json({{"type", "speed"}, {"speed", speed}}); }

QByteArray fadeMessage(double seconds) {
    return json({{"type", "fade"}, {"seconds", r2(seconds)}});
}

QByteArray pongMessage(double clientStamp, double serverMs) {
    return json({{"type", "pong"}, {"c", clientStamp}, {"s", serverMs}});
}

QByteArray welcomeMessage(int followers, const QString& key) {
    return json({{"type", "welcome"}, {"followers", followers}, {"key", key}});
}

QByteArray pinMessage(bool wrong, int waitSeconds) {
    if (waitSeconds > 0) return json({{"type", "pin"}, {"wrong", false}, {"wait", waitSeconds}});
    return json({{"type", "pin"}, {"wrong", wrong}});
}

QString fullText() {
    return QStringLiteral("This band already has 64 followers, the most the server takes. "
                          "Close the page on a device no longer needed, then reload.");
}

QByteArray fullMessage() { return json({{"type", "full"}, {"text", fullText()}}); }

ClientMessage readClientMessage(const QByteArray& text) {
    ClientMessage m;
    if (text.size() > kMaxClientMessage) return m;
    const QJsonObject o = QJsonDocument::fromJson(text).object();
    const QString type = o.value(QLatin1String("type")).toString();
    auto part = [&o] { return o.value(QLatin1String("part")).toInt(1) == 2 ? 2 : 1; };
    if (type == u"hello") {
        m.kind = ClientMessage::Kind::Hello;
        m.pin = o.value(QLatin1String("pin")).toString().left(32);
        m.key = o.value(QLatin1String("key")).toString().left(64);
        m.part = part();
    } else if (type == u"ping") {
        const QJsonValue c = o.value(QLatin1String("c"));
        if (!c.isDouble() || !std::isfinite(c.toDouble())) return m;
        m.kind = ClientMessage::Kind::Ping;
        m.stamp = c.toDouble();
    } else if (type == u"part") {
        m.kind = ClientMessage::Kind::Part;
        m.part = part();
    }
    return m;
}

Route routeOf(const QString& path, const QString& query) {
    Route r;
    if (path == u"/" || path == u"/index.html")
        r.kind = Route::Kind::Page;
    else if (path == u"/follower.js")
        r.kind = Route::Kind::Script;
    else if (path == u"/follower.css")
        r.kind = Route::Kind::Style;
    else if (path == u"/stream")
        r.kind = Route::Kind::Stream;
    else if (path.startsWith(u"/sheet/") && path.endsWith(u".png")) {
        const QStringView rest = QStringView(path).mid(7).chopped(4);
        const QList<QStringView> parts = rest.split(u'/');
        if (parts.size() != 4) return r;
        const int serial = smallNumber(parts[0]), part = smallNumber(parts[1]),
                  page = smallNumber(parts[2]), width = smallNumber(parts[3]);
        if (serial < 0 || (part != 1 && part != 2) || page < 1 || width < 1) return r;
        r = {Route::Kind::Image, serial, part, page, width, {}};
        r.key = QUrlQuery(query).queryItemValue(QStringLiteral("key")).left(64);
    }
    return r;
}

int imageWidthFor(int asked) { return std::clamp((asked + 99) / 100 * 100, 200, 2400); }

} // namespace mv::web
