#pragma once
// The media controls on the session bus, as the MPRIS interfaces
// org.mpris.MediaPlayer2 and org.mpris.MediaPlayer2.Player at
// /org/mpris/MediaPlayer2, under the name org.mpris.MediaPlayer2.mellivane
// (org.mpris.MediaPlayer2.mellivane.instance<pid> when a second program
// holds that name).  The adaptors only translate: every call goes to
// MediaControls, every change comes from it as PropertiesChanged or Seeked.

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

namespace mv {

class MediaControls;

// org.mpris.MediaPlayer2
class MprisRoot : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ canQuit)
    Q_PROPERTY(bool CanRaise READ canRaise)
    Q_PROPERTY(bool HasTrackList READ hasTrackList)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ supportedUriSchemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ supportedMimeTypes)
  public:
    MprisRoot(QObject* parent, MediaControls& controls);
    bool canQuit() const { return true; }
    bool canRaise() const { return true; }
    bool hasTrackList() const { return false; }
    QString identity() const { return QStringLiteral("Mellivane"); }
    QString desktopEntry() const { return QStringLiteral("mellivane"); }
    QStringList supportedUriSchemes() const { return {}; }
    QStringList supportedMimeTypes() const { return {}; }

  public slots:
    void Raise();
    void Quit();

  private:
    MediaControls& c_;
};

// org.mpris.MediaPlayer2.Player
class MprisPlayer : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    // Written out for one annotation: Position changes all the time and is
    // never sent as a change (the Seeked signal tells its jumps).
    Q_CLASSINFO("D-Bus Introspection",
                "<interface name=\"org.mpris.MediaPlayer2.Player\">"
                "<method name=\"Next\"/><method name=\"Previous\"/><method name=\"Pause\"/>"
                "<method name=\"PlayPause\"/><method name=\"Stop\"/><method name=\"Play\"/>"
                "<method name=\"Seek\"><arg name=\"Offset\" type=\"x\" direction=\"in\"/></method>"
                "<method name=\"SetPosition\"><arg name=\"TrackId\" type=\"o\" direction=\"in\"/>"
                "<arg name=\"Position\" type=\"x\" direction=\"in\"/></method>"
                "<method name=\"OpenUri\"><arg name=\"Uri\" type=\"s\" direction=\"in\"/></method>"
                "<signal name=\"Seeked\"><arg name=\"Position\" type=\"x\"/></signal>"
                "<property name=\"PlaybackStatus\" type=\"s\" access=\"read\"/>"
                "<property name=\"Rate\" type=\"d\" access=\"readwrite\"/>"
                "<property name=\"Metadata\" type=\"a{sv}\" access=\"read\">"
                "<annotation name=\"org.qtproject.QtDBus.QtTypeName\" value=\"QVariantMap\"/>"
                "</property>"
                "<property name=\"Volume\" type=\"d\" access=\"readwrite\"/>"
                "<property name=\"Position\" type=\"x\" access=\"read\">"
                "<annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" "
                "value=\"false\"/></property>"
                "<property name=\"MinimumRate\" type=\"d\" access=\"read\"/>"
                "<property name=\"MaximumRate\" type=\"d\" access=\"read\"/>"
                "<property name=\"CanGoNext\" type=\"b\" access=\"read\"/>"
                "<property name=\"CanGoPrevious\" type=\"b\" access=\"read\"/>"
                "<property name=\"CanPlay\" type=\"b\" access=\"read\"/>"
                "<property name=\"CanPause\" type=\"b\" access=\"read\"/>"
                "<property name=\"CanSeek\" type=\"b\" access=\"read\"/>"
                "<property name=\"CanControl\" type=\"b\" access=\"read\"/>"
                "</interface>")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(double MinimumRate READ minimumRate)
    Q_PROPERTY(double MaximumRate READ maximumRate)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)
  public:
    MprisPlayer(QObject* parent, MediaControls& controls);
    QString playbackStatus() const;
    QVariantMap metadata() const;
    qlonglong position() const;
    double volume() const;
    void setVolume(double v);
    double rate() const;
    void setRate(double r);
    double minimumRate() const;
    double maximumRate() const;
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canPlay() const;
    bool canPause() const;
    bool canSeek() const;
    bool canControl() const { return true; }
    // The metadata map with its track id as an object path, as the bus wants it.
    static QVariantMap forBus(QVariantMap metadata);

  public slots:
    void Play();
    void Pause();
    void PlayPause();
    void Stop();
    void Next();
    void Previous();
    void Seek(qlonglong Offset);
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position);
    // Opens nothing (songs come from the list; SupportedUriSchemes is empty):
    // answered with org.freedesktop.DBus.Error.NotSupported.
    void OpenUri(const QString& uri, const QDBusMessage& call);

  signals:
    void Seeked(qlonglong Position);

  private:
    MediaControls& c_;
};

// Registers the controls on the session bus.  False, with nothing
// registered, when there is no session bus or the name cannot be had;
// `why` then says what failed.
bool registerMpris(MediaControls& controls, QString* why);

} // namespace mv
