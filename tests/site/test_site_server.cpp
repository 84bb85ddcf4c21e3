// The site tool on the test run's PostgreSQL cluster, through the real binary: the site it makes,
// who may do what on it, the demo's rows against a site file's, and the query output.

#include "site/DemoData.h"
#include "site/QueryOutput.h"
#include "site/ServerSite.h"
#include "site/SiteSchema.h"

#include "site/ToolRun.h"
#include "support/PgCluster.h"
#include "support/VbTestSupport.h"
#include "vb/Convert.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using sitetest::ToolRun;
using testsupport::errorOf;

namespace {

constexpr int kNoPermission = 3033;

const QStringList kDemo = {u"--days"_s,      u"3"_s, u"--per-day"_s, u"150"_s,
                           u"--registers"_s, u"3"_s, u"--clerks"_s,  u"5"_s,
                           u"--seed"_s,      u"7"_s};

class ServerSiteTool : public testsupport::EnUsTest {
protected:
    ServerSiteTool() {
        name_ = u"site_%1"_s.arg(QRandomGenerator::global()->generate64(), 0, 36);
        databases_ << name_;
        writeFile(u"client.pw"_s, "managers-own\n");
    }
    // The databases and their roles go, and the roles the test made, whatever the test left.
    ~ServerSiteTool() override {
        try {
            auto admin = testsupport::pgAdminConnection();
            for (const QString& database : databases_) {
                admin->exec(u"DROP DATABASE IF EXISTS "_s + database + u" WITH (FORCE)"_s);
                roles_.prepend(site::ownerRole(database));
                roles_.prepend(site::clientRole(database));
            }
            for (const QString& role : roles_)
                admin->exec(u"DROP ROLE IF EXISTS "_s + role);
        } catch (...) {
        }
    }

    // A login role of the test's own, with the attributes given.
    QString makeRole(const QString& suffix, const QString& attributes) {
        roles_ << name_ + suffix;
        testsupport::pgAdminConnection()->exec(u"CREATE ROLE "_s + roles_.back() +
                                               u" LOGIN PASSWORD 'pw' "_s + attributes);
        return roles_.back();
    }

    void writeFile(const QString& file, const QByteArray& bytes) {
        QFile f(dir_.filePath(file));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }

    jet::PgAddress admin() const { return testsupport::pgAdminAddress(name_); }
    QString address() const { return site::addressText(admin()); }
    QString port() const { return QString::number(admin().port); }

    // The administrator's password reaches the tool as libpq's own variable.
    ToolRun server(const QString& command, QStringList args = {}) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"PGPASSWORD"_s, admin().password);
        args.prepend(address());
        args.prepend(command);
        return sitetest::tool(args << u"--port"_s << port(), env);
    }
    ToolRun init(const QStringList& more = {}) const {
        return server(u"init"_s,
                      QStringList{u"--client-password-file"_s, dir_.filePath(u"client.pw"_s)} +
                          more);
    }

    std::unique_ptr<jet::PgConnection> client(const QString& password = u"managers-own"_s) {
        jet::PgConnection::Options options;
        options.address = admin();
        options.address.role = site::clientRole(name_);
        options.address.password = password;
        return jet::PgConnection::open(options);
    }

    long long count(const QString& catalogQuery) {
        return testsupport::pgAdminConnection(name_)
            ->query(catalogQuery)
            .rows.front()[0]
            ->toLongLong();
    }
    // The rows of a table (and a criterion), counted through the dialect.
    long long rowsOf(const QString& from) {
        return vb::clng(site::openServerSite(admin())
                            ->query(u"select count(*) from "_s + from)
                            ->field(0)
                            .value());
    }

    // The same demo on a site file, for the server's rows to be held against.
    QString demoFile() {
        const QString path = dir_.filePath(u"demo.tsite"_s);
        EXPECT_EQ(sitetest::tool({u"init"_s, path}).status, 0);
        const ToolRun demo = sitetest::tool(QStringList{u"demo"_s, path} + kDemo);
        EXPECT_EQ(demo.status, 0) << demo.err.toStdString();
        return path;
    }

    QString name_;
    QStringList databases_, roles_;
    QTemporaryDir dir_;
};

