#pragma once

// A server site for the engine's tests: a scratch database of the test cluster given the site's
// schema through the dialect engine itself, the engine's functions, and, where asked, every row of
// a site file copied over with COPY. (The site tool fills a server site its own way; this is the
// tests' shortcut.)

#include "jet/Catalog.h"
#include "jet/PgValue.h"
#include "jet/PostgresDatabase.h"
#include "jet/SqliteDatabase.h"
#include "site/SiteSchema.h"
#include "support/PgCluster.h"
#include "vb/Convert.h"

#include <sqlite3.h>

namespace testsupport {

inline jet::PgConnection::Options scratchOptions(const PgScratchDatabase& db) {
    jet::PgConnection::Options options;
    options.address = db.adminAddress();
    options.sslMode = QStringLiteral("require");
    return options;
}

// A connection to the scratch database with the engine's functions installed.
inline std::unique_ptr<jet::PostgresDatabase> openServer(const PgScratchDatabase& db) {
    auto server = jet::PostgresDatabase::open(scratchOptions(db));
    server->installFunctions();
    return server;
}

// A value as COPY's text form writes it.
inline void appendCopyText(std::string& out, const vb::Variant& v) {
    QString text;
    switch (v.type()) {
    case vb::VarType::Empty:
    case vb::VarType::Null:
        out += "\\N";
        return;
    case vb::VarType::Boolean:
        out += v.boolValue() ? "t" : "f";
        return;
    case vb::VarType::Double:
        text = QString::number(v.doubleValue(), 'g', 17);
        break;
    case vb::VarType::Single:
        text = QString::number(static_cast<double>(v.singleValue()), 'g', 9);
        break;
    case vb::VarType::Currency:
        text = jet::pgCurrencyText(v.currencyValue());
        break;
    case vb::VarType::Date:
        text = jet::pgTimestampText(v.dateValue());
        break;
    case vb::VarType::String:
        text = v.stringValue();
        text.replace(u'\\', QStringLiteral("\\\\"))
            .replace(u'\t', QStringLiteral("\\t"))
            .replace(u'\n', QStringLiteral("\\n"))
            .replace(u'\r', QStringLiteral("\\r"));
        break;
    default:
        text = vb::cstr(v);
        break;
    }
    out += text.toUtf8().toStdString();
}

// Every row of every table of the file into the server's table of the same name; counters go on
// from the highest number copied.
inline void copyRows(jet::SqliteDatabase& file, jet::PostgresDatabase& server) {
    const jet::Catalog catalog = jet::Catalog::fromSqlite(file.handle());
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(file.handle(), "SELECT name FROM sqlite_master WHERE type = 'table'", -1,
                       &stmt, nullptr);
    QStringList tables;
    while (sqlite3_step(stmt) == SQLITE_ROW)
        tables << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    sqlite3_finalize(stmt);
    for (const QString& name : tables) {
        const jet::CatalogTable* table = catalog.table(name);
        if (!table || name.startsWith(QStringLiteral("sqlite_"))) continue;
        QStringList columns;
        for (const jet::CatalogColumn& c : table->columns)
            columns << jet::PgConnection::quotedName(c.name);
        auto rows = file.query(QStringLiteral("SELECT * FROM [%1]").arg(name));
        std::size_t next = 0;
        server.connection().copyIn(
            QStringLiteral("COPY %1 (%2) FROM STDIN")
                .arg(jet::PgConnection::quotedName(table->name), columns.join(u", ")),
            [&](std::string& buffer) {
                for (const std::size_t end = next + 500; next < rows->recordCount() && next < end;
                     ++next) {
                    for (int f = 0; f < rows->fieldCount(); ++f) {
                        if (f) buffer += '\t';
                        appendCopyText(buffer, rows->valueAt(next, f));
                    }
                    buffer += '\n';
                }
                return next < rows->recordCount();
            });
        for (const jet::CatalogColumn& c : table->columns)
            if (c.type.counter)
                server.connection().query(
                    QStringLiteral("SELECT setval(pg_get_serial_sequence(%1, %2), "
                                   "coalesce(max(%3), 0) + 1, false) FROM %4")
                        .arg(jet::PgConnection::quotedLiteral(
                                 jet::PgConnection::quotedName(table->name)),
                             jet::PgConnection::quotedLiteral(c.name),
                             jet::PgConnection::quotedName(c.name),
                             jet::PgConnection::quotedName(table->name)));
    }
}

// The site's own schema on the server, through the dialect engine.
inline void createSiteSchema(jet::PostgresDatabase& server) {
    server.executeScript(site::schemaText());
}

} // namespace testsupport
