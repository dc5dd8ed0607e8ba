// The alignment's worker behind its progress dialog, offscreen: starting it
// returns at once (a play underneath keeps its times), Cancel ends it with
// no result, a failure becomes a message, and a second one waits its turn.

#include "align/align_window.h"
#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "cursormap/play_loop.h"
#include "stage.h"
#include "test_files.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <thread>

using namespace mv;
using namespace mv::align;
using namespace mv::test;

namespace {

QProgressDialog* progressDialog() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QProgressDialog*>(w); d && d->isVisible()) return d;
    return nullptr;
}

// Work that runs for `ms` of real time, or until it is cancelled.
std::function<MapResult(const Progress&)> working(int ms) {
    return [ms](const Progress& p) {
        for (int i = 0; i < ms && !p.cancelled(); ++i) {
            p.at(i % 100);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        MapResult r;
        r.tics = 7;
        r.cancelled = p.cancelled();
        return r;
    };
}

bool ended() {
    return runUntil([] { return !alignmentRunning(); }, 10000);
}

} // namespace

TEST(AlignProgress, APlayUnderneathKeepsItsTicTimes) {
    Stage st;
    Session& s = st.s;
    s.player = &st.player;
    s.adobeF.AcroPDF1 = &st.viewer;
    installReadoutFields(s);
    st.player.setURL(QStringLiteral("/songs/a.mp3"));
    QStringList counts;
    const int64_t t0 = st.clock.tickMs();
    s.adobeF.Text3.always(
        [&] { counts << QString::number(st.clock.tickMs() - t0) + ' ' + s.adobeF.Text3.text(); });
    // A transfer's work is started from inside the play's first tic wait,
    // as the menu entry would be while a play runs.
    std::optional<int> done;
    st.clock.at(t0 + 500, [&] {
        startWithProgress(s, nullptr, QStringLiteral("Working"), working(300),
                          [&done](const MapResult& r) { done = r.tics; });
    });
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("song.map"));
    ASSERT_TRUE(writeFile(path, crlf(kMapHeader + rec("2000", "1", "2", "0") +
                                     rec("1000", "3", "4", "0") + rec("1500", "5", "6", "0"))));
    s.files.open(1, path, FileMode::Input);
    s.g.PlayStartTick = t0;
    playLoop(s);
    // Each tic at its time (x .995), as with no work running.
    EXPECT_EQ(counts, (QStringList{"0 0", "1991 1", "2987 2"}));
    ASSERT_TRUE(ended());
    EXPECT_EQ(done, 7);
    EXPECT_TRUE(st.messages.shown.isEmpty());
}

TEST(AlignProgress, CancelFailureAndASecondWorkMeanwhile) {
    Stage st;
    bool done = false;
    const auto mark = [&done](const MapResult&) { done = true; };
    // Cancel: the dialog goes, nothing is handed on.
    ASSERT_TRUE(startWithProgress(st.s, nullptr, QStringLiteral("Working"), working(10000), mark));
    ASSERT_NE(progressDialog(), nullptr);
    // A second one while the first runs is refused with a message.
    EXPECT_FALSE(startWithProgress(st.s, nullptr, QStringLiteral("Working"), working(1), mark));
    progressDialog()->findChild<QPushButton*>()->click();
    ASSERT_TRUE(ended());
    runFor(50);
    EXPECT_FALSE(done);
    EXPECT_EQ(progressDialog(), nullptr);
    EXPECT_EQ(st.messages.shown.size(), 1);
    // A failure of the work is said.
    st.messages.shown.clear();
    ASSERT_TRUE(startWithProgress(
        st.s, nullptr, QStringLiteral("Working"),
        [](const Progress&) -> MapResult { throw AlignError("The map has no tics."); }, mark));
    ASSERT_TRUE(ended());
    EXPECT_FALSE(done);
    EXPECT_EQ(st.messages.shown, QStringList{QStringLiteral("The map has no tics.")});
}
