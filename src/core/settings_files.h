#pragma once
// The settings files: "Mellivane.ini" (60 positional lines: the main window
// and the setup), "AdobeFx.ini" (sheet window 1's place) and "AdobeF2.ini"
// (sheet window 2).  No keys, no sections: a line's meaning is its position.
// CR LF; read and written whole under no file number, in the encoding they
// were read in (core/file_numbers.h); older, shorter files are read as far as they go
// and every control not reached keeps its built-in value.  All of them lie
// in the working directory Session::configDir and are found whatever the
// case of their names.

#include <QString>
#include <functional>

namespace mv {

struct Session;

// The path of a file of the working directory: the existing entry whose
// name matches ignoring case, else the name as given.
QString configFile(const Session& s, const QString& name);

// Writes all 60 lines of "Mellivane.ini", then "Mellivane.conf" (the keyed
// settings, core/keyed_settings.h) and "OutputDelay.txt"
// (core/output_delay.h).  Failure 75 or 76 when one cannot be written; the
// old file then stands.
void SaveVelmor(Session& s);
// Reads "Mellivane.conf" into the controls added to Session::keyed; false
// without the file (the controls keep their built-in values).
bool readKeyedSettings(Session& s);
// Reads "OutputDelay.txt" and puts the present output's delay into the
// setup's Output Delay (0 for an output the file does not hold); false
// without the file.
bool readOutputDelays(Session& s);

// The reader of "Mellivane.ini", in its three stretches.  openSettings reads
// it whole into Session::settingsIn (false when it does not exist or cannot
// be read); readLines1to37 fills the controls of lines 1 to 37, ignoring a
// bad line, and is false when the file ended before line 37 (the file is
// then closed); readLines38to60 reads the rest: with `failuresEnd` a failure
// there (a check box value out of 0..2) ends it and reaches the caller, its
// description telling the line and that the file as read was kept as
// "Mellivane.ini.bak" (so the rewrite at shut-down loses nothing for good);
// without, a bad line is passed over and the lines after it are read all
// the same.  `onShowSheet1` runs where a line shows sheet window 1.
// closeSettings ends the reading wherever it stands.
bool openSettings(Session& s);
bool readLines1to37(Session& s, const std::function<void()>& onShowSheet1);
void readLines38to60(Session& s, bool failuresEnd = true);
void closeSettings(Session& s);

// "AdobeFx.ini": the top and left of sheet window 1.  read: false without
// the file.  The top is written as 0 when off the screen.
bool readAdobeFx(Session& s);
void writeAdobeFx(Session& s);

// "AdobeF2.ini": sheet window 2's ScrollOffset, AdjLeft,
// PDFTop, top, left and PDFOffset, one a line.  read: texts as they stand,
// top and left by value, stopping where the file ends; false without the
// file (the fields keep what they hold).  write: the top and left by the
// rule of "AdobeFx.ini".
bool readAdobeF2(Session& s);
void writeAdobeF2(Session& s);

} // namespace mv
