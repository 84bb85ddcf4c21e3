#include "site/DemoData.h"
#include "site/QueryOutput.h"
#include "site/SiteSchema.h"

#include "jet/SqliteDatabase.h"
#include "recordset/AdoType.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"

#include "site/ToolRun.h"
#include "support/DemoSite.h"
#include "support/VbTestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sqlite3.h>

using namespace Qt::Literals::StringLiterals;
using testsupport::errorOf;

namespace {

class SiteTool : public testsupport::EnUsTest {
protected:
    QString path(const QString& name = u"site.tsite"_s) const { return dir_.filePath(name); }

    static QString tsv(jet::SqliteDatabase& db, const QString& query) {
        QString text;
        QTextStream out(&text);
        site::writeTsv(*db.query(query), out);
        out.flush();
        return text;
    }

    static long long count(jet::SqliteDatabase& db, const QString& query) {
        return vb::clng(db.query(query)->field(0).value());
    }

    static site::DemoOptions small() {
        site::DemoOptions o;
        o.days = 4;
        o.perDay = 120;
        o.registers = 3;
        o.clerks = 5;
        return o;
    }

    QTemporaryDir dir_;
};

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST_F(SiteTool, InitMakesEveryTableWithTheDialectsTypesItsIndexesAndTheTemplates) {
    auto db = site::initSite(path(), false);
    const auto trans = db->query(u"select * from tblTrans"_s);
    std::vector<int> types;
    for (int f = 0; f < trans->fieldCount(); ++f)
        types.push_back(static_cast<int>(trans->field(f).type()));
    EXPECT_EQ(types, (std::vector<int>{3, 7, 3, 5, 202, 6, 3, 3}));
    const auto saved = db->query(u"select fldNotAction, fldModifier, fldStart from "
                                 u"tblPowerSearches"_s);
    EXPECT_EQ(saved->field(0).type(), rs::AdoType::Boolean);
    EXPECT_EQ(saved->field(1).type(), rs::AdoType::SmallInt);
    EXPECT_EQ(saved->field(2).type(), rs::AdoType::Date);
    EXPECT_EQ(db->query(u"select fldSQL from tblfixedreports"_s)->field(0).type(),
              rs::AdoType::LongVarWChar);

    EXPECT_GE(count(*db, u"select count(*) from tblfixedreports where fldIssubquery = False"_s),
              12);
    // The reports narrow by time, so the time criterion must be able to use an index.
    const auto plan = tsv(*db, u"select count(*) from tblTrans where fldTransTime between "
                               u"#2003/03/01# and #2003/03/02#"_s);
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db->handle(),
                       "SELECT group_concat(name) FROM (SELECT name FROM sqlite_master WHERE "
                       "type = 'index' AND tbl_name = 'tblTrans' AND name LIKE 'idx%' ORDER BY "
                       "name)",
                       -1, &stmt, nullptr);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
                 "idxTransAction,idxTransActor,idxTransRegister,idxTransTime");
    sqlite3_finalize(stmt);
    EXPECT_EQ(plan, u"Expr1000:3\n0\n"_s);
}

TEST_F(SiteTool, InitNeverOverwritesASiteUnlessForced) {
    writeFile(path(), "not a site, but somebody's file");
    EXPECT_EQ(errorOf([&] { site::initSite(path(), false); }), 3014);
    EXPECT_EQ(readFile(path()), "not a site, but somebody's file");
    EXPECT_NO_THROW(site::initSite(path(), true));
    EXPECT_TRUE(readFile(path()).startsWith("SQLite format 3"));

    // An empty file is what a person gets from a file picker's "new": it is no site yet.
    writeFile(path(u"empty.tsite"_s), {});
    EXPECT_NO_THROW(site::initSite(path(u"empty.tsite"_s), false));
    EXPECT_EQ(errorOf([&] { site::initSite(dir_.path(), true); }), 3014);
    EXPECT_EQ(errorOf([&] { site::openExistingSite(path(u"missing.tsite"_s)); }), 3014);
    EXPECT_FALSE(QFile::exists(path(u"missing.tsite"_s)));
}

// Clients read a site for long while others write it; in WAL mode neither waits for the other.
TEST_F(SiteTool, InitMakesASiteInWalMode) {
    site::initSite(path(), false);
    EXPECT_EQ(readFile(path()).mid(18, 2), QByteArray("\x02\x02"));
}

