#pragma once

// Works out dialect expressions on this computer with the file engine's own function bodies, for
// an engine whose server cannot compute some of them exactly: an in-memory SQLite connection with
// the dialect's functions, fed the expression's text as SqliteGenerator writes it and the values
// the server sent for its other parts.

#include "vb/Variant.h"

#include <QHash>
#include <QString>
#include <span>

struct sqlite3;
struct sqlite3_stmt;

namespace jet {

class LocalEvaluator {
public:
    LocalEvaluator();
    ~LocalEvaluator();
    LocalEvaluator(const LocalEvaluator&) = delete;
    LocalEvaluator& operator=(const LocalEvaluator&) = delete;

    // The value of an SQLite expression over the dialect's functions, ?1.. bound to `values`
    // (dates on the linear day line, truths -1/0), read as `kind`. Raises what the functions
    // raise, with their numbers.
    vb::Variant evaluate(const QString& sqliteExpression, std::span<const vb::Variant> values,
                         vb::VarType kind);

private:
    sqlite3_stmt* statement(const QString& sqliteExpression);

    sqlite3* db_ = nullptr;
    QHash<QString, sqlite3_stmt*> statements_;
};

} // namespace jet
