// The link on a real PostgreSQL server: the ways a connect fails, session numbers among the
// clients of one site, cancel, and a server that ends the connection or dies in the middle of a
// read. The server that is killed is a cluster of the test's own, so the run's shared one lives.

#include "sitelink/SiteLink.h"

#include "support/CoreApplication.h"
#include "support/PgCluster.h"
#include "vb/Convert.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using sitelink::SiteLink;

namespace {

struct Events {
    explicit Events(SiteLink& link) {
        QObject::connect(&link, &SiteLink::LinkError,
                         [this](const QString&, int number, const QString& text) {
                             names << u"LinkError"_s;
                             errors.push_back(number);
                             texts << text;
                         });
        QObject::connect(&link, &SiteLink::Disconnected, [this] { names << u"Disconnected"_s; });
        QObject::connect(&link, &SiteLink::ProgressChanged, [this] { ++progress; });
    }
    QStringList names, texts;
    std::vector<int> errors;
    int progress = 0;
};

void pointAt(SiteLink& link, const jet::PgAddress& a, const QString& password) {
    link.setRemoteAddress(u"%1@%2/%3"_s.arg(a.role, a.host, a.database));
    link.setRemotePort(a.port);
    link.setPassword(password);
}

// A table the dialect reads as a Long and a Memo column, and a read of it that runs for many
// seconds (a count over its rows paired with themselves).
void makeBigTable(const jet::PgAddress& admin, int rows) {
    jet::PgConnection::Options o;
    o.address = admin;
    auto pg = jet::PgConnection::open(o);
    pg->exec(u"CREATE TABLE tblbig AS SELECT n::integer AS n, md5(n::text) AS s "
             "FROM generate_series(1, %1) AS n"_s.arg(rows));
}
const QString kLongRead = u"SELECT Count(*) FROM tblbig AS a, tblbig AS b WHERE a.s < b.s"_s;

class PostgresLink : public ::testing::Test {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }
    void SetUp() override { makeBigTable(db_.adminAddress(), 20000); }

    void connect(SiteLink& link) {
        const jet::PgAddress a = db_.adminAddress();
        pointAt(link, a, a.password);
        link.Connect();
        ASSERT_TRUE(link.isConnected());
    }

    testsupport::PgScratchDatabase db_;
};

TEST_F(PostgresLink, AConnectThatFailsSaysWhyAndLeavesTheLinkClosed) {
    const jet::PgAddress a = db_.adminAddress();
    const struct {
        QString address;
        QString password;
        const char* words;
    } cases[] = {
        {u"%1@%2/%3"_s.arg(a.role, a.host, a.database), u"wrong"_s,
         "password authentication failed"},
        {u"%1@%2/no_such_site"_s.arg(a.role, a.host), a.password, "does not exist"},
        {u"nobody@%1/%2"_s.arg(a.host, a.database), a.password, "nobody"},
        {u"a@b@c"_s, a.password, "names neither a site file nor a server"},
    };
    for (const auto& c : cases) {
        SiteLink link;
        Events events(link);
        link.setRemoteAddress(c.address);
        link.setRemotePort(a.port);
        link.setPassword(c.password);
        link.Connect();
        EXPECT_FALSE(link.isConnected()) << c.address.toStdString();
        ASSERT_EQ(events.errors, std::vector<int>{3151}) << c.address.toStdString();
        EXPECT_TRUE(events.texts[0].contains(QString::fromUtf8(c.words)))
            << events.texts[0].toStdString();
        EXPECT_FALSE(events.names.contains(u"Disconnected"_s));
    }
}

TEST_F(PostgresLink, SessionNumbersAreDistinctAmongTheSitesClientsAndFreedWhenOneGoes) {
    SiteLink first, second;
    connect(first);
    connect(second);
    EXPECT_NE(first.SessionIndex(), second.SessionIndex());
    EXPECT_GE(std::min(first.SessionIndex(), second.SessionIndex()), 1);
    const auto freed = first.SessionIndex();
    first.Disconnect();
    SiteLink third;
    connect(third);
    EXPECT_EQ(third.SessionIndex(), freed);
    EXPECT_TRUE(third.ServerName().contains(db_.name())) << third.ServerName().toStdString();
    EXPECT_TRUE(third.ServerName().contains(u"PostgreSQL 15"_s));
}

