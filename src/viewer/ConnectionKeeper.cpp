#include "viewer/ConnectionKeeper.h"

#include <QIODevice>
#include <QTimer>
#include <algorithm>

namespace viewer {

ConnectionKeeper::ConnectionKeeper(int idleMs, int maxConnections, QObject* parent)
    : QObject(parent), idleMs_(idleMs), maxConnections_(maxConnections) {}

void ConnectionKeeper::admit(QIODevice* connection, std::function<void()> hangUp) {
    while (static_cast<int>(byActivity_.size()) >= maxConnections_)
        this->hangUp(byActivity_.begin());
    // The timer belongs to the connection, so it cannot fire for one already gone.
    auto* idle = new QTimer(connection);
    idle->setSingleShot(true);
    idle->setInterval(idleMs_);
    byActivity_.push_back({connection, idle, std::move(hangUp)});
    connect(idle, &QTimer::timeout, this, [this, connection] {
        if (const Iterator watched = find(connection); watched != byActivity_.end())
            this->hangUp(watched);
    });
    connect(connection, &QIODevice::readyRead, this, [this, connection] { touch(connection); });
    connect(connection, &QObject::destroyed, this, [this](QObject* gone) {
        if (const Iterator watched = find(gone); watched != byActivity_.end())
            byActivity_.erase(watched);
    });
    idle->start();
}

ConnectionKeeper::Iterator ConnectionKeeper::find(const QObject* connection) {
    return std::find_if(byActivity_.begin(), byActivity_.end(),
                        [connection](const Watched& w) { return w.connection == connection; });
}

void ConnectionKeeper::touch(const QObject* connection) {
    const Iterator watched = find(connection);
    if (watched == byActivity_.end()) return;
    watched->idle->start();
    byActivity_.splice(byActivity_.end(), byActivity_, watched);
}

// Forgotten before it is hung up: the connection may linger until its owner deletes it, and must
// not count against the cap meanwhile.
void ConnectionKeeper::hangUp(Iterator watched) {
    Watched gone = std::move(*watched);
    byActivity_.erase(watched);
    gone.idle->stop();
    gone.hangUp();
}

} // namespace viewer
