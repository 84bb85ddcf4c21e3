#include "site/DemoData.h"
#include "site/SiteSchema.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// How fast `tillsight-site demo` writes a large site: ten years of a busy store, ten million
// transactions, with every index of the schema in place while the rows go in.
namespace {

using namespace Qt::Literals::StringLiterals;

void BM_DemoGeneration(benchmark::State& state) {
    site::DemoOptions options;
    options.days = 3650;
    options.perDay = static_cast<int>(state.range(0) / options.days);
    options.registers = 12;
    options.clerks = 40;
    long long rows = 0;
    double megabytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        const QString path = dir.filePath(u"big.tsite"_s);
        auto db = site::initSite(path, false);
        state.ResumeTiming();
        rows = site::writeDemo(db->handle(), options, false).transactions;
        state.PauseTiming();
        db.reset();
        megabytes = static_cast<double>(QFileInfo(path).size()) / 1e6;
        state.ResumeTiming();
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["rowsPerSecond"] =
        benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsRate);
    state.counters["fileMB"] = megabytes;
}

} // namespace

BENCHMARK(BM_DemoGeneration)
    ->Arg(10'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

BENCHMARK_MAIN();
