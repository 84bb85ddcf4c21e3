#pragma once

// The full connect: connect the link, show the site's statistics, load the lookups the search
// view offers, and tell the user the client is ready.

#include <QString>

namespace client {
class ViewHost;
}

namespace modMain {

void subFullConnect(client::ViewHost& host, const QString& address, int port);
void subShowTransactionStats(client::ViewHost& host);

} // namespace modMain
