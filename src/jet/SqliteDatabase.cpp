#include "jet/SqliteDatabase.h"

#include "jet/Binder.h"
#include "jet/EngineShared.h"
#include "jet/JetError.h"
#include "jet/Parser.h"
#include "jet/SqliteFunctions.h"
#include "jet/SqliteGenerator.h"
#include "jet/SqliteValue.h"
#include "jet/Storage.h"
#include "recordset/RecordsetBuilder.h"
#include "vb/Convert.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <algorithm>
#include <functional>
#include <sqlite3.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace jet {

namespace {

class SqlStatement {
public:
    SqlStatement(sqlite3* db, const QString& sql) : db_(db) {
        const QByteArray utf8 = sql.toUtf8();
        const int rc = sqlite3_prepare_v2(db, utf8.constData(), static_cast<int>(utf8.size()),
                                          &stmt_, nullptr);
        if (rc != SQLITE_OK) raiseSqliteError(db, rc);
    }
    ~SqlStatement() { sqlite3_finalize(stmt_); }
    SqlStatement(const SqlStatement&) = delete;
    SqlStatement& operator=(const SqlStatement&) = delete;

    // True while there is a row.
    bool step() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        raiseSqliteError(db_, rc);
    }
    sqlite3_stmt* get() const { return stmt_; }

private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
};

