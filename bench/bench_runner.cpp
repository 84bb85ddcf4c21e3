#include "BenchSite.h"
#include "core/SearchCriteria.h"
#include "core/modDateRanges.h"
#include "core/modPowerSearch.h"

#include <QFileInfo>
#include <QProcess>
#include <benchmark/benchmark.h>

// A year's list search of a million transactions written to a comma-delimited file end to end:
// tillsight-report (connect, the engine's query, the grid's order and file) against the sqlite3
// shell writing the same rows from hand-written SQL with -csv. Both are whole processes.
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int kTransactions = 1'000'000;
const double kFrom = vb::dateSerial(2003, 1, 1);
const double kTo = vb::dateSerial(2004, 1, 1);

QString outPath(const char* name) {
    return benchsite::siteFolder().filePath(QString::fromLatin1(name));
}

void runProcess(benchmark::State& state, const QString& program, const QStringList& arguments,
                const QString& output, const QString& stdoutFile = {}) {
    benchsite::site(kTransactions);
    for (auto _ : state) {
        QProcess process;
        if (!stdoutFile.isEmpty()) process.setStandardOutputFile(stdoutFile);
        process.start(program, arguments);
        if (!process.waitForFinished(-1) || process.exitCode() != 0) {
            state.SkipWithError(process.readAllStandardError().constData());
            return;
        }
    }
    state.counters["MB"] = double(QFileInfo(output).size()) / 1e6;
}

void BM_Runner(benchmark::State& state) {
    core::SearchCriteria criteria;
    criteria.interval = modDateRanges::kCustomRange;
    criteria.start = kFrom;
    criteria.end = kTo;
    const QString out = outPath("runner.txt");
    runProcess(state, QStringLiteral(TILLSIGHT_REPORT_TOOL),
               {u"--site"_s, benchsite::sitePath(), u"--query"_s,
                modPowerSearch::fncSearchText(criteria).query, u"--out"_s, out},
               out);
}

void BM_Sqlite3Csv(benchmark::State& state) {
    const QString out = outPath("sqlite3.csv");
    runProcess(state, u"sqlite3"_s,
               {u"-csv"_s, benchsite::sitePath(), benchsite::handListSql(kFrom, kTo)}, out, out);
}

BENCHMARK(BM_Runner)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_Sqlite3Csv)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

BENCHMARK_MAIN();
