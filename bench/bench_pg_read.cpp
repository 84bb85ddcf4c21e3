#include "BenchMemory.h"
#include "BenchSearch.h"
#include "BenchServer.h"
#include "vb/DateTime.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <benchmark/benchmark.h>
#include <cstdio>

// A million transactions read from a server site into a result set, against psql running the
// same translated SQL with its output thrown away, and the memory the read needs beside the set
// it makes. The server: see BenchServer.h.
namespace {

using namespace Qt::Literals::StringLiterals;

const QString kDatabase = u"bench_read"_s;
constexpr long long kTransactions = 1'000'000;

void ensureSite() {
    site::DemoOptions options;
    options.days = 365;
    options.endDay = vb::dateSerial(2003, 12, 31);
    options.registers = 20;
    options.clerks = 60;
    options.perDay = static_cast<int>(kTransactions / options.days) + 1;
    benchserver::ensureSite(kDatabase, options, kTransactions);
}

std::unique_ptr<jet::PostgresDatabase> open() {
    jet::PgConnection::Options options;
    options.address = benchserver::clusterAdmin(kDatabase);
    return jet::PostgresDatabase::open(options);
}

void BM_OpenRecordsetFromServer(benchmark::State& state) {
    auto db = open();
    const QString text = benchsearch::yearListSearch();
    std::size_t rows = 0, setBytes = 0;
    long peakOverSetKb = 0;
    for (auto _ : state) {
        state.PauseTiming();
        benchmemory::resetPeak();
        const long before = benchmemory::statusKb("VmRSS:");
        state.ResumeTiming();
        auto set = state.range(0) ? db->query(text, [](int) {}) : db->query(text);
        state.PauseTiming();
        rows = set->recordCount();
        setBytes = set->memoryBytes();
        peakOverSetKb = benchmemory::statusKb("VmHWM:") - before;
        set.reset();
        state.ResumeTiming();
    }
    state.counters["rows"] = double(rows);
    state.counters["setMiB"] = double(setBytes) / (1 << 20);
    // The read's peak growth of the process over the set it made: 1 would be the set alone.
    state.counters["peakOverSet"] = double(peakOverSetKb) * 1024 / double(setBytes);
}

// Arg 0: psql's default aligned table; 1: unaligned rows (-A -t), its cheapest text output.
void BM_PsqlSameSql(benchmark::State& state) {
    const QString sql = open()->translate(benchsearch::yearListSearch());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const auto vars = benchserver::clusterVariables();
    for (auto it = vars.begin(); it != vars.end(); ++it)
        environment.insert(it.key(), it.value());
    environment.insert(u"PGDATABASE"_s, kDatabase);
    for (auto _ : state) {
        QProcess psql;
        psql.setProcessEnvironment(environment);
        QStringList arguments = {u"-X"_s, u"-q"_s,        u"-v"_s, u"ON_ERROR_STOP=1"_s,
                                 u"-o"_s, u"/dev/null"_s, u"-c"_s, sql};
        if (state.range(0) == 1) arguments << u"-A"_s << u"-t"_s;
        psql.start(u"psql"_s, arguments);
        psql.waitForFinished(-1);
        if (psql.exitCode() != 0) {
            state.SkipWithError(psql.readAllStandardError().constData());
            return;
        }
    }
}

void repeated(benchmark::internal::Benchmark* b) {
    b->Unit(benchmark::kMillisecond)->Repetitions(3)->DisplayAggregatesOnly(true)->UseRealTime();
}

} // namespace

// Arg 1: with a progress handler, as the link reads; 0: without.
BENCHMARK(BM_OpenRecordsetFromServer)->Arg(1)->Arg(0)->Apply(repeated);
BENCHMARK(BM_PsqlSameSql)->Arg(0)->Arg(1)->Apply(repeated);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QElapsedTimer made;
    made.start();
    ensureSite();
    std::fprintf(stderr, "site ready in %.1f s\n", made.elapsed() / 1000.0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
