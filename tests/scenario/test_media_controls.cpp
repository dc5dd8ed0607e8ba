// The desktop's media controls over a fake player in virtual time: what the
// status, metadata and capabilities say as a play starts, pauses and stops;
// that the verbs act through the program's own handlers; which changes are
// reported, and that the position's jumps are.

#include "core/session_state.h"
#include "cursormap/cursor_fields.h"
#include "desktop/media_controls.h"
#include "desktop/mpris_service.h"
#include "desktop/observed_player.h"
#include "library/library.h"
#include "stage.h"
#include "test_files.h"
#include "transport/play_start.h"
#include "transport/stop_pause.h"
#include "transport/volume_speed.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>

using namespace mv;
using namespace mv::test;

namespace {

struct Controls : Stage {
    Controls() {
        attachSheetOne(s, observed, viewer);
        installPlayStart(s);
        installVolume(s);
        s.velmor.PDFDLY.setText("0");
        s.velmor.FirstNote.setText("0");
        s.velmor.FadeT.setText("0");
        // Selecting is recorded; the song list's entries are files of `dir`.
        s.File1_MouseDown = [this](int, int, double, double) {
            loads << s.velmor.File1FileName();
            s.g.SongBase = dir.filePath(s.velmor.File1FileName());
            s.g.SongFile = s.g.SongBase;
        };
        s.velmor.File1Path = dir.path();
        s.velmor.File1List.set({"A.pdf", "B.mp3", "C.mp3"});
        run();
    }
    // Serves the queued verbs and the gathered report.
    void run() {
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
    }
    QTemporaryDir dir;
    ObservedPlayer observed{player, [this] { c.schedule(); }, [this] { c.musicStarted(); }};
    MediaControls c{s};
    QStringList loads;
};

TEST(MediaControls, PlayPauseContinueStopWalkTheStatusThroughTheButtons) {
    Controls t;
    QSignalSpy changed(&t.c, &MediaControls::changed), seeked(&t.c, &MediaControls::seeked);
    t.s.velmor.File1ListIndex.set(1);
    EXPECT_EQ(t.c.playbackStatus(), "Stopped");
    EXPECT_FALSE(t.c.canPause());
    t.c.play(); // never loaded: the selected song loads, then the sheet's Play
    t.run();
    EXPECT_EQ(t.loads, QStringList{"B.mp3"});
    EXPECT_EQ(t.player.URL(), t.dir.filePath("B.mp3"));
    EXPECT_EQ(t.c.playbackStatus(), "Playing");
    EXPECT_EQ(seeked.size(), 1); // the start
    ASSERT_FALSE(changed.isEmpty());
    EXPECT_EQ(changed.last()[0].toMap().value("PlaybackStatus"), "Playing");
    // No map plays: the music may be moved.
    EXPECT_TRUE(t.c.canSeek());

    t.c.playPause(); // "Pause"; no map plays to hold the music, so it pauses now
    t.run();
    EXPECT_EQ(std::tuple(t.s.velmor.Command10.text(), t.player.playState()),
              std::tuple(QString("Continue"), 2));
    EXPECT_EQ(t.c.playbackStatus(), "Paused");
    t.c.play(); // "Continue"
    t.run();
    EXPECT_EQ(std::tuple(t.s.velmor.Command10.text(), t.player.playState()),
              std::tuple(QString("Pause"), 3));
    EXPECT_EQ(t.c.playbackStatus(), "Playing");
    t.player.calls.clear();
    t.c.stop(); // "Fade": the source taken away
    t.run();
    EXPECT_TRUE(t.player.calls.contains("URL()"));
    EXPECT_EQ(t.c.playbackStatus(), "Stopped");
    EXPECT_EQ(seeked.size(), 2); // the stop
    EXPECT_EQ(changed.last()[0].toMap().value("PlaybackStatus"), "Stopped");
    // Nothing plays: Stop and Pause change nothing.
    const qsizetype reports = changed.size();
    t.c.stop();
    t.c.pause();
    t.run();
    EXPECT_EQ(changed.size(), reports);
}

TEST(MediaControls, CountOffAndMapPlayCountAsPlayingWithoutSeeking) {
    Controls t;
    t.s.g.SongBase = t.s.g.SongFile = t.dir.filePath("B.mp3");
    t.s.adobeF.Text11Visible.set(true);
    EXPECT_EQ(t.c.playbackStatus(), "Playing");
    EXPECT_FALSE(t.c.canSeek());
    t.s.adobeF.Text11Visible.set(false);
    t.player.setURL(t.s.g.SongFile);
    t.s.adobeF.Picture1.Visible.set(true); // the cursor follows the map
    EXPECT_FALSE(t.c.canSeek());
    const double before = t.player.controlsCurrentPosition();
    t.c.seek(5'000'000);
    t.c.setPosition(t.c.metadata().value("mpris:trackid").toString(), 1'000'000);
    EXPECT_EQ(t.player.controlsCurrentPosition(), before);
}

// A cursor play is Playing (Paused at "Pause") and unseekable to its end,
// silent (TIC: no music) or not; a manual play after it may be moved again,
// and the media keys pause and continue its music.
TEST(MediaControls, ACursorPlayIsPlayingToItsEndAndAManualPlayAfterItSeeks) {
    for (const int tick : {0, 1}) {
        Controls t;
        t.s.g.SongBase = t.s.g.SongFile = t.dir.filePath("B.mp3");
        t.s.adobeF.Tick.set(tick);
        writeLinesAtomically(t.dir.filePath("B.map"), rec("1000", "1", "1", "0") +
                                                          rec("1000", "2", "1", "0") +
                                                          rec("1000", "3", "1", "0"));
        QString during;
        bool seekable = true;
        const int64_t t0 = t.clock.tickMs();
        t.clock.at(t0 + 500, [&] {
            during = t.c.playbackStatus();
            seekable = t.c.canSeek();
        });
        QString paused;
        t.clock.at(t0 + 700, [&] { Command10_Click(t.s); }); // "Pause"
        t.clock.at(t0 + 800, [&] {
            paused = t.c.playbackStatus();
            Command10_Click(t.s); // "Continue"
        });
        t.clock.at(t0 + 1500, [&] { Command7_Click(t.s); });
        t.c.play();
        t.run();
        EXPECT_EQ(during, "Playing") << tick;
        EXPECT_FALSE(seekable) << tick;
        EXPECT_EQ(paused, "Paused") << tick;
        EXPECT_EQ(t.c.playbackStatus(), "Stopped") << tick;
        Command10_Click(t.s);         // "Pause" with nothing playing: "Continue", no more
        BControl_Command1_Click(t.s); // "Manual Play", which leaves the caption
        t.run();
        EXPECT_EQ(t.s.velmor.Command10.text(), "Continue") << tick;
        EXPECT_EQ(t.c.playbackStatus(), "Playing") << tick; // the button holds nothing
        EXPECT_TRUE(t.c.canSeek()) << tick;
        t.c.seek(20'000'000);
        EXPECT_EQ(t.c.positionUs(), 20'000'000) << tick;
        t.c.pause();
        t.run();
        EXPECT_EQ(std::tuple(t.c.playbackStatus(), t.player.playState()),
                  std::tuple(QString("Paused"), 2))
            << tick;
        t.c.play(); // "Continue" lets it go
        t.run();
        EXPECT_EQ(
            std::tuple(t.c.playbackStatus(), t.player.playState(), t.s.velmor.Command10.text()),
            std::tuple(QString("Playing"), 3, QString("Pause")))
            << tick;
    }
}

// Pause at each moment of a cursor play with a 1 s count-off and three tics
// a second apart (the last at 4 s, its closing wait to 7 s), Play 300 ms
// later: what the status says after each, and what the music does.
TEST(MediaControls, PauseAndPlayTellTheTruthAtEveryMomentOfAPlay) {
    struct Case {
        int64_t at;      // ms after the press of Play
        QString paused;  // the status 200 ms after Pause
        int pausedState; // the player then (10: loaded, waiting for the count-off's end)
        int playState;   // the player 200 ms after Play
    };
    for (const Case& k : {Case{500, "Paused", 10, 10},   // count-off: to be held on the first tic
                          Case{2200, "Paused", 3, 3},    // between tics: to be held on the next
                          Case{5000, "Paused", 2, 3}}) { // closing wait: the music pauses
        Controls t;
        t.s.velmor.PDFDLY.setText("1");
        t.s.g.SongBase = t.s.g.SongFile = t.dir.filePath("B.mp3");
        writeLinesAtomically(t.dir.filePath("B.map"), rec("1000", "1", "1", "0") +
                                                          rec("1000", "2", "1", "0") +
                                                          rec("1000", "3", "1", "0"));
        const int64_t t0 = t.clock.tickMs();
        QString paused, resumed;
        int pausedState = 0, resumedState = 0;
        t.clock.at(t0 + k.at, [&] { t.c.pause(); });
        t.clock.at(t0 + k.at + 200, [&] {
            paused = t.c.playbackStatus();
            pausedState = t.player.playState();
            t.c.play();
        });
        t.clock.at(t0 + k.at + 400, [&] {
            resumed = t.c.playbackStatus();
            resumedState = t.player.playState();
        });
        t.c.play();
        t.run();
        EXPECT_EQ(std::tuple(paused, pausedState), std::tuple(k.paused, k.pausedState)) << k.at;
        EXPECT_EQ(std::tuple(resumed, resumedState), std::tuple(QString("Playing"), k.playState))
            << k.at;
        EXPECT_EQ(t.s.velmor.Command10.text(), "Pause") << k.at;
    }
}

// A play stopped in a long tic is Stopped at once; the sheet's Play pressed
// again in the closing wait starts a play whose Pause holds on a tic again;
// music loaded anew from a pause tells its jump; in notation mode (no Pause
// button) the keys pause nothing.
TEST(MediaControls, StopsRestartsAndNotationModeTellTheTruth) {
    Controls t;
    QSignalSpy seeked(&t.c, &MediaControls::seeked);
    t.s.g.SongBase = t.s.g.SongFile = t.dir.filePath("B.mp3");
    writeLinesAtomically(t.dir.filePath("B.map"),
                         rec("8000", "1", "1", "0") + rec("1000", "2", "1", "0"));
    const int64_t t0 = t.clock.tickMs();
    QString afterStop;
    t.clock.at(t0 + 500, [&] { t.c.stop(); });
    t.clock.at(t0 + 1500, [&] { afterStop = t.c.playbackStatus(); });
    t.c.play();
    t.run();
    EXPECT_EQ(afterStop, "Stopped"); // the tic had 6.5 s to run

    // One tic of 1 s; Play again 1 s into the closing wait, Pause 500 ms on.
    writeLinesAtomically(t.dir.filePath("B.map"), rec("1000", "1", "1", "0"));
    const int64_t t1 = t.clock.tickMs();
    QString paused;
    int pausedState = 0;
    t.clock.at(t1 + 2000, [&] { WindowsMediaPlayer1_MouseDown(t.s, 1, 0, 0, 0); });
    t.clock.at(t1 + 2500, [&] { t.c.pause(); });
    t.clock.at(t1 + 2700, [&] {
        paused = t.c.playbackStatus();
        pausedState = t.player.playState();
        EXPECT_TRUE(t.c.canPause());
        t.c.play();
    });
    t.c.play();
    t.run();
    EXPECT_EQ(std::tuple(paused, pausedState), std::tuple(QString("Paused"), 3));

    BControl_Command1_Click(t.s); // "Manual Play"
    t.run();
    t.c.pause();
    t.run();
    ASSERT_EQ(t.c.playbackStatus(), "Paused");
    seeked.clear();
    Command8_Click(t.s); // the music loaded anew, from its start
    t.run();
    ASSERT_EQ(seeked.size(), 1);
    EXPECT_EQ(seeked[0][0].toLongLong(), 0);

    t.s.velmor.Command10Visible.set(false);
    EXPECT_FALSE(t.c.canPause());
    t.c.pause();
    t.run();
    EXPECT_EQ(t.player.playState(), 3);
}

TEST(MediaControls, NextAndPreviousSelectWithinTheListAndNeverStart) {
    Controls t;
    struct Step {
        int from;
        bool next;
        int to; // -1: nothing selected anew
    };
    for (const Step& st : {Step{0, true, 1}, Step{2, true, -1}, Step{1, false, 0},
                           Step{0, false, -1}, Step{-1, true, 0}}) {
        t.loads.clear();
        t.s.velmor.File1ListIndex.set(st.from);
        t.run();
        EXPECT_EQ(t.c.canGoNext(), st.from < 2) << st.from;
        EXPECT_EQ(t.c.canGoPrevious(), st.from > 0) << st.from;
        st.next ? t.c.next() : t.c.previous();
        t.run();
        EXPECT_EQ(t.s.velmor.File1ListIndex.get(), st.to < 0 ? st.from : st.to) << st.from;
        EXPECT_EQ(t.loads.size(), st.to < 0 ? 0 : 1) << st.from;
        EXPECT_TRUE(t.player.URL().isEmpty());
    }
    // Over the play list: its highlight moves; an item naming the song
    // list's first entry selects nothing (the play list never looks there).
    Library lib;
    MediaControls overPlayList(t.s, &lib);
    t.s.playLst.List1.set({"C", "A", "B"});
    t.s.playLst.Visible.set(true);
    struct Item {
        int from;
        bool next;
        int to;
        QStringList loads;
    };
    for (const Item& it : {Item{0, true, 1, {}}, Item{1, true, 2, {"B.mp3"}}, Item{2, true, 2, {}},
                           Item{0, false, 0, {}}}) {
        t.loads.clear();
        t.s.playLst.ListIndex.set(it.from);
        it.next ? overPlayList.next() : overPlayList.previous();
        t.run();
        EXPECT_EQ(t.s.playLst.ListIndex.get(), it.to) << it.from;
        EXPECT_EQ(t.loads, it.loads) << it.from;
        EXPECT_TRUE(t.player.URL().isEmpty());
    }
}

TEST(MediaControls, MetadataNamesTheLoadedSongNotTheHighlightWithANewTrackIdEachLoad) {
    Controls t;
    QSignalSpy changed(&t.c, &MediaControls::changed);
    // Highlighted by the keys, nothing loaded: no track.
    t.s.velmor.File1ListIndex.set(0);
    t.run();
    EXPECT_EQ(t.c.metadata(), QVariantMap({{"mpris:trackid", MediaControls::noTrack()}}));
    changed.clear();
    // A list of sheets plays the MP3 beside the PDF.
    QFile mp3(t.dir.filePath("A.mp3"));
    ASSERT_TRUE(mp3.open(QIODevice::WriteOnly));
    mp3.close();
    t.s.File1_MouseDown(1, 0, 0, 0);
    t.s.velmor.File1ListIndex.set(1); // the highlight moves on
    t.run();
    const QVariantMap a = t.c.metadata();
    EXPECT_EQ(a.value("xesam:title"), "A");
    EXPECT_EQ(a.value("xesam:url").toString(), "file://" + t.dir.filePath("A.mp3"));
    EXPECT_FALSE(a.contains("mpris:length")); // an empty file tells no length
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toMap().value("Metadata"), a);
    t.s.velmor.File1ListIndex.set(2);
    t.run();
    EXPECT_EQ(t.c.metadata(), a);
    EXPECT_FALSE(changed.last()[0].toMap().contains("Metadata"));
    // The start names the same track (the PDF's MP3 is what plays).
    t.c.play();
    t.run();
    EXPECT_EQ(t.player.URL(), t.dir.filePath("A.mp3"));
    EXPECT_EQ(t.c.metadata(), a);
    t.s.File1_MouseDown(1, 0, 0, 0);
    t.s.velmor.HScroll1.set(40); // anything that tells the controls to look
    t.run();
    const QVariantMap c = t.c.metadata();
    EXPECT_EQ(c.value("xesam:title"), "C");
    EXPECT_NE(c.value("mpris:trackid"), a.value("mpris:trackid"));
    EXPECT_TRUE(
        c.value("mpris:trackid").toString().startsWith("/io/github/mellivane/Mellivane/track/"));
    EXPECT_EQ(changed.last()[0].toMap().value("Metadata"), c);
}

