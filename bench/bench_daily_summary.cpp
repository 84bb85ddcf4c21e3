#include "BenchServer.h"
#include "BenchSite.h"
#include "core/Session.h"
#include "core/clsDailySummary.h"
#include "core/modFixedReports.h"
#include "sitelink/SiteLink.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <benchmark/benchmark.h>
#include <cstdio>

// The Daily Summary of the last day of a year of ten million transactions, as the view builds it,
// and each of its three reports alone. The site is made once before any timing, or read from
// TILLSIGHT_SUMMARY_SITE (made by `tillsight-site demo --days 365 --per-day 27400 --end
// 2003-12-31`), since making it takes minutes. With TILLSIGHT_PG_DIR set instead, the same data
// on a server site of that cluster (BenchServer.h), made once and kept.
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int kTransactions = 10'000'000;
const double kLastDay = vb::dateSerial(2003, 12, 31);

struct SummarySite {
    QString address;
    int port = 0;
    QString password;
};

const SummarySite& summarySite() {
    static const SummarySite site = [] {
        const QString given = qEnvironmentVariable("TILLSIGHT_SUMMARY_SITE");
        if (!given.isEmpty()) return SummarySite{given, 0, {}};
        if (qEnvironmentVariableIsSet("TILLSIGHT_PG_DIR")) {
            const QString database = u"bench_summary"_s;
            site::DemoOptions options;
            options.days = 365;
            options.endDay = kLastDay;
            options.registers = 20;
            options.clerks = 60;
            options.perDay = kTransactions / options.days + 1;
            benchserver::ensureSite(database, options, kTransactions);
            const jet::PgAddress a = benchserver::clusterAdmin(database);
            return SummarySite{site::addressText(a), a.port, a.password};
        }
        benchsite::site(kTransactions);
        return SummarySite{benchsite::sitePath(), 0, {}};
    }();
    return site;
}

// A session on the site, or none (the benchmark skipped) when it does not connect.
std::unique_ptr<core::Session> connected(benchmark::State& state) {
    auto session = std::make_unique<core::Session>();
    session->TillsightLink().setPassword(summarySite().password);
    if (!session->fncConnect(summarySite().address, summarySite().port)) {
        state.SkipWithError("cannot connect");
        return nullptr;
    }
    return session;
}

void BM_DailySummary(benchmark::State& state) {
    const auto session = connected(state);
    if (!session) return;
    std::size_t bytes = 0;
    for (auto _ : state) {
        clsDailySummary summary(*session);
        summary.setSessionIndex(session->SessionIndex());
        summary.setReportDate(kLastDay);
        bytes = static_cast<std::size_t>(summary.HTML().size());
    }
    state.counters["htmlChars"] = static_cast<double>(bytes);
}

// One of the summary's reports over its own span: the day for 7, the 30 days for 25 and 20.
void BM_SummaryReport(benchmark::State& state) {
    const auto session = connected(state);
    if (!session) return;
    const auto report = static_cast<std::int32_t>(state.range(0));
    const QString interval = report == 7 ? clsDailySummary::fncDayCriteria(kLastDay)
                                         : clsDailySummary::fncThirtyDayCriteria(kLastDay);
    std::size_t rows = 0;
    for (auto _ : state) {
        const auto records = modFixedReports::fncRunFixedReport(*session, report, interval, false,
                                                                session->SessionIndex());
        rows = records ? records->recordCount() : 0;
    }
    state.counters["rows"] = static_cast<double>(rows);
}

void repeated(benchmark::internal::Benchmark* b) {
    b->Unit(benchmark::kMillisecond)->Repetitions(3)->DisplayAggregatesOnly(true)->UseRealTime();
}

} // namespace

BENCHMARK(BM_DailySummary)->Apply(repeated);
BENCHMARK(BM_SummaryReport)->Arg(7)->Arg(25)->Arg(20)->Apply(repeated);

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QElapsedTimer made;
    made.start();
    summarySite();
    std::fprintf(stderr, "site ready in %.1f s: %s\n", made.elapsed() / 1000.0,
                 qPrintable(summarySite().address));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
