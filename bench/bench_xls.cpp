#include "output/XlsWriter.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// The largest sheet an export can make: a header and 65,534 rows of ten columns of every kind,
// encoded and saved. The file is over 7 MB, so its FAT needs DIFAT sectors.
namespace {

using namespace Qt::Literals::StringLiterals;
using output::XlsCell;
using output::XlsWriter;

constexpr int kDataRows = 65534;
constexpr int kColumns = 10;

XlsCell cellAt(int r, int c) {
    switch (c) {
    case 0:
        return XlsCell::text(u"Clerk %1"_s.arg(r % 50));
    case 1:
        return XlsCell::number(r);
    case 2:
        return XlsCell::number(r * 1.375);
    case 3:
        return XlsCell::currency(r * 0.01);
    case 4:
        return XlsCell::date(40000 + r % 400);
    case 5:
        return XlsCell::date((r % 86400) / 86400.0);
    case 6:
        return XlsCell::date(40000 + r / 7.0);
    case 7:
        return XlsCell::boolean(r % 2);
    case 8:
        return r % 17 ? XlsCell::text(u"Item ñ %1"_s.arg(r % 3000)) : XlsCell();
    default:
        return XlsCell::number(r % 1000 * 2.5);
    }
}

void BM_XlsFullSheet(benchmark::State& state) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"bench.xls"_s);
    std::vector<XlsCell> row(kColumns, XlsCell::text(u"Field"_s));
    for (auto _ : state) {
        XlsWriter writer;
        writer.addRow(row);
        for (int r = 0; r < kDataRows; ++r) {
            for (int c = 0; c < kColumns; ++c)
                row[c] = cellAt(r, c);
            writer.addRow(row);
        }
        if (!writer.save(path)) state.SkipWithError(writer.error().toStdString().c_str());
    }
    state.counters["fileBytes"] = double(QFileInfo(path).size());
}
BENCHMARK(BM_XlsFullSheet)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