TEST(MediaControls, VolumeAndRateFollowTheBarAndSpeedWithinTheirLimits) {
    Controls t;
    struct Case {
        double set;
        int bar;
    };
    for (const Case& c :
         {Case{0.5, 50}, Case{0.0, 1}, Case{1.7, 100}, Case{0.333, 33}, Case{std::nan(""), 33}}) {
        t.c.setVolume(c.set);
        EXPECT_EQ(t.s.velmor.HScroll1.get(), c.bar) << c.set;
        EXPECT_EQ(t.player.settingsVolume(), c.bar) << c.set;
    }
    struct Rate {
        double set;
        QString speed;
        double reads;
    };
    for (const Rate& r : {Rate{0.75, ".75", 0.75}, Rate{9, "2", 2}, Rate{0.1, ".25", 0.25},
                          Rate{1.234, "1.23", 1.23}, Rate{std::nan(""), "1.23", 1.23}}) {
        t.c.setRate(r.set);
        EXPECT_EQ(t.s.velmor.Speed.text(), r.speed) << r.set;
        EXPECT_DOUBLE_EQ(t.c.rate(), r.reads) << r.set;
    }
    // Written as the bus writes it, through the adaptor's property.
    QObject host;
    MprisPlayer bus(&host, t.c);
    ASSERT_TRUE(bus.setProperty("Rate", 1.5));
    EXPECT_EQ(t.s.velmor.Speed.text(), "1.5");
    EXPECT_DOUBLE_EQ(bus.property("Rate").toDouble(), 1.5);
    // A Speed typed beyond the limits reads as the limit.
    t.s.velmor.Speed.setText("-3");
    EXPECT_DOUBLE_EQ(t.c.rate(), MediaControls::kMinimumRate);
}

TEST(MediaControls, AServersKeysReachItsClientsAClientsStayAtHome) {
    for (const bool server : {true, false}) {
        Controls t;
        QStringList sent;
        t.s.sendToClients = [&sent](const QString& token) { sent << token; };
        t.s.velmor.IamaServer.set(server ? 1 : 0);
        t.s.velmor.Shape1.set(true); // connected
        t.s.velmor.PDFDLY.setText("1");
        t.s.g.SongBase = t.s.g.SongFile = t.dir.filePath("B.mp3");
        t.c.setRate(0.8);
        t.c.play();
        t.run();
        EXPECT_EQ(t.player.URL(), t.s.g.SongFile) << server;
        EXPECT_EQ(sent, server ? QStringList({"@SPEED/.8", "&START/"}) : QStringList()) << server;
    }
}

} // namespace
