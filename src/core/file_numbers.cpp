#include "core/file_numbers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>

namespace mv {

struct FileTable::Slot {
    FileMode mode = FileMode::Input;
    QString path;
    QStringList lines; // Input
    qsizetype next = 0;
    std::unique_ptr<QSaveFile> out; // Output and Append
    std::unique_ptr<QFile> stream;  // Stream
};

QStringList splitLines(const QByteArray& bytes) {
    // UTF-8 when the whole file is valid UTF-8 (what this program writes),
    // else Latin-1, so that files written on Windows still read.  CR and LF
    // never occur inside a UTF-8 sequence, so lines split on bytes.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = utf8.decode(bytes); // decoding is lazy: make it happen
    const bool isUtf8 = !utf8.hasError();
    auto text = [&](qsizetype from, qsizetype len) {
        const QByteArrayView v(bytes.constData() + from, len);
        return isUtf8 ? QString::fromUtf8(v) : QString::fromLatin1(v);
    };
    QStringList lines;
    qsizetype start = 0;
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char c = bytes[i];
        if (c != '\r' && c != '\n') continue;
        lines << text(start, i - start);
        if (c == '\r' && i + 1 < n && bytes[i + 1] == '\n') ++i;
        start = i + 1;
    }
    if (start < n) lines << text(start, n - start);
    return lines;
}

FileTable::FileTable() = default;
FileTable::~FileTable() { closeAll(); }

FileTable::Slot& FileTable::slot(int number) const {
    if (number < 1 || number > kMaxNumber || !slots_[number]) throw failures::badFileNumber();
    return *slots_[number];
}

bool FileTable::isOpen(int number) const {
    return number >= 1 && number <= kMaxNumber && slots_[number] != nullptr;
}

QString FileTable::path(int number) const {
    return isOpen(number) ? slots_[number]->path : QString();
}

void FileTable::open(int number, const QString& path, FileMode mode) {
    if (number < 1 || number > kMaxNumber) throw failures::badFileNumber();
    if (slots_[number]) throw failures::fileAlreadyOpen();
    const QFileInfo info(path);
    if (path.isEmpty() || !info.absoluteDir().exists()) throw failures::pathNotFound();
    auto s = std::make_unique<Slot>();
    s->mode = mode;
    s->path = path;
    if (mode == FileMode::Input) {
        QFile f(path);
        if (!info.exists() || info.isDir()) throw failures::fileNotFound();
        if (!f.open(QIODevice::ReadOnly)) throw failures::pathFileAccess();
        s->lines = splitLines(f.readAll());
    } else if (mode == FileMode::Stream) {
        s->stream = std::make_unique<QFile>(path);
        if (!s->stream->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            throw failures::pathFileAccess();
    } else {
        QByteArray keep;
        if (mode == FileMode::Append && info.exists()) {
            QFile f(path);
            if (!f.open(QIODevice::ReadOnly)) throw failures::pathFileAccess();
            keep = f.readAll();
        }
        s->out = std::make_unique<QSaveFile>(path);
        if (!s->out->open(QIODevice::WriteOnly)) throw failures::pathFileAccess();
        if (!keep.isEmpty()) s->out->write(keep);
    }
    slots_[number] = std::move(s);
}

void FileTable::close(int number) {
    if (!isOpen(number)) return;
    std::unique_ptr<Slot> s = std::move(slots_[number]);
    if (s->out) s->out->commit(); // a failed commit leaves the old file whole
}

void FileTable::commit(int number) {
    if (!isOpen(number)) return;
    std::unique_ptr<Slot> s = std::move(slots_[number]);
    if (s->out && !s->out->commit()) throw failures::pathFileAccess();
}

void FileTable::closeAll() {
    for (int n = 1; n <= kMaxNumber; ++n)
        close(n);
}

bool FileTable::eof(int number) const {
    const Slot& s = slot(number);
    if (s.mode != FileMode::Input) return true;
    return s.next >= s.lines.size();
}

QStringList FileTable::readRest(int number) {
    QStringList rest;
    while (!eof(number))
        rest << readLine(number);
    return rest;
}

QString FileTable::readLine(int number) {
    Slot& s = slot(number);
    if (s.mode != FileMode::Input) throw failures::badFileNumber();
    if (s.next >= s.lines.size()) throw failures::inputPastEnd();
    return s.lines[s.next++];
}

void FileTable::writeLine(int number, const QString& text) {
    Slot& s = slot(number);
    if (s.stream) {
        // One write per line, unbuffered: the line is in the file when this returns.
        if (s.stream->write(text.toUtf8() + "\r\n") < 0) throw failures::pathFileAccess();
        return;
    }
    if (!s.out) throw failures::badFileNumber();
    s.out->write(text.toUtf8());
    s.out->write("\r\n", 2);
}

void writeLinesAtomically(const QString& path, const QStringList& lines) {
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly)) throw failures::pathFileAccess();
    for (const QString& l : lines) {
        f.write(l.toUtf8());
        f.write("\r\n", 2);
    }
    if (!f.commit()) throw failures::pathFileAccess();
}

} // namespace mv
