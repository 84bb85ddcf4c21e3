// Long reads: a read runs once, its progress moves while a summary scans (whose rows come only at
// the end) and ends at 100; a cancel from another thread stops it with 3059 and the next read
// works; a canceled Fixed Report ends there and is not written to the site's log.

#include "sitelink/SiteLink.h"

#include "core/AppGlobals.h"
#include "core/Session.h"
#include "core/modFixedReports.h"
#include "core/modPowerSearch.h"
#include "jet/SqliteDatabase.h"
#include "vb/Convert.h"

#include "sitelink/BusySite.h"
#include "support/CoreApplication.h"

#include <QThread>
#include <QTimer>
#include <atomic>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using sitelink::SiteLink;

namespace {

const QString kFiveDays =
    u" tblTrans.fldTransTime between #2003/03/24 00:00:00# and #2003/03/29 00:00:00#"_s;

QString summaryByClerk() {
    core::SearchCriteria criteria;
    criteria.searchType = core::SummaryByClerk;
    criteria.start = vb::dateSerial(2003, 3, 24);
    criteria.end = vb::dateSerial(2003, 3, 29);
    return modPowerSearch::fncSearchText(criteria).query;
}

int traceStatement(unsigned, void* context, void* statement, void*) {
    auto* run = static_cast<QStringList*>(context);
    *run << QString::fromUtf8(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
    return 0;
}

class LongReads : public testsupport::BusySiteTest {
protected:
    static void SetUpTestSuite() { testsupport::ensureCoreApplication(); }

    // The progress of one read of `text`, and the statements SQLite ran for it.
    std::vector<int> progressOf(jet::SqliteDatabase& db, const QString& text,
                                QStringList* statements) {
        std::vector<int> seen;
        sqlite3_trace_v2(db.handle(), SQLITE_TRACE_STMT, traceStatement, statements);
        db.query(text, [&](int percent) { seen.push_back(percent); });
        sqlite3_trace_v2(db.handle(), 0, nullptr, nullptr);
        return seen;
    }
};

class CanceledLink : public LongReads {
protected:
    void SetUp() override {
        LongReads::SetUp();
        QObject::connect(&session_.TillsightLink(), &SiteLink::LinkError,
                         [this](const QString&, int number, const QString& description) {
                             errors_ << QString::number(number) + u": "_s + description;
                         });
        ASSERT_TRUE(session_.fncConnect(path_, 0));
    }
    void TearDown() override {
        link().Disconnect();
        LongReads::TearDown();
    }

    SiteLink& link() { return session_.TillsightLink(); }
    int count(const QString& table) {
        const auto rows = link().OpenRecordset(u"select count(*) from "_s + table);
        return rows ? vb::clng(rows->field(0).value()) : -1;
    }

    core::Session session_;
    QStringList errors_;
};

const QString kCanceled = u"3059: Operation canceled by user."_s;

} // namespace

TEST_F(LongReads, ASummaryRunsOnceAndItsProgressMovesBeforeItsRowsArrive) {
    auto db = jet::SqliteDatabase::openSite(path_);
    QStringList statements;
    const std::vector<int> first = progressOf(*db, summaryByClerk(), &statements);
    // The summary's own SELECT ran once, and nothing else scanned the transactions but the count
    // of the range the estimate is made from.
    EXPECT_EQ(statements.filter(u"GROUP BY"_s).size(), 1) << statements.join(u'\n').toStdString();
    EXPECT_TRUE(statements.filter(u"count(*) FROM ("_s).isEmpty());
    ASSERT_FALSE(first.empty());
    EXPECT_EQ(first.front(), 0);
    EXPECT_EQ(first.back(), 100);
    EXPECT_TRUE(std::is_sorted(first.begin(), first.end()));
    // Twelve rows come at the very end; the bar moved during the scan before them.
    EXPECT_GT(std::count_if(first.begin(), first.end(), [](int p) { return p > 0 && p < 100; }), 5);

    // Once a read of this shape has run, the next one's estimate is close: its bar comes near
    // the end before the end.
    const std::vector<int> again = progressOf(*db, summaryByClerk(), &statements);
    ASSERT_GE(again.size(), 2u);
    EXPECT_GE(again[again.size() - 2], 90);
    EXPECT_TRUE(std::is_sorted(again.begin(), again.end()));
}

TEST_F(CanceledLink, ACancelFromAnotherThreadStopsAReadAndTheNextReadWorks) {
    // A cancel between calls is no cancel of the next one.
    link().Cancel();
    EXPECT_EQ(count(u"tblTrans"_s), transactions_);

    std::atomic<bool> reading = false;
    QObject::connect(&link(), &SiteLink::ProgressChanged, [&] { reading = true; });
    std::thread canceler([&] {
        for (int waited = 0; !reading && waited < 60000; ++waited)
            QThread::msleep(1);
        link().Cancel();
    });
    const auto rows = link().OpenRecordset(QString::fromUtf16(testsupport::kLongRead));
    canceler.join();
    EXPECT_EQ(rows, nullptr);
    EXPECT_EQ(errors_, QStringList{kCanceled});
    EXPECT_TRUE(link().Canceled());
    EXPECT_TRUE(link().isConnected());
    EXPECT_EQ(link().Progress(), 0);

    EXPECT_EQ(count(u"tblTrans"_s), transactions_);
    EXPECT_FALSE(link().Canceled());
    EXPECT_EQ(errors_.size(), 1);
}

TEST_F(CanceledLink, ACanceledFixedReportEndsThereAndIsNotLogged) {
    // Report 25 first fills the session's table from the interval, here one that takes long.
    const QString slowInterval =
        kFiveDays + u" AND ("_s + QString::fromUtf16(testsupport::kLongRead) + u") > 0"_s;
    int commands = 0;
    QObject::connect(&link(), &SiteLink::StatusChanged, [&](const QString& status) {
        // The second command is the fill; the cancel comes once it has been handed over.
        if (status == u"Running command" && ++commands == 2)
            QTimer::singleShot(0, &link(), &SiteLink::Cancel);
    });
    EXPECT_EQ(modFixedReports::fncRunFixedReport(session_, 25, slowInterval, false,
                                                 session_.SessionIndex()),
              nullptr);
    EXPECT_EQ(errors_, QStringList{kCanceled});
    EXPECT_EQ(count(u"tblLog"_s), 0);

    const auto report =
        modFixedReports::fncRunFixedReport(session_, 25, kFiveDays, false, session_.SessionIndex());
    ASSERT_TRUE(report);
    EXPECT_GT(report->recordCount(), 0u);
    EXPECT_EQ(errors_.size(), 1) << errors_.join(u'\n').toStdString();
}
