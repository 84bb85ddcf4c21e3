#pragma once

// The standard method's link to the local video viewer: a session over a local socket to the
// viewer's IPC server, speaking the line protocol of DvrIpcProtocol.h. A report view opens one
// session when it loads, asks for a camera's history at each search and closes the session when
// it unloads. Everything runs on the caller's thread and waits only for short, bounded times, so
// a viewer that hangs or has gone away never freezes the view.

#include "dvr/DvrIpcProtocol.h"

#include <QString>
#include <cstdint>
#include <memory>

class QLocalSocket;

namespace dvr {

class DvrIpcClient {
public:
    // How long OpenSession waits for the viewer to connect and answer the hello.
    static constexpr int kOpenTimeoutMs = 1000;
    // The longest a request or the goodbye waits for a viewer that does not read.
    static constexpr int kWriteTimeoutMs = 200;

    explicit DvrIpcClient(QString serverName = ipc::defaultServerName());
    ~DvrIpcClient();
    DvrIpcClient(const DvrIpcClient&) = delete;
    DvrIpcClient& operator=(const DvrIpcClient&) = delete;

    // True when the viewer answered the hello with our protocol version in time. An open session
    // stays open (true); one whose viewer has gone is replaced by a new attempt.
    bool OpenSession();
    // Asks the viewer to show the camera's recorded history at dateTime (a date serial, local
    // time, to the second). Does nothing when no session is open, and answers are not awaited.
    // Raises vb::VbError 5 when dateTime is not a date of years 100 to 9999, session or not.
    void ShowHistory(const QString& dvrAddress, const QString& userName, const QString& password,
                     std::int16_t camera, double dateTime);
    // Says goodbye and disconnects; does nothing when no session is open.
    void CloseSession();

private:
    bool connected() const;
    bool awaitHelloReply(int timeoutMs);
    void send(const QByteArray& line);

    QString serverName_;
    // Present only while a session is open.
    std::unique_ptr<QLocalSocket> socket_;
};

} // namespace dvr
