#include "site/DemoData.h"
#include "site/ServerSite.h"

#include <QFile>
#include <QHash>
#include <QProcessEnvironment>
#include <benchmark/benchmark.h>

#include <stdexcept>

// How fast `tillsight-site demo` fills a site on a PostgreSQL server: the same ten years of a
// busy store as the site file's benchmark, streamed through COPY into a site just made by `init`.
// The server is a cluster started by scripts/pg-cluster.sh, its folder in TILLSIGHT_PG_DIR:
//   bash scripts/pg-cluster.sh start /tmp/bench-pg
//   TILLSIGHT_PG_DIR=/tmp/bench-pg build/bench/bench_site_server
namespace {

using namespace Qt::Literals::StringLiterals;

jet::PgAddress clusterAdmin(const QString& database) {
    const QString dir = qEnvironmentVariable("TILLSIGHT_PG_DIR");
    QFile file(dir + u"/connection"_s);
    if (dir.isEmpty() || !file.open(QIODevice::ReadOnly))
        throw std::runtime_error("set TILLSIGHT_PG_DIR to a running cluster's folder");
    QHash<QString, QString> vars;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (const qsizetype eq = line.indexOf('='); eq > 0)
            vars.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    jet::PgAddress a;
    a.host = vars.value(u"PGHOST"_s);
    a.port = vars.value(u"PGPORT"_s).toInt();
    a.role = vars.value(u"PGUSER"_s);
    a.password = vars.value(u"PGPASSWORD"_s);
    a.database = database;
    return a;
}

void dropSite(const QString& database) {
    auto admin = site::connectServer(clusterAdmin(u"postgres"_s));
    admin->exec(u"DROP DATABASE IF EXISTS "_s + database + u" WITH (FORCE)"_s);
    admin->exec(u"DROP ROLE IF EXISTS "_s + site::ownerRole(database) + u", "_s +
                site::clientRole(database));
}

void BM_DemoCopyToServer(benchmark::State& state) {
    site::DemoOptions options;
    options.days = 3650;
    options.perDay = static_cast<int>(state.range(0) / options.days);
    options.registers = 12;
    options.clerks = 40;
    const QString database = u"bench_demo"_s;
    long long rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        dropSite(database);
        site::initServerSite(clusterAdmin(database), {false, u"bench"_s});
        auto server = site::connectServer(clusterAdmin(database));
        state.ResumeTiming();
        rows = site::writeDemo(*server, options, false).transactions;
    }
    dropSite(database);
    state.counters["rows"] = static_cast<double>(rows);
    state.counters["rowsPerSecond"] =
        benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_DemoCopyToServer)
    ->Arg(10'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

BENCHMARK_MAIN();
