#include "BenchSite.h"
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

jet::SqliteDatabase& site() {
    return benchsite::site(kTransactions);
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

const QString kHandList =
    benchsite::handListSql(vb::dateSerial(2003, 6, 10), vb::dateSerial(2003, 6, 11));

// The hand-written crosstab: its pivot values, then one conditional count each.
QString handCrosstab(sqlite3* db) {
    const QString where = QStringLiteral("t.fldTransTime BETWEEN %1 AND %2")
                              .arg(vb::dateSerial(2003, 5, 11))
                              .arg(vb::dateSerial(2003, 6, 10));
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