QString tsv(const rs::Recordset& records) {
    QString text;
    QTextStream out(&text);
    site::writeTsv(records, out);
    out.flush();
    return text;
}

} // namespace

TEST_F(ServerSiteTool, InitMakesTheSiteOwnedByARoleThatCannotLogInAndAClientThatOnlyReadsAndLogs) {
    const ToolRun made = init();
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    EXPECT_TRUE(made.out.contains(site::clientRole(name_) + u"@127.0.0.1/"_s + name_));

    // Every table, index and template a site file has; the owner owns them all and the functions.
    const QString owned =
        u" = (SELECT oid FROM pg_roles WHERE rolname = '"_s + site::ownerRole(name_) + u"')"_s;
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_tables WHERE schemaname = 'public' AND "
                    u"tableowner = '"_s +
                    site::ownerRole(name_) + u'\''),
              8);
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_indexes WHERE indexname ILIKE 'idxtrans%'"_s), 4);
    EXPECT_GT(count(u"SELECT count(*) FROM pg_proc WHERE proowner"_s + owned), 0);
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_proc WHERE pronamespace = 'public'::regnamespace "
                    u"AND NOT proowner"_s +
                    owned),
              0);
    {
        auto file = site::initSite(dir_.filePath(u"templates.tsite"_s), false);
        auto onServer = site::openServerSite(admin());
        const QString templates = u"select * from tblfixedreports order by idfFixedReportID"_s;
        EXPECT_EQ(tsv(*onServer->query(templates)), tsv(*file->query(templates)));
    }
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_roles WHERE rolname = '"_s + site::ownerRole(name_) +
                    u"' AND NOT rolcanlogin"_s),
              1);
    // The server keeps a verifier of the client's password, never its text.
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_authid WHERE rolname = '"_s +
                    site::clientRole(name_) + u"' AND rolpassword LIKE 'SCRAM-SHA-256$%'"_s),
              1);

    // What the client sends, through the dialect as its own login: log lines, saved searches
    // and their deletion, a two-stage report's table.
    ASSERT_EQ(server(u"demo"_s, kDemo).status, 0);
    const auto manager = site::openServerSite([&] {
        jet::PgAddress a = admin();
        a.role = site::clientRole(name_);
        a.password = u"managers-own"_s;
        return a;
    }());
    EXPECT_EQ(manager->execute(u"select * into tblTemp3 from tblTrans where fldtransregnum = 1"_s),
              rowsOf(u"tblTrans where fldtransregnum = 1"_s));
    for (const QString& allowed :
         {u"INSERT INTO tblLog (fldLogTime, fldLogErrNumber, fldLogDesc) VALUES (Now(), 5, 'x')"_s,
          u"insert into tblPowerSearches (fldreporttitle, fldSearchType) values ('Mine', 1)"_s,
          u"Delete * from tblPowerSearches where ucase$(fldreporttitle) = 'MINE'"_s,
          u"DROP TABLE tblTemp3"_s})
        EXPECT_NO_THROW(manager->execute(allowed)) << allowed.toStdString();
    EXPECT_EQ(rowsOf(u"tblLog"_s), 1);

    // Nothing a crafted criterion or template could send may change or drop the site.
    const long long transactions = rowsOf(u"tblTrans"_s);
    for (const QString& refused :
         {u"DROP TABLE tblTrans"_s, u"UPDATE tblTrans SET fldTransPrice = 0"_s,
          u"DELETE * FROM tblTrans"_s, u"INSERT INTO tblTrans (fldtransregnum) VALUES (1)"_s,
          u"ALTER TABLE tblTrans ADD COLUMN x LONG"_s, u"CREATE TABLE tblEvil (a LONG)"_s,
          u"DELETE * FROM tblLog"_s, u"UPDATE tblfixedreports SET fldSQL = 'x'"_s,
          u"CREATE INDEX idxEvil ON tblTrans (fldTransQty)"_s})
        EXPECT_EQ(errorOf([&] { manager->execute(refused); }), kNoPermission)
            << refused.toStdString();
    // Nor what the server takes beside the dialect.
    for (const QString& refused :
         {u"TRUNCATE \"tblTrans\""_s,
          u"CREATE FUNCTION evil() RETURNS integer LANGUAGE sql AS 'SELECT 1'"_s,
          u"CREATE OR REPLACE FUNCTION jet_like(text, text) RETURNS boolean LANGUAGE sql AS "
          u"'SELECT true'"_s})
        EXPECT_EQ(errorOf([&] { manager->connection().exec(refused); }), kNoPermission)
            << refused.toStdString();
    EXPECT_EQ(rowsOf(u"tblTrans"_s), transactions);
    EXPECT_EQ(rowsOf(u"tblLog"_s), 1);

    // The roles of the server other than the site's own may not even connect.
    jet::PgConnection::Options options;
    options.address = admin();
    options.address.role = makeRole(u"_stranger"_s, {});
    options.address.password = u"pw"_s;
    EXPECT_EQ(errorOf([&] { jet::PgConnection::open(options); }), 3151);
}

