#include "BenchMemory.h"
#include "BenchSales.h"

#include "output/ColumnFormat.h"
#include "output/ReportPages.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// Sales lines of ten columns grouped by clerk, printed to a PDF file as the runner prints them:
// the time of the whole file, and the peak resident memory over the result set. Memory is read on
// the first print of each size, before the heap holds what earlier prints left.
namespace {

using namespace benchsales;
using namespace Qt::Literals::StringLiterals;

constexpr double kMiB = 1024.0;

// Returns the page count.
int printOnce(const std::shared_ptr<rs::Recordset>& records, const QString& path) {
    RecordsetModel model;
    model.setRecordset(records);
    for (int i = 0; i < records->fieldCount(); ++i)
        model.setColumnFormat(
            i, output::fncColumnFormat(records->field(i).type(), records->field(i).name()));
    GroupingModel grouping(&model);
    grouping.setGroupColumns({7});
    RowLayout lines;
    lines.rebuild(&grouping, [](const QModelIndex&) { return true; });
    QList<int> columns;
    for (int i = 0; i < model.columnCount(); ++i)
        columns << i;

    QPdfWriter writer(path);
    writer.setPageLayout(output::fncDefaultPageLayout());
    const output::PrintedReport report{
        grouping,
        lines,
        columns,
        output::fncFittedWidths(grouping, columns, QGuiApplication::font(), 14, writer),
        output::fncPageHeader(u"Sales"_s),
        output::fncPageFooter(u"3/28/2003 14:05:09"_s),
        QGuiApplication::font(),
        output::fncPageHeaderFont(QGuiApplication::font())};
    const output::ReportPages pages(report, writer);
    pages.print(writer);
    return pages.pageCount();
}

void BM_PrintToPdf(benchmark::State& state) {
    const auto rows = std::size_t(state.range(0));
    const long before = benchmemory::statusKb("VmRSS:");
    auto records = buildSales(Columns::All, rows);
    records->setSort(u"[Clerk] ASC"_s);
    const long withSet = benchmemory::statusKb("VmRSS:");
    QTemporaryDir dir;
    const QString path = dir.filePath(u"bench.pdf"_s);
    benchmemory::resetPeak();
    int pages = printOnce(records, path);
    const long peak = benchmemory::statusKb("VmHWM:");
    for (auto _ : state)
        pages = printOnce(records, path);
    state.counters["pages"] = pages;
    state.counters["fileMiB"] = double(QFileInfo(path).size()) / (kMiB * kMiB);
    state.counters["setMiB"] = double(withSet - before) / kMiB;
    state.counters["peakOverSetMiB"] = double(peak - withSet) / kMiB;
}

} // namespace

BENCHMARK(BM_PrintToPdf)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(2);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