// Runs the SQLite commands of one dialect statement; they stand or fall together, so SELECT ...
// INTO keeps no table when its rows could not go in. The number of rows its counted commands
// changed, read off SQLite's running total: the count of the last statement would repeat an
// earlier statement's after a command that changes no rows (CREATE, DROP).
long long runCommands(sqlite3* db, const SqliteGenerator::Commands& commands,
                      const std::function<void()>& beforeEach) {
    const bool several = commands.size() > 1;
    if (several) SqlStatement(db, u"SAVEPOINT jet_statement"_s).step();
    long long total = 0;
    try {
        for (const SqliteGenerator::Command& command : commands) {
            beforeEach();
            SqlStatement stmt(db, command.sql);
            const sqlite3_int64 before = sqlite3_total_changes64(db);
            while (stmt.step()) {
            }
            if (command.counted) total += sqlite3_total_changes64(db) - before;
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

std::shared_ptr<rs::Recordset> readRows(sqlite3* db, const QString& sql,
                                        const std::vector<ResultColumn>& columns) {
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
    }
    return builder.finish();
}

std::shared_ptr<rs::Recordset> emptyResult() {
    return rs::RecordsetBuilder().finish();
}

// A crosstab's columns: the IN list as given, or the distinct values found.
std::vector<PivotColumn> pivotColumns(sqlite3* db, const SqliteGenerator& generator,
                                      const Transform& t, vb::VarType kind) {
    if (!t.pivotIn.empty()) return pivotColumnsListed(t);
    std::vector<PivotColumn> columns;
    SqlStatement stmt(db, generator.pivotValues(t));
    while (stmt.step())
        addPivotValue(columns, variantFromColumn(stmt.get(), 0, kind));
    return columns;
}

constexpr int kBusyTimeoutMs = 5000;
// How often, in SQLite's steps, a statement looks for a cancel when no read is being measured.
constexpr int kStepsPerCheck = 1000;
// A measured read looks about this many times, within these bounds: enough for a smooth bar,
// rarely enough to cost nothing, often enough that a cancel is felt at once.
constexpr double kChecksPerRead = 500;
constexpr int kFewestStepsPerCheck = 100;
constexpr int kMostStepsPerCheck = 10000;
// Before a query's shape has run once its steps per driving row are taken as this share of its
// program's length: the heaviest share the client's own reads showed, so a first estimate is
// too long rather than too short and the bar does not wait near the end.
constexpr double kPriorShareOfProgram = 0.7;

// The date range on fldTransTime among the ANDs at the top of a WHERE: the index range a long
// read walks.
const Expr* timeRange(const Expr* where) {
    if (!where) return nullptr;
    if (where->kind == ExprKind::Binary && where->op == Op::And) {
        const Expr* left = timeRange(where->args[0].get());
        return left ? left : timeRange(where->args[1].get());
    }
    if (where->kind != ExprKind::Between || where->negated) return nullptr;
    const Expr& column = *where->args[0];
    const bool literalBounds =
        where->args[1]->kind == ExprKind::Literal && where->args[2]->kind == ExprKind::Literal;
    const bool transTime = column.kind == ExprKind::Column &&
                           column.name.compare(u"fldTransTime", Qt::CaseInsensitive) == 0;
    return literalBounds && transTime ? where : nullptr;
}

// One number from SQLite, or -1 when it cannot give it (a table that is not there).
long long countOrNone(sqlite3* db, const QString& sql, std::initializer_list<double> bounds = {}) {
    sqlite3_stmt* stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    long long count = -1;
    if (sqlite3_prepare_v2(db, utf8.constData(), -1, &stmt, nullptr) == SQLITE_OK) {
        int index = 0;
        for (double bound : bounds)
            sqlite3_bind_double(stmt, ++index, bound);
        if (sqlite3_step(stmt) == SQLITE_ROW) count = sqlite3_column_int64(stmt, 0);
    }
    sqlite3_finalize(stmt);
    return count;
}

long long rowsInTimeRange(sqlite3* db, const Expr& range) {
    try {
        const double from = storage::linearFromSerial(vb::cdbl(range.args[1]->value));
        const double to = storage::linearFromSerial(vb::cdbl(range.args[2]->value));
        return countOrNone(db,
                           u"SELECT count(*) FROM tblTrans WHERE fldTransTime BETWEEN ?1 AND ?2"_s,
                           {from, to});
    } catch (const vb::VbError&) {
        return -1; // bounds that are no dates; the binder has refused them already
    }
}

void collectTables(const TableRef& ref, QStringList& names) {
    if (ref.kind == TableRef::Kind::Table) names << ref.name;
    if (ref.left) collectTables(*ref.left, names);
    if (ref.right) collectTables(*ref.right, names);
    if (ref.subquery)
        for (const TableRefPtr& inner : ref.subquery->from)
            collectTables(*inner, names);
}

// The rows a read drives through: the transactions of the time range it narrows to (counted on
// the covering index, a small share of the read), else the rows of the largest table it names,
// taken from its highest row id, which costs one step down its tree where a count would cost as
// much as a read of the table (a table that has lost rows is overestimated).
long long drivingRows(sqlite3* db, const Select& select) {
    if (const Expr* range = timeRange(select.where.get())) {
        const long long inRange = rowsInTimeRange(db, *range);
        if (inRange >= 0) return inRange;
    }
    QStringList tables;
    for (const TableRefPtr& ref : select.from)
        collectTables(*ref, tables);
    long long most = 0;
    for (QString table : tables)
        most = std::max(most, countOrNone(db, u"SELECT max(rowid) FROM \""_s +
                                                  table.replace(u'"', u"\"\""_s) + u'"'));
    return most;
}

int programLength(sqlite3* db, const QString& sql) {
    SqlStatement explain(db, u"EXPLAIN "_s + sql);
    int length = 0;
    while (explain.step())
        ++length;
    return length;
}

// A site file written in WAL mode says so in two bytes of its header.
bool isWalFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray header = file.read(20);
    return header.size() == 20 && header[18] == 2 && header[19] == 2;
}

bool writable(const QString& path) {
    return ::access(QFile::encodeName(path).constData(), W_OK) == 0;
}

// Why the site must be opened read-only; empty when it can be written. WAL mode keeps two files
// beside the site, so its folder must be writable as well as the file.
QString whyReadOnly(const QString& path) {
    const QFileInfo file(path);
    if (!writable(file.absolutePath()))
        return u"the folder %1 cannot be written, so the files that let several clients share "
               u"the site cannot be made there"_s.arg(file.absolutePath());
    if (!writable(path)) return u"the site file %1 cannot be written"_s.arg(path);
    return {};
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
        throw engineError(kEngineErrorBase + (rc & 0xff),
                          QStringLiteral("Cannot open the site file '%1': %2").arg(path, text));
    }
    return std::unique_ptr<SqliteDatabase>(new SqliteDatabase(db));
}

