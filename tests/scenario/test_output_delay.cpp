// Output Delay: kept per audio output in "OutputDelay.txt" (switching the
// output shows its own delay, the file round-trips, an output not in it gets
// 0, a damaged file reads as far as it makes sense), and the Measure window's
// median from taps scripted on the virtual clock.

#include "core/file_numbers.h"
#include "core/output_delay.h"
#include "core/session_state.h"
#include "core/settings_files.h"
#include "fakes.h"
#include "stage.h"
#include "test_files.h"
#include "transport/delay_measure.h"
#include "transport/delay_measure_window.h"
#include "transport/volume_speed.h"
#include "units_helpers.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

const QStringList kOutputs = {"Speakers", "Headphones", "USB"};

TEST(OutputDelay, EachOutputKeepsItsOwnDelayAcrossASaveAndAnOutputNotKeptGetsZero) {
    QTemporaryDir dir;
    QStringList shown, beepsTo;
    {
        Stage st;
        Session& s = st.s;
        FakeBeeper beeper(st.clock);
        s.beeper = &beeper;
        s.configDir = dir.path();
        s.velmor.AudioOutNames = kOutputs;
        installVolume(s);
        for (auto [entry, typed] : {std::pair{0, "180"}, {1, "150"}, {-1, ""}, {0, ""}}) {
            AudioOut_Click(s, entry);
            shown << s.velmor.OutputDelay.text();
            beepsTo << beeper.device;
            if (*typed) s.velmor.OutputDelay.setText(typed);
        }
        SaveVelmor(s);
        s.beeper = nullptr;
    }
    // Headphones had nothing kept when chosen; Speakers shows its 180 again.
    EXPECT_EQ(shown, (QStringList{"0", "0", "0", "180"}));
    // The beeps (Measure's clicks) follow the output chosen.
    EXPECT_EQ(beepsTo, (QStringList{"Speakers", "Headphones", "", "Speakers"}));
    FileTable files;
    EXPECT_EQ(files.readText(dir.filePath("OutputDelay.txt")),
              (QStringList{"0\tDefault", "150\tHeadphones", "180\tSpeakers"}));
    // The next start shows the delay of the output the sound goes to.
    QStringList read;
    for (int device : {1, 2}) {
        Stage st;
        st.s.configDir = dir.path();
        st.s.velmor.AudioOutNames = kOutputs;
        st.s.g.SoundDevice = device;
        EXPECT_TRUE(readOutputDelays(st.s));
        read << st.s.velmor.OutputDelay.text();
    }
    EXPECT_EQ(read, (QStringList{"150", "0"}));
}

TEST(OutputDelay, AFileIsReadLineByLineAndWhatMakesNoSenseIsPassedOver) {
    const OutputDelays d = OutputDelays::parse(
        {"180\tSpeakers", "x\tBad", "no tab", "\tNoNumber", "99999\tHigh", "-9999\tLow", "12\t",
         " 7 \tSpeakers", "40\tName\twith a tab", "2.5\tFraction"});
    const struct {
        const char* name;
        int ms;
    } cases[] = {{"Speakers", 7}, {"Bad", 0}, {"High", 1000},           {"Low", -500},
                 {"", 0},         {"USB", 0}, {"Name\twith a tab", 40}, {"Fraction", 0}};
    for (const auto& c : cases)
        EXPECT_EQ(d.of(c.name), c.ms) << c.name;
    EXPECT_EQ(OutputDelays::parse(d.lines()), d);
}

TEST(OutputDelay, TheFieldShowsTheDelayInUseOnceTyped) {
    Stage st;
    installVolume(st.s);
    const std::pair<const char*, const char*> cases[] = {
        {"5000", "1000"}, {"-900", "-500"}, {"12.6", "13"}, {"abc", "0"}, {"180", "180"}};
    for (auto [typed, shown] : cases) {
        st.s.velmor.OutputDelay.setText(typed);
        OutputDelay_LostFocus(st.s);
        EXPECT_EQ(st.s.velmor.OutputDelay.text(), shown) << typed;
    }
}

// The taps of a run, each at a click's moment plus an offset (none: that
// click is missed); extra taps at any moment after the start.
struct Taps {
    std::vector<std::optional<int>> offsets;
    std::vector<int64_t> extra;
};

