#pragma once
// The disk under the file table: whole reads, files replaced through a
// temporary file and a rename, and the open stream of a recording.  One real
// implementation, the local file system (diskFiles()); tests put a fake in
// its place (a disk that fills up, a folder that cannot be written).

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <memory>

namespace mv {

// A file written straight through, kept open between writes.
class StreamFile {
  public:
    virtual ~StreamFile() = default;
    // Writes `bytes` in one call, as write(2) does: the count written, short
    // or -1 when the disk is full or the file can no longer be written.  What
    // was written has reached the file system when this returns.
    virtual qint64 write(QByteArrayView bytes) = 0;
    // After a write that fell short: true when the disk was full.
    virtual bool diskFull() const = 0;
    // The file's length now.
    virtual qint64 size() const = 0;
    // Cuts the file back to `length` bytes; false when it cannot.
    virtual bool truncate(qint64 length) = 0;
};

class FileLayer {
  public:
    virtual ~FileLayer() = default;
    // The whole file.  Failure 53 when there is no such file, 75 when it
    // cannot be read.
    virtual QByteArray read(const QString& path) = 0;
    // Replaces `path` with `bytes` through a temporary file beside it and a
    // rename.  Failure 75 when that cannot be done whole (a full disk, a
    // folder that cannot be written); the old file then stands as it was.
    virtual void replace(const QString& path, QByteArrayView bytes) = 0;
    // Opens `path` for writing straight through at its end, emptied first
    // (creating it) unless `keep`.  Failure 75 when it cannot be opened.
    virtual std::unique_ptr<StreamFile> stream(const QString& path, bool keep = false) = 0;
    // The unit in which the system copies a write into a file: a kill can
    // cut a write that spans two of them between the two, never one that
    // stays inside one.
    virtual qint64 pageSize() const = 0;
};

// The local file system.
FileLayer& diskFiles();

} // namespace mv