TEST_F(SiteTool, TheSameOptionsGiveTheSameRowsAndAnotherSeedOthers) {
    const QString dump = u"select * from tblTrans order by idftransid"_s;
    auto a = site::initSite(path(u"a.tsite"_s), false);
    auto b = site::initSite(path(u"b.tsite"_s), false);
    auto c = site::initSite(path(u"c.tsite"_s), false);
    site::DemoOptions other = small();
    other.seed = 2;
    const site::DemoSummary written = site::writeDemo(a->handle(), small(), false);
    site::writeDemo(b->handle(), small(), false);
    site::writeDemo(c->handle(), other, false);
    EXPECT_EQ(written.transactions, count(*a, u"select count(*) from tblTrans"_s));
    EXPECT_EQ(tsv(*a, dump), tsv(*b, dump));
    EXPECT_EQ(tsv(*a, u"select * from tblActors"_s), tsv(*b, u"select * from tblActors"_s));
    EXPECT_NE(tsv(*a, dump), tsv(*c, dump));

    // Writing over the data again gives the very same rows, keys included.
    site::writeDemo(a->handle(), small(), true);
    EXPECT_EQ(tsv(*a, dump), tsv(*b, dump));
}

TEST_F(SiteTool, ADemoRefusesToMixWithDataAndAFailureLeavesTheSiteAsItWas) {
    auto db = site::initSite(path(), false);
    site::writeDemo(db->handle(), small(), false);
    const QString before = tsv(*db, u"select * from tblTrans"_s);
    EXPECT_EQ(errorOf([&] { site::writeDemo(db->handle(), small(), false); }), 3019);
    EXPECT_EQ(tsv(*db, u"select * from tblTrans"_s), before);

    site::DemoOptions bad = small();
    bad.days = 0;
    EXPECT_EQ(errorOf([&] { site::writeDemo(db->handle(), bad, true); }), 5);

    // A site whose register table is gone fails halfway: nothing of the new data may stay.
    auto broken = site::initSite(path(u"broken.tsite"_s), false);
    broken->execute(u"DROP TABLE tblreg"_s);
    EXPECT_NE(errorOf([&] { site::writeDemo(broken->handle(), small(), false); }), 0);
    EXPECT_EQ(count(*broken, u"select count(*) from tblActors"_s), 0);
    EXPECT_EQ(count(*broken, u"select count(*) from lkpActions"_s), 0);
}

TEST_F(SiteTool, TheDemoLooksLikeAStoresDays) {
    const auto& demo = testsupport::demoSite();
    auto db = site::openExistingSite(demo.path);

    // Codes with their critical flags, the cameras, and the catalogue.
    EXPECT_EQ(tsv(*db, u"select fldActionCode from lkpActions where fldactioncritical = TRUE "
                       u"order by fldActionCode"_s),
              u"fldActionCode:202\nCANCEL\nNOSALE\nPAIDOUT\nPRICEOVR\nREFUND\nVOID\n"_s);
    EXPECT_EQ(count(*db, u"select count(*) from lkpActions"_s), 13);
    EXPECT_EQ(count(*db, u"select count(*) from tblreg where fldregcam is null"_s), 1);
    EXPECT_EQ(count(*db, u"select count(*) from tblreg where fldregdvraddress is null or "
                         u"fldregdvrusername is null or fldregdvrpassword is null"_s),
              0);
    EXPECT_GE(count(*db, u"select count(*) from tbltransdescs"_s), 40);
    EXPECT_EQ(count(*db, u"select count(*) from tblActors where fldActorlName is null or "
                         u"fldActorfName is null or len(fldActorCode) <> 4"_s),
              0);

    // Open 07:00 to 22:00 on every day, busier on Saturday than on Sunday.
    EXPECT_EQ(count(*db, u"select count(*) from tblTrans where hour(fldTransTime) < 7 or "
                         u"hour(fldTransTime) >= 22"_s),
              0);
    EXPECT_EQ(count(*db, u"select count(*) from (select distinct int(fldTransTime) from "
                         u"tblTrans)"_s),
              demo.options.days);
    EXPECT_GT(count(*db, u"select count(*) from tblTrans where fldTransTime between "
                         u"#3/22/2003# and #3/23/2003#"_s),
              count(*db, u"select count(*) from tblTrans where fldTransTime between "
                         u"#3/23/2003# and #3/24/2003#"_s));
    // Every register's two clerks sign on and off every day.
    EXPECT_EQ(count(*db, u"select count(*) from tblTrans, lkpActions where fkyActionID = "
                         u"idfActionID and fldActionCode in ('SIGNON', 'SIGNOFF')"_s),
              4 * demo.options.registers * demo.options.days);

    // Money goes out on refunds and voids, in on sales; quantities follow.
    EXPECT_EQ(count(*db, u"select count(*) from tblTrans inner join lkpActions on "
                         u"fkyActionID = idfActionID where (fldActionCode in ('REFUND', "
                         u"'VOID') and (fldTransPrice >= 0 or fldTransQty >= 0)) or "
                         u"(fldActionCode = 'SALE' and (fldTransPrice <= 0 or fldTransQty < 1))"_s),
              0);
    EXPECT_GT(count(*db, u"select count(*) from tblTrans where fldTransQty > 1"_s), 0);

    // A few lines belong to clerks the site no longer lists: the transaction join hides them.
    const long long orphans = count(*db, u"select count(*) from tblTrans where fkyActorID not "
                                         u"in (select idfActorID from tblActors)"_s);
    EXPECT_GE(orphans, demo.options.days);
    EXPECT_LT(orphans, demo.summary.transactions / 100);
    EXPECT_EQ(count(*db, u"select count(*) From tblActors INNER JOIN (lkpActions INNER JOIN "
                         u"tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON "
                         u"tblActors.idfActorID = tblTrans.fkyActorID"_s),
              demo.summary.transactions - orphans);
}

