#include "jet/SqliteDatabase.h"

#include "jet/Binder.h"
#include "jet/JetError.h"
#include "jet/Parser.h"
#include "jet/SqliteFunctions.h"
#include "jet/SqliteGenerator.h"
#include "jet/SqliteValue.h"
#include "recordset/RecordsetBuilder.h"

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;

namespace jet {

namespace {

// An error of SQLite's, or of a dialect function run inside it ("13: Type mismatch").
[[noreturn]] void raiseEngine(sqlite3* db, int code) {
    const QString text = QString::fromUtf8(sqlite3_errmsg(db));
    const qsizetype colon = text.indexOf(u": ");
    bool numeric = false;
    const int number = colon > 0 ? text.left(colon).toInt(&numeric) : 0;
    if (numeric) throw vb::VbError(number, text.mid(colon + 2));
    throw vb::VbError(kEngineErrorBase + (code & 0xff), text);
}

class SqlStatement {
public:
    SqlStatement(sqlite3* db, const QString& sql) : db_(db) {
        const QByteArray utf8 = sql.toUtf8();
        const int rc = sqlite3_prepare_v2(db, utf8.constData(), static_cast<int>(utf8.size()),
                                          &stmt_, nullptr);
        if (rc != SQLITE_OK) raiseEngine(db, rc);
    }
    ~SqlStatement() { sqlite3_finalize(stmt_); }
    SqlStatement(const SqlStatement&) = delete;
    SqlStatement& operator=(const SqlStatement&) = delete;

    // True while there is a row.
    bool step() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        raiseEngine(db_, rc);
    }
    sqlite3_stmt* get() const { return stmt_; }

private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
};

// Runs the SQLite commands of one dialect statement; they stand or fall together, so SELECT ...
// INTO keeps no table when its rows could not go in. The number of rows they changed.
long long runCommands(sqlite3* db, const QStringList& commands) {
    const bool several = commands.size() > 1;
    if (several) SqlStatement(db, u"SAVEPOINT jet_statement"_s).step();
    long long total = 0;
    try {
        for (const QString& sql : commands) {
            SqlStatement stmt(db, sql);
            while (stmt.step()) {
            }
            total += sqlite3_changes64(db);
        }
    } catch (...) {
        if (several)
            sqlite3_exec(db, "ROLLBACK TO jet_statement; RELEASE jet_statement", nullptr, nullptr,
                         nullptr);
        throw;
    }
    if (several) SqlStatement(db, u"RELEASE jet_statement"_s).step();
    return total;
}

struct ResultColumn {
    QString name;
    ColumnType type;
};

long long countRows(sqlite3* db, const QString& sql) {
    SqlStatement count(db, u"SELECT count(*) FROM ("_s + sql + u')');
    return count.step() ? sqlite3_column_int64(count.get(), 0) : 0;
}

std::shared_ptr<rs::Recordset> readRows(sqlite3* db, const QString& sql,
                                        const std::vector<ResultColumn>& columns,
                                        const SqliteDatabase::ReadProgress& progress) {
    const long long total = progress ? countRows(db, sql) : 0;
    long long read = 0;
    int told = -1;
    auto tell = [&](int percent) {
        if (percent != told) progress(told = percent);
    };
    if (progress) tell(0);
    SqlStatement stmt(db, sql);
    rs::RecordsetBuilder builder;
    std::vector<vb::VarType> kinds;
    for (const ResultColumn& c : columns) {
        builder.addField(c.name, adoTypeOf(c.type.type), isText(c.type.type) ? c.type.size : 0);
        kinds.push_back(varTypeOf(c.type.type));
    }
    std::vector<vb::Variant> row(columns.size());
    while (stmt.step()) {
        for (std::size_t i = 0; i < columns.size(); ++i)
            row[i] = variantFromColumn(stmt.get(), static_cast<int>(i), kinds[i]);
        builder.appendRow(row);
        if (progress && total > 0) tell(static_cast<int>(++read * 100 / total));
    }
    if (progress) tell(100);
    return builder.finish();
}

std::vector<ResultColumn> resultColumns(const std::vector<OutputColumn>& outputs) {
    std::vector<ResultColumn> columns;
    for (const OutputColumn& out : outputs)
        columns.push_back({out.name, out.type});
    return columns;
}

std::shared_ptr<rs::Recordset> emptyResult() {
    return rs::RecordsetBuilder().finish();
}

// A crosstab's columns: the IN list as given, or the distinct values found, texts that differ
// only in letter case sharing one column.
std::vector<SqliteGenerator::PivotColumn>
pivotColumns(sqlite3* db, const SqliteGenerator& generator, const Transform& t, vb::VarType kind) {
    std::vector<SqliteGenerator::PivotColumn> columns;
    if (!t.pivotIn.empty()) {
        for (const ExprPtr& v : t.pivotIn)
            columns.push_back({SqliteGenerator::pivotColumnName(v->value), {v->value}, true});
        return columns;
    }
    SqlStatement stmt(db, generator.pivotValues(t));
    while (stmt.step()) {
        vb::Variant v = variantFromColumn(stmt.get(), 0, kind);
        const QString name = SqliteGenerator::pivotColumnName(v);
        if (!columns.empty() && v.isString() && columns.back().values.front().isString() &&
            columns.back().name.compare(name, Qt::CaseInsensitive) == 0)
            columns.back().values.push_back(std::move(v));
        else
            columns.push_back({name, {std::move(v)}, false});
    }
    return columns;
}

bool changesSchema(const jet::Statement& s) {
    return std::holds_alternative<CreateTable>(s) || std::holds_alternative<CreateIndex>(s) ||
           std::holds_alternative<DropTable>(s) ||
           (std::holds_alternative<Select>(s) && !std::get<Select>(s).into.isEmpty());
}

} // namespace

