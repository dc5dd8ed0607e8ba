#pragma once
// "Output Delay": how many milliseconds the sound of an audio output comes
// after the program sends it (Bluetooth headphones 100-250 ms, a USB
// interface a little).  The cursor of a play runs that much later than the
// map says, and a recording takes it off each tap, so one map fits every
// output.  The value is kept per output by the output's name, in
// "OutputDelay.txt" beside the settings: one line per output, the delay in
// whole milliseconds, a tab, the output's name as the Audio Out menu shows
// it ("Default" for the system's default).

#include <QMap>
#include <QString>
#include <QStringList>

namespace mv {

class FileTable;
struct Session;
struct VelmorState;

constexpr int kOutputDelayMin = -500;
constexpr int kOutputDelayMax = 1000;

// The setup's Output Delay in whole milliseconds, held within
// kOutputDelayMin..kOutputDelayMax; text without a leading number is 0.
int outputDelayMs(const VelmorState& v);

// The name the delay of the present output is kept under: the Audio Out
// entry the sound goes to, "Default" when that is the default or a blank
// entry.
QString outputName(const Session& s);

class OutputDelays {
  public:
    // The delay kept for `output`; 0 for an output not kept.
    int of(const QString& output) const { return ms_.value(output, 0); }
    // Keeps `ms` (held within the range) for `output`.  An empty name is
    // kept as "Default"; a name holding a line end is not kept.
    void set(const QString& output, int ms);

    // The file's lines read: "MS<tab>NAME".  A line without a tab, with no
    // whole number before it or with an empty name is passed over; a number
    // out of range is held within it; the last line of a name counts.
    static OutputDelays parse(const QStringList& lines);
    // The lines to write, sorted by name.
    QStringList lines() const;

    // Reads `path` (FileTable::readText); no file or an unreadable one
    // changes nothing and is false.
    bool read(FileTable& files, const QString& path);
    // Writes through FileTable::writeText (temporary file and rename):
    // failure 75 or 76 when it cannot, the old file then stands.
    void write(FileTable& files, const QString& path) const;

    bool operator==(const OutputDelays& o) const { return ms_ == o.ms_; }

  private:
    QMap<QString, int> ms_;
};

} // namespace mv
