#pragma once
// Stand-ins for the platform layers whose behaviour and timing tests
// control: messages answered from a script, a player whose position follows
// the injected clock, a viewer that records its calls and its page.

#include "core/beeper.h"
#include "core/clock.h"
#include "core/messages.h"
#include "core/session_state.h"
#include "qt_print.h"
#include "sheet/pdf_viewer.h"
#include "transport/media_player.h"

#include <QStringList>
#include <deque>
#include <functional>

namespace mv::test {

// Records every message; answers questions and input boxes from queues
// (Yes and Cancel when a queue is empty).
class FakeMessages : public Messages {
  public:
    void msgBox(const QString& text, const QString& title = {}) override;
    bool yesNo(const QString& text, const QString& title = {}) override;
    std::optional<QString> inputBox(const QString& prompt, const QString& title = {},
                                    const QString& initial = {}) override;
    QStringList shown; // every text, in order
    std::deque<bool> yesNoAnswers;
    QStringList inputAnswers; // a null QString answers Cancel
};

// A player whose position runs on the clock while it plays, at the speed the
// real player gives a rate (musicSpeed: 0 plays at normal speed, a negative
// rate holds the music).  Every call is logged as "name(args)" in `calls`.
class FakePlayer : public MediaPlayer {
  public:
    explicit FakePlayer(const Clock& clock) : clock_(clock) {}
    void setURL(const QString& path) override;
    QString URL() const override { return url_; }
    void setURLPaused(const QString& path) override;
    void close() override;
    int playState() const override { return state_; }
    bool settingsIsAvailable(const QString& what) const override;
    void setSettingsRate(double rate) override;
    double settingsRate() const override { return rate_; }
    void setSettingsVolume(int volume) override;
    int settingsVolume() const override { return volume_; }
    void controlsPlay() override;
    void controlsPause() override;
    void controlsStop() override;
    void controlsFastForward() override;
    double controlsCurrentPosition() const override;
    void setControlsCurrentPosition(double seconds) override;
    QStringList audioDevices() const override { return devices; }
    void setAudioDevice(const QString& name) override;

    QStringList calls;
    QStringList devices{QStringLiteral("Speakers"), QStringLiteral("Headphones")};
    bool rateAvailable = true; // while a file is loaded

  private:
    void log(const QString& c) { calls << c; }
    const Clock& clock_;
    QString url_;
    int state_ = 10;
    double rate_ = 1.0;
    int volume_ = 50;
    double posAtMark_ = 0;
    int64_t markTick_ = 0;
};

// A viewer that keeps a page number and a page count, and logs its calls.
// LoadFile of a file that is not there fails as QtPdfViewer's does (53 "File
// not found"); a test makes any other call fail by throwing from onCall.
class FakeViewer : public PdfViewer {
  public:
    void LoadFile(const QString& path) override;
    void unloadFile() override;
    void gotoFirstPage() override;
    void gotoNextPage() override;
    void gotoPreviousPage() override;
    void setPageMode(const QString& mode) override;
    void setZoom(float percent) override;

    QStringList calls;
    int page = 1;
    int pageCount = 10;
    std::function<void(const QString&)> onCall; // sees every call as it is logged

  private:
    void log(const QString& c) {
        calls << c;
        if (onCall) onCall(c);
    }
};

class FakeBeeper : public Beeper {
  public:
    explicit FakeBeeper(Clock& clock) : clock_(clock) {}
    void beep(int hz, int ms) override;
    void setAudioDevice(const QString& name) override { device = name; }
    QList<QPair<int, int>> beeps;
    QString device;

  private:
    Clock& clock_;
};

// The local disk with its failures at hand: a folder in which no file can
// be created, and a number of bytes left, after which writes fail as on a
// full disk (a stream's write falls short and then writes nothing; a
// replacement that does not fit fails whole and leaves the old file).
// Reads and what fits go to the real files.
class FakeDisk : public FileLayer {
  public:
    QByteArray read(const QString& path) override { return diskFiles().read(path); }
    void replace(const QString& path, QByteArrayView bytes) override;
    std::unique_ptr<StreamFile> stream(const QString& path, bool keep) override;
    qint64 pageSize() const override { return diskFiles().pageSize(); }
    QString lockedFolder; // absolute path; empty: none
    qint64 room = -1;     // bytes left; -1: no limit
    int replaced = 0;     // files replaced whole

  private:
    void checkFolder(const QString& path) const;
};

// Sheet window 1 shown over `viewer`, `player` as the player, and the
// readout fields wired as in the program.
void attachSheetOne(Session& s, MediaPlayer& player, PdfViewer& viewer);

} // namespace mv::test