TEST_F(SiteTool, TabSeparatedOutputKeepsEveryValueInItsCell) {
    auto db = site::initSite(path(), false);
    db->execute(u"INSERT INTO tblreg (fldregnum, fldregDVRAddress) VALUES (1, 'a\\b\tc\r\nd')"_s);
    db->execute(u"INSERT INTO tblreg (fldregnum, fldregDVRAddress) VALUES (2, '')"_s);
    EXPECT_EQ(tsv(*db, u"select fldregnum as [Reg], fldregDVRAddress, fldregcam, "
                       u"#3/28/2003 14:05:09# as [When], 2.5 * fldregnum as [Half], "
                       u"fldregnum = 1 as [First] from tblreg order by fldregnum"_s),
              u"Reg:3\tfldregDVRAddress:202\tfldregcam:3\tWhen:7\tHalf:5\tFirst:11\n"
              u"1\ta\\\\b\\tc\\r\\nd\tNull\t3/28/2003 2:05:09 PM\t2.5\tTrue\n"
              u"2\t\tNull\t3/28/2003 2:05:09 PM\t5\tFalse\n"_s);

    QString table;
    QTextStream out(&table);
    site::writeTable(*db->query(u"select fldregnum, fldregcam from tblreg"_s), out);
    out.flush();
    EXPECT_EQ(table, u"fldregnum:3  fldregcam:3\n-----------  -----------\n"
                     u"          1         Null\n          2         Null\n(2 rows)\n"_s);
}

namespace {

using sitetest::run;
using sitetest::tool;
using sitetest::ToolRun;

// The demo's site script, as scripts/demo.sh runs it, with a short demo.
ToolRun demoSiteScript(const QString& site) {
    return run(u"bash"_s, {QStringLiteral(TILLSIGHT_DEMO_SITE_SCRIPT),
                           QStringLiteral(TILLSIGHT_SITE_TOOL), site, u"3"_s});
}

} // namespace

TEST_F(SiteTool, TheCommandLineHelpsReportsErrorsByNumberAndNeverMakesAFileByAccident) {
    for (const QString& command : {u""_s, u"init"_s, u"demo"_s, u"query"_s}) {
        const ToolRun help =
            tool(command.isEmpty() ? QStringList{u"--help"_s} : QStringList{command, u"--help"_s});
        EXPECT_EQ(help.status, 0) << command.toStdString();
        EXPECT_TRUE(help.out.startsWith(u"Usage: tillsight-site "_s + command))
            << help.out.toStdString();
    }

    const QString missing = path(u"missing.tsite"_s);
    ToolRun run = tool({u"query"_s, missing, u"select 1"_s});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.startsWith(u"Error 3014: "_s)) << run.err.toStdString();
    EXPECT_EQ(tool({u"demo"_s, missing}).status, 1);
    EXPECT_FALSE(QFile::exists(missing));

    EXPECT_EQ(tool({u"init"_s, path()}).status, 0);
    EXPECT_EQ(tool({u"demo"_s, path(), u"--days"_s, u"two"_s}).status, 2);
    EXPECT_EQ(tool({u"demo"_s, path(), u"--colour"_s}).status, 2);
    run = tool({u"demo"_s, path(), u"--days"_s, u"2"_s, u"--per-day"_s, u"50"_s});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.startsWith(u"Wrote "_s)) << run.out.toStdString();

    run = tool({u"query"_s, path(), u"--tsv"_s,
                u"select count(*) as [n], max(fldTransTime) as [Last] from tblTrans where "
                u"fldTransTime < #3/28/2003#"_s});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.startsWith(u"n:3\tLast:7\n"_s)) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(u"\t3/27/2003 9:"_s)) << run.out.toStdString();

    run = tool({u"query"_s, path(), u"select fldNothing from tblTrans"_s});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.startsWith(u"Error 3061: "_s)) << run.err.toStdString();
    run = tool({u"query"_s, path(), u"delete * from tblLog"_s});
    EXPECT_EQ(run.out, u"0 rows changed\n"_s);
    // SELECT ... INTO makes a table: it tells the rows it wrote, as the other writes do.
    run = tool({u"query"_s, path(), u"select * into tblCopy from tblTrans where idftransid < 3"_s});
    EXPECT_EQ(run.out, u"2 rows changed\n"_s) << run.err.toStdString();
}

