#include "jet/Catalog.h"

#include "jet/PgConnection.h"
#include "jet/PgValue.h"

#include <QRegularExpression>
#include <sqlite3.h>

namespace jet {

namespace {

QString columnText(sqlite3_stmt* stmt, int col) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, col));
    return text ? QString::fromUtf8(text) : QString();
}

// Runs a query with no parameters and hands each row to `row`.
template <typename RowFn> void forEachRow(sqlite3* db, const QString& sql, RowFn row) {
    sqlite3_stmt* stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(db, utf8.constData(), static_cast<int>(utf8.size()), &stmt, nullptr) !=
        SQLITE_OK)
        return;
    while (sqlite3_step(stmt) == SQLITE_ROW)
        row(stmt);
    sqlite3_finalize(stmt);
}

QString quoted(const QString& name) {
    return QStringLiteral("\"%1\"").arg(
        QString(name).replace(QStringLiteral("\""), QStringLiteral("\"\"")));
}

void markIndexedColumns(sqlite3* db, const QString& schema, CatalogTable& table) {
    std::vector<QString> indexes;
    forEachRow(db, QStringLiteral("PRAGMA %1.index_list(%2)").arg(schema, quoted(table.name)),
               [&](sqlite3_stmt* s) { indexes.push_back(columnText(s, 1)); });
    for (const QString& index : indexes)
        forEachRow(db, QStringLiteral("PRAGMA %1.index_info(%2)").arg(schema, quoted(index)),
                   [&](sqlite3_stmt* s) {
                       for (CatalogColumn& c : table.columns)
                           if (c.name.compare(columnText(s, 2), Qt::CaseInsensitive) == 0)
                               c.indexed = true;
                   });
}

CatalogTable readTable(sqlite3* db, const QString& schema, const QString& name) {
    CatalogTable table{name, schema == u"temp", {}};
    // A lone INTEGER PRIMARY KEY column is SQLite's row number: the dialect's COUNTER.
    int keyColumns = 0;
    forEachRow(db, QStringLiteral("PRAGMA %1.table_info(%2)").arg(schema, quoted(name)),
               [&](sqlite3_stmt* s) { keyColumns += sqlite3_column_int(s, 5) > 0 ? 1 : 0; });
    forEachRow(db, QStringLiteral("PRAGMA %1.table_info(%2)").arg(schema, quoted(name)),
               [&](sqlite3_stmt* s) {
                   const QString declared = columnText(s, 2);
                   const bool rowid = keyColumns == 1 && sqlite3_column_int(s, 5) > 0 &&
                                      declared.trimmed().toUpper() == u"INTEGER";
                   table.columns.push_back(
                       {columnText(s, 1), columnTypeFromDeclaration(declared, rowid), false});
               });
    markIndexedColumns(db, schema, table);
    return table;
}

} // namespace

const CatalogColumn* CatalogTable::column(const QString& wanted) const {
    for (const CatalogColumn& c : columns)
        if (c.name.compare(wanted, Qt::CaseInsensitive) == 0) return &c;
    return nullptr;
}

void Catalog::add(CatalogTable table) {
    const QString key = table.name.toLower();
    tables_.insert(key, std::move(table));
}

void Catalog::remove(const QString& name) {
    tables_.remove(name.toLower());
}

const CatalogTable* Catalog::table(const QString& name) const {
    auto it = tables_.constFind(name.toLower());
    return it == tables_.constEnd() ? nullptr : &*it;
}

Catalog Catalog::fromSqlite(sqlite3* db) {
    Catalog catalog;
    for (const QString& schema : {QStringLiteral("main"), QStringLiteral("temp")}) {
        std::vector<QString> names;
        forEachRow(
            db,
            QStringLiteral("SELECT name FROM %1.sqlite_master WHERE type IN ('table', 'view') "
                           "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'")
                .arg(schema),
            [&](sqlite3_stmt* s) { names.push_back(columnText(s, 0)); });
        // Temporary tables come second so that they hide a stored table of the same name, as
        // SQLite resolves them.
        for (const QString& name : names)
            catalog.add(readTable(db, schema, name));
    }
    return catalog;
}

Catalog Catalog::fromPostgres(PgConnection& connection) {
    const PgConnection::TextResult columns = connection.query(QStringLiteral(
        "SELECT c.relname, c.relpersistence = 't', a.attname, t.typname, a.atttypmod, "
        "a.attidentity <> '', EXISTS (SELECT 1 FROM pg_index i WHERE i.indrelid = c.oid AND "
        "a.attnum = ANY (i.indkey)) "
        "FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT "
        "a.attisdropped JOIN pg_type t ON t.oid = a.atttypid "
        "WHERE c.relkind IN ('r', 'v', 'p') AND c.relnamespace IN "
        "(CAST(to_regnamespace(current_schema()) AS oid), pg_my_temp_schema()) "
        "ORDER BY c.relpersistence = 't', c.relname, a.attnum"));
    Catalog catalog;
    CatalogTable table;
    auto flush = [&] {
        // Temporary tables come last, so that they hide a stored table of the same name.
        if (!table.name.isEmpty()) catalog.add(std::move(table));
        table = {};
    };
    for (const auto& row : columns.rows) {
        const QString name = row[0].value_or(QString());
        const bool temporary = row[1] == QStringLiteral("t");
        if (name != table.name || temporary != table.temporary) {
            flush();
            table.name = name;
            table.temporary = temporary;
        }
        table.columns.push_back(
            {row[2].value_or(QString()),
             columnTypeFromPg(row[3].value_or(QString()), row[4].value_or(QString()).toInt(),
                              row[5] == QStringLiteral("t")),
             row[6] == QStringLiteral("t")});
    }
    flush();
    return catalog;
}

bool isSessionTableName(const QString& name) {
    static const QRegularExpression pattern(QStringLiteral("^tbltemp\\d+$"),
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(name).hasMatch();
}

} // namespace jet
