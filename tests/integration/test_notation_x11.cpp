// The X11 notation driver over xdotool, on a real display with a window
// manager, driving the stand-in viewer (standin/): the song-load keys reach
// it in order, a name with blanks arrives whole, shut-down's keys close it,
// a viewer that has gone cannot be activated; a window is found by its
// title and through a wrapper script; a Wayland session is refused; the
// driver's failure paths over a stand-in xdotool.  Run
// by with_openbox.sh; MV_STANDIN names the stand-in.

#include "core/session_state.h"
#include "core/setup_screen.h"
#include "core/startup.h"
#include "core/values.h"
#include "failure_number.h"
#include "fakes.h"
#include "notation/notation_install.h"
#include "notation/xdotool_driver.h"
#include "test_files.h"
#include "transport/song_loading.h"

#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

class NotationX11 : public ::testing::Test {
  protected:
    NotationX11() {
        // The stand-in inherits these: its log, and the X11 display (this
        // test's own windows would be offscreen).
        qputenv("MV_STANDIN_LOG", dir.filePath("standin.log").toUtf8());
        qputenv("QT_QPA_PLATFORM", "xcb");
        s.player = &player;
        installSetupScreen(s);
        installSongLoading(s);
        installNotation(s, driver, &hooks);
        s.showSheet1 = [this] { s.adobeF.Visible.set(true); };
        s.unloadSheet1 = [this] { s.adobeF.Visible.set(false); };
        s.configDir = dir.path();
        s.velmor.Text1.setText(dir.path());
    }
    // The stand-in's log; it becomes active when it first shows, and again
    // when it is brought to the front: one line for a run of them.
    QStringList log() const {
        QStringList lines;
        for (const QString& l :
             QString::fromUtf8(readFile(dir.filePath("standin.log"))).split('\n'))
            if (!l.isEmpty() && (l != "activated" || lines.value(lines.size() - 1) != l))
                lines << l;
        return lines;
    }
    // Waits for `line` in the log; the log in the failure message.
    ::testing::AssertionResult logHas(const QString& line) {
        if (runUntil([&] { return log().contains(line); }, 5000))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << log().join('\n').toStdString();
    }

    QTemporaryDir dir;
    SystemClock clock;
    FakeMessages messages;
    Session s{clock, messages};
    FakePlayer player{clock};
    XdotoolDriver driver{s.pump};
    StartupHooks hooks;
    const QString standIn = qEnvironmentVariable("MV_STANDIN");
};

TEST_F(NotationX11, SongLoadReachesTheViewerInOrderAndShutDownClosesIt) {
    ASSERT_EQ(driver.unavailableReason(), "");
    s.velmor.Text3.setText(standIn);
    s.velmor.CNWC.set(1);
    const int32_t id = s.velmor.NWCId;
    ASSERT_GT(id, 0) << "the stand-in did not start";
    EXPECT_EQ(s.velmor.LoadPDF.get(), 0);
    // Found by its title too, minimised as it is.
    EXPECT_THROW(driver.activateTitle("No Such Window Title"), Failure);
    EXPECT_NO_THROW(driver.activateTitle("Stand-in Viewer"));

    const QString name = "My Song Name";
    ASSERT_TRUE(writeFile(dir.filePath(name + ".mp3")));
    s.velmor.File1List.set({name + ".mp3"});
    s.velmor.File1ListIndex.set(0);
    s.File1_MouseDown(1, 0, 10, 10);
    EXPECT_EQ(messages.shown, QStringList());
    ASSERT_TRUE(logHas("open " + name));
    // From the last activation before the first Enter: the keys of File,
    // Open, the name, Enter.
    QStringList want{"activated", "key Enter", "key Alt+F", "key O"};
    for (QChar c : name)
        want << "key " + QString(c);
    want += QStringList{"key Enter", "open " + name};
    const QStringList got = log();
    const qsizetype from = got.lastIndexOf("activated", got.indexOf("key Enter"));
    ASSERT_GE(from, 0) << got.join('\n').toStdString();
    EXPECT_EQ(got.mid(from), want);

    shutDown(s, hooks);
    EXPECT_TRUE(logHas("exit"));
    EXPECT_TRUE(runUntil([id] { return ::kill(id, 0) != 0; }, 5000)) << "the stand-in still runs";
    EXPECT_THROW(driver.activateTask(id), Failure);
    // With no window activated, keys are refused rather than typed anywhere.
    EXPECT_THROW(driver.sendKeys("x"), Failure);
}

