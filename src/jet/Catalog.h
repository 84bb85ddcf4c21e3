#pragma once

// The tables and columns a statement may name, read from the live schema. Names resolve without
// regard to letter case, as the dialect does.

#include "jet/Types.h"

#include <QHash>
#include <QString>
#include <optional>
#include <vector>

struct sqlite3;

namespace jet {
class PgConnection;
}

namespace jet {

struct CatalogColumn {
    QString name; // as declared
    ColumnType type;
    bool indexed = false; // part of an index, so that it cannot be dropped
};

struct CatalogTable {
    QString name; // as declared
    bool temporary = false;
    std::vector<CatalogColumn> columns;

    const CatalogColumn* column(const QString& name) const;
};

class Catalog {
public:
    void add(CatalogTable table);
    void remove(const QString& name);
    const CatalogTable* table(const QString& name) const;

    // Every table and temporary table of an SQLite connection.
    static Catalog fromSqlite(sqlite3* db);
    // Every table of a server site's schema, then the session's temporary tables.
    static Catalog fromPostgres(PgConnection& connection);

private:
    QHash<QString, CatalogTable> tables_; // keyed by the lower-case name
};

// Tables named tblTemp followed by digits belong to one connection: they are made temporary.
bool isSessionTableName(const QString& name);

} // namespace jet
