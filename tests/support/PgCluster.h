#pragma once

// The test run's PostgreSQL cluster (tests/postgres/pg_cluster.sh), for tests declared with
// NEEDS_POSTGRES: its administrator's connection, and databases made for one test and dropped
// after it, so tests running side by side never share a site.

#include "jet/PgConnection.h"

#include <QFile>
#include <QHash>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QString>
#include <gtest/gtest.h>
#include <stdexcept>

namespace testsupport {

// The cluster's folder; the fixture has started the server there.
inline QString pgClusterDir() {
    const QString dir = qEnvironmentVariable("TILLSIGHT_PG_DIR");
    if (dir.isEmpty()) throw std::runtime_error("TILLSIGHT_PG_DIR is not set");
    return dir;
}

// The variables pg_cluster.sh wrote (PGHOST, PGPORT, PGUSER, PGSSLMODE, PGPASSWORD).
inline QHash<QString, QString> pgClusterVariables(const QString& dir = pgClusterDir()) {
    QFile file(dir + QStringLiteral("/connection"));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the test cluster is not running: no " +
                                 file.fileName().toStdString());
    QHash<QString, QString> vars;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const int eq = line.indexOf('=');
        if (eq > 0)
            vars.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    }
    return vars;
}

// The administrator's address on the cluster, for the given database.
inline jet::PgAddress pgAdminAddress(const QString& database = QStringLiteral("postgres"),
                                     const QString& dir = pgClusterDir()) {
    const auto vars = pgClusterVariables(dir);
    jet::PgAddress a;
    a.host = vars.value(QStringLiteral("PGHOST"));
    a.port = vars.value(QStringLiteral("PGPORT")).toInt();
    a.role = vars.value(QStringLiteral("PGUSER"));
    a.password = vars.value(QStringLiteral("PGPASSWORD"));
    a.database = database;
    return a;
}

inline std::unique_ptr<jet::PgConnection>
pgAdminConnection(const QString& database = QStringLiteral("postgres")) {
    jet::PgConnection::Options options;
    options.address = pgAdminAddress(database);
    options.sslMode = QStringLiteral("require");
    return jet::PgConnection::open(options);
}

// An empty database of its own, dropped (with whatever still holds it) when it goes.
class PgScratchDatabase {
public:
    explicit PgScratchDatabase(const QString& prefix = QStringLiteral("t")) {
        name_ = QStringLiteral("%1_%2").arg(prefix).arg(QRandomGenerator::global()->generate64(), 0,
                                                        36);
        pgAdminConnection()->exec(QStringLiteral("CREATE DATABASE %1").arg(name_));
    }
    ~PgScratchDatabase() {
        try {
            pgAdminConnection()->exec(
                QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(name_));
        } catch (...) {
        }
    }
    PgScratchDatabase(const PgScratchDatabase&) = delete;
    PgScratchDatabase& operator=(const PgScratchDatabase&) = delete;

    const QString& name() const { return name_; }
    jet::PgAddress adminAddress() const { return pgAdminAddress(name_); }

private:
    QString name_;
};

} // namespace testsupport
