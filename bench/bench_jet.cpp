#include "jet/SqliteDatabase.h"
#include "recordset/RecordsetBuilder.h"
#include "vb/DateTime.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <random>

// The engine against the same work written by hand in SQLite SQL, on a site of a million
// transactions over one year.
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int kTransactions = 1'000'000;
const double kFirstDay = vb::dateSerial(2003, 1, 1);

void exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        fprintf(stderr, "%s\n", error);
        std::abort();
    }
}

void fill(sqlite3* db) {
    exec(db, "BEGIN");
    for (int i = 1; i <= 60; ++i)
        exec(db,
             QStringLiteral("INSERT INTO tblActors (fldActorCode, fldActorlName, fldActorfName) "
                            "VALUES ('C%1', 'Last%1', 'First%1')")
                 .arg(i)
                 .toUtf8()
                 .constData());
    for (int i = 1; i <= 20; ++i)
        exec(db, QStringLiteral("INSERT INTO lkpActions (fldActionCode, fldActionDesc, "
                                "fldactioncritical) VALUES ('A%1', 'Action %1', %2)")
                     .arg(i)
                     .arg(i % 4 == 0 ? -1 : 0)
                     .toUtf8()
                     .constData());
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(
        db,
        "INSERT INTO tblTrans (fldTransTime, fldtransregnum, fldTransQty, "
        "fldTransDesc, fldTransPrice, fkyActionID, fkyActorID) VALUES (?,?,?,?,?,?,?)",
        -1, &insert, nullptr);
    std::mt19937 rng(7);
    const char* items[] = {"MILK", "BREAD", "CIGARETTES", "COFFEE", "NEWSPAPER", "GUM", "WATER"};
    double t = kFirstDay;
    for (int i = 0; i < kTransactions; ++i) {
        t += 365.0 / kTransactions;
        sqlite3_bind_double(insert, 1, t);
        sqlite3_bind_int(insert, 2, 1 + static_cast<int>(rng() % 20));
        sqlite3_bind_double(insert, 3, 1 + rng() % 3);
        sqlite3_bind_text(insert, 4, items[rng() % 7], -1, SQLITE_STATIC);
        sqlite3_bind_double(insert, 5, static_cast<double>(rng() % 5000) / 100);
        sqlite3_bind_int(insert, 6, 1 + static_cast<int>(rng() % 20));
        sqlite3_bind_int(insert, 7, 1 + static_cast<int>(rng() % 60));
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    exec(db, "COMMIT");
    exec(db, "CREATE INDEX ixTransTime ON tblTrans (fldTransTime)");
    exec(db, "CREATE INDEX ixTransAction ON tblTrans (fkyActionID)");
    exec(db, "CREATE INDEX ixTransActor ON tblTrans (fkyActorID)");
    exec(db, "CREATE INDEX ixTransReg ON tblTrans (fldtransregnum)");
    exec(db, "ANALYZE");
}

jet::SqliteDatabase& site() {
    static QTemporaryDir dir;
    static std::unique_ptr<jet::SqliteDatabase> db = [] {
        auto db = jet::SqliteDatabase::open(dir.filePath(u"bench.tsite"_s), true);
        QFile schema(QStringLiteral(TILLSIGHT_SCHEMA));
        schema.open(QIODevice::ReadOnly);
        db->executeScript(QString::fromUtf8(schema.readAll()));
        fill(db->handle());
        return db;
    }();
    return *db;
}

const QString kJoin =
    u"From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = "
    "tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID "_s;

// A list search over one day, as the client writes it.
const QString kListSearch =
    u"SELECT cdate(format$(tbltrans.fldtranstime, \"yyyy/mm/dd\")) as [Date], "
    "cdate(format$(tbltrans.fldtranstime, \"HH:nn:ss\")) as [Time], tbltrans.fldtransregnum as "
    "[Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],"
    "tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], "
    "tblActors.fldActorCode AS [Login], tblActors.fldActorlName & \", \" & "
    "tblActors.fldActorfName AS [Name] "_s +
    kJoin +
    u"Where  tblTrans.fldTransTime between #2003/06/10 00:00:00# AND #2003/06/11 00:00:00#   "
    "Order By tblTrans.fldTransTime, idftransid "_s;

// Each clerk's count of each action code over 30 days.
const QString kCrosstab =
    u"TRANSFORM Count(tblTrans.idftransid) SELECT tblactors.fldactorlname & \", \" & "
    "tblactors.fldactorfname & \" - \" & tblactors.fldActorCode as [Clerk] "_s +
    kJoin +
    u"WHERE tblTrans.fldTransTime between #2003/05/11 00:00:00# AND #2003/06/10 00:00:00# GROUP "
    "BY tblactors.fldactorlname & \", \" & tblactors.fldactorfname & \" - \" & "
    "tblactors.fldActorCode PIVOT lkpactions.fldActionCode"_s;

double linear(int y, int m, int d) {
    return vb::dateSerial(y, m, d);
}

const QString kHandList =
    QStringLiteral(
        "SELECT CAST(t.fldTransTime AS INTEGER), t.fldTransTime - CAST(t.fldTransTime "
        "AS INTEGER), t.fldtransregnum, t.fldTransQty, t.fldTransDesc, t.fldTransPrice, "
        "a.fldActionCode, c.fldActorCode, c.fldActorlName || ', ' || c.fldActorfName "
        "FROM tblActors c JOIN tblTrans t ON c.idfActorID = t.fkyActorID JOIN lkpActions "
        "a ON a.idfActionID = t.fkyActionID WHERE t.fldTransTime BETWEEN %1 AND %2 "
        "ORDER BY t.fldTransTime, t.idftransid")
        .arg(linear(2003, 6, 10))
        .arg(linear(2003, 6, 11));

// The hand-written crosstab: its pivot values, then one conditional count each.
QString handCrosstab(sqlite3* db) {
    const QString where = QStringLiteral("t.fldTransTime BETWEEN %1 AND %2")
                              .arg(linear(2003, 5, 11))
                              .arg(linear(2003, 6, 10));
    const QString from = u"FROM tblActors c JOIN tblTrans t ON c.idfActorID = t.fkyActorID JOIN "
                         "lkpActions a ON a.idfActionID = t.fkyActionID WHERE "_s +
                         where;
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, ("SELECT DISTINCT a.fldActionCode " + from + " ORDER BY 1").toUtf8(), -1,
                       &stmt, nullptr);
    QStringList cells;
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        const QString v =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
        cells << QStringLiteral("NULLIF(count(*) FILTER (WHERE a.fldActionCode = '%1'), 0)").arg(v);
    }
    sqlite3_finalize(stmt);
    const QString label =
        u"c.fldActorlName || ', ' || c.fldActorfName || ' - ' || c.fldActorCode"_s;
    return u"SELECT "_s + label + u", "_s + cells.join(u", ") + u' ' + from + u" GROUP BY "_s +
           label + u" ORDER BY 1"_s;
}

