#include "viewer/IpcServer.h"

#include "dvr/DvrIpcProtocol.h"

#include <QLocalSocket>

using namespace Qt::Literals::StringLiterals;
namespace ipc = dvr::ipc;

namespace viewer {

namespace {

// How long the owner of a name already in use gets to show it is alive.
constexpr int kProbeTimeoutMs = 500;

bool someoneAnswers(const QString& name) {
    QLocalSocket probe;
    probe.connectToServer(name);
    return probe.waitForConnected(kProbeTimeoutMs);
}

ViewerRequest standardRequest(const ipc::HistoryRequest& history) {
    ViewerRequest request;
    request.method = Method::Standard;
    request.dvrAddress = history.dvrAddress;
    request.userName = history.userName;
    request.passwordGiven = !history.password.isEmpty();
    request.camera = history.camera;
    request.moment = history.moment;
    return request;
}

// One client's session: its unread bytes and whether it has said hello. Lives as long as its
// socket.
class IpcSession : public QObject {
public:
    IpcSession(QLocalSocket* socket, IpcServer* server) : QObject(socket), socket_(socket) {
        connect(socket, &QLocalSocket::readyRead, this, [this, server] { readLines(server); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }

private:
    void readLines(IpcServer* server) {
        // Lines that arrive just before the client goes are still answered; none after a hang-up.
        if (hungUp_) return;
        received_ += socket_->readAll();
        while (const auto line = ipc::takeLine(received_)) {
            if (!answer(ipc::parseRequest(*line), server)) return;
        }
        if (received_.size() > ipc::kMaxLineBytes) {
            hangUp(ipc::encodeError(u"the line is longer than %1 bytes"_s.arg(ipc::kMaxLineBytes)));
        }
    }

    // False once the session is over and nothing more may be read.
    bool answer(const ipc::Request& request, IpcServer* server) {
        if (const auto* hello = std::get_if<ipc::Hello>(&request)) return greet(*hello);
        if (const auto* history = std::get_if<ipc::HistoryRequest>(&request)) {
            if (!greeted_) return reply(ipc::encodeError(u"say HELLO first"_s));
            emit server->requested(standardRequest(*history));
            return reply(ipc::encodeOk());
        }
        if (std::holds_alternative<ipc::Bye>(request)) return hangUp({});
        return reply(ipc::encodeError(std::get<ipc::Malformed>(request).reason));
    }

    bool greet(const ipc::Hello& hello) {
        if (hello.version != ipc::kVersion) {
            return hangUp(
                ipc::encodeError(u"protocol version %1 is not spoken here; this viewer speaks %2"_s
                                     .arg(hello.version)
                                     .arg(ipc::kVersion)));
        }
        greeted_ = true;
        return reply(ipc::encodeHello());
    }

    bool reply(const QByteArray& line) {
        socket_->write(line);
        return true;
    }

    bool hangUp(const QByteArray& lastWords) {
        if (!lastWords.isEmpty()) socket_->write(lastWords);
        hungUp_ = true;
        received_.clear();
        socket_->disconnectFromServer();
        return false;
    }

    QLocalSocket* socket_;
    QByteArray received_;
    bool greeted_ = false;
    bool hungUp_ = false;
};

} // namespace

IpcServer::IpcServer(int idleMs, QObject* parent)
    : QObject(parent), keeper_(idleMs, kMaxConnections) {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &IpcServer::accept);
}

bool IpcServer::listen(const QString& name, QString& error) {
    // Listening with access options replaces whatever socket file is there, even a live one, so
    // the name's owner is asked first.
    if (someoneAnswers(name)) {
        error = u"another viewer is already answering at %1"_s.arg(name);
        return false;
    }
    QLocalServer::removeServer(name);
    if (server_.listen(name)) return true;
    error = u"cannot listen at %1: %2"_s.arg(name, server_.errorString());
    return false;
}

void IpcServer::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        new IpcSession(socket, this);
        keeper_.admit(socket, [socket] { socket->disconnectFromServer(); });
    }
}

} // namespace viewer
