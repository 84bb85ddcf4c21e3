#include "core/modFixedReports.h"
#include "jet/SqliteDatabase.h"
#include "recordset/AdoType.h"
#include "support/ReportTexts.h"
#include "vb/Convert.h"

#include "site/SiteSchema.h"
#include "support/VbTestSupport.h"

#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;
using modFixedReports::fncExpandPlaceholders;
using testsupport::errorOf;

namespace {

const QString& kClerk = testsupport::kClerkLabelText;

} // namespace

TEST(FixedReportExpansion, EveryPlaceholderBecomesItsTextWhateverItsCase) {
    const QString expanded = fncExpandPlaceholders(
        u"<selaction>|<AGGACTION>|<SelClk>|<aggclk>|<SELREG>|<Aggreg>|<seldate>|<AggDate>|"
        u"<SelTime>|<aggtime>|<interval>|<CRITICAL>|<TblName>"_s,
        false, u"I"_s, 3);
    const QStringList parts = expanded.split(u'|');
    ASSERT_EQ(parts.size(), 13);
    EXPECT_EQ(parts[0],
              uR"x(lkpactions.fldActionCode & " (" & lkpactions.fldactiondesc & ")" as [Code])x"_s);
    EXPECT_EQ(parts[1], uR"x(lkpactions.fldActionCode & " (" & lkpactions.fldactiondesc & ")")x"_s);
    EXPECT_EQ(parts[2], kClerk + u" as [Clerk]"_s);
    EXPECT_EQ(
        parts[3],
        uR"(tblactors.fldactorlname & ", " & tblactors.fldactorfname & " - " & tblactors.fldActorCode)"_s);
    EXPECT_EQ(parts[4], u"tbltrans.fldtransregnum as [Register]"_s);
    EXPECT_EQ(parts[5], u"tbltrans.fldtransregnum"_s);
    EXPECT_EQ(parts[6], uR"(cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")) as [Date])"_s);
    EXPECT_EQ(parts[7], uR"(cdate(format$(tbltrans.fldtranstime, "yyyy/mm/dd")))"_s);
    EXPECT_EQ(parts[8], uR"(cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")) as [Time])"_s);
    EXPECT_EQ(parts[9], uR"(cdate(format$(tbltrans.fldtranstime, "HH:nn:ss")))"_s);
    EXPECT_EQ(parts[10], u"I"_s);
    EXPECT_EQ(parts[11], u"TRUE"_s);
    EXPECT_EQ(parts[12], u"tblTemp3"_s);

    EXPECT_EQ(fncExpandPlaceholders(u"<Critical>"_s, true, {}, 0),
              u"lkpactions.fldactioncritical = TRUE"_s);
    EXPECT_EQ(fncExpandPlaceholders(u"<tblname> <tblname>"_s, false, {}, 12),
              u"tblTemp12 tblTemp12"_s);
}

TEST(FixedReportExpansion, AClerkCountTemplateReadsAsThePowerSearchWouldWriteIt) {
    const QString interval =
        u" tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00# "_s;
    const QString expanded = fncExpandPlaceholders(
        u"SELECT <SelClk>, count(*) AS [Count] From tblActors INNER JOIN (lkpActions INNER JOIN "
        u"tblTrans ON lkpActions.idfActionID = tblTrans.fkyActionID) ON tblActors.idfActorID = "
        u"tblTrans.fkyActorID WHERE <Interval> AND <Critical> GROUP BY <AggClk> ORDER BY <AggClk>"_s,
        false, interval, 3);
    EXPECT_EQ(expanded, u"SELECT "_s + kClerk + u" as [Clerk], count(*) AS [Count] "_s +
                            testsupport::kTransJoinText + u"WHERE "_s + interval +
                            u" AND TRUE GROUP BY "_s + kClerk + u" ORDER BY "_s + kClerk);
}

TEST(FixedReportExpansion, LaterPlaceholdersAreExpandedInsideEarlierReplacementsOnly) {
    // The interval is put in before <Critical> and <tblname>, after the column placeholders.
    EXPECT_EQ(fncExpandPlaceholders(u"<Interval>"_s, false, u"<SelClk> <Critical> <tblname>"_s, 3),
              u"<SelClk> TRUE tblTemp3"_s);
    // A replacement is never searched again by its own placeholder.
    EXPECT_EQ(fncExpandPlaceholders(u"<Interval>"_s, false, u"<Interval>"_s, 3), u"<Interval>"_s);
}

TEST(FixedReportExpansion, ATemplateThatOutgrowsSixteenBitsOverflows) {
    const QString many = QString(u"<SelClk>"_s).repeated(400);
    EXPECT_EQ(errorOf([&] { fncExpandPlaceholders(many, false, {}, 3); }), 6);
}

