#include "BenchSales.h"

#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"

#include <benchmark/benchmark.h>

// The report grid's models over a million sales lines: grouping by one and by two columns in
// whatever order the rows come, the group band's re-sort (sort, reorder, regroup), a screen of
// cells, and the memory the models add to the Recordset's own.
namespace {

using namespace benchsales;
using namespace Qt::Literals::StringLiterals;

constexpr int kRegister = 1;
constexpr int kReceipt = 2;
constexpr int kClerk = 7;
constexpr int kItem = 8;

// The grid's two models over their own clone, so a benchmark's sort stays its own.
struct Grid {
    RecordsetModel records;
    GroupingModel groups{&records};

    Grid() { records.setRecordset(sales()->clone()); }
};

void reportGroups(benchmark::State& state, const GroupingModel& groups) {
    state.counters["topGroups"] = groups.rowCount();
    state.counters["modelBytes"] = static_cast<double>(groups.memoryBytes());
}

void BM_Group(benchmark::State& state, QList<int> columns) {
    Grid grid;
    for (auto _ : state) {
        grid.groups.setGroupColumns(columns);
        benchmark::DoNotOptimize(grid.groups.rowCount());
    }
    reportGroups(state, grid.groups);
}

// A click on a group header: the Recordset sorts by the group columns, the model re-reads the
// rows and the groups rebuild from them.
void BM_ResortAndRegroup(benchmark::State& state) {
    Grid grid;
    grid.groups.setGroupColumns({kClerk, kRegister});
    bool descending = false;
    for (auto _ : state) {
        descending = !descending;
        grid.records.recordset()->setSort(descending ? u"[Clerk] DESC, [Register] ASC"_s
                                                     : u"[Clerk] ASC, [Register] ASC"_s);
        grid.records.reorder();
        benchmark::DoNotOptimize(grid.groups.rowCount());
    }
    reportGroups(state, grid.groups);
}

// What the models hold beside the Recordset once grouped, as malloc sees it.
void BM_ModelMemory(benchmark::State& state, QList<int> columns) {
    const auto base = static_cast<double>(sales()->memoryBytes());
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        auto grid = std::make_unique<Grid>();
        grid->groups.setGroupColumns(columns);
        const auto added = static_cast<double>(heapInUse() - before);
        state.counters["mallocBytes"] = added;
        state.counters["recordsetBytes"] = base;
        state.counters["sharePercent"] = 100 * added / base;
    }
}

// One screen of a grid scrolled to the middle of the grouped rows: only these cells are read.
void BM_ScreenOfCells(benchmark::State& state) {
    Grid grid;
    grid.records.setColumnFormat(0, u"general date"_s);
    grid.records.setColumnFormat(6, u"Currency"_s);
    grid.groups.setGroupColumns({kClerk});
    const QModelIndex group = grid.groups.index(grid.groups.rowCount() / 2, 0);
    const int first = grid.groups.rowCount(group) / 2;
    for (auto _ : state) {
        for (int row = first; row < first + 40; ++row) {
            for (int column = 0; column < grid.groups.columnCount(); ++column)
                benchmark::DoNotOptimize(grid.groups.index(row, column, group).data());
        }
    }
    state.SetItemsProcessed(state.iterations() * 40 * grid.groups.columnCount());
}

} // namespace

BENCHMARK_CAPTURE(BM_Group, clerk, QList<int>{kClerk})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Group, clerk_register, QList<int>{kClerk, kRegister})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Group, item_clerk, QList<int>{kItem, kClerk})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Group, receipt, QList<int>{kReceipt})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ResortAndRegroup)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ModelMemory, clerk, QList<int>{kClerk})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_ModelMemory, clerk_register, QList<int>{kClerk, kRegister})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK_CAPTURE(BM_ModelMemory, receipt, QList<int>{kReceipt})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
BENCHMARK(BM_ScreenOfCells)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
