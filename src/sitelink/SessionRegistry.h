#pragma once

// Session numbers for the connections open on one site file. Each connection holds an OFD lock on
// one byte of a small registry file: the byte's offset is its number. The lock belongs to the
// open file, so two connections of one process exclude each other as connections of two
// processes do, and the system drops it when a process ends however it ends: a number is never
// lost to a crash.
//
// The registry lives in this computer's temporary folder, named by the site file's device and
// inode: every user can write there, whether or not the site's folder can be written, and every
// path to one file (a symbolic link, another mount of its folder) meets the same registry. The
// numbers only keep apart the clients of one computer, whose session tables are private to each
// connection anyway.

#include <QString>
#include <cstdint>
#include <optional>

namespace sitelink {

class SessionLease {
public:
    // Takes the lowest free number (1 and up) for the site file; nullopt with a reason in
    // `error` when the registry cannot be opened or every number is taken.
    static std::optional<SessionLease> acquire(const QString& siteFile, QString* error = nullptr);

    SessionLease(SessionLease&& other) noexcept;
    SessionLease& operator=(SessionLease&& other) noexcept;
    SessionLease(const SessionLease&) = delete;
    SessionLease& operator=(const SessionLease&) = delete;
    ~SessionLease();

    std::int16_t index() const { return index_; }

    // The registry of the site file, or nothing with a reason in `error` when the file cannot be
    // found.
    static std::optional<QString> registryPath(const QString& siteFile, QString* error = nullptr);

private:
    SessionLease(int fd, std::int16_t index) : fd_(fd), index_(index) {}
    void release();

    int fd_ = -1;
    std::int16_t index_ = 0;
};

} // namespace sitelink