namespace {

const QString kDay =
    u" tblTrans.fldTransTime  between #2003/03/28 00:00:00# and #2003/03/29 00:00:00#"_s;
const QString kThirtyDays =
    u" tblTrans.fldTransTime between #2/26/2003# and #2003/03/28 00:00:00#"_s;
constexpr int kSession = 3;

const QStringList kCodes = {u"SALE"_s,     u"VOID"_s,     u"NOSALE"_s, u"REFUND"_s, u"DISC"_s,
                            u"PRICEOVR"_s, u"LINECORR"_s, u"CANCEL"_s, u"PAIDOUT"_s};
const QSet<QString> kCritical = {u"VOID"_s, u"NOSALE"_s, u"REFUND"_s, u"PRICEOVR"_s, u"CANCEL"_s};

struct Sale {
    const char* time;
    int reg;
    const char* code;
    int actor; // 1 Ng, 2 Smith, 3 Lee (never at work)
    double price;
};

// Two days: the 27th falls in the 30 days before the 28th, the 28th is the summary's day.
const std::vector<Sale> kSales = {
    {"2003/03/27 09:00:00", 1, "SALE", 1, 2.5},    {"2003/03/27 09:05:00", 1, "SALE", 1, 1},
    {"2003/03/27 10:00:00", 1, "SALE", 1, 4},      {"2003/03/27 10:01:00", 1, "VOID", 1, -4},
    {"2003/03/27 11:00:00", 2, "SALE", 2, 3},      {"2003/03/27 11:30:00", 2, "SALE", 2, 3},
    {"2003/03/27 12:00:00", 2, "NOSALE", 2, 0},    {"2003/03/28 08:00:00", 1, "SALE", 1, 5},
    {"2003/03/28 08:10:00", 1, "SALE", 1, 6},      {"2003/03/28 08:11:00", 1, "VOID", 1, -6},
    {"2003/03/28 09:00:00", 1, "REFUND", 1, -5},   {"2003/03/28 13:00:00", 2, "SALE", 2, 7},
    {"2003/03/28 13:05:00", 2, "NOSALE", 2, 0},    {"2003/03/28 13:06:00", 2, "NOSALE", 2, 0},
    {"2003/03/28 13:10:00", 2, "PRICEOVR", 2, 1},  {"2003/03/28 14:00:00", 2, "DISC", 2, -1},
    {"2003/03/28 14:10:00", 2, "LINECORR", 2, -2}, {"2003/03/28 15:00:00", 2, "CANCEL", 2, -9},
    {"2003/03/28 16:00:00", 2, "PAIDOUT", 2, -20},
};

// A site file made the way `init` makes one, with the sales above.
class FixedReportSite : public testsupport::EnUsTest {
protected:
    void SetUp() override {
        EnUsTest::SetUp();
        db_ = site::initSite(dir_.filePath(u"site.tsite"_s), false);
        for (const QString& actor :
             {u"'1001', 'Ng', 'Vi'"_s, u"'1002', 'Smith', 'Ann'"_s, u"'1003', 'Lee', 'Bo'"_s})
            db_->execute(u"INSERT INTO tblActors (fldActorCode, fldActorlName, fldActorfName) "
                         u"VALUES ("_s +
                         actor + u")"_s);
        for (const QString& code : kCodes)
            db_->execute(
                u"INSERT INTO lkpActions (fldActionCode, fldActionDesc, fldactioncritical) "
                u"VALUES ('%1', '%2 action', %3)"_s.arg(code, code.toLower())
                    .arg(kCritical.contains(code) ? 1 : 0));
        for (const Sale& s : kSales)
            db_->execute(u"INSERT INTO tblTrans (fldTransTime, fldtransregnum, fldTransQty, "
                         u"fldTransDesc, fldTransPrice, fkyActionID, fkyActorID) VALUES "
                         u"(#%1#, %2, 1, 'ITEM', %3, %4, %5)"_s.arg(QString::fromUtf8(s.time))
                             .arg(s.reg)
                             .arg(s.price)
                             .arg(kCodes.indexOf(QString::fromUtf8(s.code)) + 1)
                             .arg(s.actor));
    }

    std::shared_ptr<rs::Recordset> row(int id) {
        return db_->query(u"select * from tblfixedreports where idfFixedReportID = %1"_s.arg(id));
    }

    QString templateOf(int id) { return row(id)->field(u"fldSQL").value().toString(); }

