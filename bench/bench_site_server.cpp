#include "BenchServer.h"

#include <benchmark/benchmark.h>

// How fast `tillsight-site demo` fills a site on a PostgreSQL server: the same ten years of a
// busy store as the site file's benchmark, streamed through COPY into a site just made by `init`.
// The server: see BenchServer.h.
namespace {

using namespace Qt::Literals::StringLiterals;

using benchserver::clusterAdmin;
using benchserver::dropSite;

void BM_DemoCopyToServer(benchmark::State& state) {
    site::DemoOptions options;
    options.days = 3650;
    options.perDay = static_cast<int>(state.range(0) / options.days);
    options.registers = 12;
    options.clerks = 40;
    const QString database = u"bench_demo"_s;
    long long rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        dropSite(database);
        site::initServerSite(clusterAdmin(database), {false, u"bench"_s});
        auto server = site::connectServer(clusterAdmin(database));
        state.ResumeTiming();
        rows = site::writeDemo(*server, options, false).transactions;
    }
    dropSite(database);
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["rowsPerSecond"] =
        benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_DemoCopyToServer)
    ->Arg(10'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

BENCHMARK_MAIN();