// A wrapper script that starts the viewer as its child (as one that runs it
// under Wine does): the viewer's window is found through the script's task.
// A Wayland session is refused even with a display.  A platform list
// that fell back to xcb is not.
TEST_F(NotationX11, AViewerStartedByAWrapperScriptIsFound) {
    const QString wrapper = dir.filePath("viewer.sh");
    ASSERT_TRUE(writeFile(wrapper, ("#!/bin/sh\n\"" + standIn + "\"\n").toUtf8()));
    QFile::setPermissions(wrapper, QFile::permissions(wrapper) | QFileDevice::ExeOwner);
    const int32_t id = driver.start(wrapper);
    EXPECT_NO_THROW(driver.activateTask(id));
    EXPECT_NO_THROW(driver.sendKeys("x"));
    EXPECT_TRUE(logHas("key x"));
    EXPECT_NO_THROW(driver.sendKeys("%-")); // Alt with a key that is no letter
    EXPECT_TRUE(logHas("key Alt+-"));
    EXPECT_NO_THROW(driver.sendKeys("%FX"));
    EXPECT_TRUE(logHas("exit"));

    // What counts is the platform in use: a list that fell back to xcb is X11.
    qputenv("QT_QPA_PLATFORM", "wayland;xcb");
    EXPECT_EQ(driver.unavailableReason(), "");
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("XDG_SESSION_TYPE", "wayland");
    EXPECT_TRUE(driver.unavailableReason().contains("X11 session"));
    EXPECT_THROW(driver.start(standIn), Failure);
    qunsetenv("XDG_SESSION_TYPE");
}

// The driver's failure paths, over a stand-in xdotool that logs its runs:
// a program that is not there, an xdotool run that fails, one that hangs
// (killed at its time limit, the keys released after), no xdotool at all.
TEST_F(NotationX11, XdotoolRunsThatFailHangOrAreMissingAreFailuresNeverAHang) {
    const QString xdoLog = dir.filePath("xdo.log"), broken = dir.filePath("broken");
    const QString fakeXdo = dir.filePath("xdotool"), viewer = dir.filePath("viewer.sh");
    ASSERT_TRUE(writeFile(fakeXdo, ("#!/bin/sh\necho \"$*\" >> '" + xdoLog + "'\n" + "[ -e '" +
                                    broken + "' ] && exit 1\ncase $1 in\n" +
                                    "search|getactivewindow) echo 4242 ;;\n" +
                                    "type) exec sleep 30 ;;\nesac\n")
                                       .toUtf8()));
    ASSERT_TRUE(writeFile(viewer, "#!/bin/sh\nexec sleep 30\n"));
    for (const QString& f : {fakeXdo, viewer})
        QFile::setPermissions(f, QFile::permissions(f) | QFileDevice::ExeOwner);
    XdotoolDriver fake(s.pump, fakeXdo);
    const auto runs = [&] { return QString::fromUtf8(readFile(xdoLog)).split('\n'); };

    EXPECT_EQ(failureNumber([&] { fake.start(dir.filePath("no-such-viewer")); }), 53);
    const int32_t id = fake.start(viewer);
    ASSERT_GT(id, 0);
    EXPECT_TRUE(runs().contains("windowminimize 4242"));
    EXPECT_NO_THROW(fake.activateTask(id));
    // `type` hangs: killed at its limit (3 s and 20 ms a character), then
    // every modifier released, and the keys fail.
    const int64_t before = clock.tickMs();
    const QString text(60, 'a');
    EXPECT_EQ(failureNumber([&] { fake.sendKeys(text); }), 5);
    EXPECT_NEAR(double(clock.tickMs() - before), 4200, 500);
    EXPECT_EQ(runs().mid(runs().size() - 3, 2),
              QStringList({"type --clearmodifiers -- " + text, "keyup alt shift ctrl Return"}));
    // An xdotool that fails: nothing is typed into whatever has the focus.
    ASSERT_TRUE(writeFile(broken, ""));
    EXPECT_EQ(failureNumber([&] { fake.sendKeys("c"); }), 5);
    EXPECT_FALSE(runs().contains("type --clearmodifiers -- c"));
    ::kill(id, SIGKILL);

    XdotoolDriver missing(s.pump, dir.filePath("no-xdotool"));
    EXPECT_TRUE(missing.unavailableReason().contains("\"xdotool\""));
    EXPECT_EQ(failureNumber([&] { missing.start(viewer); }), 5);
}

} // namespace