    // Runs a report as the client's runner does: a command stage first drops and refills the
    // session's table, then the row it names gives the result.
    std::shared_ptr<rs::Recordset> run(int id, const QString& interval, bool criticalOnly) {
        auto report = row(id);
        if (vb::cbool(report->field(u"fldCommand").value())) {
            try {
                db_->execute(u"DROP TABLE "_s + modFixedReports::fncTempTableName(kSession));
            } catch (const vb::VbError&) {
                // Not there yet: the first run of the session.
            }
            db_->execute(fncExpandPlaceholders(templateOf(id), criticalOnly, interval, kSession));
            id = vb::clng(report->field(u"fldsubquery").value());
        }
        return db_->query(fncExpandPlaceholders(templateOf(id), criticalOnly, interval, kSession));
    }

    // The listed reports by number, as the report list shows them.
    std::vector<int> listed() {
        auto all = db_->query(u"select * from tblfixedreports order by fldReporttitle"_s);
        std::vector<int> ids;
        for (all->moveFirst(); !all->eof(); all->moveNext())
            if (!vb::cbool(all->field(u"fldIssubquery").value()))
                ids.push_back(vb::clng(all->field(u"idfFixedReportID").value()));
        return ids;
    }

    QTemporaryDir dir_;
    std::unique_ptr<jet::SqliteDatabase> db_;
};

// Each row as "label: heading=value ..." with the Null cells left out.
std::vector<QString> describeRows(rs::Recordset& r) {
    std::vector<QString> rows;
    for (r.moveFirst(); !r.eof(); r.moveNext()) {
        QString text = r.field(0).value().toString() + u":"_s;
        for (int c = 1; c < r.fieldCount(); ++c)
            if (!r.field(c).isNull())
                text += u" "_s + r.field(c).name() + u"="_s +
                        QString::number(r.field(c).value().toDouble(), 'g', 4);
        rows.push_back(text);
    }
    return rows;
}

// One text label column, then numbers only: what the Daily Summary tables and charts expect.
void expectChartShape(rs::Recordset& r) {
    static const QSet<int> numeric = {2, 3, 4, 5, 6, 17, 20};
    ASSERT_GE(r.fieldCount(), 2);
    EXPECT_TRUE(rs::isTextType(r.field(0).type())) << int(r.field(0).type());
    for (int c = 1; c < r.fieldCount(); ++c)
        EXPECT_TRUE(numeric.contains(int(r.field(c).type())))
            << r.field(c).name().toStdString() << " is of type " << int(r.field(c).type());
}

} // namespace

TEST_F(FixedReportSite, TheListHoldsFirstStagesOnlyAndEveryTemplateUsesTheSharedForms) {
    const std::vector<int> ids = listed();
    EXPECT_GE(ids.size(), 12u);
    for (int id : {7, 20, 25})
        EXPECT_NE(std::find(ids.begin(), ids.end(), id), ids.end()) << id;

    auto all = db_->query(u"select * from tblfixedreports"_s);
    QString every;
    for (all->moveFirst(); !all->eof(); all->moveNext()) {
        const int id = vb::clng(all->field(u"idfFixedReportID").value());
        const QString sql = all->field(u"fldSQL").value().toString();
        every += sql;
        SCOPED_TRACE(id);
        if (vb::cbool(all->field(u"fldCommand").value())) {
            auto second = row(vb::clng(all->field(u"fldsubquery").value()));
            ASSERT_EQ(second->recordCount(), 1u);
            EXPECT_TRUE(vb::cbool(second->field(u"fldIssubquery").value()));
            EXPECT_TRUE(sql.contains(u"<tblname>"_s, Qt::CaseInsensitive));
        }
        if (sql.contains(u"tblTrans"_s, Qt::CaseInsensitive)) {
            EXPECT_TRUE(sql.contains(testsupport::kTransJoinText));
            EXPECT_TRUE(sql.contains(u"<Interval>"_s));
        }
    }
    for (const char* p :
         {"<SelAction>", "<AggAction>", "<SelClk>", "<AggClk>", "<Selreg>", "<Aggreg>", "<SelDate>",
          "<AggDate>", "<SelTime>", "<AggTime>", "<Interval>", "<Critical>", "<tblname>"})
        EXPECT_TRUE(every.contains(QString::fromUtf8(p), Qt::CaseInsensitive)) << p;
}

TEST_F(FixedReportSite, EveryListedReportRunsOverADayAndOverThirtyDays) {
    for (int id : listed()) {
        for (bool critical : {false, true}) {
            SCOPED_TRACE(id);
            try {
                // Every code was used on the day, so a report that finds nothing there names a
                // code or a column wrongly.
                const auto day = run(id, kDay, critical);
                EXPECT_TRUE(critical || day->recordCount() > 0);
                run(id, kThirtyDays, critical);
            } catch (const vb::VbError& e) {
                ADD_FAILURE() << e.number() << " " << e.description().toStdString();
            }
        }
    }
}

