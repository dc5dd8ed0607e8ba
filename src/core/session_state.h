#pragma once
// The session: the process-wide variables, the members of the main window,
// the state held in controls (setup fields, readouts, lights, cursor
// pictures, scroll bars) and the platform objects.  One Session exists per
// program; every handler reaches it.  The windows mirror the control state
// kept here and call the handlers of the subsystems; the logic never needs a
// window to run.

#include "core/clock.h"
#include "core/event_pump.h"
#include "core/field.h"
#include "core/file_numbers.h"
#include "core/input_time.h"
#include "core/keyed_settings.h"
#include "core/observable.h"
#include "core/output_delay.h"
#include "cursormap/tic_table.h"

#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>

namespace mv {

class MediaPlayer;
class PdfViewer;
class Messages;
class Beeper;
class WindowRegistry;
class EditHistory;

// The process-wide variables.  Flags are 0 or -1.
struct Globals {
    QString SongFile;                       // full path of the selected list entry
    QString SongEntry;                      // the list's folder + "/" + the entry loaded
    QString SongBase;                       // folder + cleaned name; empty: no song yet
    std::array<QString, 37> MapHeaderLines; // second sheet's adjustment per page, 0..36
    int16_t CursorIndex = 0;                // row the readout fields address
    Flag CursorStarted = 0;                 // CursorIndex holds a valid position
    Flag StopRequested = 0;                 // a play loop ends at its next test
    int64_t PlayStartTick = 0;              // base of the tic in progress (tick clock)
    int16_t PlayLoopCount = 0;              // passes of the play loop, capped at 30000
    Flag Paused = 0;                        // Pause pressed
    Flag PauseHeld = 0;                     // the loop holds on a tic
    Flag CursorPlaySwitch = 0;              // the panel's "Stop Play" asks the play to end
    Prop<bool> MapPlaying{false};           // a play loop follows the map (count-off excluded)
    Prop<bool> MapTicsDone{false};          // that loop is past its last tic: its closing wait
    // Set as the count-off of a play with a map begins: the tick its tics
    // will count from, so that followers who draw the cursor themselves
    // know the play before it runs.  0 again once the count-off is over.
    Prop<int64_t> MapZeroAhead{0};
    // The tic whose move the play loop has just made (PlayLoopCount, from 0);
    // -1 while no loop moves the cursor (before its first tic and once it
    // has left, the wait after a play included).
    Prop<int> MapTicMoved{-1};
    // Counts the presses of "Fade": others may follow the fade as it begins.
    Prop<int> FadesBegun{0};
    Flag RecordMode = 0, AppendMode = 0, RecordFirstTic = 0, RecordTicSeen = 0;
    Flag NextPageMark = 0, PrevPageMark = 0;
    double LastMouseX = 0, LastMouseY = 0;
    Flag CursorDragging = 0;
    Flag ScrollMarkPending = 0; // the scroll readout changed: show the cursor
    int16_t ScrollMarkTicks = 0;
    int32_t TicAdjust = 0;
    double AppendStartMs = 0;
    int AppendFromRow = 0; // the row on show when the append began
    Flag EditBusy = 0, SaveInProgress = 0, AbortScroll = 0;
    QString PDFLeftDefault = QStringLiteral("0");
    double ButtonStripLeft = 0;
    double Sheet2DragX = 0;
    int32_t SoundDevice = -1; // -1 default, 0..6 the Audio Out entries
    int32_t WaveVolume = 0;
    int16_t ClientCount = 0;
    // A start announced by the server for an instant on this computer's
    // tick clock (Clock Start): the next play's count-off ends there and
    // its music, loaded ahead and held, is let go at it.  0: none.  The
    // play start takes it, whatever becomes of the play.
    int64_t StartAtTick = 0;
    // The tick the announced play's tics count from, on this computer's
    // clock: the server's own, so that the cursor keeps to the server's as
    // the music does.  0: from the moment the start is read.
    int64_t StartZeroTick = 0;
    Flag OverlayArmed = 0;
    double OverlayTicks = 0;
    // The page-turn pedal's last key and its moment (tick clock): a second
    // press of the same key within 300 ms is the pedal bouncing.
    int LastPedalKey = 0;
    int64_t LastPedalTick = 0;
};

// The main window "Media Player" (Velmor): its members and setup controls,
// the live configuration read at each use.
struct VelmorState {
    // members
    int32_t NWCId = 0;
    QString NWCTitle;
    QString PlayedList;
    int16_t ZCount = 0;
    Flag SuppressLoad = 0;

