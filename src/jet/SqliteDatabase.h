#pragma once

// A site file opened with the dialect engine: dialect query text in, result sets out. Every
// failure is raised as vb::VbError: the dialect's numbers for what the engine refuses before it
// runs, the engine's own text (number 3000 + its result code's class) for what SQLite refuses.

#include "jet/Ast.h"
#include "jet/Catalog.h"
#include "recordset/Recordset.h"

#include <QString>
#include <functional>
#include <memory>

struct sqlite3;

namespace jet {

constexpr int kEngineErrorBase = 3000;

class SqliteDatabase {
public:
    // Opens (or, with create, creates) a site file; raises when it cannot.
    static std::unique_ptr<SqliteDatabase> open(const QString& path, bool create = false);
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    // Told the share of the rows read so far, 0 to 100, while a result is read.
    using ReadProgress = std::function<void(int percent)>;

    // A statement that returns rows (SELECT, TRANSFORM), as a complete result set on its first
    // row; a statement with effects runs and gives an empty result set. With `progress`, the
    // rows are counted first so that the share read is real.
    std::shared_ptr<rs::Recordset> query(const QString& dialectText,
                                         const ReadProgress& progress = {});
    // A statement with effects; the number of rows it changed.
    long long execute(const QString& dialectText);
    // Runs every statement of a script: entries separated by lines holding only "--"; lines
    // starting with "-- " are comments.
    void executeScript(const QString& script);

    // The SQLite text a dialect statement runs as (one line per command; a crosstab shows its
    // first step).
    QString translate(const QString& dialectText);

    sqlite3* handle() const { return db_; }

private:
    explicit SqliteDatabase(sqlite3* db);
    const Catalog& catalog();
    std::shared_ptr<rs::Recordset> run(const Statement& statement, long long* changed,
                                       const ReadProgress& progress = {});

    sqlite3* db_;
    Catalog catalog_;
    long long schemaStamp_ = -1;
};

} // namespace jet