TEST_F(ServerSiteTool, InitRefusesASiteUnlessForcedAndAFailedInitLeavesNothingBehind) {
    ASSERT_EQ(init().status, 0);
    ASSERT_EQ(server(u"demo"_s, kDemo).status, 0);
    const long long rows = rowsOf(u"tblTrans"_s);
    ToolRun again = init();
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.contains(u"already holds a site"_s)) << again.err.toStdString();
    EXPECT_EQ(rowsOf(u"tblTrans"_s), rows);

    // Afresh, the client role has the new password and is a member of no other role.
    writeFile(u"client.pw"_s, "changed\n");
    testsupport::pgAdminConnection()->exec(u"GRANT "_s + site::ownerRole(name_) + u" TO "_s +
                                           site::clientRole(name_));
    again = init({u"--force"_s});
    ASSERT_EQ(again.status, 0) << again.err.toStdString();
    EXPECT_EQ(rowsOf(u"tblTrans"_s), 0);
    EXPECT_EQ(count(u"SELECT count(*) FROM pg_auth_members WHERE member = '"_s +
                    site::clientRole(name_) + u"'::regrole"_s),
              0);
    EXPECT_NE(errorOf([&] { client(u"managers-own"_s); }), 0);
    EXPECT_NO_THROW(client(u"changed"_s)->query(u"SELECT count(*) FROM \"tblActors\""_s));

    // A role that may make databases but not roles fails halfway: its new database goes again.
    const QString maker = makeRole(u"_maker"_s, u"CREATEDB"_s), fresh = name_ + u"_new"_s;
    databases_ << fresh;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"PGPASSWORD"_s, u"pw"_s);
    const QStringList asMaker = {maker + u"@127.0.0.1/"_s + fresh, u"--port"_s, port()};
    const QStringList makeFresh =
        QStringList{u"init"_s} + asMaker +
        QStringList{u"--client-password-file"_s, dir_.filePath(u"client.pw"_s)};
    const ToolRun failed = sitetest::tool(makeFresh, env);
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.err.startsWith(u"Error 3033: "_s)) << failed.err.toStdString();
    auto adminConnection = testsupport::pgAdminConnection();
    const auto left = adminConnection->query(
        u"SELECT (SELECT count(*) FROM pg_database WHERE datname = '"_s + fresh +
        u"') + (SELECT count(*) FROM pg_roles WHERE rolname LIKE '"_s + fresh + u"%')"_s);
    EXPECT_EQ(left.rows.front()[0], u"0"_s);

    // Allowed roles too, it makes, fills and remakes the site without being a superuser, and
    // without a word on the side.
    adminConnection->exec(u"ALTER ROLE "_s + maker + u" CREATEROLE"_s);
    for (const QStringList& command : {makeFresh, QStringList{u"demo"_s} + asMaker + kDemo,
                                       makeFresh + QStringList{u"--force"_s}}) {
        const ToolRun made = sitetest::tool(command, env);
        EXPECT_EQ(made.status, 0) << made.err.toStdString();
        EXPECT_EQ(made.err, QString()) << command.join(' ').toStdString();
    }

    // In a database that stands, a failure after some tables were made leaves none of them.
    const testsupport::PgScratchDatabase other;
    testsupport::pgAdminConnection(other.name())
        ->exec(u"CREATE TABLE tblLog (kept integer); INSERT INTO tblLog VALUES (1)"_s);
    const ToolRun clash =
        sitetest::tool({u"init"_s, site::addressText(other.adminAddress()), u"--port"_s, port(),
                        u"--password-file"_s,
                        [&] {
                            writeFile(u"admin.pw"_s, admin().password.toUtf8());
                            return dir_.filePath(u"admin.pw"_s);
                        }(),
                        u"--client-password-file"_s, dir_.filePath(u"client.pw"_s)});
    EXPECT_EQ(clash.status, 1);
    auto inOther = testsupport::pgAdminConnection(other.name());
    EXPECT_EQ(inOther
                  ->query(u"SELECT string_agg(tablename, ',') FROM pg_tables WHERE "
                          u"schemaname = 'public'"_s)
                  .rows.front()[0],
              u"tbllog"_s);
    EXPECT_EQ(inOther
                  ->query(u"SELECT count(*) FROM pg_roles WHERE rolname LIKE '"_s + other.name() +
                          u"%'"_s)
                  .rows.front()[0],
              u"0"_s);
}

