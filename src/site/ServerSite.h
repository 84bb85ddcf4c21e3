#pragma once

// Sites on a PostgreSQL server: connecting, and making one. A server site is a database holding
// the same tables, indexes and templates as a site file, plus the schema's functions, owned by a
// role that cannot log in; store managers log in as a second role that may read the data, write
// the log and their saved searches, and make temporary tables, and nothing else.

#include "jet/PgConnection.h"
#include "jet/PostgresDatabase.h"

#include <QString>
#include <memory>
#include <optional>

namespace site {

// The two roles a site's database gets, named after it (roles are the server's, not the
// database's).
QString ownerRole(const QString& database);
QString clientRole(const QString& database);

// "role@host/database", as the client's toolbar takes it.
QString addressText(const jet::PgAddress& address);

std::unique_ptr<jet::PgConnection> connectServer(const jet::PgAddress& address);

// The name a table of the site goes by on the server (quoted where it must be), found whatever
// case it was made in; nullopt when the database has no such table.
std::optional<QString> serverTable(jet::PgConnection& server, const char* name);

// Opens a site on a server with the dialect engine; a database without a site is refused.
std::unique_ptr<jet::PostgresDatabase> openServerSite(const jet::PgAddress& address);

struct ServerInit {
    bool force = false;
    // What the client role logs in with.
    QString clientPassword;
};

// Makes the site in the address's database, creating the database when it is missing (through
// the server's "postgres" database). A database that holds a site already is refused unless
// `force`, which drops the site's objects first. Nothing is left behind on failure.
void initServerSite(const jet::PgAddress& address, const ServerInit& init);

} // namespace site
