#include "sitelink/SiteLink.h"

#include "jet/SqliteDatabase.h"

#include "site/SiteSchema.h"

#include "support/CoreApplication.h"
#include "support/VbTestSupport.h"

#include <sqlite3.h>

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using sitelink::SiteLink;

namespace {

// The link's events, in the order they arrived, with "returned" marking where a call returned.
struct EventLog {
    explicit EventLog(SiteLink& link) {
        QObject::connect(&link, &SiteLink::Connected, [this] { names << u"Connected"_s; });
        QObject::connect(&link, &SiteLink::Disconnected, [this] { names << u"Disconnected"_s; });
        QObject::connect(&link, &SiteLink::ProgressChanged, [this, &link] {
            names << u"Progress"_s;
            progress.push_back(link.Progress());
        });
        QObject::connect(&link, &SiteLink::LinkError,
                         [this](const QString&, int n, const QString&) {
                             names << u"LinkError"_s;
                             errors.push_back(n);
                         });
        QObject::connect(&link, &SiteLink::OperationTimed,
                         [this](int ms) { timings.push_back(ms); });
        QObject::connect(&link, &SiteLink::StatusChanged,
                         [this](const QString& text) { statuses << text; });
    }
    QStringList names, statuses;
    std::vector<int> progress, errors, timings;
};

class Link : public testsupport::EnUsTest {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    void SetUp() override {
        EnUsTest::SetUp();
        path_ = dir_.filePath(u"store.tsite"_s);
        auto db = site::initSite(path_, false);
        db->execute(u"INSERT INTO tbltransdescs (fldtransdesc) VALUES ('MILK')"_s);
        // Enough rows that reading them takes many progress steps.
        db->execute(u"CREATE TABLE tblMany (n LONG)"_s);
        sqlite3_exec(db->handle(),
                     "WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < "
                     "200000) INSERT INTO tblMany SELECT n FROM c",
                     nullptr, nullptr, nullptr);
    }

    void connectLink(SiteLink& link) {
        link.setRemoteAddress(path_);
        link.Connect();
    }

    QTemporaryDir dir_;
    QString path_;
};

} // namespace

TEST_F(Link, ConnectedArrivesBeforeConnectReturns) {
    SiteLink link;
    EventLog log(link);
    connectLink(link);
    log.names << u"returned"_s;
    EXPECT_EQ(log.names, (QStringList{u"Connected"_s, u"returned"_s}));
    EXPECT_TRUE(link.isConnected());
    EXPECT_GE(link.SessionIndex(), 1);
    EXPECT_TRUE(link.ServerName().contains(u"store"));
    EXPECT_EQ(log.timings.size(), 1u);
    EXPECT_TRUE(log.statuses.contains(u"Connected"_s));
}

TEST_F(Link, ARecordsetComesCompleteWithProgressDuringTheRead) {
    SiteLink link;
    connectLink(link);
    EventLog log(link);
    auto rs = link.OpenRecordset(u"select n from tblMany order by n desc"_s, u"Counting"_s);
    log.names << u"returned"_s;
    ASSERT_TRUE(rs);
    EXPECT_EQ(rs->recordCount(), 200000u);
    EXPECT_EQ(rs->field(0).value(), vb::Variant(200000));
    // Progress rose while the call ran and went back to 0 before it returned.
    EXPECT_GT(log.progress.size(), 10u);
    EXPECT_EQ(log.progress.back(), 0);
    EXPECT_EQ(*std::max_element(log.progress.begin(), log.progress.end()), 100);
    EXPECT_EQ(log.names.back(), u"returned"_s);
    EXPECT_TRUE(log.statuses.contains(u"Counting"_s));
    ASSERT_EQ(log.timings.size(), 1u);
    EXPECT_GE(log.timings.front(), 0);
}

TEST_F(Link, FailuresArriveAsLinkErrorsAndNothingIsThrown) {
    SiteLink link;
    EventLog log(link);
    EXPECT_EQ(link.OpenRecordset(u"select * from tbltransdescs"_s), nullptr); // not connected
    connectLink(link);
    EXPECT_EQ(link.OpenRecordset(u"select * from tblNope"_s), nullptr);
    link.Execute(u"delete from"_s);
    link.Execute(u"DROP TABLE tblTemp%1"_s.arg(link.SessionIndex())); // not there yet: fine
    ASSERT_EQ(log.errors.size(), 3u);
    EXPECT_EQ(log.errors[1], 3078);
    EXPECT_TRUE(link.isConnected()); // an error never ends the connection by itself

    SiteLink other;
    EventLog otherLog(other);
    const QString missing = dir_.filePath(u"missing.tsite"_s);
    other.setRemoteAddress(missing);
    other.Connect();
    EXPECT_FALSE(other.isConnected());
    EXPECT_EQ(otherLog.errors.size(), 1u);
    EXPECT_FALSE(otherLog.names.contains(u"Connected"_s));
    EXPECT_FALSE(QFile::exists(missing));
}

TEST_F(Link, TwoLinksOnOneSiteHaveTheirOwnSessionsAndTables) {
    SiteLink a, b;
    connectLink(a);
    connectLink(b);
    EXPECT_NE(a.SessionIndex(), b.SessionIndex());
    const QString table = u"tblTemp%1"_s.arg(a.SessionIndex());
    a.Execute(u"SELECT fldtransdesc INTO "_s + table + u" FROM tbltransdescs"_s);
    auto mine = a.OpenRecordset(u"select * from "_s + table);
    ASSERT_TRUE(mine);
    EXPECT_EQ(mine->recordCount(), 1u);
    QSignalSpy errors(&b, &SiteLink::LinkError);
    EXPECT_EQ(b.OpenRecordset(u"select * from "_s + table), nullptr);
    EXPECT_EQ(errors.size(), 1);
}

TEST_F(Link, DisconnectedOnRequestAndWhenTheSiteGoesAway) {
    SiteLink link;
    connectLink(link);
    QSignalSpy disconnected(&link, &SiteLink::Disconnected);
    link.Disconnect();
    EXPECT_EQ(disconnected.size(), 1);
    EXPECT_FALSE(link.isConnected());
    link.Disconnect(); // twice is harmless
    EXPECT_EQ(disconnected.size(), 1);

    connectLink(link);
    ASSERT_TRUE(link.isConnected());
    ASSERT_TRUE(QFile::remove(path_));
    EXPECT_TRUE(disconnected.wait(5000));
    EXPECT_FALSE(link.isConnected());
}
