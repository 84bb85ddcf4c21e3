#include "viewer/DvmsServer.h"

#include "dvr/DvrIpcProtocol.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace viewer {

namespace {

constexpr QByteArrayView kLiteral = "history,";

const QRegularExpression& commandShape() {
    static const QRegularExpression shape(u"^history,([0-9]{4}),([0-9]{2}),([0-9]{2}),([0-9]{2}),"
                                          u"([0-9]{2}),([0-9]{2}),(-?[0-9]{2,6})$"_s);
    return shape;
}

// One sender: its unfinished text and the clock of its silence. Lives as long as its socket.
class DvmsConnection : public QObject {
public:
    DvmsConnection(QTcpSocket* socket, DvmsServer* server)
        : QObject(socket), socket_(socket), server_(server) {
        pause_.setSingleShot(true);
        pause_.setInterval(kPauseMs);
        connect(socket, &QTcpSocket::readyRead, this, &DvmsConnection::read);
        connect(&pause_, &QTimer::timeout, this, &DvmsConnection::pauseEnded);
        connect(socket, &QTcpSocket::disconnected, this, &DvmsConnection::closed);
    }

private:
    void read() {
        for (const QByteArray& text : stream_.append(socket_->readAll()))
            deliver(text);
        silence_.start();
        if (stream_.held() != DvmsStream::Held::Nothing) pause_.start();
    }

    void pauseEnded() {
        const bool mayGrow = stream_.held() == DvmsStream::Held::Beginning;
        if (mayGrow && !silence_.hasExpired(kGiveUpMs)) {
            pause_.start();
            return;
        }
        deliver(stream_.takeHeld());
    }

    void closed() {
        read();
        pause_.stop();
        deliver(stream_.takeHeld());
        socket_->deleteLater();
    }

    void deliver(const QByteArray& text) {
        if (text.isEmpty()) return;
        if (const auto request = parseDvmsCommand(text))
            emit server_->requested(*request);
        else
            emit server_->rejected(text);
    }

    QTcpSocket* socket_;
    DvmsServer* server_;
    DvmsStream stream_;
    QTimer pause_;
    QElapsedTimer silence_;
};

} // namespace

std::optional<ViewerRequest> parseDvmsCommand(QByteArrayView text) {
    const auto match = commandShape().match(QString::fromLatin1(text));
    if (!match.hasMatch()) return std::nullopt;
    const auto moment = dvr::ipc::parseMoment(
        u"%1-%2-%3T%4:%5:%6"_s.arg(match.captured(1), match.captured(2), match.captured(3),
                                   match.captured(4), match.captured(5), match.captured(6)));
    bool cameraFits = false;
    const short camera = match.captured(7).toShort(&cameraFits);
    if (!moment || !cameraFits) return std::nullopt;
    ViewerRequest request;
    request.method = Method::Dvms;
    request.camera = camera;
    request.moment = *moment;
    request.command = text.toByteArray();
    return request;
}

QList<QByteArray> DvmsStream::append(QByteArrayView bytes) {
    held_ += bytes;
    QList<QByteArray> ended;
    for (qsizetype next; (next = held_.indexOf(kLiteral, 1)) > 0;) {
        ended << held_.left(next);
        held_.remove(0, next);
    }
    if (held_.size() > kMaxCommandBytes) ended << takeHeld();
    return ended;
}

DvmsStream::Held DvmsStream::held() const {
    if (held_.isEmpty()) return Held::Nothing;
    const auto match = commandShape().match(QString::fromLatin1(held_), 0,
                                            QRegularExpression::PartialPreferCompleteMatch);
    if (match.hasMatch()) return Held::Command;
    return match.hasPartialMatch() ? Held::Beginning : Held::Junk;
}

QByteArray DvmsStream::takeHeld() {
    return std::exchange(held_, {});
}

DvmsServer::DvmsServer(int idleMs, QObject* parent)
    : QObject(parent), keeper_(idleMs, kMaxConnections) {
    connect(&server_, &QTcpServer::newConnection, this, &DvmsServer::accept);
}

bool DvmsServer::listen(quint16 port, QString& error) {
    if (server_.listen(QHostAddress::LocalHost, port)) return true;
    error = u"cannot listen on 127.0.0.1:%1: %2"_s.arg(port).arg(server_.errorString());
    return false;
}

void DvmsServer::accept() {
    while (QTcpSocket* socket = server_.nextPendingConnection()) {
        new DvmsConnection(socket, this);
        keeper_.admit(socket, [socket] { socket->disconnectFromHost(); });
    }
}

} // namespace viewer