    Field Text1{QStringLiteral("C:\\NWC")};        // "Path 1"
    Field Text2{QStringLiteral("*.PDF")};          // "Type"
    Field Text7{QStringLiteral("C:\\NWCTRUMPET")}; // "Path 2"
    CheckBox LoadPDF{1};                           // "Load pdf"
    CheckBox CNWC{0};                              // "Control NWCViewer"
    Field Text3;                                   // "NWCViewer"
    Field Text4{QStringLiteral("4.5")};            // "NWC Delay"
    CheckBox ZoomNWC{0};                           // "Zoom NWC to 50%"
    CheckBox ZoomPDF{0};                           // "Zoom PDF to 100%"
    Field PDFView;                                 // "PDF Viewer"
    CheckBox IGNNR{0};                             // "Ignore number at beginning of file for NWC"
    CheckBox IgnZ{1};                              // "Ignore MP3 files that start with Z"
    CheckBox IgnX{1};                              // "Ignore MP3 files that start with X"
    Field PDFDLY{QStringLiteral("4")};             // "PDF Delay"
    Field ClientDelay{QStringLiteral("3.5")};      // "Client Delay"
    Field FirstNote{QStringLiteral("500")};        // "1st Note Delay"
    Field AddNext{QStringLiteral("0")};            // "Add to Next"
    Field Text5{QStringLiteral(".995")};           // "Tic Offset"
    Field Text6{QStringLiteral("1.55")};           // "PDF Value"
    Field ScrollOffset{QStringLiteral("500")};     // "Scroll Offset"
    Field XOffset;                                 // "X Offset"
    Field YOffset;                                 // "Y Offset"
    Field AutoScroll{QStringLiteral("8000")};      // "Auto Scroll"
    Field ScrollSpeed{QStringLiteral(".01")};      // "Scroll Speed"
    Field ScrollStep{QStringLiteral("20")};        // "Scroll Step"
    Field FadeT{QStringLiteral("3")};              // "Fade Time"
    Field BeepX{QStringLiteral("1000")};           // "Beep"
    Field OutputDelay{QStringLiteral("0")};        // "Output Delay", ms, of the present output
    Field Speed{QStringLiteral("1")};              // playing speed
    Field Pitch{QStringLiteral("1")};              // pitch
    Field ZoomIt{QStringLiteral("100")};           // "Zoom This"
    Field ZoomAll{QStringLiteral("100")};          // "Zoom ALL"
    Field PDFHeight{QStringLiteral("19500")};      // "PDF Height"
    Field PDFWidth{QStringLiteral("16505")};       // "PDF Width"
    Field PDFLeft{QStringLiteral("0")};            // "PDF Left"
    Field PDFLeftD{QStringLiteral("0")};           // "PDF L  Default"
    CheckBox NoPDFAdj{0};                          // "No 2nd PDF Adjustment"
    CheckBox NoCursor{0};                          // "No Cursor"
    CheckBox NoScroll{0};                          // "No Scroll"
    CheckBox ShowB{0};                             // "Show Horizontal Buttons"
    CheckBox ShowVB{0};                            // "Show Vertical Buttons"
    CheckBox FootControl{0};                       // "Foot Control"
    CheckBox Scrn0{0}, Scrn1{0};                   // "Scrn1", "Scrn 2"
    Field IPAddress;                               // "IP Address:"
    Field PortNr;                                  // "Port:"
    CheckBox IamaServer{0};                        // "I Am A Server"
    CheckBox SendAS{1};                            // "Send AutoScroll"
    CheckBox ClockStart{0};                        // "Clock Start"
    Field StartLead{QStringLiteral("300")};        // "Start Lead", milliseconds
    Field WebPort;                                 // "Web Port": empty, the Port + 1; 0 none
    Field WebPin;                                  // "Web PIN": empty, no PIN asked
    // The web followers: the address they open ("" while no web server
    // runs) and how many are connected.
    Field WebAddress;
    Prop<int> WebFollowers{0};
    Field Command10{QStringLiteral("Pause")}; // "Pause" / "Continue"
    Prop<bool> Command10Visible{true};        // "Pause" is hidden in notation mode
    Field ZM{QStringLiteral("Zoom")}; // caption of the "Zoom" menu: "-Zoom" with the large list
    // The song list File1: its entries as shown, and the selected one (-1: none).
    Prop<QStringList> File1List;
    Prop<int> File1ListIndex{-1};
    QString File1Path, File1Pattern; // the folder and pattern the list shows
    // The Audio Out menu: TXS0..TXS6 captions, and the check marks, one bit
    // an entry: bit 0 TXDF "Default", bit 1 + n TXSn.  A click leaves one
    // mark; a settings file may bring back several.
    QStringList AudioOutNames;
    Prop<int> AudioOutChecks{0};
    bool audioOutChecked(int entry) const { return (AudioOutChecks.get() >> (entry + 1)) & 1; }
    // The window's place on the screen, in twips (kept by the window), and
    // its size, which the setup and the large list change.
    double WindowTop = 0, WindowLeft = 1;
    // The right edge of the main window's frame on the screen as it stands
    // (its columns may be wider than WindowWidth); 0 while unknown.
    double FrameRight = 0;
    Prop<double> WindowWidth{4785}, WindowHeight{7065};
    // The list File1's place in the window (twips) and its font size: the
    // large list of the "Zoom" menu fills the window.
    Prop<double> File1Width{4320}, File1Top{920}, File1Height{3950};
    Prop<int> File1FontSize{10};
    // The notation viewer's fields of the setup (ZoomPDF, Label5, Text4,
    // Label6, CNWC, LoadPDF, ZoomNWC, Label3, Label4, Text3), shown by a
    // click on the empty label Label20.
    Prop<bool> NWCFieldsVisible{false};
    QString Line24; // a reserved settings line, written back as read
    QString File1FileName() const {
        const int i = File1ListIndex.get();
        return i >= 0 && i < File1List.get().size() ? File1List.get()[i] : QString();
    }
    ScrollValue HScroll1{1, 100, 50};  // volume
    ScrollValue VScroll1{1, 100, 100}; // "%": volume limit applied at load
    // The network dot: Shape1, the red dot, stands for Label29 (the number in
    // it) and Label28 ("Connected") too; the three are shown and hidden
    // together, and Shape1 visible is the only record of being connected.
    Light Shape1{false};
    Field Label29{QStringLiteral("1")};
    Field ConnectIt{QStringLiteral("Connect")}; // the menu entry: "Connect" / "Disconnect"
};

// One cursor picture (Picture1 of a sheet window).  Lengths in twips.
struct CursorPicture {
    static constexpr int kNormalHeight = 135;
    static constexpr int kRedHeight = 495;
    static constexpr int kWidth = 495;
    Prop<double> Left{17640};
    Prop<double> Top{0};
    Prop<int> Height{kNormalHeight};
    Prop<bool> Visible{false};
    Prop<bool> Red{false};  // the image: false that of Picture4, true that of Picture2
    Prop<int> Raised{0};    // counts "bring to front"
    Prop<int> Repainted{0}; // counts repaints (the image assigned to itself)
    bool isRed() const { return Height.get() > 140; }
    void bringToFront() { Raised.set(Raised.get() + 1); }
    void repaint() { Repainted.set(Repainted.get() + 1); }
};

// The left presses on the sheet of window 1 (carrier, viewer and cursor; the
// button strip never counts), as the record sampler asks for them.  The
// window reports each press with its place in screen pixels (the window's
// left and top, in pixels, plus the place inside it) and its moment on the
// tick clock.
struct SheetPresses {
    double x = 0, y = 0;       // where the last left press was, screen pixels
    int64_t tick = 0;          // when it came, on the tick clock
    bool down = false;         // the left button is held now
    bool pressedSince = false; // a press came since the last query
    bool fresh = false;        // a press came since the sampler last looked
    void press(double px, double py, int64_t at) {
        x = px;
        y = py;
        tick = at;
        down = pressedSince = fresh = true;
    }
    void release() { down = false; }
    // Whether the button is down, or went down since the last query; the
    // memory of a press is used up by the asking.
    bool query() {
        const bool r = down || pressedSince;
        pressedSince = false;
        return r;
    }
};

// Sheet window 1 (AdobeF): readouts, lights, cursor, scroll bar, viewer.
struct SheetOneState {
    Prop<bool> Visible{false};
    Field Text1;                           // "  X"
    Field Text2;                           // "  Y"
    Field Text3;                           // "CNT"
    Field Text4;                           // "TIC"
    Field Text7;                           // "SCR"
    Field Text9;                           // "NXT"
    Field Text10;                          // "PRV"
    Field ZoomThis{QStringLiteral("100")}; // "Zoom"
    CheckBox Tick{0};                      // "TIC": a beep at every tic
    Field Text11{QStringLiteral("4")};     // the count-off figure
    Prop<bool> Text11Visible{false};
    Light Shape1, Shape2, Shape3, Shape4; // Record, Edit, lock, Append lights
    CursorPicture Picture1;
    ScrollValue VScroll1{0, 32767, 0};  // V: the carrier's top is -V
    Prop<double> Width{16505};          // the window's width in twips
    Prop<double> VScroll1Left{14280};   // the anchor of the button strip (twips)
    double Left = 0;                    // the window's left on the screen, twips
    double Top = 1;                     // the window's top on the screen, twips
    double Height = 19500;              // the window's height, twips
    Field Text5, Text6, Text8;          // step additions to X, Y and SCR
    Prop<double> Picture3Left{0};       // the carrier's left; the viewer sits as far in it
    Prop<double> Picture3Height{12455}; // the carrier: two screen heights once a sheet is loaded
    Prop<double> AcroPDF1Height{12450}; // the viewer: Text6 screen heights once loaded
    Prop<double> VScroll1Top{45}, VScroll1Height{8895};
    Field WaveHeight{QStringLiteral("110")}; // the waveform strip's height in pixels (edit mode)
    PdfViewer* AcroPDF1 = nullptr;
    SheetPresses presses;
    // Gives the input focus to Command14 "Auto Scroll" (the window installs
    // it); the space bar then runs Auto Scroll.
    std::function<void()> focusCommand14;
    // SearchBack of edit mode, reached by a press other than the left
    // button on JumpB; installed by edit mode.
    std::function<void()> searchBack;
};

// Sheet window 2 (AdobeF2), for a second monitor.
struct SheetTwoState {
    Prop<bool> Visible{false};
    CursorPicture Picture1;
    ScrollValue VScroll1{0, 32767, 0};
    ScrollValue VScroll2{-5000, 5000, 0};    // "Adjust PDF"
    Field AdjLeft{QStringLiteral("0")};      // "Left"
    Field ScrollOffset{QStringLiteral("0")}; // "Top"
    Field PDFTop{QStringLiteral("600")};     // "PDF": VScroll2 at load
    Field PDFOffset{QStringLiteral("0")};    // "Offset": added to VScroll2
    double Top = 0, Left = 0, Height = 0;    // the window's place, twips
    Field PageNR;                            // "Page": "" until a song loads
    bool Opening = false;                    // reading "AdobeF2.ini": its Offset moves nothing yet
    Field Text11{QStringLiteral("4")};
    Prop<bool> Text11Visible{false};
    PdfViewer* AcroPDF1 = nullptr;
    // The layers, in twips: the window's width, the strip's anchor (the left
    // of VScroll1), the carrier Picture3 and the viewer's place inside it.
    Prop<double> Width{16620};
    Prop<double> VScroll1Left{14340};
    Prop<double> VScroll1Top{-75}, VScroll1Height{8895}; // song loading sets them
    Prop<double> Picture3Width{14310}, Picture3Height{10335};
    Prop<double> AcroPDF1Left{0}, AcroPDF1Top{0}, AcroPDF1Width{14760}, AcroPDF1Height{9075};
};

// The floating button panel (BControl): the captions other windows set.
struct BControlState {
    Field Command1{QStringLiteral("Manual Play")};
    Field Command6{QStringLiteral("Cursor Play")};
    Prop<bool> Visible{false};
    Prop<bool> Vertical{false};   // the column layout of ShowVB, else the row of ShowB
    Prop<double> Left{0}, Top{0}; // the panel's place on the screen, twips
};

// The play list window (PlayLst): shown or not, and its entries.
struct PlayLstState {
    Prop<bool> Visible{false};
    Prop<QStringList> List1;
    Prop<int> ListIndex{-1};  // the selected item, -1 none
    CheckBox CloseSelect{0};  // "Close list after selection is made"
    CheckBox CloseDelete{0};  // "Close list after Deletion"
    CheckBox DelItem{0};      // "Delete item after selection"
    Prop<double> Width{4050}; // twips; "Setup" widens it to show the check boxes
};

// The touch overlay (Form1): only what the play loop places.
struct OverlayState {
    Prop<bool> Visible{false};
    Prop<int> Raised{0};
    double Left = 0, Top = 0, Width = 0, Height = 0;
};

struct Session {
    Session(Clock& c, Messages& m) : clock(c), pump(c), messages(m) {}
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Clock& clock;
    EventPump pump;
    Messages& messages;
    FileTable files;
    // "Mellivane.ini" while start-up reads it in stretches: read whole at
    // its opening, under no file number.
    struct SettingsInput {
        bool open = false;
        QStringList lines;
        qsizetype next = 0;
    } settingsIn;
    MediaPlayer* player = nullptr;
    Beeper* beeper = nullptr;
    WindowRegistry* windows = nullptr;

