#include "sitelink/PostgresEngine.h"

#include "jet/JetError.h"

namespace sitelink {

namespace {

constexpr int kBadAddress = 3151;
constexpr int kNoFreeSession = 3151;
// The advisory locks that number the sessions: the first key says whose locks they are.
constexpr int kSessionLockSpace = 0x5453; // "TS"
constexpr int kMaxSessions = 999;

std::int16_t takeSessionIndex(jet::PgConnection& pg) {
    // The locks are tried in order and the scan stops at the first taken, so no other is held.
    const auto r = pg.query(QStringLiteral("SELECT i FROM generate_series(1, %1) AS i "
                                           "WHERE pg_try_advisory_lock(%2, i) LIMIT 1")
                                .arg(kMaxSessions)
                                .arg(kSessionLockSpace));
    if (r.rows.empty() || !r.rows[0][0])
        throw jet::engineError(
            kNoFreeSession,
            QStringLiteral("The site already has %1 clients connected.").arg(kMaxSessions));
    return static_cast<std::int16_t>(r.rows[0][0]->toInt());
}

} // namespace

std::unique_ptr<PostgresEngine> PostgresEngine::open(const ConnectParams& params) {
    auto address = jet::parsePgAddress(params.address);
    if (!address)
        throw jet::engineError(
            kBadAddress,
            QStringLiteral("The site address %1 names neither a site file nor a server (host, "
                           "role@host or role@host/database).")
                .arg(params.address));
    if (params.port > 0) address->port = params.port;
    address->password = params.password;
    jet::PgConnection::Options options;
    options.address = *address;
    std::unique_ptr<PostgresEngine> engine(
        new PostgresEngine(jet::PostgresDatabase::open(options)));
    jet::PgConnection& pg = engine->db_->connection();
    engine->sessionIndex_ = takeSessionIndex(pg);
    engine->serverName_ = QStringLiteral("%1 on %2:%3 (PostgreSQL %4, session %5)")
                              .arg(address->database, address->host)
                              .arg(pg.address().port)
                              .arg(pg.serverVersion())
                              .arg(engine->sessionIndex_);
    return engine;
}

std::shared_ptr<rs::Recordset> PostgresEngine::openRecordset(const QString& text,
                                                             const ReadProgress& progress) {
    return db_->query(text, progress);
}

long long PostgresEngine::execute(const QString& text) {
    return executeDroppingSessionTables(text, [this](const QString& t) { return db_->execute(t); });
}

QString PostgresEngine::goneReason() {
    if (!db_->connection().lost()) return {};
    const jet::PgAddress& a = db_->connection().address();
    return QStringLiteral("The server %1 closed the connection to the site %2.")
        .arg(a.host, a.database);
}

} // namespace sitelink
