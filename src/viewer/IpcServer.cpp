#include "viewer/IpcServer.h"

#include "reports/DvrIpcProtocol.h"

#include <QLocalSocket>

using namespace Qt::Literals::StringLiterals;
namespace dvrIpc = reports::dvrIpc;

namespace viewer {

namespace {

// How long the owner of a name already in use gets to show it is alive.
constexpr int kProbeTimeoutMs = 500;

bool someoneAnswers(const QString& name) {
    QLocalSocket probe;
    probe.connectToServer(name);
    return probe.waitForConnected(kProbeTimeoutMs);
}

ViewerRequest standardRequest(const dvrIpc::HistoryRequest& history) {
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
        while (const auto line = dvrIpc::takeLine(received_)) {
            if (!answer(dvrIpc::parseRequest(*line), server)) return;
        }
        if (received_.size() > dvrIpc::kMaxLineBytes) {
            hangUp(dvrIpc::encodeError(
                u"the line is longer than %1 bytes"_s.arg(dvrIpc::kMaxLineBytes)));
        }
    }

    // False once the session is over and nothing more may be read.
    bool answer(const dvrIpc::Request& request, IpcServer* server) {
        if (const auto* hello = std::get_if<dvrIpc::Hello>(&request)) return greet(*hello);
        if (const auto* history = std::get_if<dvrIpc::HistoryRequest>(&request)) {
            if (!greeted_) return reply(dvrIpc::encodeError(u"say HELLO first"_s));
            emit server->requested(standardRequest(*history));
            return reply(dvrIpc::encodeOk());
        }
        if (std::holds_alternative<dvrIpc::Bye>(request)) return hangUp({});
        return reply(dvrIpc::encodeError(std::get<dvrIpc::Malformed>(request).reason));
    }

    bool greet(const dvrIpc::Hello& hello) {
        if (hello.version != dvrIpc::kVersion) {
            return hangUp(dvrIpc::encodeError(
                u"protocol version %1 is not spoken here; this viewer speaks %2"_s
                    .arg(hello.version)
                    .arg(dvrIpc::kVersion)));
        }
        greeted_ = true;
        return reply(dvrIpc::encodeHello());
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

IpcServer::IpcServer(QObject* parent) : QObject(parent) {
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
    while (QLocalSocket* socket = server_.nextPendingConnection())
        new IpcSession(socket, this);
}

} // namespace viewer
