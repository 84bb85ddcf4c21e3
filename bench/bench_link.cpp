#include "BenchSales.h"
#include "BenchSearch.h"
#include "BenchSite.h"
#include "core/modPowerSearch.h"
#include "sitelink/SiteLink.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <benchmark/benchmark.h>

// What the link adds to a read. A million-row result through SiteLink against the sqlite3 command
// line running the same translated SQL; and the client's own list search over the whole year of
// the site, through the link as the client runs it (with progress), against the same text through
// jet::SqliteDatabase with no progress and through `tillsight-site query`.
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int kTransactions = 1'000'000;
const QString kQuery = u"select * from tblTrans"_s;

void readThroughLink(benchmark::State& state, const QString& query) {
    benchsite::site(kTransactions);
    sitelink::SiteLink link;
    link.setRemoteAddress(benchsite::sitePath());
    link.Connect();
    if (!link.isConnected()) {
        state.SkipWithError("cannot connect");
        return;
    }
    std::size_t rows = 0, bytes = 0, heap = 0;
    for (auto _ : state) {
        const std::size_t before = benchsales::heapInUse();
        auto rs = link.OpenRecordset(query, u"Reading"_s);
        heap = benchsales::heapInUse() - before;
        rows = rs ? rs->recordCount() : 0;
        bytes = rs ? rs->memoryBytes() : 0;
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["recordsetBytes"] = static_cast<double>(bytes);
    state.counters["heapBytes"] = static_cast<double>(heap);
}

// Runs a program on the bench site with its output discarded.
void runTool(benchmark::State& state, const QString& program, const QStringList& arguments) {
    for (auto _ : state) {
        QProcess tool;
        tool.setStandardOutputFile(QProcess::nullDevice());
        tool.start(program, arguments);
        if (!tool.waitForFinished(-1) || tool.exitCode() != 0) {
            state.SkipWithError("the program failed");
            return;
        }
    }
}

void BM_LinkOpenRecordset(benchmark::State& state) {
    readThroughLink(state, kQuery);
}

void BM_SqliteCommandLine(benchmark::State& state) {
    jet::SqliteDatabase& db = benchsite::site(kTransactions);
    runTool(state, u"sqlite3"_s, {benchsite::sitePath(), db.translate(kQuery)});
}

void BM_YearListThroughLink(benchmark::State& state) {
    readThroughLink(state, benchsearch::yearListSearch());
}

void BM_YearListThroughDatabase(benchmark::State& state) {
    benchsite::site(kTransactions);
    auto db = jet::SqliteDatabase::open(benchsite::sitePath());
    const QString query = benchsearch::yearListSearch();
    std::size_t rows = 0;
    for (auto _ : state)
        rows = db->query(query)->recordCount();
    state.counters["rows"] = static_cast<double>(rows);
}

void BM_YearListThroughSiteTool(benchmark::State& state) {
    benchsite::site(kTransactions);
    runTool(state, QStringLiteral(TILLSIGHT_SITE_TOOL),
            {u"query"_s, benchsite::sitePath(), u"--tsv"_s, benchsearch::yearListSearch()});
}

void repeated(benchmark::internal::Benchmark* b) {
    b->Unit(benchmark::kMillisecond)->Repetitions(5)->DisplayAggregatesOnly(true)->UseRealTime();
}

} // namespace

BENCHMARK(BM_LinkOpenRecordset)->Apply(repeated);
BENCHMARK(BM_SqliteCommandLine)->Apply(repeated);
BENCHMARK(BM_YearListThroughLink)->Apply(repeated);
BENCHMARK(BM_YearListThroughDatabase)->Apply(repeated);
BENCHMARK(BM_YearListThroughSiteTool)->Apply(repeated);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
