#pragma once

// Keeps a server's connections from piling up. A connection idle for the idle time is hung up,
// and a new one beyond the cap hangs up the one idle longest, so senders that connect and say
// nothing can never keep a new sender out.

#include <QObject>
#include <functional>
#include <list>

class QIODevice;
class QTimer;

namespace viewer {

inline constexpr int kDefaultIdleMs = 60 * 1000;
// The client holds one connection per method; the rest is room for a few other senders.
inline constexpr int kMaxConnections = 16;

class ConnectionKeeper : public QObject {
public:
    ConnectionKeeper(int idleMs, int maxConnections, QObject* parent = nullptr);

    // Watches a new connection until it is destroyed; what it reads counts as activity, and
    // hangUp ends it.
    void admit(QIODevice* connection, std::function<void()> hangUp);

private:
    struct Watched {
        QIODevice* connection;
        QTimer* idle;
        std::function<void()> hangUp;
    };
    using Iterator = std::list<Watched>::iterator;

    Iterator find(const QObject* connection);
    void touch(const QObject* connection);
    void hangUp(Iterator watched);

    int idleMs_;
    int maxConnections_;
    std::list<Watched> byActivity_; // the longest idle first
};

} // namespace viewer
