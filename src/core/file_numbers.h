#pragma once
// The process-wide table of open map files by small fixed number: 1 the play
// read and the table write, 2 the record stream, 3 the edit load, 4 the
// header take.  Lines end in CR LF.  Text is read as UTF-8 when the bytes
// are valid UTF-8 holding a byte above 0x7F, else as Windows-1252 (files
// made on Windows); a file is written back in the encoding it was read in,
// and a new one in Windows-1252 when every character fits, else in UTF-8
// (encodeLines).
//
// Output files are written to a temporary file beside the target and renamed
// over it when the number is closed, so a crash never leaves half a file.
// Stream files (the record stream) are the exception: opening empties the
// target at once and each block of lines reaches the file in one write, so a
// crash loses at most the record being written, never a part of one.
// Closing a number that is not open does nothing.  Operations close only
// the numbers they opened, with two deliberate exceptions: closeReads(),
// which ends the reader of a running play at its next read (failure 52),
// as a rename does, and closeAll(), which a set load calls.
//
// Settings, list and set files are read and written whole under no number
// (readText, writeText): nothing can close them from outside, and they close
// nothing.
//
// All disk work goes through a FileLayer (core/file_layer.h), the local file
// system unless a test puts a fake in its place.

#include "core/file_layer.h"
#include "core/text_codec.h"
#include "core/values.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace mv {

enum class FileMode { Input, Output, Stream };

class FileTable {
  public:
    static constexpr int kMaxNumber = 4;
    FileTable();
    ~FileTable();

    // The disk the table works on; the local file system at first.
    void useLayer(FileLayer& layer) { layer_ = &layer; }
    FileLayer& layer() const { return *layer_; }

    // Opens `path` under `number` (1..4).  Input of a missing file is failure
    // 53; a number already open is failure 55, and the file that holds it
    // stays open and untouched; a folder that does not exist is 76; a file
    // that cannot be written is 75.  Input reads the whole file at once.
    void open(int number, const QString& path, FileMode mode);
    // Ends the use of a number.  Output is committed here.  Not open: nothing.
    void close(int number);
    // Closes like close(), but an output that could not be committed (a full
    // disk, a folder that cannot be written) is failure 75; the old file then
    // stands as it was.
    void commit(int number);
    void closeAll();
    // Closes every number open for input (the map a running play reads, an
    // edit load, a header take), so that its reader ends at its next read.
    // Files being written, the record stream among them, stay open.
    void closeReads();
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
    // Writes `lines`, each + CR LF, as one block: on a stream in one write,
    // so that a record is in the file whole or not at all.  A stream that
    // cannot take the whole block (a full disk) is cut back to where it
    // stood before it: failure 61.  Not open for output: failure 52.
    void writeLines(int number, const QStringList& lines);
    // The path a number was opened with, empty when closed.
    QString path(int number) const;

    // A whole text file read under no number: its lines, the encoding
    // remembered for its rewrite.  No file: failure 53; unreadable: 75.
    QStringList readText(const QString& path);
    // Replaces `path` with `lines` under no number, through a temporary file
    // and a rename, in the encoding the file was read in (see encodeLines).
    // Failure 76 for a folder that does not exist, 75 when it cannot be
    // written; the old file then stands as it was.
    void writeText(const QString& path, const QStringList& lines);

  private:
    struct Slot;
    std::unique_ptr<Slot> slots_[kMaxNumber + 1];
    FileLayer* layer_;
    // The encoding each file was last read or written in, by absolute path.
    QHash<QString, TextEncoding> encodings_;
    Slot& slot(int number) const;
    QStringList readLines(const QString& path);
    std::optional<TextEncoding> encodingOf(const QString& path) const;
    void remember(const QString& path, TextEncoding e);
    void commitSlot(Slot& s);
};

// Splits file bytes into lines the way the readers see them (shared with the
// table so tests and fuzzers can feed bytes directly): decoded as a whole by
// decodeText (core/text_codec.h); lines end at CR LF, CR or LF.  `used`,
// when given, receives the encoding taken.
QStringList splitLines(const QByteArray& bytes, TextEncoding* used = nullptr);

// The bytes of `lines`, each ended by CR LF, in `wanted` (without one: the
// encoding of a new file, Windows-1252 when every character fits, else
// UTF-8).  Windows-1252 gives way to UTF-8 when the text does not fit it, or
// when its bytes would read back as UTF-8, so that what is written always
// reads back the same.  `used`, when given, receives the encoding taken.
QByteArray encodeLines(const QStringList& lines, std::optional<TextEncoding> wanted,
                       TextEncoding* used = nullptr);

// Writes `lines` as a new file to `path` on the local disk, through a
// temporary file and a rename.  Failure 75 when it cannot be written.
void writeLinesAtomically(const QString& path, const QStringList& lines);

} // namespace mv