class MeasureTest : public ::testing::Test, protected Stage {
  protected:
    MeasureTest() { s.beeper = &beeper; }
    // Schedules the taps of a run about to start now; `tap` takes each.
    void script(const Taps& t, const std::function<void()>& tap) {
        const int64_t first = clock.tickMs() + DelayMeasure::kLeadMs;
        for (size_t k = 0; k < t.offsets.size(); ++k)
            if (t.offsets[k]) clock.at(first + DelayMeasure::clickDue(int(k)) + *t.offsets[k], tap);
        for (int64_t at : t.extra)
            clock.at(first + at, tap);
    }
    FakeBeeper beeper{clock};
};

std::vector<std::optional<int>> around(int delay, std::vector<int> jitter) {
    std::vector<std::optional<int>> o;
    for (int j : jitter)
        o.push_back(delay + j);
    return o;
}

TEST_F(MeasureTest, TheMedianOfEachTapsDifferenceToItsClick) {
    const std::vector<int> jitter = {-25, 10, -5,  30, 0,   15, -15, 5,
                                     -10, 20, -20, 25, -30, 0,  10,  -10};
    std::vector<std::optional<int>> late = around(700, std::vector<int>(16, 0));
    late[15].reset(); // a missed click
    std::vector<std::optional<int>> noFirst = around(150, std::vector<int>(16, 0));
    noFirst[0].reset();
    const struct {
        const char* name;
        Taps taps;
        std::optional<int> median;
        size_t counted;
        double spread;
    } cases[] = {
        {"scattered about 200", {around(200, jitter), {}}, 200, 16, 17.23},
        // Longer than a beat, the last click missed and a tap doubled (the
        // second one 40 ms after it is passed over).
        {"700, last missed, one doubled", {late, {4 * 600 + 740}}, 700, 15, 0},
        // The tap for the second click is no tap for the first.
        {"first click missed", {noFirst, {}}, 150, 15, 0},
        // A tap before the clicks could be heard is no tap of the first one.
        {"early tap passed over", {around(-40, std::vector<int>(16, 0)), {-600}}, -40, 16, 0},
        {"no taps", {}, std::nullopt, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DelayMeasure m(s);
        script(c.taps, [&] { m.tap(clock.tickMs()); });
        m.run();
        EXPECT_EQ(m.median(), c.median);
        EXPECT_EQ(m.differences().size(), c.counted);
        EXPECT_NEAR(m.spread(), c.spread, 0.01);
    }
    EXPECT_EQ(beeper.beeps.size(), std::size(cases) * DelayMeasure::kClicks);
    EXPECT_EQ(beeper.beeps.front(), qMakePair(1000, DelayMeasure::kClickMs)); // the "Beep" pitch
}

// The window takes the space bar as taps; OK puts the median into Output
// Delay, Cancel in the middle of the clicks ends them and changes nothing.
TEST_F(MeasureTest, TheWindowTakesSpaceBarTapsAndOkSetsTheDelay) {
    DelayMeasureWindow w(s);
    auto space = [&w] {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ");
        QApplication::sendEvent(&w, &press);
    };
    script({around(150, std::vector<int>(16, 0)), {}}, space);
    w.start();
    EXPECT_EQ(readouts(w.findChild<QListWidget*>("Taps")->count(),
                       w.findChild<QLabel*>("Result")->text()),
              readouts(16, "Delay 150 ms (median of 16 taps), spread 0 ms"));
    w.findChild<QPushButton*>("OKB")->click();
    EXPECT_EQ(readouts(s.velmor.OutputDelay.text(), w.isVisible()), readouts("150", false));

    const int64_t cancelAt = clock.tickMs() + DelayMeasure::kLeadMs + 4 * DelayMeasure::kBeatMs;
    script({around(300, std::vector<int>(16, 0)), {}}, space);
    clock.at(cancelAt, [&w] { w.findChild<QPushButton*>("CancelB")->click(); });
    w.start();
    EXPECT_EQ(readouts(clock.tickMs() - cancelAt < DelayMeasure::kBeatMs,
                       s.velmor.OutputDelay.text(), w.isVisible()),
              readouts(true, "150", false));
}

} // namespace
