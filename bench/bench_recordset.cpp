#include "recordset/Recordset.h"
#include "recordset/RecordsetBuilder.h"
#include "vb/DateTime.h"
#include "vb/Variant.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <malloc.h>
#include <memory>
#include <vector>

// A million sales lines of ten columns, as a large report's result set: build it, sort it by two
// keys, filter it, read it through the grid's random access. Memory counters compare the
// storage with its budget: 24 bytes per numeric cell, and for text 1.5 times the UTF-16 size of
// the distinct texts plus 8 bytes per cell.
namespace {

constexpr std::size_t kRows = 1'000'000;

// Deterministic on every platform, unlike the standard distributions.
class SplitMix {
public:
    explicit SplitMix(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }

private:
    std::uint64_t state_;
};

std::vector<QString> texts(std::initializer_list<const char*> words) {
    std::vector<QString> out;
    for (const char* w : words)
        out.push_back(QString::fromUtf8(w));
    return out;
}

const std::vector<QString>& clerks() {
    static const auto list = texts({"Maria", "John", "Aisha", "Chen", "Olga", "Pedro", "Fatima",
                                    "Liam", "Sofia", "Kenji", "Amara", "Noah"});
    return list;
}

const std::vector<QString>& items() {
    static const auto list = [] {
        std::vector<QString> out;
        for (int i = 0; i < 60; ++i)
            out.push_back(QStringLiteral("Item %1 Deluxe").arg(i));
        return out;
    }();
    return list;
}

const std::vector<QString>& actions() {
    static const auto list = texts({"Sale", "Refund", "Void", "No Sale", "Discount", "Price Check",
                                    "Drawer Open", "Manager Override"});
    return list;
}

enum class Columns { All, Numeric, Text };

bool wants(Columns which, bool numeric) {
    return which == Columns::All || (which == Columns::Numeric) == numeric;
}

std::shared_ptr<rs::Recordset> buildSales(Columns which) {
    rs::RecordsetBuilder builder;
    const std::array<std::pair<const char*, rs::AdoType>, 7> numeric{{
        {"TransTime", rs::AdoType::DBTimeStamp},
        {"Register", rs::AdoType::Integer},
        {"Receipt", rs::AdoType::Integer},
        {"Qty", rs::AdoType::SmallInt},
        {"Price", rs::AdoType::Double},
        {"Discount", rs::AdoType::Double},
        {"Amount", rs::AdoType::Currency},
    }};
    if (wants(which, true)) {
        for (const auto& [name, type] : numeric)
            builder.addField(name, type);
    }
    if (wants(which, false)) {
        builder.addField("Clerk", rs::AdoType::VarWChar, 20);
        builder.addField("Item", rs::AdoType::VarWChar, 40);
        builder.addField("Action", rs::AdoType::VarWChar, 20);
    }
    builder.reserve(kRows);
    SplitMix rng(20030323);
    const double start = vb::joinSerial(vb::dayNumberFromCivil(2023, 1, 1), 0);
    std::vector<vb::Variant> row;
    for (std::size_t i = 0; i < kRows; ++i) {
        row.clear();
        if (wants(which, true)) {
            const auto qty = static_cast<std::int16_t>(1 + rng.below(5));
            const double price = (50 + rng.below(20000)) / 100.0;
            row.push_back(vb::Variant::date(start + static_cast<double>(i) * 30 / 86400 +
                                            rng.below(20) / 86400.0));
            row.push_back(vb::Variant(std::int32_t(1 + rng.below(40))));
            row.push_back(vb::Variant(std::int32_t(i / 4)));
            row.push_back(vb::Variant(qty));
            row.push_back(vb::Variant(price));
            row.push_back(rng.below(20) == 0 ? vb::Variant::null()
                                             : vb::Variant(rng.below(100) / 100.0));
            row.push_back(vb::Variant(vb::Currency::fromDouble(price * qty)));
        }
        if (wants(which, false)) {
            row.emplace_back(clerks()[static_cast<std::size_t>(rng.below(12))]);
            row.emplace_back(items()[static_cast<std::size_t>(rng.below(60))]);
            row.emplace_back(actions()[static_cast<std::size_t>(rng.below(8))]);
        }
        builder.appendRow(row);
    }
    return builder.finish();
}

const std::shared_ptr<rs::Recordset>& sales() {
    static const auto records = buildSales(Columns::All);
    return records;
}

// Blocks in use, counting the large ones malloc maps separately (uordblks leaves them out).
std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

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
