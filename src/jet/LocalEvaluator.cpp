#include "jet/LocalEvaluator.h"

#include "jet/JetError.h"
#include "jet/SqliteDatabase.h"
#include "jet/SqliteFunctions.h"
#include "jet/SqliteValue.h"
#include "jet/Storage.h"

#include <sqlite3.h>

namespace jet {

namespace {

// A value as a site file keeps it; the tag wrappers of the generated text give it its kind back.
void bind(sqlite3_stmt* stmt, int index, const vb::Variant& v) {
    switch (v.type()) {
    case vb::VarType::Empty:
    case vb::VarType::Null:
        sqlite3_bind_null(stmt, index);
        break;
    case vb::VarType::Boolean:
        sqlite3_bind_int(stmt, index, v.boolValue() ? -1 : 0);
        break;
    case vb::VarType::Integer:
        sqlite3_bind_int(stmt, index, v.integerValue());
        break;
    case vb::VarType::Long:
        sqlite3_bind_int(stmt, index, v.longValue());
        break;
    case vb::VarType::Single:
        sqlite3_bind_double(stmt, index, v.singleValue());
        break;
    case vb::VarType::Double:
        sqlite3_bind_double(stmt, index, v.doubleValue());
        break;
    case vb::VarType::Currency:
        sqlite3_bind_double(stmt, index, v.currencyValue().toDouble());
        break;
    case vb::VarType::Date:
        sqlite3_bind_double(stmt, index, storage::linearFromSerial(v.dateValue()));
        break;
    case vb::VarType::String: {
        const QByteArray utf8 = v.stringValue().toUtf8();
        sqlite3_bind_text64(stmt, index, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                            SQLITE_TRANSIENT, SQLITE_UTF8);
        break;
    }
    }
}

} // namespace

LocalEvaluator::LocalEvaluator() {
    if (sqlite3_open_v2(":memory:", &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
        SQLITE_OK)
        raiseSqliteError(db_, SQLITE_NOMEM);
    registerDialectFunctions(db_);
}

LocalEvaluator::~LocalEvaluator() {
    for (sqlite3_stmt* stmt : std::as_const(statements_))
        sqlite3_finalize(stmt);
    sqlite3_close(db_);
}

sqlite3_stmt* LocalEvaluator::statement(const QString& expression) {
    if (sqlite3_stmt* kept = statements_.value(expression)) return kept;
    const QByteArray sql = (QStringLiteral("SELECT ") + expression).toUtf8();
    sqlite3_stmt* stmt = nullptr;
    const int rc =
        sqlite3_prepare_v2(db_, sql.constData(), static_cast<int>(sql.size()), &stmt, nullptr);
    if (rc != SQLITE_OK) raiseSqliteError(db_, rc);
    statements_.insert(expression, stmt);
    return stmt;
}

vb::Variant LocalEvaluator::evaluate(const QString& expression, std::span<const vb::Variant> values,
                                     vb::VarType kind) {
    sqlite3_stmt* stmt = statement(expression);
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    for (std::size_t i = 0; i < values.size(); ++i)
        bind(stmt, static_cast<int>(i + 1), values[i]);
    const int rc = sqlite3_step(stmt);
    if (rc != SQLITE_ROW) {
        sqlite3_reset(stmt);
        raiseSqliteError(db_, rc);
    }
    vb::Variant result = variantFromColumn(stmt, 0, kind);
    sqlite3_reset(stmt);
    return result;
}

} // namespace jet
