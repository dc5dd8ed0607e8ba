#include "fakes.h"

#include "core/values.h"
#include "cursormap/cursor_fields.h"

#include <QFileInfo>

namespace mv::test {

void FakeMessages::msgBox(const QString& text, const QString&) { shown << text; }

bool FakeMessages::yesNo(const QString& text, const QString&) {
    shown << text;
    if (yesNoAnswers.empty()) return true;
    bool a = yesNoAnswers.front();
    yesNoAnswers.pop_front();
    return a;
}

std::optional<QString> FakeMessages::inputBox(const QString& prompt, const QString&,
                                              const QString&) {
    shown << prompt;
    if (inputAnswers.isEmpty()) return std::nullopt;
    const QString a = inputAnswers.takeFirst();
    if (a.isNull()) return std::nullopt;
    return a;
}

void FakePlayer::setURL(const QString& path) {
    log(QStringLiteral("URL(%1)").arg(path));
    url_ = path;
    posAtMark_ = 0;
    markTick_ = clock_.tickMs();
    state_ = path.isEmpty() ? 1 : 3;
}

void FakePlayer::setURLPaused(const QString& path) {
    log(QStringLiteral("URL(%1) held").arg(path));
    url_ = path;
    posAtMark_ = 0;
    state_ = 2;
}

void FakePlayer::close() {
    log(QStringLiteral("close"));
    url_.clear();
    state_ = 10;
    posAtMark_ = 0;
}

bool FakePlayer::settingsIsAvailable(const QString& what) const {
    return what == u"Rate" && rateAvailable && !url_.isEmpty();
}

void FakePlayer::setSettingsRate(double rate) {
    if (rate == rate_) return; // the loop sets it on every pass; log changes only
    posAtMark_ = controlsCurrentPosition();
    markTick_ = clock_.tickMs();
    rate_ = rate;
    log(QStringLiteral("rate(%1)").arg(numberText(rate)));
}

void FakePlayer::setSettingsVolume(int volume) {
    volume_ = std::clamp(volume, 0, 100);
    log(QStringLiteral("volume(%1)").arg(volume_));
}

void FakePlayer::controlsPlay() {
    log(QStringLiteral("play"));
    if (url_.isEmpty()) return;
    posAtMark_ = controlsCurrentPosition();
    markTick_ = clock_.tickMs();
    state_ = 3;
}

void FakePlayer::controlsPause() {
    log(QStringLiteral("pause"));
    if (url_.isEmpty()) return;
    posAtMark_ = controlsCurrentPosition();
    state_ = 2;
}

void FakePlayer::controlsStop() {
    log(QStringLiteral("stop"));
    posAtMark_ = 0;
    state_ = url_.isEmpty() ? 10 : 1;
}

void FakePlayer::controlsFastForward() {
    log(QStringLiteral("fastForward"));
    if (url_.isEmpty()) return;
    posAtMark_ = controlsCurrentPosition();
    markTick_ = clock_.tickMs();
    state_ = 4;
}

double FakePlayer::controlsCurrentPosition() const {
    if (state_ != 3 && state_ != 4) return posAtMark_;
    const double r = state_ == 4 ? 5.0 : musicSpeed(rate_);
    return posAtMark_ + double(clock_.tickMs() - markTick_) / 1000.0 * r;
}

void FakePlayer::setControlsCurrentPosition(double seconds) {
    log(QStringLiteral("position(%1)").arg(numberText(seconds)));
    posAtMark_ = seconds;
    markTick_ = clock_.tickMs();
}

void FakePlayer::setAudioDevice(const QString& name) {
    log(QStringLiteral("device(%1)").arg(name));
}

void FakeViewer::LoadFile(const QString& path) {
    log(QStringLiteral("LoadFile(%1)").arg(path));
    if (!QFileInfo(path).isFile()) throw Failure(53, QStringLiteral("File not found: ") + path);
    page = 1;
    shownPage.set(page);
}

void FakeViewer::unloadFile() { log(QStringLiteral("unloadFile")); }

void FakeViewer::gotoFirstPage() {
    log(QStringLiteral("gotoFirstPage"));
    page = 1;
    shownPage.set(page);
}

void FakeViewer::gotoNextPage() {
    log(QStringLiteral("gotoNextPage"));
    if (page < pageCount) ++page;
    shownPage.set(page);
}

void FakeViewer::gotoPreviousPage() {
    log(QStringLiteral("gotoPreviousPage"));
    if (page > 1) --page;
    shownPage.set(page);
}

void FakeViewer::setPageMode(const QString& mode) {
    log(QStringLiteral("setPageMode(%1)").arg(mode));
}

void FakeViewer::setZoom(float percent) {
    log(QStringLiteral("setZoom(%1)").arg(numberText(percent)));
}

void FakeBeeper::beep(int hz, int ms) {
    beeps.append({hz, ms});
    clock_.sleepBlocking(ms);
}

void attachSheetOne(Session& s, MediaPlayer& player, PdfViewer& viewer) {
    s.player = &player;
    s.adobeF.AcroPDF1 = &viewer;
    s.adobeF.Visible.set(true);
    installReadoutFields(s);
}

void FakeDisk::checkFolder(const QString& path) const {
    if (!lockedFolder.isEmpty() && QFileInfo(path).absolutePath() == lockedFolder)
        throw failures::pathFileAccess();
}

void FakeDisk::replace(const QString& path, QByteArrayView bytes) {
    checkFolder(path);
    // The temporary file is written before the rename: a disk without room
    // for all of it fails, and the old file stands.
    if (room >= 0 && bytes.size() > room) throw failures::pathFileAccess();
    const qint64 old = QFileInfo(path).size(); // its room comes back after the rename
    diskFiles().replace(path, bytes);
    if (room >= 0) room -= std::max<qint64>(0, bytes.size() - old);
    ++replaced;
}

std::unique_ptr<StreamFile> FakeDisk::stream(const QString& path, bool keep) {
    checkFolder(path);
    class Stream : public StreamFile {
      public:
        Stream(std::unique_ptr<StreamFile> real, qint64& room)
            : real_(std::move(real)), room_(room) {}
        qint64 write(QByteArrayView bytes) override {
            const qint64 fits = room_ < 0 ? bytes.size() : std::min<qint64>(room_, bytes.size());
            full_ = fits < bytes.size();
            if (fits == 0 && full_) return -1;
            const qint64 n = real_->write(bytes.first(fits));
            if (room_ >= 0 && n > 0) room_ -= n;
            return n;
        }
        bool diskFull() const override { return full_; }
        qint64 size() const override { return real_->size(); }
        bool truncate(qint64 length) override {
            const qint64 freed = real_->size() - length; // a cut gives its room back
            if (!real_->truncate(length)) return false;
            if (room_ >= 0) room_ += freed;
            return true;
        }

      private:
        std::unique_ptr<StreamFile> real_;
        qint64& room_;
        bool full_ = false;
    };
    return std::make_unique<Stream>(diskFiles().stream(path, keep), room);
}

} // namespace mv::test
