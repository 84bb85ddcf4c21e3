#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/Regional.h"
#include "vb/Variant.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

// Each iteration formats a million values, as a grid column of a large report would; run with
// --benchmark_repetitions (set below) so the medians are reported.
namespace {

constexpr std::int64_t kCount = 1'000'000;

// Transaction times over six years in no particular order.
const std::vector<double>& sampleDates() {
    static const std::vector<double> dates = [] {
        std::mt19937_64 rng(20030323);
        std::uniform_int_distribution<std::int64_t> day(vb::dayNumberFromCivil(2019, 1, 1),
                                                        vb::dayNumberFromCivil(2024, 12, 31));
        std::uniform_int_distribution<int> second(0, vb::kSecondsPerDay - 1);
        std::vector<double> out;
        out.reserve(kCount);
        for (std::int64_t i = 0; i < kCount; ++i)
            out.push_back(vb::joinSerial(day(rng), second(rng)));
        return out;
    }();
    return dates;
}

// Till amounts from refunds to large orders, in cents.
const std::vector<double>& sampleAmounts() {
    static const std::vector<double> amounts = [] {
        std::mt19937_64 rng(1234);
        std::uniform_int_distribution<std::int64_t> cents(-5'000'000, 250'000'000);
        std::vector<double> out;
        out.reserve(kCount);
        for (std::int64_t i = 0; i < kCount; ++i)
            out.push_back(static_cast<double>(cents(rng)) / 100);
        return out;
    }();
    return amounts;
}

void finish(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kCount);
}

void BM_FormatDatePattern(benchmark::State& state) {
    vb::Regional::setCurrent(vb::Regional::enUS());
    const std::vector<double>& dates = sampleDates();
    const QString pattern = QStringLiteral("ddd, d mmm yyyy");
    for (auto _ : state) {
        qsizetype chars = 0;
        for (double serial : dates)
            chars += vb::formatDate(serial, pattern).size();
        benchmark::DoNotOptimize(chars);
    }
    finish(state);
}

void BM_FormatDateThroughVariant(benchmark::State& state) {
    vb::Regional::setCurrent(vb::Regional::enUS());
    const std::vector<double>& dates = sampleDates();
    const QString pattern = QStringLiteral("ddd, d mmm yyyy");
    for (auto _ : state) {
        qsizetype chars = 0;
        for (double serial : dates)
            chars += vb::format(vb::Variant::date(serial), pattern).size();
        benchmark::DoNotOptimize(chars);
    }
    finish(state);
}

void BM_FormatGeneralDate(benchmark::State& state) {
    vb::Regional::setCurrent(vb::Regional::enUS());
    const std::vector<double>& dates = sampleDates();
    const QString pattern = QStringLiteral("General Date");
    for (auto _ : state) {
        qsizetype chars = 0;
        for (double serial : dates)
            chars += vb::formatDate(serial, pattern).size();
        benchmark::DoNotOptimize(chars);
    }
    finish(state);
}

void BM_FormatNumberPattern(benchmark::State& state) {
    vb::Regional::setCurrent(vb::Regional::enUS());
    const std::vector<double>& amounts = sampleAmounts();
    const QString pattern = QStringLiteral("#,##0.00");
    for (auto _ : state) {
        qsizetype chars = 0;
        for (double amount : amounts)
            chars += vb::format(vb::Variant(amount), pattern).size();
        benchmark::DoNotOptimize(chars);
    }
    finish(state);
}

} // namespace

BENCHMARK(BM_FormatDatePattern)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);
BENCHMARK(BM_FormatDateThroughVariant)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);
BENCHMARK(BM_FormatGeneralDate)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);
BENCHMARK(BM_FormatNumberPattern)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);

BENCHMARK_MAIN();