TEST_F(ServerSiteTool, ADemoOnAServerHoldsTheRowsOfTheSameDemoOnAFileAndAFailureKeepsTheOld) {
    const QString file = demoFile();
    ASSERT_EQ(init().status, 0);
    const ToolRun demo = server(u"demo"_s, kDemo);
    ASSERT_EQ(demo.status, 0) << demo.err.toStdString();
    EXPECT_TRUE(demo.out.startsWith(u"Wrote "_s)) << demo.out.toStdString();

    const auto compareEveryTable = [&] {
        auto onFile = site::openExistingSite(file);
        auto onServer = site::openServerSite(admin());
        for (const QString& table :
             {u"tblActors"_s, u"lkpActions"_s, u"tbltransdescs"_s, u"tblreg"_s, u"tblTrans"_s}) {
            const QString all = u"select * from "_s + table + u" order by 1"_s;
            const QString fileRows = tsv(*onFile->query(all));
            EXPECT_EQ(tsv(*onServer->query(all)), fileRows) << table.toStdString();
            EXPECT_GT(fileRows.count(u'\n'), 3) << table.toStdString();
        }
    };
    compareEveryTable();

    ToolRun again = server(u"demo"_s, kDemo);
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.startsWith(u"Error 3019: "_s)) << again.err.toStdString();
    again = server(u"demo"_s, kDemo + QStringList{u"--replace"_s});
    ASSERT_EQ(again.status, 0) << again.err.toStdString();
    compareEveryTable();

    // The counters go on after the copied ids.
    const long long transactions = rowsOf(u"tblTrans"_s);
    auto adminConnection = testsupport::pgAdminConnection(name_);
    EXPECT_EQ(adminConnection
                  ->query(u"INSERT INTO \"tblTrans\" (fldtransregnum) VALUES (1) "
                          u"RETURNING idftransid"_s)
                  .rows.front()[0],
              QString::number(transactions + 1));
    EXPECT_EQ(adminConnection
                  ->query(u"INSERT INTO \"tblActors\" (\"fldActorCode\") VALUES ('9') "
                          u"RETURNING \"idfActorID\""_s)
                  .rows.front()[0],
              u"6"_s);

    // Halfway through, the register table is missing: the old rows stay, the emptying undone.
    adminConnection->exec(u"DROP TABLE tblreg"_s);
    again = server(u"demo"_s, kDemo + QStringList{u"--replace"_s, u"--seed"_s, u"8"_s});
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.contains(u"tblreg"_s)) << again.err.toStdString();
    EXPECT_EQ(rowsOf(u"tblTrans"_s), transactions + 1);
}

