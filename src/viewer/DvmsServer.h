#pragma once

// The viewer's end of the DVMS method: a TCP server on the loopback address that takes text
// commands such as "history,2003,03,28,14,05,09,02" (year, month, day, hour, minute, second, then
// the camera with at least two digits). Senders add no terminator and may keep a connection open
// for later commands, so a command ends at the first of:
//   - the start of the next "history," on the same connection;
//   - a pause of kPauseMs with nothing new, when what has arrived is a whole command (a camera
//     with more digits to come would have come with the rest);
//   - a pause of kGiveUpMs, when what has arrived is only the beginning of a command;
//   - the sender closing the connection.
// Anything that is not a command when it ends is reported as rejected and dropped; the
// connection stays open for what follows. Nothing is ever sent back.

#include "viewer/ConnectionKeeper.h"
#include "viewer/ViewerRequest.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <optional>

namespace viewer {

inline constexpr int kPauseMs = 150;
inline constexpr int kGiveUpMs = 2000;
// No command is this long; a buffer that grows past it without a "history," is junk.
inline constexpr qsizetype kMaxCommandBytes = 256;

// The command's camera and moment, or empty when the text is not one.
std::optional<ViewerRequest> parseDvmsCommand(QByteArrayView text);

// Cuts one connection's bytes into commands by the rules above, leaving the timing to its owner.
class DvmsStream {
public:
    enum class Held { Nothing, Command, Beginning, Junk };

    // The texts that the new bytes have ended.
    QList<QByteArray> append(QByteArrayView bytes);
    // What the held bytes would be if they ended now.
    Held held() const;
    QByteArray takeHeld();

private:
    QByteArray held_;
};

class DvmsServer : public QObject {
    Q_OBJECT
public:
    // A connection idle for idleMs is closed (see ConnectionKeeper).
    explicit DvmsServer(int idleMs = kDefaultIdleMs, QObject* parent = nullptr);

    // Listens on 127.0.0.1; port 0 takes any free port, which port() then tells.
    bool listen(quint16 port, QString& error);
    quint16 port() const { return server_.serverPort(); }

signals:
    void requested(const viewer::ViewerRequest& request);
    void rejected(const QByteArray& text);

private:
    void accept();

    QTcpServer server_;
    ConnectionKeeper keeper_;
};

} // namespace viewer