TEST_F(FixedReportSite, TheDaysCountsComeOneRowPerClerkAndOneColumnPerCode) {
    auto counts = run(7, kDay, false);
    expectChartShape(*counts);
    EXPECT_EQ(describeRows(*counts),
              (std::vector<QString>{u"Ng, Vi - 1001: REFUND=1 SALE=2 VOID=1"_s,
                                    u"Smith, Ann - 1002: CANCEL=1 DISC=1 LINECORR=1 NOSALE=2 "
                                    u"PAIDOUT=1 PRICEOVR=1 SALE=1"_s}));

    // Critical only keeps the critical codes and the clerks who used them.
    auto critical = run(7, kDay, true);
    expectChartShape(*critical);
    EXPECT_EQ(describeRows(*critical),
              (std::vector<QString>{u"Ng, Vi - 1001: REFUND=1 VOID=1"_s,
                                    u"Smith, Ann - 1002: CANCEL=1 NOSALE=2 PRICEOVR=1"_s}));
}

TEST_F(FixedReportSite, AveragesAreCountsPerDayOfTradeForEachClerkAndForTheAverageClerk) {
    // The report day itself lies outside the 30 days, and of those the store traded on the 27th
    // alone: each clerk's figure is that day's count.
    auto byClerk = run(20, kThirtyDays, false);
    expectChartShape(*byClerk);
    EXPECT_EQ(describeRows(*byClerk),
              (std::vector<QString>{u"Ng, Vi - 1001: SALE=3 VOID=1"_s,
                                    u"Smith, Ann - 1002: NOSALE=1 SALE=2"_s}));

    // Two clerks worked; the average clerk had half of each code's count.
    auto overall = run(25, kThirtyDays, false);
    expectChartShape(*overall);
    EXPECT_EQ(describeRows(*overall),
              (std::vector<QString>{u"NOSALE: Per Day=0.5"_s, u"SALE: Per Day=2.5"_s,
                                    u"VOID: Per Day=0.5"_s}));
    // Run again in the same session: the first stage replaces the table it left.
    EXPECT_EQ(describeRows(*run(25, kThirtyDays, true)),
              (std::vector<QString>{u"NOSALE: Per Day=0.5"_s, u"VOID: Per Day=0.5"_s}));

    // Over both days every count is shared by two days of trade.
    const QString twoDays =
        u" tblTrans.fldTransTime between #2003/03/27 00:00:00# and #2003/03/29 00:00:00#"_s;
    EXPECT_EQ(describeRows(*run(20, twoDays, false)),
              (std::vector<QString>{u"Ng, Vi - 1001: REFUND=0.5 SALE=2.5 VOID=1"_s,
                                    u"Smith, Ann - 1002: CANCEL=0.5 DISC=0.5 LINECORR=0.5 "
                                    u"NOSALE=1.5 PAIDOUT=0.5 PRICEOVR=0.5 SALE=1.5"_s}));
    EXPECT_EQ(describeRows(*run(25, twoDays, true)),
              (std::vector<QString>{u"CANCEL: Per Day=0.25"_s, u"NOSALE: Per Day=0.75"_s,
                                    u"PRICEOVR: Per Day=0.25"_s, u"REFUND: Per Day=0.25"_s,
                                    u"VOID: Per Day=0.5"_s}));
}

TEST_F(FixedReportSite, SingleCodeReportsListTheirCodeWhateverTheCriticalBox) {
    auto voids = run(5, kDay, true);
    ASSERT_EQ(voids->recordCount(), 1u);
    EXPECT_EQ(voids->field(u"Clerk").value().toString(), u"Ng, Vi - 1001"_s);
    EXPECT_EQ(vb::clng(voids->field(u"Register").value()), 1);
    EXPECT_EQ(voids->field(u"Price").value().toDouble(), -6.0);

    EXPECT_EQ(run(6, kDay, false)->recordCount(), 2u);
    EXPECT_EQ(run(12, kDay, true)->recordCount(), 1u); // DISC is not critical
    // Register 2's price override is a sale; its no-sales and paid-out are none, so its net
    // sales are the sale and the override less the discount, the correction and the cancel.
    auto sales = run(11, kDay, false);
    EXPECT_EQ(describeRows(*sales),
              (std::vector<QString>{u"1: Sale Lines=2 Gross Sales=11 Net Sales=0"_s,
                                    u"2: Sale Lines=2 Gross Sales=8 Net Sales=-4"_s}));
}