// Steps through a hand-written query and keeps its rows in a result set, as the engine does.
std::size_t runHand(sqlite3* db, const QString& sql) {
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &stmt, nullptr);
    const int columns = sqlite3_column_count(stmt);
    rs::RecordsetBuilder builder;
    for (int i = 0; i < columns; ++i)
        builder.addField(QString::number(i), rs::AdoType::Variant);
    std::vector<vb::Variant> row(static_cast<std::size_t>(columns));
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        for (int i = 0; i < columns; ++i) {
            switch (sqlite3_column_type(stmt, i)) {
            case SQLITE_INTEGER:
                row[i] = vb::Variant(static_cast<std::int32_t>(sqlite3_column_int(stmt, i)));
                break;
            case SQLITE_FLOAT:
                row[i] = vb::Variant(sqlite3_column_double(stmt, i));
                break;
            case SQLITE_TEXT:
                row[i] = vb::Variant(
                    QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i))));
                break;
            default:
                row[i] = vb::Variant::null();
            }
        }
        builder.appendRow(row);
    }
    sqlite3_finalize(stmt);
    return builder.finish()->recordCount();
}

void BM_Translate(benchmark::State& state, const QString* text) {
    jet::SqliteDatabase& db = site();
    for (auto _ : state)
        benchmark::DoNotOptimize(db.translate(*text));
}

void BM_Engine(benchmark::State& state, const QString* text) {
    jet::SqliteDatabase& db = site();
    std::size_t rows = 0;
    for (auto _ : state)
        rows = db.query(*text)->recordCount();
    state.counters["rows"] = static_cast<double>(rows);
}

void BM_HandList(benchmark::State& state) {
    jet::SqliteDatabase& db = site();
    std::size_t rows = 0;
    for (auto _ : state)
        rows = runHand(db.handle(), kHandList);
    state.counters["rows"] = static_cast<double>(rows);
}

void BM_HandCrosstab(benchmark::State& state) {
    jet::SqliteDatabase& db = site();
    std::size_t rows = 0;
    for (auto _ : state)
        rows = runHand(db.handle(), handCrosstab(db.handle()));
    state.counters["rows"] = static_cast<double>(rows);
}

} // namespace

BENCHMARK_CAPTURE(BM_Translate, ListSearch, &kListSearch)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Translate, Crosstab, &kCrosstab)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Engine, ListSearchOneDay, &kListSearch)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);
BENCHMARK(BM_HandList)->Unit(benchmark::kMillisecond)->Repetitions(5)->DisplayAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_Engine, Crosstab30Days, &kCrosstab)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);
BENCHMARK(BM_HandCrosstab)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);

BENCHMARK_MAIN();