std::unique_ptr<SqliteDatabase> SqliteDatabase::open(const QString& path, bool create) {
    sqlite3* db = nullptr;
    // A connection is used by one thread at a time (the link's worker), so SQLite need not lock.
    const int flags =
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const QString text =
            db ? QString::fromUtf8(sqlite3_errmsg(db)) : QStringLiteral("out of memory");
        sqlite3_close(db);
        throw vb::VbError(kEngineErrorBase + (rc & 0xff),
                          QStringLiteral("Cannot open the site file '%1': %2").arg(path, text));
    }
    sqlite3_busy_timeout(db, 5000);
    sqlite3_exec(db, "PRAGMA foreign_keys = ON", nullptr, nullptr, nullptr);
    registerDialectFunctions(db);
    return std::unique_ptr<SqliteDatabase>(new SqliteDatabase(db));
}

SqliteDatabase::SqliteDatabase(sqlite3* db) : db_(db) {}

SqliteDatabase::~SqliteDatabase() {
    sqlite3_close(db_);
}

const Catalog& SqliteDatabase::catalog() {
    // Another connection may change the stored tables; this one's own statements that change
    // the schema (temporary tables included) reset the stamp themselves.
    long long stamp = 0;
    {
        SqlStatement s(db_, QStringLiteral("PRAGMA schema_version"));
        if (s.step()) stamp = sqlite3_column_int64(s.get(), 0);
    }
    if (stamp != schemaStamp_) {
        catalog_ = Catalog::fromSqlite(db_);
        schemaStamp_ = stamp;
    }
    return catalog_;
}

std::shared_ptr<rs::Recordset> SqliteDatabase::run(const jet::Statement& statement,
                                                   long long* changed,
                                                   const ReadProgress& progress) {
    const Catalog& cat = catalog();
    const Binding binding = bindStatement(statement, cat);
    const SqliteGenerator generator(binding, cat);
    if (const auto* t = std::get_if<Transform>(&statement)) {
        const std::vector<SqliteGenerator::PivotColumn> pivots =
            pivotColumns(db_, generator, *t, varTypeOf(binding.typeOf(t->pivot.get())));
        std::vector<ResultColumn> columns = resultColumns(binding.outputs(t->select.get()));
        const SqlType cellType = binding.typeOf(t->aggregate.get());
        for (const SqliteGenerator::PivotColumn& p : pivots)
            columns.push_back({p.name, ColumnType{cellType, 0, false}});
        return readRows(db_, generator.crosstab(*t, pivots), columns, progress);
    }
    if (const auto* s = std::get_if<Select>(&statement); s && s->into.isEmpty())
        return readRows(db_, generator.select(*s), resultColumns(binding.outputs(s)), progress);
    const long long total = runCommands(db_, generator.commands(statement));
    if (changesSchema(statement)) schemaStamp_ = -1;
    if (changed) *changed = total;
    return emptyResult();
}

std::shared_ptr<rs::Recordset> SqliteDatabase::query(const QString& dialectText,
                                                     const ReadProgress& progress) {
    return run(parseStatement(dialectText), nullptr, progress);
}

long long SqliteDatabase::execute(const QString& dialectText) {
    long long changed = 0;
    run(parseStatement(dialectText), &changed);
    return changed;
}

void SqliteDatabase::executeScript(const QString& script) {
    QString entry;
    auto flush = [&] {
        if (!entry.trimmed().isEmpty()) execute(entry);
        entry.clear();
    };
    for (const QString& line : script.split(u'\n')) {
        const QString trimmed = line.trimmed();
        if (trimmed == u"--")
            flush();
        else if (!trimmed.startsWith(u"-- "))
            entry += line + u'\n';
    }
    flush();
}

QString SqliteDatabase::translate(const QString& dialectText) {
    const jet::Statement statement = parseStatement(dialectText);
    const Catalog& cat = catalog();
    const Binding binding = bindStatement(statement, cat);
    const SqliteGenerator generator(binding, cat);
    if (const auto* t = std::get_if<Transform>(&statement)) return generator.pivotValues(*t);
    return generator.commands(statement).join(u'\n');
}

} // namespace jet