std::unique_ptr<SqliteDatabase> SqliteDatabase::openSite(const QString& path) {
    const QString reason = whyReadOnly(path);
    if (reason.isEmpty()) {
        auto db = open(path, false);
        db->useWriteAheadLog();
        return db;
    }
    QUrl uri = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    // A WAL site needs its shared-memory file to be read; where it is not there and cannot be
    // made, nobody is writing the site, and SQLite may read the file as it stands.
    const bool noSharedMemory = isWalFile(path) && !QFile::exists(path + u"-shm"_s);
    uri.setQuery(noSharedMemory ? u"mode=ro&immutable=1"_s : u"mode=ro"_s);
    sqlite3* db = nullptr;
    const int rc =
        sqlite3_open_v2(uri.toEncoded().constData(), &db,
                        SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_close(db);
        throw engineError(kEngineErrorBase + (rc & 0xff),
                          u"Cannot open the site file '%1': %2"_s.arg(path, reason));
    }
    return std::unique_ptr<SqliteDatabase>(new SqliteDatabase(db, reason));
}

bool SqliteDatabase::useWriteAheadLog() {
    // The switch needs the file to itself. While another client has it open the old way it stays
    // so until a later connect: not worth a wait of the busy timeout at every connect.
    sqlite3_busy_timeout(db_, 0);
    bool wal = false;
    try {
        SqlStatement mode(db_, u"PRAGMA journal_mode = WAL"_s);
        wal = mode.step() && QString::fromUtf8(reinterpret_cast<const char*>(
                                 sqlite3_column_text(mode.get(), 0))) == u"wal";
    } catch (const vb::VbError&) {
        // Busy, or no database at all, which the first read reports.
    }
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
    return wal;
}

SqliteDatabase::SqliteDatabase(sqlite3* db, QString readOnlyReason)
    : db_(db), readOnlyReason_(std::move(readOnlyReason)) {
    // Writers wait for each other this long; in WAL mode readers never wait.
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    sqlite3_exec(db, "PRAGMA foreign_keys = ON", nullptr, nullptr, nullptr);
    sqlite3_progress_handler(db, kStepsPerCheck, &SqliteDatabase::onProgress, this);
    registerDialectFunctions(db);
}

SqliteDatabase::~SqliteDatabase() {
    const std::lock_guard closing(interrupting_);
    sqlite3_close(db_);
    db_ = nullptr;
}

void SqliteDatabase::interrupt() {
    interrupted_ = true;
    // The flag alone stops a statement at its next check; this also stops SQLite's longer inner
    // work (a sort, say) at once.
    const std::lock_guard closing(interrupting_);
    if (db_) sqlite3_interrupt(db_);
}

void SqliteDatabase::clearInterrupt() {
    interrupted_ = false;
}

void SqliteDatabase::stopIfInterrupted() const {
    if (interrupted_) throw engineError(kCanceledError, QString::fromUtf16(kCanceledText));
}

vb::VbError SqliteDatabase::explained(const vb::VbError& error) const {
    switch (error.number() - kEngineErrorBase) {
    case SQLITE_INTERRUPT:
        return {kCanceledError, QString::fromUtf16(kCanceledText)};
    case SQLITE_BUSY:
        return {error.number(),
                u"Another client holds the site for writing; the change waited "
                u"%1 seconds and was not made. Try again shortly."_s.arg(kBusyTimeoutMs / 1000)};
    case SQLITE_READONLY:
        if (!readOnlyReason_.isEmpty())
            return {error.number(),
                    u"The change cannot be saved: this site is open read-only because "_s +
                        readOnlyReason_ + u'.'};
        break;
    }
    return error;
}

template <typename Work> auto SqliteDatabase::explaining(Work work) {
    try {
        return work();
    } catch (const vb::VbError& error) {
        throw explained(error);
    }
}

// Follows one read: SQLite's steps, counted by the progress handler, against the steps the read
// is expected to take (the rows it drives through times the steps each row costs).
class SqliteDatabase::ReadMeter {
public:
    ReadMeter(SqliteDatabase& database, const ReadProgress& tell, QString shape)
        : database_(database), tell_(tell), shape_(std::move(shape)) {}
    ~ReadMeter() {
        database_.meter_ = nullptr;
        sqlite3_progress_handler(database_.db_, kStepsPerCheck, &SqliteDatabase::onProgress,
                                 &database_);
    }
    ReadMeter(const ReadMeter&) = delete;
    ReadMeter& operator=(const ReadMeter&) = delete;