TEST_F(ServerSiteTool, QueryPrintsWhatItPrintsForASiteFile) {
    const QString file = demoFile();
    ASSERT_EQ(init().status, 0);
    ASSERT_EQ(server(u"demo"_s, kDemo).status, 0);
    for (const QStringList& query : QList<QStringList>{
             {u"--tsv"_s, u"select count(*) as [n], max(fldTransTime) as [Last], "
                          u"sum(fldTransPrice) as [Net] from tblTrans"_s},
             {u"select top 5 fldTransTime, fldTransDesc, fldTransQty, fldTransPrice, "
              u"fldactioncritical from tblTrans inner join lkpActions on fkyActionID = "
              u"idfActionID order by idftransid"_s},
             {u"--tsv"_s, u"select fldActorlName & ', ' & fldActorfName as [Clerk], "
                          u"fldTransDesc from tblTrans inner join tblActors on fkyActorID = "
                          u"idfActorID where fldTransPrice < 0 order by idftransid"_s},
             {u"delete * from tblLog"_s},
             {u"select fldNothing from tblTrans"_s}}) {
        const ToolRun onFile = sitetest::tool(QStringList{u"query"_s, file} + query);
        const ToolRun onServer = server(u"query"_s, query);
        EXPECT_EQ(onServer.status, onFile.status) << query.join(' ').toStdString();
        EXPECT_EQ(onServer.out, onFile.out) << query.join(' ').toStdString();
        EXPECT_EQ(onServer.err.left(11), onFile.err.left(11)) << onServer.err.toStdString();
    }
}

TEST_F(ServerSiteTool, AWrongPasswordOrHostFailsWithTheReasonAndABadCommandLineIsAUsageError) {
    ASSERT_EQ(init().status, 0);
    writeFile(u"wrong.pw"_s, "not-the-password\n");
    ToolRun run = sitetest::tool({u"query"_s, address(), u"--port"_s, port(), u"--password-file"_s,
                                  dir_.filePath(u"wrong.pw"_s), u"select 1"_s});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.startsWith(u"Error 3151: "_s)) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"password authentication failed"_s)) << run.err.toStdString();
    run = sitetest::tool({u"demo"_s, u"someone@nohost.invalid/x"_s, u"--port"_s, port()});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.contains(u"nohost.invalid"_s)) << run.err.toStdString();

    // The client's list takes a server site as a manager reaches it, only when it answers.
    const QString program = dir_.filePath(u"tillsight"_s), ini = dir_.filePath(u"tillsight.ini"_s);
    writeFile(u"tillsight"_s, "#!/bin/sh\n");
    const QString asClient = site::clientRole(name_) + u"@127.0.0.1/"_s + name_;
    for (const QString& password : {u"wrong.pw"_s, u"client.pw"_s})
        run = sitetest::tool({u"add-site"_s, asClient, u"--port"_s, port(), u"--password-file"_s,
                              dir_.filePath(password), u"--client"_s, program, u"--name"_s,
                              password});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    QFile settings(ini);
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const QString listed = QString::fromUtf8(settings.readAll()).remove(u'\r');
    EXPECT_TRUE(listed.contains(u"[client.pw]\n"_s + asClient + u"\n0\n"_s + port() + u'\n'))
        << listed.toStdString();
    EXPECT_FALSE(listed.contains(u"wrong.pw"_s));

    for (const QStringList& bad :
         QList<QStringList>{{u"query"_s, address(), u"--port"_s, u"abc"_s, u"select 1"_s},
                            {u"demo"_s, address(), u"--port"_s, u"70000"_s},
                            {u"demo"_s, u"a@b@c"_s},
                            {u"init"_s, address()}, // no password for the client role
                            {u"init"_s, dir_.filePath(u"x.tsite"_s), u"--port"_s, u"5432"_s}}) {
        const ToolRun refused = sitetest::tool(bad);
        EXPECT_EQ(refused.status, 2) << bad.join(' ').toStdString() << refused.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(dir_.filePath(u"x.tsite"_s)));
    EXPECT_TRUE(sitetest::tool({u"init"_s, u"--help"_s}).out.contains(u"--client-password-file"_s));
}
