#include "sitelink/SessionRegistry.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sitelink {

namespace {

constexpr int kMaxSessions = 32767; // the number is a 16-bit signed integer
constexpr mode_t kEveryone = 0666;

// Tries to lock byte `offset` for this open file description; false when another holds it.
bool tryLock(int fd, int offset) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = offset;
    lock.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

// Opens the registry, making it when it is missing. A registry another user made is opened
// without O_CREAT, which a sticky temporary folder refuses for files of others where the system
// protects them; a new one is opened to every user of this computer, whatever the umask, so the
// next user's clients can take their numbers in it too.
int openRegistry(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    for (int attempt = 0; attempt < 2; ++attempt) {
        int fd = ::open(name.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (fd >= 0 || errno != ENOENT) return fd;
        fd =
            ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kEveryone);
        if (fd >= 0) {
            fchmod(fd, kEveryone);
            return fd;
        }
        if (errno != EEXIST) return -1; // else another client made it meanwhile: open that one
    }
    return -1;
}

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

std::optional<QString> SessionLease::registryPath(const QString& siteFile, QString* error) {
    struct stat site {};
    if (::stat(QFile::encodeName(siteFile).constData(), &site) != 0) {
        if (error)
            *error = QStringLiteral("Cannot find the session registry of %1: %2")
                         .arg(siteFile, systemError());
        return std::nullopt;
    }
    return QDir::temp().filePath(QStringLiteral("tillsight-%1-%2.sessions")
                                     .arg(static_cast<qulonglong>(site.st_dev), 0, 16)
                                     .arg(static_cast<qulonglong>(site.st_ino), 0, 16));
}

std::optional<SessionLease> SessionLease::acquire(const QString& siteFile, QString* error) {
    const auto path = registryPath(siteFile, error);
    if (!path) return std::nullopt;
    const int fd = openRegistry(*path);
    if (fd < 0) {
        if (error)
            *error =
                QStringLiteral("Cannot open the session registry %1: %2").arg(*path, systemError());
        return std::nullopt;
    }
    for (int index = 1; index <= kMaxSessions; ++index)
        if (tryLock(fd, index)) return SessionLease(fd, static_cast<std::int16_t>(index));
    ::close(fd);
    if (error) *error = QStringLiteral("Every session number of this site is in use.");
    return std::nullopt;
}

SessionLease::SessionLease(SessionLease&& other) noexcept : fd_(other.fd_), index_(other.index_) {
    other.fd_ = -1;
}

SessionLease& SessionLease::operator=(SessionLease&& other) noexcept {
    if (this != &other) {
        release();
        fd_ = other.fd_;
        index_ = other.index_;
        other.fd_ = -1;
    }
    return *this;
}

SessionLease::~SessionLease() {
    release();
}

void SessionLease::release() {
    // Closing the descriptor drops its lock.
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

} // namespace sitelink
