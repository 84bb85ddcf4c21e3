#pragma once

// The benchmarks' PostgreSQL server: a cluster started by scripts/pg-cluster.sh, its folder in
// TILLSIGHT_PG_DIR, and demo sites on it made once and kept between runs (making ten million rows
// takes a minute).
//   bash scripts/pg-cluster.sh start /tmp/bench-pg
//   TILLSIGHT_PG_DIR=/tmp/bench-pg build/bench/<benchmark>

#include "site/DemoData.h"
#include "site/ServerSite.h"
#include "vb/VbError.h"

#include <QFile>
#include <QHash>
#include <QProcessEnvironment>

#include <stdexcept>

namespace benchserver {

using namespace Qt::Literals::StringLiterals;

// libpq's variables for the cluster's administrator (PGHOST, PGPORT, PGUSER, PGPASSWORD, ...).
inline QHash<QString, QString> clusterVariables() {
    const QString dir = qEnvironmentVariable("TILLSIGHT_PG_DIR");
    QFile file(dir + u"/connection"_s);
    if (dir.isEmpty() || !file.open(QIODevice::ReadOnly))
        throw std::runtime_error("set TILLSIGHT_PG_DIR to a running cluster's folder");
    QHash<QString, QString> vars;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (const qsizetype eq = line.indexOf('='); eq > 0)
            vars.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    return vars;
}

inline jet::PgAddress clusterAdmin(const QString& database) {
    const auto vars = clusterVariables();
    jet::PgAddress a;
    a.host = vars.value(u"PGHOST"_s);
    a.port = vars.value(u"PGPORT"_s).toInt();
    a.role = vars.value(u"PGUSER"_s);
    a.password = vars.value(u"PGPASSWORD"_s);
    a.database = database;
    return a;
}

inline void dropSite(const QString& database) {
    auto admin = site::connectServer(clusterAdmin(u"postgres"_s));
    admin->exec(u"DROP DATABASE IF EXISTS "_s + database + u" WITH (FORCE)"_s);
    admin->exec(u"DROP ROLE IF EXISTS "_s + site::ownerRole(database) + u", "_s +
                site::clientRole(database));
}

// The site `database` with the demo data of `options`, made unless it already holds that many
// transactions. The client role's password is "bench".
inline void ensureSite(const QString& database, const site::DemoOptions& options,
                       long long transactions) {
    try {
        auto db = site::openServerSite(clusterAdmin(database));
        const auto count = db->connection().query(u"SELECT count(*) FROM tbltrans"_s);
        if (!count.rows.empty() && count.rows[0][0]->toLongLong() >= transactions) return;
    } catch (const vb::VbError&) {
    }
    dropSite(database);
    site::initServerSite(clusterAdmin(database), {false, u"bench"_s});
    auto server = site::connectServer(clusterAdmin(database));
    site::writeDemo(*server, options, false);
}

} // namespace benchserver
