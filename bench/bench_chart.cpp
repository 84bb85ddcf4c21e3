// Time to the first frame of a chart: the bars made from a result set and drawn once, as a view
// opening or the report runner rendering an image does. Needs OpenGL: run under xvfb-run.

#include "chart/BarChart.h"
#include "chart/ChartData.h"
#include "recordset/RecordsetBuilder.h"

#include <benchmark/benchmark.h>

#include <Q3DBars>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

// A label column and `series` count columns, values spread as a day's counts are.
std::shared_ptr<rs::Recordset> counts(int rows, int series) {
    rs::RecordsetBuilder builder;
    builder.addField(u"Clerk"_s, rs::AdoType::VarWChar);
    for (int c = 0; c < series; ++c)
        builder.addField(u"CODE%1"_s.arg(c), rs::AdoType::Integer);
    for (int r = 0; r < rows; ++r) {
        std::vector<vb::Variant> row{vb::Variant(u"Clerk %1, Name"_s.arg(r + 1))};
        for (int c = 0; c < series; ++c)
            row.emplace_back(std::int32_t((r * 7 + c * 13) % 50 + (c == 0 ? 200 : 0)));
        builder.appendRow(row);
    }
    return builder.finish();
}

void BM_FirstFrame(benchmark::State& state) {
    const auto records = counts(int(state.range(0)), int(state.range(1)));
    for (auto _ : state) {
        const chart::ChartData data = chart::fncChartData(*records, chart::fncChartShape(*records));
        const QImage image = chart::fncRenderChart(data, u"Counts"_s, {1000, 700});
        benchmark::DoNotOptimize(image.constBits());
    }
}
// One bar (what a fresh graph costs to start), a Daily Summary's counts (60 clerks, 13 codes), and
// a large report.
BENCHMARK(BM_FirstFrame)
    ->Args({1, 1})
    ->Args({60, 13})
    ->Args({1000, 20})
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
