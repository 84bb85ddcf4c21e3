#include "sitelink/SessionRegistry.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace sitelink {

namespace {

constexpr int kMaxSessions = 32767; // the number is a 16-bit signed integer

// Tries to lock byte `offset` for this open file description; false when another holds it.
bool tryLock(int fd, int offset) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = offset;
    lock.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

int openRegistry(const QString& path) {
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

// Where a site whose folder cannot be written keeps its registry: one place on this computer per
// site file, so the clients here still number themselves apart. (Their session tables are
// private to each connection, so clients elsewhere sharing a number harm nothing.)
QString fallbackRegistryPath(const QString& siteFile) {
    const QByteArray key = QCryptographicHash::hash(QFileInfo(siteFile).absoluteFilePath().toUtf8(),
                                                    QCryptographicHash::Sha1);
    return QDir::temp().filePath(
        QStringLiteral("tillsight-%1.sessions").arg(QString::fromLatin1(key.toHex())));
}

} // namespace

QString SessionLease::registryPath(const QString& siteFile) {
    return QFileInfo(siteFile).absoluteFilePath() + QStringLiteral(".sessions");
}

std::optional<SessionLease> SessionLease::acquire(const QString& siteFile, QString* error) {
    QString path = registryPath(siteFile);
    int fd = openRegistry(path);
    if (fd < 0 && (errno == EACCES || errno == EROFS)) {
        path = fallbackRegistryPath(siteFile);
        fd = openRegistry(path);
    }
    if (fd < 0) {
        if (error)
            *error = QStringLiteral("Cannot open the session registry %1: %2")
                         .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
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
