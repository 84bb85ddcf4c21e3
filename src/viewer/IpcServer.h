#pragma once

// The viewer's end of the standard method: a local server speaking the line protocol of
// DvrIpcProtocol.h. Each connection must say HELLO with our version before it may ask for
// history; every request line is answered (OK or ERROR), so a client that sends nonsense learns
// why and can go on.

#include "viewer/ConnectionKeeper.h"
#include "viewer/ViewerRequest.h"

#include <QLocalServer>
#include <QObject>

class QLocalSocket;

namespace viewer {

class IpcServer : public QObject {
    Q_OBJECT
public:
    // A connection idle for idleMs is closed (see ConnectionKeeper).
    explicit IpcServer(int idleMs = kDefaultIdleMs, QObject* parent = nullptr);

    // Only this user's processes may connect. A name left behind by a viewer that died is taken
    // over; one that a running viewer still answers is refused with the reason in error.
    bool listen(const QString& name, QString& error);

signals:
    void requested(const viewer::ViewerRequest& request);

private:
    void accept();

    QLocalServer server_;
    ConnectionKeeper keeper_;
};

} // namespace viewer
