#pragma once

// The demo site of tests/support/DemoSite.h made a second time on the run's PostgreSQL cluster
// with the site tool, as a store's administrator would (init, then demo with the same options),
// once per test program. Clients reach it as <database>_client with its own password. The
// database and its two roles are dropped when the program ends.

#include "support/DemoSite.h"
#include "support/PgCluster.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>

namespace testsupport {

struct ServerDemoSite {
    QString database;
    jet::PgAddress admin;
    jet::PgAddress client; // <database>_client, with its password
    QString adminPasswordFile;
    QString clientPasswordFile;

    QString clientAddress() const {
        return QStringLiteral("%1@%2/%3").arg(client.role, client.host, client.database);
    }
};

// Runs the site tool; its output when it fails.
inline QString runSiteTool(const QStringList& arguments) {
    QProcess tool;
    tool.start(QStringLiteral(TILLSIGHT_SITE_TOOL), arguments);
    if (!tool.waitForFinished(600000)) return QStringLiteral("the site tool did not finish");
    if (tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0) return {};
    return QString::fromUtf8(tool.readAllStandardError() + tool.readAllStandardOutput());
}

inline void dropServerSite(const QString& database) {
    try {
        auto admin = pgAdminConnection();
        admin->exec(QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(database));
        admin->exec(QStringLiteral("DROP ROLE IF EXISTS %1_client").arg(database));
        admin->exec(QStringLiteral("DROP ROLE IF EXISTS %1_owner").arg(database));
    } catch (...) {
    }
}

// The database to drop at exit; made before the exit handler is registered, so it outlives it.
inline QString& serverSiteToDrop() {
    static QString name;
    return name;
}

inline const ServerDemoSite& serverDemoSite() {
    static QTemporaryDir dir;
    static const ServerDemoSite made = [] {
        ServerDemoSite s;
        s.database = QStringLiteral("demo_%1").arg(QRandomGenerator::global()->generate(), 0, 36);
        s.admin = pgAdminAddress(s.database);
        s.client = s.admin;
        s.client.role = s.database + QStringLiteral("_client");
        s.client.password = QStringLiteral("till-%1").arg(QRandomGenerator::global()->generate());
        s.adminPasswordFile = dir.filePath(QStringLiteral("admin.pw"));
        s.clientPasswordFile = dir.filePath(QStringLiteral("client.pw"));
        for (const auto& [path, text] : {std::pair{s.adminPasswordFile, s.admin.password},
                                         std::pair{s.clientPasswordFile, s.client.password}}) {
            QFile f(path);
            if (!f.open(QIODevice::WriteOnly)) throw std::runtime_error("password file");
            f.write(text.toUtf8() + '\n');
        }
        const QString address =
            QStringLiteral("%1@%2/%3").arg(s.admin.role, s.admin.host, s.database);
        const QStringList server = {address, QStringLiteral("--port"),
                                    QString::number(s.admin.port),
                                    QStringLiteral("--password-file"), s.adminPasswordFile};
        const site::DemoOptions o = demoSiteOptions();
        const QString end = QStringLiteral("2003-03-28");
        if (const QString e = runSiteTool(
                QStringList{QStringLiteral("init")} + server +
                QStringList{QStringLiteral("--client-password-file"), s.clientPasswordFile});
            !e.isEmpty())
            throw std::runtime_error("init on the server failed: " + e.toStdString());
        serverSiteToDrop() = s.database;
        std::atexit([] { dropServerSite(serverSiteToDrop()); });
        const QStringList demo = {
            QStringLiteral("--days"),   QString::number(o.days),       QStringLiteral("--seed"),
            QString::number(o.seed),    QStringLiteral("--registers"), QString::number(o.registers),
            QStringLiteral("--clerks"), QString::number(o.clerks),     QStringLiteral("--per-day"),
            QString::number(o.perDay),  QStringLiteral("--end"),       end,
            QStringLiteral("--quiet")};
        if (const QString e = runSiteTool(QStringList{QStringLiteral("demo")} + server + demo);
            !e.isEmpty())
            throw std::runtime_error("demo on the server failed: " + e.toStdString());
        return s;
    }();
    return made;
}

} // namespace testsupport
