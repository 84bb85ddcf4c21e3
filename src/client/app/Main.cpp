#include "app/Main.h"

#include "app/frmMain.h"
#include "core/AppGlobals.h"
#include "shared/modShared.h"

#include <QApplication>
#include <QGuiApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QWidget>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace app {

namespace {

constexpr int kHandOverMs = 2000;

void bringToFront(const QString& title) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->windowTitle() != title) continue;
        window->showNormal();
        modShared::subFormOnTop(window);
        window->raise();
        window->activateWindow();
        return;
    }
}

} // namespace

QString fncDisplayName() {
    const bool wayland = QGuiApplication::platformName().startsWith(u"wayland"_s);
    return qEnvironmentVariable(wayland ? "WAYLAND_DISPLAY" : "DISPLAY");
}

QString instanceServerName(const QString& display) {
    // The name becomes a file name: a display such as "localhost:10.0" or a socket path must not
    // reach into another folder.
    QString place = display;
    for (QChar& c : place)
        if (!c.isLetterOrNumber() && c != u'.') c = u'_';
    return u"tillsight-client-%1-%2"_s.arg(getuid()).arg(place);
}

void subActivatePrevInstance(const QString& title, const QString& serverName) {
    QLocalSocket socket;
    socket.connectToServer(serverName);
    if (!socket.waitForConnected(kHandOverMs)) return;
    socket.write(title.toUtf8() + '\n');
    socket.waitForBytesWritten(kHandOverMs);
    socket.disconnectFromServer();
}

bool fncAlreadyRunning(const QString& title, const QString& serverName) {
    QLocalSocket probe;
    probe.connectToServer(serverName);
    if (!probe.waitForConnected(kHandOverMs)) return false;
    probe.disconnectFromServer();
    core::setApplicationTitle(u"Doomed "_s + title);
    subActivatePrevInstance(title, serverName);
    return true;
}

QLocalServer* listenForLaterInstances(QObject* parent, const QString& serverName) {
    auto* server = new QLocalServer(parent);
    server->setSocketOptions(QLocalServer::UserAccessOption);
    // A name left behind by an instance that crashed would refuse the listen.
    if (!server->listen(serverName)) {
        QLocalServer::removeServer(serverName);
        server->listen(serverName);
    }
    QObject::connect(server, &QLocalServer::newConnection, server, [server] {
        while (QLocalSocket* socket = server->nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QLocalSocket::readyRead, socket, [socket] {
                while (socket->canReadLine())
                    bringToFront(QString::fromUtf8(socket->readLine()).chopped(1));
            });
        }
    });
    return server;
}

bool Main() {
    const QString title = core::applicationTitle();
    if (fncAlreadyRunning(title)) return false;
    auto* main = new frmMain;
    listenForLaterInstances(main);
    main->show();
    return true;
}

} // namespace app