TEST_F(PostgresLink, CancelStopsAReadAndTheConnectionGoesOn) {
    SiteLink link;
    connect(link);
    Events events(link);
    QTimer::singleShot(500, &link, [&] { link.Cancel(); });
    EXPECT_EQ(link.OpenRecordset(kLongRead), nullptr);
    EXPECT_EQ(events.errors, std::vector<int>{3059});
    EXPECT_TRUE(link.Canceled());
    EXPECT_TRUE(link.isConnected());
    const auto rows = link.OpenRecordset(u"SELECT Count(*) AS n FROM tblbig"_s);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(vb::clng(rows->field(0).value()), 20000);
}

TEST_F(PostgresLink, DisconnectedWithinASecondOfTheServerClosingTheConnection) {
    SiteLink link;
    connect(link);
    Events events(link);
    QSignalSpy disconnected(&link, &SiteLink::Disconnected);
    const auto pid = link.OpenRecordset(u"SELECT Count(*) FROM tblbig"_s); // warm, then idle
    ASSERT_NE(pid, nullptr);
    testsupport::pgAdminConnection()->exec(
        u"SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '%1' "
        "AND pid <> pg_backend_pid()"_s.arg(db_.name()));
    EXPECT_TRUE(disconnected.wait(1000));
    EXPECT_FALSE(link.isConnected());
    EXPECT_EQ(events.names, (QStringList{u"LinkError"_s, u"Disconnected"_s}));
    // Nothing is left half-open: a new Connect works.
    connect(link);
}

// A cluster of the test's own, which the test kills.
class DyingServer : public ::testing::Test {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }
    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        // The server runs as its own user, who must reach the cluster inside.
        QFile::setPermissions(dir_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                               QFile::ReadOther | QFile::ExeOther);
        cluster(u"start"_s);
        // The folder under /tmp: the server's own user must reach it.
        const auto vars = testsupport::pgClusterVariables(clusterDir());
        admin_.host = vars.value(u"PGHOST"_s);
        admin_.port = vars.value(u"PGPORT"_s).toInt();
        admin_.role = vars.value(u"PGUSER"_s);
        admin_.password = vars.value(u"PGPASSWORD"_s);
        admin_.database = u"postgres"_s;
        makeBigTable(admin_, 20000);
    }
    void TearDown() override { cluster(u"destroy"_s); }

    QString clusterDir() const { return dir_.path() + u"/cluster"_s; }
    void cluster(const QString& action, const QStringList& extra = {}) {
        QProcess p;
        p.start(u"bash"_s,
                QStringList{QStringLiteral(TILLSIGHT_PG_CLUSTER_SCRIPT), action, clusterDir()} +
                    extra);
        ASSERT_TRUE(p.waitForFinished(120000));
        ASSERT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    }
    void killServer() {
        // As a crash would: the postmaster and its backends die at once, no goodbye sent.
        const QString script =
            u"pid=$(head -n 1 '%1/data/postmaster.pid'); pkill -KILL -P \"$pid\"; kill -KILL \"$pid\""_s;
        QProcess::execute(u"bash"_s, {u"-c"_s, script.arg(clusterDir())});
    }

    QTemporaryDir dir_{u"/tmp/tillsight-dying-XXXXXX"_s};
    jet::PgAddress admin_;
};

TEST_F(DyingServer, KilledDuringAReadGivesLinkErrorThenDisconnectedAndALaterConnectWorks) {
    SiteLink link;
    pointAt(link, admin_, admin_.password);
    link.Connect();
    ASSERT_TRUE(link.isConnected());
    Events events(link);
    QTimer::singleShot(700, &link, [&] { killServer(); });
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(link.OpenRecordset(kLongRead), nullptr);
    EXPECT_LT(timer.elapsed(), 20000) << "the read hung on a dead server";
    ASSERT_EQ(events.names, (QStringList{u"LinkError"_s, u"Disconnected"_s}));
    EXPECT_EQ(events.errors[0], 3151) << events.texts[0].toStdString();
    EXPECT_FALSE(link.isConnected());

    cluster(u"start"_s);
    link.Connect();
    EXPECT_TRUE(link.isConnected()) << events.texts.join(u'\n').toStdString();
}

} // namespace