TEST_F(SiteTool, AddSiteListsTheSiteForTheClientAndKeepsTheUsersOwn) {
    ASSERT_EQ(tool({u"init"_s, path()}).status, 0);
    // A client copied into the folder reads the settings file beside it.
    const QString client = path(u"tillsight"_s);
    writeFile(client, "#!/bin/sh\n");
    writeFile(path(u"tillsight.ini"_s), "[Sites]\r\nHome\r\n[Home]\r\n10.0.0.1\r\n0\r\n5000\r\n"
                                        "[DVR]\r\nMethod=1\r\n");
    for (int run = 0; run < 2; ++run) {
        const ToolRun added = tool({u"add-site"_s, path(), u"--client"_s, client});
        EXPECT_EQ(added.status, 0) << added.err.toStdString();
    }
    const QString ini = QString::fromUtf8(readFile(path(u"tillsight.ini"_s)));
    EXPECT_TRUE(ini.contains(u"[Sites]\r\nHome\r\nDemo Store\r\n"_s)) << ini.toStdString();
    EXPECT_TRUE(ini.contains(u"[Home]\r\n10.0.0.1\r\n0\r\n5000\r\n"_s)) << ini.toStdString();
    EXPECT_TRUE(ini.contains(u"[Demo Store]\r\n"_s + path() + u"\r\n0\r\n0\r\n"_s));
    EXPECT_TRUE(ini.contains(u"[DVR]\r\nMethod=1\r\n"_s));
    EXPECT_EQ(ini.count(u"Demo Store"_s), 2);

    // Only a real site goes on the list.
    const ToolRun missing =
        tool({u"add-site"_s, path(u"none.tsite"_s), u"--client"_s, client, u"--name"_s, u"X"_s});
    EXPECT_EQ(missing.status, 1);
    EXPECT_FALSE(QString::fromUtf8(readFile(path(u"tillsight.ini"_s))).contains(u"[X]"_s));

    // Nor a name the list could not read back.
    const ToolRun bracketed =
        tool({u"add-site"_s, path(), u"--client"_s, client, u"--name"_s, u"[Old] Store"_s});
    EXPECT_EQ(bracketed.status, 2);
    EXPECT_TRUE(bracketed.err.contains(u"A site name cannot begin with \"[\" or contain \"]\"."_s))
        << bracketed.err.toStdString();
    EXPECT_FALSE(QString::fromUtf8(readFile(path(u"tillsight.ini"_s))).contains(u"Old"_s));
}

TEST_F(SiteTool, ADemoMadeNowEndsThereAndTheDemoRenewsOnlyAStaleSite) {
    auto countOf = [this](const QString& site, const QString& query) {
        return count(*site::openExistingSite(site), query);
    };
    const QString yetToCome = u"select count(*) from tblTrans where fldTransTime > now()"_s;
    const QString lastDay = u"select count(*) from tblTrans where fldTransTime > now() - 1"_s;
    const QString all = u"select count(*) from tblTrans"_s;

    // Nothing after the present moment, and the day before it is there.
    const QString fresh = path(u"fresh.tsite"_s);
    ASSERT_EQ(tool({u"init"_s, fresh}).status, 0);
    const ToolRun made = tool({u"demo"_s, fresh, u"--days"_s, u"2"_s, u"--end"_s, u"now"_s});
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    EXPECT_EQ(countOf(fresh, yetToCome), 0);
    EXPECT_GT(countOf(fresh, lastDay), 0);

    // A site with a transaction of the last day is kept as it is.
    const long long freshRows = countOf(fresh, all);
    ToolRun script = demoSiteScript(fresh);
    EXPECT_EQ(script.status, 0) << script.err.toStdString();
    EXPECT_EQ(countOf(fresh, all), freshRows);

    // An old site, and a missing one, are made afresh up to now.
    const QString old = path(u"old.tsite"_s);
    ASSERT_EQ(tool({u"init"_s, old}).status, 0);
    ASSERT_EQ(tool({u"demo"_s, old, u"--days"_s, u"1"_s, u"--end"_s, u"2003-03-28"_s}).status, 0);
    for (const QString& site : {old, path(u"missing/demo.tsite"_s)}) {
        script = demoSiteScript(site);
        ASSERT_EQ(script.status, 0) << script.err.toStdString();
        EXPECT_EQ(countOf(site, yetToCome), 0);
        EXPECT_GT(countOf(site, lastDay), 0);
        EXPECT_FALSE(QFile::exists(site + u".partial"_s));
    }
}
