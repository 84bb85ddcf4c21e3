#include "BenchMemory.h"
#include "core/Session.h"
#include "output/XlsWriter.h"
#include "output/clsExcel.h"
#include "recordset/RecordsetBuilder.h"

#include <QCoreApplication>
#include <QFile>
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

// The same ten kinds of value as a result set, as a report hands it to the export.
std::shared_ptr<rs::Recordset> fullSet() {
    using rs::AdoType;
    rs::RecordsetBuilder builder;
    for (auto [name, type] : {std::pair{u"Clerk"_s, AdoType::VarWChar},
                              {u"Reg"_s, AdoType::Integer},
                              {u"Amount"_s, AdoType::Double},
                              {u"Price"_s, AdoType::Currency},
                              {u"Day"_s, AdoType::Date},
                              {u"Time"_s, AdoType::Date},
                              {u"Stamp"_s, AdoType::Date},
                              {u"Void"_s, AdoType::Boolean},
                              {u"Item"_s, AdoType::VarWChar},
                              {u"Cost"_s, AdoType::Double}})
        builder.addField(name, type);
    builder.reserve(kDataRows);
    std::vector<vb::Variant> row(kColumns);
    for (int r = 0; r < kDataRows; ++r) {
        row = {u"Clerk %1"_s.arg(r % 50),
               vb::Variant(std::int32_t(r)),
               vb::Variant(r * 1.375),
               vb::Variant(vb::Currency{std::int64_t(r) * 100}),
               vb::Variant::date(40000 + r % 400),
               vb::Variant::date((r % 86400) / 86400.0),
               vb::Variant::date(40000 + r / 7.0),
               vb::Variant(r % 2 == 1),
               r % 17 ? vb::Variant(u"Item ñ %1"_s.arg(r % 3000)) : vb::Variant::null(),
               vb::Variant(r % 1000 * 2.5)};
        builder.appendRow(row);
    }
    return builder.finish();
}

// What the set and one export of it cost in resident memory, in MiB. Measured once, on the first
// export of the process: a later one reuses the heap an earlier one left behind. Run the benchmark
// alone (--benchmark_filter=ClsExcel) for the same reason.
struct ExportMemory {
    double set = 0;
    double peakOverSet = 0;
};

void exportOnce(std::shared_ptr<rs::Recordset>& records, const QString& path,
                benchmark::State& state) {
    static core::Session session;
    clsExcel excel(session);
    excel.subCreateExcel(records, path);
    if (!excel.completed()) state.SkipWithError("the export did not complete");
}

ExportMemory firstExportMemory(const QString& path, benchmark::State& state) {
    constexpr double kMiB = 1024.0;
    const long before = benchmemory::statusKb("VmRSS:");
    auto records = fullSet();
    const long withSet = benchmemory::statusKb("VmRSS:");
    if (!benchmemory::resetPeak()) state.SkipWithError("cannot reset the peak resident set");
    exportOnce(records, path, state);
    return {double(withSet - before) / kMiB,
            double(benchmemory::statusKb("VmHWM:") - withSet) / kMiB};
}

// clsExcel over a result set of the largest sheet.
void BM_ClsExcelFullSheet(benchmark::State& state) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"bench.xls"_s);
    static const ExportMemory memory = firstExportMemory(path, state);
    auto records = fullSet();
    for (auto _ : state)
        exportOnce(records, path, state);
    state.counters["setMiB"] = memory.set;
    state.counters["peakOverSetMiB"] = memory.peakOverSet;
    state.counters["setBytesMiB"] = double(records->memoryBytes()) / (1024.0 * 1024.0);
    state.counters["fileMiB"] = double(QFileInfo(path).size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_ClsExcelFullSheet)->Unit(benchmark::kMillisecond);

} // namespace

// The session behind clsExcel is a QObject of QtCore, which wants an application object.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
