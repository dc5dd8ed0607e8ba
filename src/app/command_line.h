#pragma once
// The program's command line: its options as --help lists them, and the
// answers that need no window system (help, version, a wrong command line).

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>

namespace mv {

struct Options {
    QCommandLineOption script{QStringLiteral("script"),
                              QStringLiteral("Run the action script FILE (for tests)."),
                              QStringLiteral("FILE")};
    QCommandLineOption audio{QStringLiteral("audio"),
                             QStringLiteral("Audio output: auto, null, or a WAV file to write."),
                             QStringLiteral("OUT"), QStringLiteral("auto")};
    QCommandLineOption demo{QStringLiteral("demo"), QStringLiteral("Start on the demo songs.")};
    QCommandLineOption songs{QStringLiteral("songs"), QStringLiteral("Start on the songs in DIR."),
                             QStringLiteral("DIR")};
    QCommandLineOption configDir{QStringLiteral("config-dir"),
                                 QStringLiteral("Folder of the settings and list files "
                                                "(default: $XDG_CONFIG_HOME/mellivane)."),
                                 QStringLiteral("DIR")};
    QCommandLineOption startupTime{
        QStringLiteral("startup-time"),
        QStringLiteral("Print the milliseconds from main to the main window painted with its "
                       "song list, and the wall clock then.")};
    // Handled before the parser runs (align::runAlignCommand); listed for --help.
    QCommandLineOption tightenMap{
        QStringLiteral("tighten-map"),
        QStringLiteral("Move the tics of IN.map onto the notes of SONG.mp3; write OUT.map."),
        QStringLiteral("SONG.mp3 IN.map OUT.map")};
    QCommandLineOption transferMap{
        QStringLiteral("transfer-map"),
        QStringLiteral("Carry FROM.map of FROM.mp3 to the recording TO.mp3; write OUT.map."),
        QStringLiteral("FROM.mp3 FROM.map TO.mp3 OUT.map")};
};

// Adds the description, --help, --help-all, --version and the options.
Options addOptions(QCommandLineParser& cl);

// `args` without the options that QApplication takes for itself
// ("-platform wayland", "--style=Fusion", "-reverse", ...), in either
// dash form; everything after "--" stays.  The first entry, the program,
// stays.
QStringList withoutQtOptions(const QStringList& args);

// Answers the command lines that end the program before any window: help,
// help with Qt's options, the version, and a wrong line (an unknown
// option, a missing value), each printed as Qt's parser prints it, on a
// platform that needs no display.  Returns -1 when the program goes on,
// else does not return (the parser ends the process).
int answerWithoutDisplay(int argc, char** argv);

} // namespace mv
