#include "site/ServerSite.h"

#include "site/SiteSchema.h"
#include "vb/VbError.h"

#include <QRegularExpression>
#include <QStringList>
#include <libpq-fe.h>

namespace site {

namespace {

using namespace Qt::Literals::StringLiterals;
using jet::PgConnection;

// The same numbers a site file's refusals carry.
constexpr int kCannotOpen = 3014;
constexpr int kHoldsSite = 3019;
constexpr int kNoPermission = 3033;
// PostgreSQL cuts longer names short, and two sites' roles could then meet.
constexpr qsizetype kLongestName = 63;

QString name(const QString& text) {
    return PgConnection::quotedName(text);
}

QString literal(const QString& text) {
    return PgConnection::quotedLiteral(text);
}

bool isTrue(const PgConnection::TextResult& result) {
    return !result.rows.empty() && result.rows.front()[0] == u"t"_s;
}

bool databaseExists(PgConnection& server, const QString& database) {
    return isTrue(server.query(u"SELECT EXISTS (SELECT 1 FROM pg_database WHERE datname = "_s +
                               literal(database) + u')'));
}

// The tables a site is made of, as its schema script names them.
QStringList siteTables() {
    static const QRegularExpression create(u"CREATE TABLE (\\w+)"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    QStringList tables;
    for (auto it = create.globalMatch(schemaText()); it.hasNext();)
        tables << it.next().captured(1);
    return tables;
}

// Makes the role, or takes over one that a site of this name had before with only the rights
// given here: whatever roles it was a member of, it is no longer. Only a superuser may take away
// the rights only a superuser gives.
void setRole(PgConnection& server, const QString& role, const QString& attributes, bool superuser) {
    const auto found = server.query(
        u"SELECT rolsuper OR rolreplication OR rolbypassrls FROM pg_roles WHERE rolname = "_s +
        literal(role));
    if (found.rows.empty()) {
        server.exec(u"CREATE ROLE "_s + name(role) + u' ' + attributes);
        return;
    }
    if (!superuser && isTrue(found))
        throw vb::VbError(kNoPermission, u"The role "_s + role +
                                             u" exists with rights only a superuser can take "
                                             u"away"_s);
    server.exec(u"ALTER ROLE "_s + name(role) + u" NOCREATEDB NOCREATEROLE INHERIT "_s +
                (superuser ? u"NOSUPERUSER NOREPLICATION NOBYPASSRLS "_s : QString()) + attributes);
    for (const auto& row :
         server
             .query(u"SELECT format('REVOKE %I FROM %I', g.rolname, m.rolname) FROM "
                    u"pg_auth_members a JOIN pg_roles g ON g.oid = a.roleid JOIN pg_roles m ON "
                    u"m.oid = a.member WHERE m.rolname = "_s +
                    literal(role))
             .rows)
        server.exec(*row[0]);
}

// The password as the server keeps it (a SCRAM verifier), so that its clear text is neither sent
// nor written to the server's log with the statement.
QString passwordVerifier(PgConnection& server, const QString& role, const QString& password) {
    char* verifier = PQencryptPasswordConn(server.handle(), password.toUtf8().constData(),
                                           role.toUtf8().constData(), nullptr);
    if (!verifier)
        throw vb::VbError(kCannotOpen, u"The client role's password cannot be encrypted: "_s +
                                           QString::fromUtf8(PQerrorMessage(server.handle())));
    const QString text = QString::fromUtf8(verifier);
    PQfreemem(verifier);
    return text;
}

// Runs the statements a catalog query makes, one a row.
void execEach(PgConnection& server, const QString& statementsQuery) {
    for (const auto& row : server.query(statementsQuery).rows)
        server.exec(*row[0]);
}

// What the client may do: read every table of the site, add to the log and to the saved
// searches and delete a saved search (what the client's toolbar and Power Search send), make
// temporary tables (the two-stage reports' tblTemp), and run the schema's functions. Run as the
// owner, who holds the grant options, over what it owns in the site's schema.
void grantClient(PgConnection& server, const QString& client) {
    const QString who = literal(name(client));
    const QString ours = u" = to_regrole(current_user) AND "_s;
    const QString here = u" = to_regnamespace(current_schema())"_s;
    execEach(server, u"SELECT format('GRANT SELECT ON %s TO %s', oid::regclass, "_s + who +
                         u") FROM pg_class WHERE relkind IN ('r', 'p', 'v') AND relowner"_s + ours +
                         u"relnamespace"_s + here);
    for (const auto& [table, rights] :
         {std::pair{"tblLog", u"INSERT"_s}, std::pair{"tblPowerSearches", u"INSERT, DELETE"_s}}) {
        const std::optional<QString> found = serverTable(server, table);
        if (!found)
            throw vb::VbError(kCannotOpen,
                              u"The site's scripts made no table "_s + QLatin1String(table) + u'.');
        server.exec(u"GRANT "_s + rights + u" ON "_s + *found + u" TO "_s + name(client));
        // The counter of its key, where it has one.
        execEach(server, u"SELECT format('GRANT USAGE ON SEQUENCE %s TO %s', objid::regclass, "_s +
                             who +
                             u") FROM pg_depend WHERE classid = 'pg_class'::regclass AND "
                             u"objid IN (SELECT oid FROM pg_class WHERE relkind = 'S') "
                             u"AND refobjid = "_s +
                             literal(*found) + u"::regclass"_s);
    }
    // Functions run for everybody unless told otherwise; the site's are the client's alone.
    execEach(server, u"SELECT format('REVOKE ALL ON FUNCTION %1$s FROM PUBLIC; GRANT EXECUTE ON "
                     u"FUNCTION %1$s TO %2$s', oid::regprocedure, "_s +
                         who + u") FROM pg_proc WHERE proowner"_s + ours + u"pronamespace"_s +
                         here);
}

// Drops what a site made before in this database: the objects its roles own and the rights they
// were given here, and the site's tables whoever made them.
void dropSite(PgConnection& server, const QString& owner, const QString& client) {
    server.exec(u"DROP OWNED BY "_s + name(owner) + u", "_s + name(client));
    QStringList found;
    for (const QString& table : siteTables())
        if (const auto t = serverTable(server, table.toLatin1().constData())) found << *t;
    if (!found.isEmpty()) server.exec(u"DROP TABLE "_s + found.join(u", "_s) + u" CASCADE"_s);
}

jet::PgAddress maintenanceAddress(const jet::PgAddress& address) {
    jet::PgAddress maintenance = address;
    maintenance.database = u"postgres"_s;
    return maintenance;
}

void dropDatabase(const jet::PgAddress& address) noexcept {
    try {
        connectServer(maintenanceAddress(address))
            ->exec(u"DROP DATABASE IF EXISTS "_s + name(address.database) + u" WITH (FORCE)"_s);
    } catch (const vb::VbError&) {
        // The failure that brought us here is the one to report.
    }
}

// The site's objects, from the scripts a site file is made from, and the functions the server
// runs the dialect with (first: the tables use its types).
void installSiteObjects(jet::PostgresDatabase& db) {
    db.installFunctions();
    db.executeScript(schemaText());
    db.executeScript(fixedReportsText());
    // Every entry of the scripts is one command, so none ends the transaction the site is made in;
    // should one ever, a half-made site would stay, so this refuses to go on.
    if (PQtransactionStatus(db.connection().handle()) != PQTRANS_INTRANS)
        throw vb::VbError(kCannotOpen, u"The site's scripts ended the transaction it is made in"_s);
}

void buildSite(jet::PostgresDatabase& db, const QString& database, const ServerInit& init) {
    PgConnection& server = db.connection();
    const QString owner = ownerRole(database), client = clientRole(database);
    server.exec(u"BEGIN"_s);
    if (serverTable(server, "tblTrans") && !init.force)
        throw vb::VbError(kHoldsSite, u"The database "_s + database +
                                          u" already holds a site; use --force to make it "
                                          u"afresh"_s);
    const bool superuser =
        isTrue(server.query(u"SELECT rolsuper FROM pg_roles WHERE rolname = current_user"_s));
    setRole(server, owner, u"NOLOGIN"_s, superuser);
    setRole(server, client,
            u"LOGIN PASSWORD "_s + literal(passwordVerifier(server, client, init.clientPassword)),
            superuser);
    // Another role than a superuser acts as the two roles through membership.
    for (const QString& role : {owner, client})
        if (!superuser && !isTrue(server.query(u"SELECT pg_has_role(current_user, "_s +
                                               literal(role) + u", 'MEMBER')"_s)))
            server.exec(u"GRANT "_s + name(role) + u" TO CURRENT_USER"_s);
    if (init.force) dropSite(server, owner, client);

    // Other roles of the server (another site's client among them) have no business here.
    server.exec(u"REVOKE ALL ON DATABASE "_s + name(database) + u" FROM PUBLIC"_s);
    server.exec(u"GRANT CONNECT, TEMPORARY ON DATABASE "_s + name(database) + u" TO "_s +
                name(client));
    server.exec(u"REVOKE CREATE ON SCHEMA public FROM PUBLIC"_s);
    server.exec(u"GRANT USAGE, CREATE ON SCHEMA public TO "_s + name(owner));
    server.exec(u"GRANT USAGE ON SCHEMA public TO "_s + name(client));

    server.exec(u"SET LOCAL ROLE "_s + name(owner));
    installSiteObjects(db);
    grantClient(server, client);
    server.exec(u"RESET ROLE"_s);
    server.exec(u"COMMIT"_s);
}

} // namespace

QString ownerRole(const QString& database) {
    return database + u"_owner"_s;
}

QString clientRole(const QString& database) {
    return database + u"_client"_s;
}

QString addressText(const jet::PgAddress& address) {
    return address.role + u'@' + address.host + u'/' + address.database;
}

std::unique_ptr<PgConnection> connectServer(const jet::PgAddress& address) {
    PgConnection::Options options;
    options.address = address;
    options.applicationName = u"tillsight-site"_s;
    return PgConnection::open(options);
}

std::optional<QString> serverTable(PgConnection& server, const char* table) {
    const auto found = server.query(
        u"SELECT c.oid::regclass::text FROM pg_class c WHERE lower(c.relname) = lower("_s +
        literal(QLatin1String(table)) +
        u") AND c.relkind IN ('r', 'p') AND pg_table_is_visible(c.oid) ORDER BY c.relname "
        u"LIMIT 1"_s);
    if (found.rows.empty()) return std::nullopt;
    return found.rows.front()[0];
}

std::unique_ptr<jet::PostgresDatabase> openServerSite(const jet::PgAddress& address) {
    auto db = std::make_unique<jet::PostgresDatabase>(connectServer(address));
    if (!serverTable(db->connection(), "tblTrans"))
        throw vb::VbError(kCannotOpen, u"The database "_s + address.database + u" holds no site"_s);
    return db;
}

void initServerSite(const jet::PgAddress& address, const ServerInit& init) {
    if (clientRole(address.database).toUtf8().size() > kLongestName)
        throw vb::VbError(kCannotOpen, u"The database name "_s + address.database +
                                           u" is too long to name its roles after"_s);
    if (init.clientPassword.isEmpty())
        throw vb::VbError(kCannotOpen, u"The client role needs a password"_s);
    std::unique_ptr<PgConnection> server;
    bool made = false;
    try {
        server = connectServer(address);
    } catch (const vb::VbError&) {
        // Perhaps only the database is missing: the server's own database tells.
        std::unique_ptr<PgConnection> admin;
        try {
            admin = connectServer(maintenanceAddress(address));
        } catch (const vb::VbError&) {
        }
        if (!admin || databaseExists(*admin, address.database)) throw;
        admin->exec(u"CREATE DATABASE "_s + name(address.database));
        made = true;
    }
    std::unique_ptr<jet::PostgresDatabase> db;
    try {
        db = std::make_unique<jet::PostgresDatabase>(server ? std::move(server)
                                                            : connectServer(address));
        buildSite(*db, address.database, init);
    } catch (const vb::VbError&) {
        db.reset();
        // CREATE DATABASE stands outside any transaction; a database this run made goes again.
        if (made) dropDatabase(address);
        throw;
    }
}

} // namespace site