    Globals g;
    TicTable tic;
    VelmorState velmor;
    SheetOneState adobeF;
    SheetTwoState adobeF2;
    OverlayState form1;
    BControlState bControl;
    PlayLstState playLst;
    // The screen's size in twips (the app sets it from the primary screen).
    double screenHeight = 1080 * 15;
    double screenWidth = 1920 * 15;
    // The working directory of the settings and list files.
    QString configDir;
    // "Mellivane.conf": the settings beside the positional files, each added
    // by the subsystem that owns it (core/keyed_settings.h).
    KeyedSettings keyed;
    // The input events' own clock on the tick clock: every stamped input
    // event of the program refreshes it (sheet/sheet_views_install.cpp),
    // sheet presses take their tics from it.
    InputTime inputTime;
    // "OutputDelay.txt": the Output Delay of each audio output (core/output_delay.h).
    OutputDelays outputDelays;
    // Edit mode's undo and redo; installed by recording.
    std::shared_ptr<EditHistory> history;

    // Operations that one subsystem calls in another, by name.  Each is
    // installed by the subsystem that owns it; an empty one does nothing.
    // The one way to select a song (list, random, play list, network).
    std::function<void(int button, int shift, double x, double y)> File1_MouseDown;
    // The one way to start a cursor play (player area, Play buttons, network).
    std::function<void(int button, int shift, double x, double y)> WindowsMediaPlayer1_MouseDown;
    // The one way to turn and scroll sheet window 1: Next PG, Prev PG,
    // Manual Scroll, Auto Scroll.
    std::function<void()> adobeF_Command3_Click, adobeF_Command4_Click, adobeF_Command6_Click,
        adobeF_Command14_Click;
    // Sends a token to every connected client; nothing without clients.  A
    // failed send is passed over and the next client gets the token.
    std::function<void(const QString& token)> sendToClients;
    // The same for the page and scroll tokens of sheet window 1: a client
    // that isn't connected is skipped, any other failed send is a Failure
    // that ends the sending (the sheet handler reports it).
    std::function<void(const QString& token)> sendSheetToClients;
    // Clock Start on a server: tells the clients that follow the server's
    // clock that the play starting now lets its music go at the tick `at`
    // of the server's clock, and that its tics count from the tick `zero`;
    // sent just before "&START/".
    std::function<void(int64_t at, int64_t zero)> announceStartAt;
    // Writes "Mellivane.ini" from the setup fields.
    std::function<void()> SaveVelmor;
    // Menu entries and check boxes of the main window whose features are
    // installed by their own subsystems: "Load Sheet 2", "Connect", "Help",
    // "Control NWCViewer" and the panels' check boxes.
    std::function<void()> LA2_Click, ConnectIt_Click, HH_Click, CNWC_Click;
    std::function<void()> ShowB_Click, ShowVB_Click, FootControl_Click;
    // Loads and shows sheet window 1, and unloads it.
    std::function<void()> showSheet1, unloadSheet1;
    // Loads sheet window 1 (hidden, if it wasn't there) and moves its top to
    // `adobeF.Top`: the settings' line for the window's top.
    std::function<void()> placeSheet1Top;
    // Loads and shows sheet window 2.
    std::function<void()> showSheet2;
    // Gives sheet window 2, just shown, the song already selected: its
    // second sheet and the map's lines for it.  Installed by song loading.
    std::function<void()> sheetTwoShown;
    // "Help" (Command11) of sheet window 1: shows the PDF help; installed by help.
    std::function<void()> adobeF_Command11_Click;
    std::function<void()> focusMainWindow;
    // Gives the input focus to the named window ("AdobeF", "AdobeF2").
    std::function<void(const QString& window)> giveFocus;
    // Notation mode: brings the NWC Viewer to the front and sends it keys
    // ("%F", "O", "~", " "); installed by the notation viewer driver.
    std::function<void()> nwcActivate;
    std::function<void(const QString& keys)> nwcSendKeys;
    std::function<void()> minimizeMainWindow;
    // Unloads sheet window 2 and shows it again (a second sheet not found).
    std::function<void()> reloadSheetWindow2;
    // The notation viewer's keystrokes that open the song `shortName`.
    std::function<void(const QString& shortName)> nwcOpenSong;
    // The focus rule of Scrn(0)/Scrn(1) between the sheet windows.
    std::function<void()> focusSheetWindow;
    // The overlay's share of each Timer1 tick; installed by the overlay.
    std::function<void()> overlayTimerWork;
    // The song library's buttons on the main window, installed by the
    // library: Command3 "Clear played list", Command4 "Select Random MP3",
    // Command5 "Set Z", Command6 "Remove Z", Command9 "Print Index",
    // Command15 "Play List".
    std::function<void()> Command3_Click, Command4_Click, Command5_Click, Command6_Click,
        Command9_Click, Command15_Click;
};

} // namespace mv
