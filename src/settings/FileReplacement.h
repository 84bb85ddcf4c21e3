#pragma once

// Replacing a file's contents so that at every moment, a crash or a power cut included, the file
// holds either its old contents or the new ones whole. Every step is checked by hand: QSaveFile
// has been seen to commit, and report success for, a file cut short by a full disk.
//
// A file reached through a symbolic link stays a link, its target replaced, and the file keeps
// its permissions (it may have been closed to others: it holds the site passwords).

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

namespace settings {

// A descriptor closed on every path out; the close that counts is checked.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int get() const { return fd_; }
    // Some file systems report a failed write only here.
    bool close();

private:
    int fd_;
};

// New contents written and flushed to disk beside the file, waiting to take its place. Until
// installed, the file is untouched, and a replacement that is dropped leaves nothing behind.
class FileReplacement {
public:
    // Nothing when the new contents cannot be written in full and flushed.
    static std::optional<FileReplacement> write(const QString& path, QByteArrayView bytes);

    FileReplacement(FileReplacement&& other) noexcept;
    FileReplacement& operator=(FileReplacement&&) = delete;
    ~FileReplacement();

    // Renames the new contents over the file. False when that fails (the file then keeps its old
    // contents) or when the folder cannot be flushed after it (the new contents are in place, but
    // may not outlast a power cut).
    bool install();

private:
    explicit FileReplacement(const QString& target);
    bool create();
    bool name();

    QByteArray target_;
    QByteArray folder_;
    QByteArray prefix_; // of the names the new file may take
    Descriptor file_;
    QByteArray temporary_; // the new file's name, once it has one and until it is installed
};

// Writes and installs at once.
bool replaceFile(const QString& path, QByteArrayView bytes);

} // namespace settings
