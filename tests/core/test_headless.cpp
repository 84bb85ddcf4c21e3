// The client's work with no window at all: a saved search and a Fixed Report run through the core
// on a copy of the demo site, as a program without a display runs them, and each result checked
// against the site read directly.

#include "SessionTest.h"

#include "core/modDateRanges.h"
#include "core/modFixedReports.h"
#include "core/modPowerSearch.h"
#include "core/modSavedSearches.h"
#include "jet/SqliteDatabase.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"

#include "support/DemoSite.h"

using namespace Qt::Literals::StringLiterals;

namespace {

class Headless : public testsupport::SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        // Saving writes to the site: the shared demo site must stay as it is.
        copy_ = dir_.filePath(u"demo.tsite"_s);
        ASSERT_TRUE(QFile::copy(testsupport::demoSite().path, copy_));
        connectSite(copy_);
        direct_ = jet::SqliteDatabase::open(copy_);
    }

    // Every cell of a set as text, row by row.
    static QStringList cells(const rs::Recordset& records) {
        QStringList out;
        for (std::size_t row = 0; row < records.recordCount(); ++row)
            for (int column = 0; column < records.fieldCount(); ++column) {
                const vb::Variant value = records.valueAt(row, column);
                out << (value.isNull() ? u"Null"_s : vb::cstr(value));
            }
        return out;
    }

    QString templateOf(int report) {
        return vb::cstr(
            direct_
                ->query(u"SELECT fldSQL FROM tblfixedreports WHERE idfFixedReportID = "_s +
                        QString::number(report))
                ->field(0)
                .value());
    }

    // Friday 28 March 2003, mid-afternoon: "Previous Day" is the 27th.
    const double now_ = vb::dateSerial(2003, 3, 28) + vb::timeSerial(15, 30, 0);
    QString copy_;
    std::unique_ptr<jet::SqliteDatabase> direct_;
};

TEST_F(Headless, ASavedSearchIsSavedRestoredAndRunWithoutAnyWidget) {
    // A core application cannot even make a widget.
    EXPECT_FALSE(QCoreApplication::instance()->inherits("QGuiApplication"));

    core::SearchCriteria criteria;
    criteria.action = u"SALE"_s;
    criteria.registerText = u"3"_s;
    criteria.interval = 1; // Previous Day
    ASSERT_TRUE(modSavedSearches::fncSaveSearch(session(), criteria, u"Register 3 sales"_s));

    const auto searches = modSavedSearches::fncLoadSavedSearches(session());
    ASSERT_TRUE(rs::fncHasRecords(searches));
    ASSERT_EQ(searches->recordCount(), 1u);
    const std::int32_t id = vb::clng(searches->field(u"idfReports2ID").value());
    const core::SearchCriteria restored =
        modSavedSearches::fncRestoreSearch(*searches, id, now_, kModifierCount);
    EXPECT_EQ(restored.action, u"SALE"_s);
    EXPECT_EQ(restored.registerText, u"3"_s);
    EXPECT_EQ(restored.start, vb::dateSerial(2003, 3, 27));
    EXPECT_EQ(restored.end, vb::dateSerial(2003, 3, 28));

    const modPowerSearch::SearchText text = modPowerSearch::fncSearchText(restored);
    EXPECT_EQ(text.title, u"SALE, Reg 3, Thu 3/27/2003 00:00:00 to Fri 3/28/2003 00:00:00, List"_s);
    EXPECT_EQ(modPowerSearch::fncSavedSearchTitle(u"Register 3 sales"_s, restored),
              u"Register 3 sales - Thu 3/27/2003 00:00:00 to Fri 3/28/2003 00:00:00"_s);
    const auto rows = link().OpenRecordset(text.query);
    ASSERT_TRUE(rows);
    const auto expected = direct_->query(
        u"SELECT count(*) FROM (tblTrans t INNER JOIN lkpActions a ON a.idfActionID = "
        u"t.fkyActionID) INNER JOIN tblActors c ON c.idfActorID = t.fkyActorID WHERE "
        u"a.fldActionCode = 'SALE' AND t.fldtransregnum = 3 AND t.fldTransTime >= #2003/03/27# "
        u"AND t.fldTransTime <= #2003/03/28#"_s);
    EXPECT_GT(rows->recordCount(), 0u);
    EXPECT_EQ(long(rows->recordCount()), expected->field(0).value().longValue());

    // Saving under the same title in other letters asks first; No keeps the search as it was.
    feedback_.answer = core::vbNo;
    criteria.registerText = u"4"_s;
    EXPECT_FALSE(modSavedSearches::fncSaveSearch(session(), criteria, u"REGISTER 3 SALES"_s));
    EXPECT_EQ(feedback_.boxes,
              QStringList{u"|A report called REGISTER 3 SALES already exists. Overwrite?|260"_s});
    EXPECT_EQ(
        vb::cstr(direct_->query(u"SELECT fldRegister FROM tblPowerSearches"_s)->field(0).value()),
        u"3"_s);
}

TEST_F(Headless, FixedReportsRunWithoutTheListBeingReadFirst) {
    ASSERT_FALSE(session().grsFixedReports);
    core::SearchCriteria range;
    range.start = vb::dateSerial(2003, 3, 20);
    range.end = vb::dateSerial(2003, 3, 28);
    QString title;
    const QString interval = modPowerSearch::fncTimeCriteria(range, title);

    // One stage: the same rows as the expanded template read straight from the file.
    const auto counts =
        modFixedReports::fncRunFixedReport(session(), 1, interval, false, session().SessionIndex());
    ASSERT_TRUE(rs::fncHasRecords(counts));
    EXPECT_EQ(cells(*counts), cells(*direct_->query(modFixedReports::fncExpandPlaceholders(
                                  templateOf(1), false, interval, 0))));
    ASSERT_TRUE(session().grsFixedReports);
    EXPECT_TRUE(session().grsFixedReports->filter().isEmpty());
    EXPECT_GE(feedback_.begun, 1);
    EXPECT_EQ(feedback_.depth, 0);

    // Two stages: the session's own table is filled, then read by the second stage.
    const auto average =
        modFixedReports::fncRunFixedReport(session(), 25, interval, true, session().SessionIndex());
    ASSERT_TRUE(rs::fncHasRecords(average));
    direct_->execute(modFixedReports::fncExpandPlaceholders(templateOf(25), true, interval, 0));
    EXPECT_EQ(cells(*average), cells(*direct_->query(modFixedReports::fncExpandPlaceholders(
                                   templateOf(26), true, interval, 0))));

    // The heading a view shows: "Critical " only for an action-code report with the box ticked.
    const QString rangeText = modDateRanges::fncDateRangeText(range.start, range.end);
    const auto critical = modFixedReports::fncReportHeading(
        session(), 1, u"Action Code Counts by Clerk"_s, true, rangeText);
    EXPECT_EQ(critical.title, u"Critical Action Code Counts by Clerk - "_s + rangeText);
    EXPECT_EQ(critical.groupFirstN, 1);
    EXPECT_EQ(
        modFixedReports::fncReportHeading(session(), 11, u"Sales by Register"_s, true, rangeText)
            .title,
        u"Sales by Register - "_s + rangeText);
    EXPECT_TRUE(feedback_.messages.isEmpty()) << feedback_.messages.join(u'\n').toStdString();
}

} // namespace
