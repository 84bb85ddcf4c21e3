#include "dvr/DvrIpcClient.h"

#include "vb/DateTime.h"

#include <QDeadlineTimer>
#include <QLocalSocket>

namespace dvr {

DvrIpcClient::DvrIpcClient(QString serverName) : serverName_(std::move(serverName)) {}

DvrIpcClient::~DvrIpcClient() {
    CloseSession();
}

bool DvrIpcClient::OpenSession() {
    if (connected()) return true;
    CloseSession();
    socket_ = std::make_unique<QLocalSocket>();
    const QDeadlineTimer deadline(kOpenTimeoutMs);
    socket_->connectToServer(serverName_);
    const bool answered = socket_->waitForConnected(int(deadline.remainingTime())) &&
                          awaitHelloReply(int(deadline.remainingTime()));
    if (!answered) socket_.reset();
    return answered;
}

void DvrIpcClient::ShowHistory(const QString& dvrAddress, const QString& userName,
                               const QString& password, std::int16_t camera, double dateTime) {
    vb::checkDateRange(dateTime);
    if (!connected()) return;
    // The viewer's answers only matter to someone debugging the link; dropping them keeps the
    // read buffer from growing over a long session.
    socket_->readAll();
    send(ipc::encodeShowHistory({dvrAddress, userName, password, camera, vb::splitDate(dateTime)}));
}

void DvrIpcClient::CloseSession() {
    if (!socket_) return;
    if (connected()) {
        send(ipc::encodeBye());
        socket_->disconnectFromServer();
        if (socket_->state() != QLocalSocket::UnconnectedState)
            socket_->waitForDisconnected(kWriteTimeoutMs);
    }
    socket_.reset();
}

bool DvrIpcClient::connected() const {
    return socket_ && socket_->state() == QLocalSocket::ConnectedState;
}

bool DvrIpcClient::awaitHelloReply(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    send(ipc::encodeHello());
    QByteArray received;
    for (;;) {
        if (const auto line = ipc::takeLine(received)) return ipc::isHelloReply(*line);
        if (received.size() > ipc::kMaxLineBytes || deadline.hasExpired()) return false;
        if (!socket_->waitForReadyRead(int(deadline.remainingTime()))) return false;
        received += socket_->readAll();
    }
}

void DvrIpcClient::send(const QByteArray& line) {
    socket_->write(line);
    // A local socket takes a short line at once; waiting only matters when the viewer has
    // stopped reading, and then it is bounded.
    socket_->flush();
    if (socket_->bytesToWrite() > 0) socket_->waitForBytesWritten(kWriteTimeoutMs);
}

} // namespace dvr
