#include "core/file_numbers.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace mv {

struct FileTable::Slot {
    FileMode mode = FileMode::Input;
    QString path;
    QStringList lines; // Input: the file's lines; Output: the lines written
    qsizetype next = 0;
    std::unique_ptr<StreamFile> stream;
    QByteArray written;                         // Stream: what the file holds
    std::optional<TextEncoding> streamEncoding; // taken with the first block
};

namespace {

QString joined(const QStringList& lines) {
    QString text;
    for (const QString& l : lines)
        text += l + QStringLiteral("\r\n");
    return text;
}

QString key(const QString& path) { return QFileInfo(path).absoluteFilePath(); }

void needFolder(const QString& path) {
    if (path.isEmpty() || !QFileInfo(path).absoluteDir().exists()) throw failures::pathNotFound();
}

} // namespace

QStringList splitLines(const QByteArray& bytes, TextEncoding* used) {
    // Decoded as a whole: one byte that is no UTF-8 makes the whole file
    // Windows-1252.  CR and LF stand for themselves in both encodings.
    const QString text = decodeText(bytes, used);
    QStringList lines;
    qsizetype start = 0;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text[i];
        if (c != u'\r' && c != u'\n') continue;
        lines << text.mid(start, i - start);
        if (c == u'\r' && i + 1 < n && text[i + 1] == u'\n') ++i;
        start = i + 1;
    }
    if (start < n) lines << text.mid(start);
    return lines;
}

QByteArray encodeLines(const QStringList& lines, std::optional<TextEncoding> wanted,
                       TextEncoding* used) {
    const QString text = joined(lines);
    if (wanted.value_or(preferredEncoding(text)) == TextEncoding::Windows1252 &&
        fitsWindows1252(text)) {
        QByteArray bytes = toWindows1252(text);
        // Bytes that happen to be valid UTF-8 ("Ã©") would read back as
        // other text: such a text goes out in UTF-8.
        if (!looksUtf8(bytes)) {
            if (used) *used = TextEncoding::Windows1252;
            return bytes;
        }
    }
    if (used) *used = TextEncoding::Utf8;
    return text.toUtf8();
}

void writeLinesAtomically(const QString& path, const QStringList& lines) {
    diskFiles().replace(path, encodeLines(lines, std::nullopt));
}

FileTable::FileTable() : layer_(&diskFiles()) {}
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

std::optional<TextEncoding> FileTable::encodingOf(const QString& path) const {
    const auto it = encodings_.find(key(path));
    return it == encodings_.end() ? std::nullopt : std::optional(*it);
}

void FileTable::remember(const QString& path, TextEncoding e) { encodings_[key(path)] = e; }

QStringList FileTable::readLines(const QString& path) {
    needFolder(path);
    const QByteArray bytes = layer_->read(path);
    TextEncoding e;
    QStringList lines = splitLines(bytes, &e);
    // Only a file with a byte above 0x7F tells its encoding; a plain ASCII
    // one keeps what was known of it.
    const bool plain = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0; });
    if (!plain || !encodingOf(path)) remember(path, e);
    return lines;
}

void FileTable::open(int number, const QString& path, FileMode mode) {
    if (number < 1 || number > kMaxNumber) throw failures::badFileNumber();
    // The number stays with the file that holds it.
    if (slots_[number]) throw failures::fileAlreadyOpen();
    needFolder(path);
    auto s = std::make_unique<Slot>();
    s->mode = mode;
    s->path = path;
    if (mode == FileMode::Input)
        s->lines = readLines(path);
    else if (mode == FileMode::Stream)
        s->stream = layer_->stream(path);
    slots_[number] = std::move(s);
}

void FileTable::commitSlot(Slot& s) {
    if (s.mode != FileMode::Output) return;
    TextEncoding e;
    const QByteArray bytes = encodeLines(s.lines, encodingOf(s.path), &e);
    layer_->replace(s.path, bytes);
    remember(s.path, e);
}

void FileTable::close(int number) {
    if (!isOpen(number)) return;
    std::unique_ptr<Slot> s = std::move(slots_[number]);
    try {
        commitSlot(*s);
    } catch (const Failure&) {
        // A failed commit leaves the old file whole; commit() reports it.
    }
}

void FileTable::commit(int number) {
    if (!isOpen(number)) return;
    std::unique_ptr<Slot> s = std::move(slots_[number]);
    commitSlot(*s);
}

void FileTable::closeAll() {
    for (int n = 1; n <= kMaxNumber; ++n)
        close(n);
}

void FileTable::closeReads() {
    for (int n = 1; n <= kMaxNumber; ++n)
        if (isOpen(n) && slots_[n]->mode == FileMode::Input) close(n);
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

void FileTable::writeLine(int number, const QString& text) { writeLines(number, {text}); }

void FileTable::writeLines(int number, const QStringList& lines) {
    Slot& s = slot(number);
    if (s.mode == FileMode::Output) {
        s.lines += lines;
        return;
    }
    if (s.mode != FileMode::Stream) throw failures::badFileNumber();
    // The stream's encoding is chosen with its first block (the header) and
    // kept: the records after it are plain ASCII.
    QByteArray bytes;
    if (s.streamEncoding) {
        bytes = encodeText(joined(lines), *s.streamEncoding);
    } else {
        TextEncoding e;
        bytes = encodeLines(lines, encodingOf(s.path), &e);
        s.streamEncoding = e;
        remember(s.path, e);
    }
    if (!s.stream) throw failures::badFileNumber(); // lost when it could not be opened again
    const qint64 before = s.written.size();
    const qint64 page = layer_->pageSize();
    if (page > 0 && before / page != (before + bytes.size() - 1) / page) {
        // The system copies a write into the file page by page and stops
        // between two pages at a kill: a block that spans two goes in by
        // replacing the whole file (a kill leaves the old one or the new
        // one), and the stream goes on at the end of the new one.
        s.stream.reset();
        try {
            layer_->replace(s.path, s.written + bytes);
        } catch (const Failure&) {
            s.stream = layer_->stream(s.path, true);
            throw;
        }
        s.stream = layer_->stream(s.path, true);
        s.written += bytes;
        return;
    }
    // One buffer, one write: a kill leaves the block in the file or not.
    const qint64 n = s.stream->write(bytes);
    if (n == bytes.size()) {
        s.written += bytes;
        return;
    }
    // What did not fit whole is taken back, so the file ends on a whole block.
    const bool full = s.stream->diskFull();
    if (n > 0) s.stream->truncate(before);
    throw full ? failures::diskFull() : failures::pathFileAccess();
}

QStringList FileTable::readText(const QString& path) { return readLines(path); }

void FileTable::writeText(const QString& path, const QStringList& lines) {
    needFolder(path);
    TextEncoding e;
    const QByteArray bytes = encodeLines(lines, encodingOf(path), &e);
    layer_->replace(path, bytes);
    remember(path, e);
}

} // namespace mv
