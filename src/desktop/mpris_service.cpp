#include "desktop/mpris_service.h"

#include "desktop/media_controls.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace mv {

namespace {

const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");

} // namespace

MprisRoot::MprisRoot(QObject* parent, MediaControls& controls)
    : QDBusAbstractAdaptor(parent), c_(controls) {}

void MprisRoot::Raise() {
    if (c_.raise) c_.raise();
}

void MprisRoot::Quit() {
    if (c_.quit) c_.quit();
}

MprisPlayer::MprisPlayer(QObject* parent, MediaControls& controls)
    : QDBusAbstractAdaptor(parent), c_(controls) {
    connect(&controls, &MediaControls::seeked, this, &MprisPlayer::Seeked);
}

QVariantMap MprisPlayer::forBus(QVariantMap m) {
    const QString id = m.value(QStringLiteral("mpris:trackid")).toString();
    m[QStringLiteral("mpris:trackid")] = QVariant::fromValue(QDBusObjectPath(id));
    return m;
}

QString MprisPlayer::playbackStatus() const { return c_.playbackStatus(); }
QVariantMap MprisPlayer::metadata() const { return forBus(c_.metadata()); }
qlonglong MprisPlayer::position() const { return c_.positionUs(); }
double MprisPlayer::volume() const { return c_.volume(); }
void MprisPlayer::setVolume(double v) { c_.setVolume(v); }
double MprisPlayer::rate() const { return c_.rate(); }
void MprisPlayer::setRate(double r) { c_.setRate(r); }
double MprisPlayer::minimumRate() const { return MediaControls::kMinimumRate; }
double MprisPlayer::maximumRate() const { return MediaControls::kMaximumRate; }
bool MprisPlayer::canGoNext() const { return c_.canGoNext(); }
bool MprisPlayer::canGoPrevious() const { return c_.canGoPrevious(); }
bool MprisPlayer::canPlay() const { return c_.canPlay(); }
bool MprisPlayer::canPause() const { return c_.canPause(); }
bool MprisPlayer::canSeek() const { return c_.canSeek(); }
void MprisPlayer::Play() { c_.play(); }
void MprisPlayer::Pause() { c_.pause(); }
void MprisPlayer::PlayPause() { c_.playPause(); }
void MprisPlayer::Stop() { c_.stop(); }
void MprisPlayer::Next() { c_.next(); }
void MprisPlayer::Previous() { c_.previous(); }
void MprisPlayer::Seek(qlonglong offset) { c_.seek(offset); }
void MprisPlayer::SetPosition(const QDBusObjectPath& id, qlonglong pos) {
    c_.setPosition(id.path(), pos);
}

void MprisPlayer::OpenUri(const QString&, const QDBusMessage& call) {
    call.setDelayedReply(true);
    QDBusConnection::sessionBus().send(call.createErrorReply(
        QDBusError::NotSupported, QStringLiteral("Songs are opened from the song list only")));
}

bool registerMpris(MediaControls& controls, QString* why) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        if (why) *why = QStringLiteral("no D-Bus session bus");
        return false;
    }
    // The adaptors hang on one object that the controls own.
    auto* object = new QObject(&controls);
    new MprisRoot(object, controls);
    new MprisPlayer(object, controls);
    if (!bus.registerObject(kPath, object, QDBusConnection::ExportAdaptors)) {
        delete object;
        if (why) *why = QStringLiteral("the object path is taken");
        return false;
    }
    // A second program takes a name of its own, as the interface allows.
    const QString name = QStringLiteral("org.mpris.MediaPlayer2.mellivane");
    if (!bus.registerService(name) &&
        !bus.registerService(name + QStringLiteral(".instance") +
                             QString::number(QCoreApplication::applicationPid()))) {
        bus.unregisterObject(kPath);
        delete object;
        if (why) *why = bus.lastError().message();
        return false;
    }
    QObject::connect(&controls, &MediaControls::changed, object, [](const QVariantMap& props) {
        QVariantMap changed = props;
        if (changed.contains(QStringLiteral("Metadata")))
            changed[QStringLiteral("Metadata")] =
                MprisPlayer::forBus(changed.value(QStringLiteral("Metadata")).toMap());
        QDBusMessage signal =
            QDBusMessage::createSignal(kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                       QStringLiteral("PropertiesChanged"));
        signal << QStringLiteral("org.mpris.MediaPlayer2.Player") << changed << QStringList();
        QDBusConnection::sessionBus().send(signal);
    });
    return true;
}

} // namespace mv
