#include "BenchSales.h"

#include <benchmark/benchmark.h>

// Builds the sales lines, sorts them by two keys, filters them, reads them through the grid's
// random access. Memory counters compare the storage with its budget: 24 bytes per numeric cell,
// and for text 1.5 times the UTF-16 size of the distinct texts plus 8 bytes per cell.
namespace {

using namespace benchsales;

double utf16Bytes(const std::vector<QString>& list) {
    double bytes = 0;
    for (const QString& s : list)
        bytes += 2.0 * static_cast<double>(s.size());
    return bytes;
}

void BM_Build(benchmark::State& state) {
    for (auto _ : state) {
        auto records = buildSales(Columns::All);
        benchmark::DoNotOptimize(records.get());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRows));
}

// The storage of one kind of column against its budget; time is not the point here.
void BM_Memory(benchmark::State& state, Columns which) {
    const double cells = static_cast<double>(kRows) * (which == Columns::Numeric ? 7 : 3);
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        auto records = buildSales(which);
        const double heap = static_cast<double>(heapInUse() - before);
        const double counted = static_cast<double>(records->memoryBytes());
        state.counters["memoryBytes"] = counted;
        state.counters["mallocBytes"] = heap;
        state.counters["memoryPerCell"] = counted / cells;
        state.counters["mallocPerCell"] = heap / cells;
        if (which == Columns::Numeric) {
            state.counters["budgetBytes"] = 24 * cells;
        } else {
            const double distinct =
                utf16Bytes(clerks()) + utf16Bytes(items()) + utf16Bytes(actions());
            state.counters["budgetBytes"] = 1.5 * distinct + 8 * cells;
        }
    }
}

void BM_SortTwoKeys(benchmark::State& state) {
    auto records = sales()->clone();
    for (auto _ : state) {
        records->setSort(QStringLiteral("[Clerk] ASC, [TransTime] DESC"));
        benchmark::DoNotOptimize(records->recordCount());
    }
}

void BM_Filter(benchmark::State& state, const char* criteria) {
    auto records = sales()->clone();
    const QString text = QString::fromUtf8(criteria);
    for (auto _ : state) {
        records->setFilter(text);
        benchmark::DoNotOptimize(records->recordCount());
    }
    state.counters["matches"] = static_cast<double>(records->recordCount());
}

// Filtering a sorted set keeps the sort order: the filter's rows are taken in sort order.
void BM_FilterSorted(benchmark::State& state) {
    auto records = sales()->clone();
    records->setSort(QStringLiteral("Item DESC, Amount"));
    for (auto _ : state) {
        records->setFilter(QStringLiteral("Register = 12"));
        benchmark::DoNotOptimize(records->recordCount());
    }
}

// A grid reading every visible cell of three columns in the sorted order.
void BM_GridRead(benchmark::State& state) {
    auto records = sales()->clone();
    records->setSort(QStringLiteral("Clerk"));
    const std::array<int, 3> fields{records->fieldIndex(u"TransTime"), records->fieldIndex(u"Item"),
                                    records->fieldIndex(u"Amount")};
    for (auto _ : state) {
        std::size_t nulls = 0;
        for (std::size_t row = 0; row < records->recordCount(); ++row) {
            for (int f : fields)
                nulls += records->valueAt(row, f).isNull() ? 1 : 0;
        }
        benchmark::DoNotOptimize(nulls);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(3 * kRows));
}

} // namespace

BENCHMARK(BM_Build)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_Memory, numeric, Columns::Numeric)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_Memory, text, Columns::Text)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_SortTwoKeys)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_Filter, register, "Register = 12")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_Filter, clerk, "Clerk = 'maria'")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_Filter, compound, "Register = 12 AND Amount > 100 OR Action LIKE '*sale*'")
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_FilterSorted)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_GridRead)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

BENCHMARK_MAIN();
