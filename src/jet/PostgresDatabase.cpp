#include "jet/PostgresDatabase.h"

#include "jet/EngineShared.h"
#include "jet/JetError.h"
#include "jet/Parser.h"
#include "jet/PgValue.h"
#include "jet/SqliteDatabase.h"
#include "recordset/RecordsetBuilder.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace jet {

namespace {

// A cancel is sent again this often, this many times at most, until the call has taken it.
constexpr auto kCancelRepeat = std::chrono::milliseconds(20);
constexpr int kCancelTries = 100;

// Tables, columns and indexes of the site's schema and the session's temporary ones; any change
// to them changes this.
const QString kSchemaStamp =
    u"SELECT count(*) || ':' || coalesce(sum(CAST(CAST(c.xmin AS text) AS bigint)), 0) || ':' || "
    u"(SELECT count(*) || ':' || coalesce(sum(CAST(CAST(a.xmin AS text) AS bigint)), 0) "
    u"FROM pg_attribute a WHERE a.attrelid IN (SELECT oid FROM pg_class WHERE relnamespace IN "
    u"(CAST(to_regnamespace(current_schema()) AS oid), pg_my_temp_schema()))) "
    u"FROM pg_class c WHERE c.relnamespace IN "
    u"(CAST(to_regnamespace(current_schema()) AS oid), pg_my_temp_schema())"_s;

} // namespace

std::unique_ptr<PostgresDatabase> PostgresDatabase::open(const PgConnection::Options& options) {
    return std::make_unique<PostgresDatabase>(PgConnection::open(options));
}

PostgresDatabase::PostgresDatabase(std::unique_ptr<PgConnection> connection)
    : conn_(std::move(connection)) {
    // Doubles written as text (the & operator) get CStr's fifteen significant digits.
    conn_->exec(u"SET extra_float_digits = 0"_s);
}

PostgresDatabase::~PostgresDatabase() = default;

void PostgresDatabase::installFunctions() {
    conn_->exec(functionsScript());
    schemaStamp_.clear();
}

void PostgresDatabase::interrupt() {
    interrupted_ = true;
    const std::lock_guard one(interrupting_);
    canceller_ = std::jthread([this](std::stop_token stop) {
        for (int i = 0; i < kCancelTries && !stop.stop_requested() && interrupted_; ++i) {
            if (busy_) conn_->cancel();
            std::this_thread::sleep_for(kCancelRepeat);
        }
    });
}

void PostgresDatabase::clearInterrupt() {
    interrupted_ = false;
}

void PostgresDatabase::stopIfInterrupted() const {
    if (interrupted_) throw engineError(kCanceledError, QString::fromUtf16(kCanceledText));
}

template <typename Call> auto PostgresDatabase::serverCall(Call call) {
    stopIfInterrupted();
    struct Busy {
        std::atomic<bool>& flag;
        explicit Busy(std::atomic<bool>& f) : flag(f) { flag = true; }
        ~Busy() { flag = false; }
    } busy(busy_);
    return call();
}

const Catalog& PostgresDatabase::catalog() {
    // Another connection may change the schema; this one's own changes reset the stamp.
    const auto stamp = serverCall([&] { return conn_->query(kSchemaStamp); });
    const QString now = stamp.rows.empty() ? QString() : stamp.rows.front().front().value_or(u""_s);
    if (now != schemaStamp_ || now.isEmpty()) {
        catalog_ = serverCall([&] { return Catalog::fromPostgres(*conn_); });
        schemaStamp_ = now;
    }
    return catalog_;
}

// What the server expects of a read, from its plan's top line: the rows it gives and its cost.
PostgresDatabase::PlanEstimate PostgresDatabase::estimate(const QString& select) {
    static const QRegularExpression top(u"cost=[0-9.]+\\.\\.([0-9.]+) rows=(\\d+)"_s);
    const auto plan = serverCall([&] { return conn_->query(u"EXPLAIN "_s + select); });
    if (plan.rows.empty() || !plan.rows.front().front()) return {};
    const QRegularExpressionMatch m = top.match(*plan.rows.front().front());
    return {m.captured(2).toDouble(), m.captured(1).toDouble()};
}

// Follows a read: the rows received against the rows the plan expects, and, since a grouping read
// sends nothing until it is done, the time it has taken against the time reads of its shape took
// per unit of the plan's cost (any shape's, until this one has run). The bar never goes back and
// waits at 99 until the read is complete.
class PostgresDatabase::ReadMeter {
public:
    ReadMeter(PostgresDatabase& db, const ReadProgress* progress, const QString& sql)
        : db_(db), progress_(progress) {
        if (!progress_) return;
        shape_ = shapeOf(sql);
        plan_ = db_.estimate(sql);
        const double perCost = db_.msPerCost_.value(shape_, db_.lastMsPerCost_);
        expectedMs_ = perCost * plan_.cost;
        clock_.start();
        tell(0);
    }
    void rowReceived() {
        ++received_;
        if (progress_) tell(std::max(share(received_, plan_.rows), timeShare()));
    }
    void waiting() {
        if (progress_) tell(timeShare());
    }
    void finish() {
        if (!progress_) return;
        // Reads too short to time tell nothing about the next one.
        if (plan_.cost > 0 && clock_.elapsed() >= kShortestTimedMs)
            db_.msPerCost_.insert(shape_, db_.lastMsPerCost_ = clock_.elapsed() / plan_.cost);
        tell(100);
    }

private:
    static constexpr qint64 kShortestTimedMs = 50;
    static int share(double done, double expected) {
        return expected > 0 ? static_cast<int>(std::min(99.0, 100.0 * done / expected)) : 0;
    }
    int timeShare() const { return share(static_cast<double>(clock_.elapsed()), expectedMs_); }
    void tell(int percent) {
        if (percent > told_) (*progress_)(told_ = percent);
    }

