#include "core/file_layer.h"

#include "core/values.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <cerrno>
#include <unistd.h>

namespace mv {

namespace {

class DiskStream : public StreamFile {
  public:
    explicit DiskStream(const QString& path) : f_(path) {}
    bool open(bool keep) {
        return f_.open(QIODevice::WriteOnly | QIODevice::Unbuffered |
                       (keep ? QIODevice::Append : QIODevice::Truncate));
    }
    // Unbuffered: one call is one write(2), and the bytes are in the file
    // system when it returns.
    qint64 write(QByteArrayView bytes) override {
        errno = 0;
        const qint64 n = f_.write(bytes.data(), bytes.size());
        // A short count is the disk filling up; -1 says why in errno.
        full_ = (n >= 0 && n < bytes.size()) || errno == ENOSPC || errno == EDQUOT;
        return n;
    }
    bool diskFull() const override { return full_; }
    qint64 size() const override { return f_.size(); }
    bool truncate(qint64 length) override { return f_.resize(length); }

  private:
    QFile f_;
    bool full_ = false;
};

class Disk : public FileLayer {
  public:
    QByteArray read(const QString& path) override {
        const QFileInfo info(path);
        if (!info.exists() || info.isDir()) throw failures::fileNotFound();
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly)) throw failures::pathFileAccess();
        return f.readAll();
    }
    void replace(const QString& path, QByteArrayView bytes) override {
        QSaveFile f(path);
        if (!f.open(QIODevice::WriteOnly)) throw failures::pathFileAccess();
        f.write(bytes.data(), bytes.size());
        if (!f.commit()) throw failures::pathFileAccess();
    }
    std::unique_ptr<StreamFile> stream(const QString& path, bool keep) override {
        auto s = std::make_unique<DiskStream>(path);
        if (!s->open(keep)) throw failures::pathFileAccess();
        return s;
    }
    qint64 pageSize() const override { return ::sysconf(_SC_PAGESIZE); }
};

} // namespace

FileLayer& diskFiles() {
    static Disk disk;
    return disk;
}

} // namespace mv
