#include "settings/FileReplacement.h"

#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace settings {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr int kWriteFlags = O_WRONLY | O_CLOEXEC;

QString followLink(const QString& path) {
    const QFileInfo info(path);
    return info.isSymLink() ? info.symLinkTarget() : path;
}

// Beside the file, so that the rename stays within one file system; hidden. Another save may take
// the same name at the same moment, so names are tried until one is free.
template <typename Take> bool takeFreeName(const QByteArray& prefix, QByteArray& name, Take take) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        name = prefix + QByteArray::number(QRandomGenerator::global()->generate64(), 36);
        if (take(name.constData())) return true;
        if (errno != EEXIST) break;
    }
    name.clear();
    return false;
}

// Changes the new file's permissions only when they differ: some file systems refuse any change,
// and give every file the same permissions anyway.
bool keepPermissions(int fd, const QByteArray& target) {
    struct stat old {};
    struct stat fresh {};
    if (::stat(target.constData(), &old) != 0) return errno == ENOENT;
    if (::fstat(fd, &fresh) != 0) return false;
    const mode_t wanted = old.st_mode & kPermissionBits;
    return (fresh.st_mode & kPermissionBits) == wanted || ::fchmod(fd, wanted) == 0;
}

// A write may take only part of the bytes, or be interrupted before it takes any.
bool writeAll(int fd, QByteArrayView bytes) {
    const char* next = bytes.data();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, next, static_cast<size_t>(left));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        next += written;
        left -= written;
    }
    return true;
}

// The rename lasts only once the folder is on disk too. A file system that cannot flush a folder
// says so with EINVAL, and has nothing to flush.
bool syncFolder(const QByteArray& folder) {
    Descriptor dir(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.get() < 0) return false;
    const bool synced = ::fsync(dir.get()) == 0 || errno == EINVAL;
    return dir.close() && synced;
}

} // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

Descriptor::~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
}

bool Descriptor::close() {
    return ::close(std::exchange(fd_, -1)) == 0;
}

FileReplacement::FileReplacement(const QString& target)
    : target_(QFile::encodeName(target)),
      folder_(QFile::encodeName(QFileInfo(target).absolutePath())),
      prefix_(folder_ + "/." + QFile::encodeName(QFileInfo(target).fileName()) + '.') {}

FileReplacement::FileReplacement(FileReplacement&& other) noexcept
    : target_(std::move(other.target_)), folder_(std::move(other.folder_)),
      prefix_(std::move(other.prefix_)), file_(std::move(other.file_)),
      temporary_(std::exchange(other.temporary_, {})) {}

FileReplacement::~FileReplacement() {
    if (!temporary_.isEmpty()) ::unlink(temporary_.constData());
}

// The new file has no name while it is written, where the file system allows it, so that a save
// killed before its end leaves nothing behind.
bool FileReplacement::create() {
    file_ = Descriptor(::open(folder_.constData(), O_TMPFILE | kWriteFlags, 0666));
    return file_.get() >= 0 || takeFreeName(prefix_, temporary_, [this](const char* name) {
               file_ = Descriptor(::open(name, O_CREAT | O_EXCL | kWriteFlags, 0666));
               return file_.get() >= 0;
           });
}

// Linking needs a name of its own: a link cannot take the place of an existing file.
bool FileReplacement::name() {
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(file_.get());
    return takeFreeName(prefix_, temporary_, [&self](const char* name) {
        return ::linkat(AT_FDCWD, self.constData(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
    });
}

std::optional<FileReplacement> FileReplacement::write(const QString& path, QByteArrayView bytes) {
    FileReplacement replacement(followLink(path));
    if (!replacement.create()) return std::nullopt;
    const int fd = replacement.file_.get();
    if (!keepPermissions(fd, replacement.target_) || !writeAll(fd, bytes) || ::fsync(fd) != 0)
        return std::nullopt;
    return replacement;
}

bool FileReplacement::install() {
    if (temporary_.isEmpty() && !name()) return false;
    if (!file_.close() || ::rename(temporary_.constData(), target_.constData()) != 0) return false;
    temporary_.clear();
    return syncFolder(folder_);
}

bool replaceFile(const QString& path, QByteArrayView bytes) {
    auto replacement = FileReplacement::write(path, bytes);
    return replacement && replacement->install();
}

} // namespace settings
