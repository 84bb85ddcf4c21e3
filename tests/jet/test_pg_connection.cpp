// The libpq connection against the run's real PostgreSQL cluster: addresses, every way a connect
// fails, COPY in both directions, errors with their dialect numbers, cancel, and a server that
// ends the connection.

#include "jet/PgConnection.h"
#include "support/PgCluster.h"
#include "vb/VbError.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTcpServer>
#include <QTemporaryFile>
#include <chrono>
#include <cstdio>
#include <thread>
#include <unistd.h>

namespace {

using jet::PgConnection;
using testsupport::pgAdminAddress;
using testsupport::pgAdminConnection;

// Runs `work` and returns the VbError it raised; fails the test when it raised none.
template <typename Work> vb::VbError raised(Work work) {
    try {
        work();
    } catch (const vb::VbError& e) {
        return e;
    }
    ADD_FAILURE() << "nothing was raised";
    return vb::VbError(0, {});
}

PgConnection::Options adminOptions(const QString& database = QStringLiteral("postgres")) {
    PgConnection::Options o;
    o.address = pgAdminAddress(database);
    o.sslMode = QStringLiteral("require");
    return o;
}

TEST(PgAddress, ReadsTheThreeFormsAndRefusesTheRest) {
    const auto a = jet::parsePgAddress(QStringLiteral("10.1.2.3"));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->host, u"10.1.2.3");
    EXPECT_EQ(a->role, u"tillsight");
    EXPECT_EQ(a->database, u"tillsight");
    const auto b = jet::parsePgAddress(QStringLiteral("store12_client@db.example/store12"));
    ASSERT_TRUE(b);
    EXPECT_EQ(b->role, u"store12_client");
    EXPECT_EQ(b->host, u"db.example");
    EXPECT_EQ(b->database, u"store12");
    const auto c = jet::parsePgAddress(QStringLiteral("manager@server"));
    ASSERT_TRUE(c);
    EXPECT_EQ(c->role, u"manager");
    EXPECT_EQ(c->database, u"tillsight");
    for (const char* bad : {"", "@host", "role@", "host/", "a@b@c", "a@b/c/d", "two words"})
        EXPECT_FALSE(jet::parsePgAddress(QString::fromUtf8(bad))) << bad;
}

TEST(PgConnect, EveryFailureSaysWhyInTheServersWords) {
    auto wrongPassword = adminOptions();
    wrongPassword.address.password = QStringLiteral("not-the-password");
    const vb::VbError password = raised([&] { PgConnection::open(wrongPassword); });
    EXPECT_EQ(password.number(), 3151);
    EXPECT_TRUE(password.description().contains(u"password authentication failed"))
        << password.description().toStdString();

    const vb::VbError database =
        raised([&] { PgConnection::open(adminOptions(QStringLiteral("no_such_site"))); });
    EXPECT_EQ(database.number(), 3151);
    EXPECT_TRUE(database.description().contains(u"\"no_such_site\" does not exist"))
        << database.description().toStdString();

    // A port nobody listens on: refused at once.
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost));
    auto refused = adminOptions();
    refused.address.port = probe.serverPort();
    probe.close();
    const vb::VbError closed = raised([&] { PgConnection::open(refused); });
    EXPECT_EQ(closed.number(), 3151);
    EXPECT_TRUE(closed.description().contains(u"refused")) << closed.description().toStdString();

    // An address nothing answers on: the connect timeout ends the attempt.
    auto silent = adminOptions();
    silent.address.host = QStringLiteral("10.255.255.1");
    silent.connectTimeoutSeconds = 2;
    EXPECT_EQ(raised([&] { PgConnection::open(silent); }).number(), 3151);
}

TEST(PgConnect, ReachesTheServerOverTls) {
    auto pg = PgConnection::open(adminOptions());
    const auto r = pg->query(QStringLiteral(
        "SELECT ssl::text, current_user FROM pg_stat_ssl WHERE pid = pg_backend_pid()"));
    ASSERT_EQ(r.rows.size(), 1u);
    EXPECT_EQ(r.rows[0][0].value(), u"true");
    EXPECT_EQ(r.rows[0][1].value(), u"tillsight_admin");
    EXPECT_TRUE(pg->serverVersion().startsWith(u"15")) << pg->serverVersion().toStdString();
}

