#pragma once
// The process-wide table of open text files by small fixed number:
// 1 settings files, the play read, the table write, list files; 2 the record
// stream and "AdobeFx.ini"; 3 the edit load and "AdobeF2.ini"; 4 the header
// take.  Lines end in CR LF; text is written as UTF-8 and read as UTF-8 or,
// when the bytes are not valid UTF-8, as Latin-1.
//
// Output files are written to a temporary file beside the target and renamed
// over it when the number is closed, so a crash never leaves half a file.
// Stream files (the record stream) are the exception: opening empties the
// target at once and every line reaches the disk as it is written, so a
// crash loses at most the line being written.
// Closing a number that is not open does nothing; any operation may close a
// number another one holds, and the holder then fails at its next read with
// failure 52, which is how a running play is ended from outside.

#include "core/values.h"

#include <QString>
#include <QStringList>
#include <memory>

namespace mv {

enum class FileMode { Input, Output, Append, Stream };

class FileTable {
  public:
    static constexpr int kMaxNumber = 4;
    FileTable();
    ~FileTable();

    // Opens `path` under `number` (1..4).  Input of a missing file is failure
    // 53; an open number is failure 55; a folder that does not exist is 76; a
    // file that cannot be written is 75.  Input reads the whole file at once.
    void open(int number, const QString& path, FileMode mode);
    // Ends the use of a number.  Output is committed here.  Not open: nothing.
    void close(int number);
    // Closes like close(), but an output that could not be committed (a full
    // disk, a folder that cannot be written) is failure 75; the old file then
    // stands as it was.
    void commit(int number);
    void closeAll();
    bool isOpen(int number) const;
    // True when no line is left.  Not open: failure 52.
    bool eof(int number) const;
    // The next line without its end (CR LF, CR or LF).  At the end: failure
    // 62; not open: failure 52.
    QString readLine(int number);
    // The lines left, each without its end; the number is at its end then.
    // Not open: failure 52.
    QStringList readRest(int number);
    // Writes text + CR LF.  Not open for output: failure 52.
    void writeLine(int number, const QString& text);
    // The path a number was opened with, empty when closed.
    QString path(int number) const;

  private:
    struct Slot;
    std::unique_ptr<Slot> slots_[kMaxNumber + 1];
    Slot& slot(int number) const;
};

// Splits file bytes into lines the way the readers see them (shared with the
// table so tests and fuzzers can feed bytes directly): UTF-8 when all the
// bytes are valid UTF-8, else Latin-1.  Lines end at CR LF, CR or LF.
QStringList splitLines(const QByteArray& bytes);

// Writes `lines` in UTF-8, each ended by CR LF, to `path` through a temporary file and
// a rename.  Failure 75 when it cannot be written.
void writeLinesAtomically(const QString& path, const QStringList& lines);

} // namespace mv