    // Just before the statement that gives the rows: a crosstab's search for its columns
    // comes before and is not measured.
    void start(const QString& sql, long long drivingRows) {
        rows_ = static_cast<double>(std::max(drivingRows, 1LL));
        const double perRow = database_.stepsPerRow_.value(
            shape_, kPriorShareOfProgram * programLength(database_.db_, sql));
        expected_ = std::max(rows_ * perRow, 1.0);
        interval_ = std::clamp(static_cast<int>(expected_ / kChecksPerRead), kFewestStepsPerCheck,
                               kMostStepsPerCheck);
        sqlite3_progress_handler(database_.db_, interval_, &SqliteDatabase::onProgress, &database_);
        database_.meter_ = this;
        report(0);
    }

    void step() {
        steps_ += interval_;
        // Past the estimate the read is not done: it waits just short of the end.
        report(static_cast<int>(std::min(99.0, 100 * steps_ / expected_)));
    }

    // Learns what a row of this shape cost, when enough steps were seen to tell, and ends at 100.
    void finish() {
        if (steps_ >= 10.0 * interval_) database_.stepsPerRow_.insert(shape_, steps_ / rows_);
        report(100);
    }

private:
    void report(int percent) {
        if (percent > told_) tell_(told_ = percent);
    }

    SqliteDatabase& database_;
    const ReadProgress& tell_;
    QString shape_;
    double rows_ = 1, expected_ = 1, steps_ = 0;
    int interval_ = kStepsPerCheck;
    int told_ = -1;
};

int SqliteDatabase::onProgress(void* self) {
    auto* database = static_cast<SqliteDatabase*>(self);
    if (database->interrupted_.load(std::memory_order_relaxed)) return 1;
    if (database->meter_) database->meter_->step();
    return 0;
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
    // A catalog read that a cancel cut short must not be kept.
    if (interrupted_) schemaStamp_ = -1;
    stopIfInterrupted();
    return catalog_;
}

std::shared_ptr<rs::Recordset> SqliteDatabase::run(const jet::Statement& statement,
                                                   long long* changed, ReadMeter* meter) {
    stopIfInterrupted();
    const Catalog& cat = catalog();
    const Binding binding = bindToRun(statement, cat);
    const SqliteGenerator generator(binding, cat);
    auto read = [&](const QString& sql, const std::vector<ResultColumn>& columns,
                    const Select& select) {
        if (meter) meter->start(sql, drivingRows(db_, select));
        stopIfInterrupted();
        return readRows(db_, sql, columns);
    };
    if (const auto* t = std::get_if<Transform>(&statement)) {
        const std::vector<PivotColumn> pivots =
            pivotColumns(db_, generator, *t, varTypeOf(binding.typeOf(t->pivot.get())));
        return read(generator.crosstab(*t, pivots), crosstabColumns(binding, *t, pivots),
                    *t->select);
    }
    if (const auto* s = std::get_if<Select>(&statement); s && s->into.isEmpty())
        return read(generator.select(*s), resultColumns(binding.outputs(s)), *s);
    // Before the run: a run stopped half way may already have changed the schema.
    if (changesSchema(statement)) schemaStamp_ = -1;
    const long long total =
        runCommands(db_, generator.commands(statement), [this] { stopIfInterrupted(); });
    if (changed) *changed = total;
    return emptyResult();
}

std::shared_ptr<rs::Recordset> SqliteDatabase::query(const QString& dialectText,
                                                     const ReadProgress& progress) {
    return explaining([&] {
        const jet::Statement statement = parseStatement(dialectText);
        if (!progress) return run(statement, nullptr);
        ReadMeter meter(*this, progress, shapeOf(dialectText));
        auto rows = run(statement, nullptr, &meter);
        meter.finish();
        return rows;
    });
}

long long SqliteDatabase::execute(const QString& dialectText) {
    return explaining([&] {
        long long changed = 0;
        run(parseStatement(dialectText), &changed);
        return changed;
    });
}

void SqliteDatabase::executeScript(const QString& script) {
    for (const QString& entry : scriptEntries(script))
        execute(entry);
}

QString SqliteDatabase::translate(const QString& dialectText) {
    const jet::Statement statement = parseStatement(dialectText);
    const Catalog& cat = catalog();
    const Binding binding = bindToRun(statement, cat);
    const SqliteGenerator generator(binding, cat);
    if (const auto* t = std::get_if<Transform>(&statement)) return generator.pivotValues(*t);
    QStringList lines;
    for (const SqliteGenerator::Command& command : generator.commands(statement))
        lines << command.sql;
    return lines.join(u'\n');
}

} // namespace jet