    PostgresDatabase& db_;
    const ReadProgress* progress_;
    QString shape_;
    PlanEstimate plan_;
    double expectedMs_ = 0;
    QElapsedTimer clock_;
    long long received_ = 0;
    int told_ = -1;
};

std::shared_ptr<rs::Recordset> PostgresDatabase::read(const PostgresGenerator::Read& plan,
                                                      const std::vector<ResultColumn>& columns,
                                                      const ReadProgress* progress) {
    rs::RecordsetBuilder builder;
    for (const ResultColumn& c : columns)
        builder.addField(c.name, adoTypeOf(c.type.type), isText(c.type.type) ? c.type.size : 0);
    ReadMeter meter(*this, progress, plan.sql);
    std::vector<vb::Variant> fetched(plan.fetched.size()), row(columns.size()), parts;
    serverCall([&] {
        conn_->copyOut(
            plan.sql,
            [&](std::span<const PgField> fields) {
                stopIfInterrupted();
                for (std::size_t i = 0; i < fetched.size() && i < fields.size(); ++i) {
                    const bool serial = i < plan.serials.size() && plan.serials[i];
                    fetched[i] =
                        variantFromPg(fields[i], serial ? SqlType::Double : plan.fetched[i]);
                    if (serial && !fetched[i].isNull())
                        fetched[i] = vb::Variant::date(fetched[i].doubleValue());
                }
                for (std::size_t c = 0; c < columns.size(); ++c) {
                    if (plan.source[c] >= 0) {
                        row[c] = fetched[static_cast<std::size_t>(plan.source[c])];
                        continue;
                    }
                    const PostgresGenerator::LocalColumn& local = plan.local[c];
                    parts.clear();
                    for (int f : local.fetched)
                        parts.push_back(fetched[static_cast<std::size_t>(f)]);
                    row[c] =
                        local_.evaluate(local.expression, parts, varTypeOf(columns[c].type.type));
                }
                builder.appendRow(row);
                meter.rowReceived();
            },
            [&] { meter.waiting(); });
    });
    auto result = builder.finish();
    meter.finish();
    return result;
}

// The commands of one statement stand or fall together.
long long PostgresDatabase::runCommands(const PostgresGenerator& generator,
                                        const Statement& statement) {
    const PostgresGenerator::Commands commands = generator.commands(statement);
    const bool several = commands.size() > 1;
    if (several) serverCall([&] { return conn_->exec(u"BEGIN"_s); });
    long long total = 0;
    try {
        for (const PostgresGenerator::Command& command : commands) {
            const long long changed = serverCall([&] { return conn_->exec(command.sql); });
            if (command.counted) total += changed;
        }
    } catch (...) {
        if (several) {
            try {
                conn_->exec(u"ROLLBACK"_s);
            } catch (const vb::VbError&) {
                // The connection is gone; the failure that ended the statement says so.
            }
        }
        throw;
    }
    if (several) serverCall([&] { return conn_->exec(u"COMMIT"_s); });
    return total;
}

std::shared_ptr<rs::Recordset> PostgresDatabase::run(const Statement& statement, long long* changed,
                                                     const ReadProgress* progress) {
    stopIfInterrupted();
    const Catalog& cat = catalog();
    const Binding binding = bindToRun(statement, cat);
    const PostgresGenerator generator(binding, cat, local_);
    if (const auto* t = std::get_if<Transform>(&statement)) {
        std::vector<PivotColumn> pivots = pivotColumnsListed(*t);
        if (t->pivotIn.empty()) {
            const SqlType type = binding.typeOf(t->pivot.get());
            serverCall([&] {
                conn_->copyOut(generator.pivotValues(*t), [&](std::span<const PgField> fields) {
                    addPivotValue(pivots, variantFromPg(fields[0], type));
                });
            });
        }
        return read(generator.crosstab(*t, pivots), crosstabColumns(binding, *t, pivots), progress);
    }
    if (const auto* s = std::get_if<Select>(&statement); s && s->into.isEmpty())
        return read(generator.read(*s), resultColumns(binding.outputs(s)), progress);
    // Before the run: a run stopped half way may already have changed the schema.
    if (changesSchema(statement)) schemaStamp_.clear();
    const long long total = runCommands(generator, statement);
    if (changed) *changed = total;
    return rs::RecordsetBuilder().finish();
}

std::shared_ptr<rs::Recordset> PostgresDatabase::query(const QString& dialectText,
                                                       const ReadProgress& progress) {
    return run(parseStatement(dialectText), nullptr, progress ? &progress : nullptr);
}

long long PostgresDatabase::execute(const QString& dialectText) {
    long long changed = 0;
    run(parseStatement(dialectText), &changed, nullptr);
    return changed;
}

void PostgresDatabase::executeScript(const QString& script) {
    for (const QString& entry : scriptEntries(script))
        execute(entry);
}

QString PostgresDatabase::translate(const QString& dialectText) {
    const Statement statement = parseStatement(dialectText);
    const Catalog& cat = catalog();
    const Binding binding = bindToRun(statement, cat);
    const PostgresGenerator generator(binding, cat, local_);
    if (const auto* t = std::get_if<Transform>(&statement)) return generator.pivotValues(*t);
    if (const auto* s = std::get_if<Select>(&statement); s && s->into.isEmpty())
        return generator.read(*s).sql;
    QStringList lines;
    for (const PostgresGenerator::Command& command : generator.commands(statement))
        lines << command.sql;
    return lines.join(u'\n');
}

} // namespace jet
