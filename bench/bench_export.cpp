#include "BenchSales.h"

#include "output/ColumnFormat.h"
#include "output/ExportWriters.h"
#include "output/GroupingModel.h"
#include "output/RecordsetModel.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// The text and HTML exports of a million sales lines grouped by clerk, with the grid's column
// formats: the whole file, written row by row to a temporary folder.
namespace {

using namespace benchsales;

using Writer = bool (*)(const output::ShownReport&, const QString&);

void BM_Export(benchmark::State& state, Writer write) {
    RecordsetModel records;
    records.setRecordset(sales()->clone());
    for (int column = 0; column < records.columnCount(); ++column)
        records.setColumnFormat(column, output::fncColumnFormat(sales()->field(column).type(),
                                                                sales()->field(column).name()));
    GroupingModel groups(&records);
    groups.setGroupColumns({7});
    QList<int> columns;
    for (int column = 0; column < records.columnCount(); ++column)
        columns.append(column);
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("report"));
    for (auto _ : state)
        if (!write({groups, columns, QStringLiteral("Sales")}, path))
            state.SkipWithError("the file was not written");
    state.counters["fileBytes"] = static_cast<double>(QFileInfo(path).size());
}

} // namespace

BENCHMARK_CAPTURE(BM_Export, text, &output::writeDelimitedText)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(BM_Export, html, &output::writeHtmlTable)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

BENCHMARK_MAIN();