TEST(PgCopy, StreamsRowsBothWaysAndANullStaysNull) {
    testsupport::PgScratchDatabase db;
    auto pg = PgConnection::open(adminOptions(db.name()));
    pg->exec(QStringLiteral("CREATE TABLE t (n integer, s text)"));
    int produced = 0;
    pg->copyIn(QStringLiteral("COPY t FROM STDIN"), [&](std::string& buffer) {
        for (int i = 0; i < 1000; ++i, ++produced)
            buffer += produced % 7 == 0 ? std::to_string(produced) + "\t\\N\n"
                                        : std::to_string(produced) + "\tr\xc3\xa9" +
                                              std::to_string(produced) + "\n";
        return produced < 100000;
    });
    long long rows = 0, nulls = 0, sum = 0;
    pg->copyOut(QStringLiteral("SELECT n, s FROM t"), [&](std::span<const jet::PgField> f) {
        ASSERT_EQ(f.size(), 2u);
        ASSERT_EQ(f[0].bytes.size(), 4u);
        const auto* b = reinterpret_cast<const unsigned char*>(f[0].bytes.data());
        const int n = (b[0] << 24) | (b[1] << 16) | (b[2] << 8) | b[3];
        sum += n;
        ++rows;
        if (f[1].null)
            ++nulls;
        else
            EXPECT_EQ(f[1].bytes, "r\xc3\xa9" + std::to_string(n));
    });
    EXPECT_EQ(rows, 100000);
    EXPECT_EQ(nulls, (100000 + 6) / 7);
    EXPECT_EQ(sum, 99999LL * 100000 / 2);

    // A producer that fails sends nothing: the table is as it was.
    EXPECT_THROW(pg->copyIn(QStringLiteral("COPY t FROM STDIN"),
                            [](std::string& buffer) -> bool {
                                buffer += "1\tx\n";
                                throw std::runtime_error("no more rows");
                            }),
                 std::runtime_error);
    EXPECT_EQ(pg->query(QStringLiteral("SELECT count(*) FROM t")).rows[0][0].value(), u"100000");
}

TEST(PgErrors, BecomeTheDialectsNumbersAndTheConnectionGoesOn) {
    testsupport::PgScratchDatabase db;
    auto pg = PgConnection::open(adminOptions(db.name()));
    pg->exec(QStringLiteral(
        "CREATE FUNCTION raise_null() RETURNS integer LANGUAGE plpgsql AS $$BEGIN RAISE "
        "EXCEPTION USING ERRCODE = 'J0094', MESSAGE = 'Invalid use of Null'; END$$"));
    const struct {
        const char* sql;
        int number;
    } cases[] = {
        {"SELECT 'abc'::integer", 13}, {"SELECT 1 / (n - 3) FROM generate_series(1, 5) n", 11},
        {"SELECT 40000::smallint", 6}, {"SELECT * FROM no_such_table", 3078},
        {"SELECT raise_null()", 94},   {"SELEKT 1", 3146},
    };
    for (const auto& c : cases) {
        const vb::VbError e = raised(
            [&] { pg->copyOut(QString::fromUtf8(c.sql), [](std::span<const jet::PgField>) {}); });
        EXPECT_EQ(e.number(), c.number) << c.sql << ": " << e.description().toStdString();
        EXPECT_FALSE(e.description().isEmpty());
        EXPECT_EQ(pg->query(QStringLiteral("SELECT 1")).rows.size(), 1u) << c.sql;
    }
    // A failure in the row handler ends the read and leaves the connection ready.
    EXPECT_THROW(pg->copyOut(QStringLiteral("SELECT generate_series(1, 100000)"),
                             [](std::span<const jet::PgField>) { throw std::runtime_error("x"); }),
                 std::runtime_error);
    EXPECT_EQ(pg->exec(QStringLiteral("SELECT 1")), 1);
}

// A report run from cron must stay silent: the server's notices are not written anywhere.
TEST(PgNotices, NeverReachStandardError) {
    auto pg = PgConnection::open(adminOptions());
    QTemporaryFile capture;
    ASSERT_TRUE(capture.open());
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(capture.handle(), STDERR_FILENO);
    pg->exec(QStringLiteral("DROP TABLE IF EXISTS no_such_table_here"));
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    EXPECT_EQ(QFile(capture.fileName()).size(), 0);
}

TEST(PgCancel, StopsALongReadFromAnotherThread) {
    auto pg = PgConnection::open(adminOptions());
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        pg->cancel();
    });
    const vb::VbError e = raised([&] {
        pg->copyOut(QStringLiteral("SELECT pg_sleep(30)"), [](std::span<const jet::PgField>) {});
    });
    canceller.join();
    EXPECT_EQ(e.number(), 3059);
    EXPECT_EQ(e.description(), u"Operation canceled by user.");
    EXPECT_EQ(pg->query(QStringLiteral("SELECT 2")).rows[0][0].value(), u"2");
}

TEST(PgLost, NoticesTheServerEndingTheConnection) {
    auto pg = PgConnection::open(adminOptions());
    EXPECT_FALSE(pg->lost());
    const QString pid = pg->query(QStringLiteral("SELECT pg_backend_pid()")).rows[0][0].value();
    pgAdminConnection()->exec(QStringLiteral("SELECT pg_terminate_backend(%1)").arg(pid));
    bool gone = false;
    for (int i = 0; i < 100 && !gone; ++i) {
        gone = pg->lost();
        if (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(gone);
    EXPECT_EQ(raised([&] { pg->exec(QStringLiteral("SELECT 1")); }).number(), 3151);
}

} // namespace
