#include "BenchSales.h"
#include "BenchSite.h"
#include "sitelink/SiteLink.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <benchmark/benchmark.h>

// A million-row result through SiteLink, against the sqlite3 command line running the same
// translated SQL with its output discarded.
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int kTransactions = 1'000'000;
const QString kQuery = u"select * from tblTrans"_s;

void BM_LinkOpenRecordset(benchmark::State& state) {
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
        auto rs = link.OpenRecordset(kQuery, u"Reading"_s);
        heap = benchsales::heapInUse() - before;
        rows = rs ? rs->recordCount() : 0;
        bytes = rs ? rs->memoryBytes() : 0;
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["recordsetBytes"] = static_cast<double>(bytes);
    state.counters["heapBytes"] = static_cast<double>(heap);
}

void BM_SqliteCommandLine(benchmark::State& state) {
    jet::SqliteDatabase& db = benchsite::site(kTransactions);
    const QString sql = db.translate(kQuery);
    for (auto _ : state) {
        QProcess cli;
        cli.setStandardOutputFile(QProcess::nullDevice());
        cli.start(u"sqlite3"_s, {benchsite::sitePath(), sql});
        if (!cli.waitForFinished(-1) || cli.exitCode() != 0) {
            state.SkipWithError("sqlite3 failed");
            return;
        }
    }
}

} // namespace

BENCHMARK(BM_LinkOpenRecordset)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true)
    ->UseRealTime();
BENCHMARK(BM_SqliteCommandLine)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true)
    ->UseRealTime();

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
