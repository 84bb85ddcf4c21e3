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

// Formats every input through `format` with the pattern, once per iteration.
template <typename Input, typename Formatter>
void formatAll(benchmark::State& state, const std::vector<Input>& inputs, const char* pattern,
               Formatter format) {
    vb::Regional::setCurrent(vb::Regional::enUS());
    const QString text = QString::fromUtf8(pattern);
    for (auto _ : state) {
        qsizetype chars = 0;
        for (const Input& input : inputs)
            chars += format(input, text).size();
        benchmark::DoNotOptimize(chars);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(inputs.size()));
}

QString serialThroughFormatDate(double serial, const QString& pattern) {
    return vb::formatDate(serial, pattern);
}

QString serialThroughVariant(double serial, const QString& pattern) {
    return vb::format(vb::Variant::date(serial), pattern);
}

QString numberThroughVariant(double value, const QString& pattern) {
    return vb::format(vb::Variant(value), pattern);
}

} // namespace

#define TILLSIGHT_FORMAT_BENCH(name, inputs, pattern, formatter)                                   \
    BENCHMARK_CAPTURE(formatAll, name, inputs(), pattern, formatter)                               \
        ->Unit(benchmark::kMillisecond)                                                            \
        ->Repetitions(5)                                                                           \
        ->DisplayAggregatesOnly(true)

TILLSIGHT_FORMAT_BENCH(DatePattern, sampleDates, "ddd, d mmm yyyy", serialThroughFormatDate);
TILLSIGHT_FORMAT_BENCH(DateThroughVariant, sampleDates, "ddd, d mmm yyyy", serialThroughVariant);
TILLSIGHT_FORMAT_BENCH(GeneralDate, sampleDates, "General Date", serialThroughFormatDate);
TILLSIGHT_FORMAT_BENCH(NumberPattern, sampleAmounts, "#,##0.00", numberThroughVariant);

BENCHMARK_MAIN();
