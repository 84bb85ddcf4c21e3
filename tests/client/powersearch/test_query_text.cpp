// The Power Search's query text clause by clause, to the blank, with the title built beside it;
// each text run on the demo site through the real link and its rows counted against SQLite's own
// reading of the same file. Then the run itself: its titles, its busy flag and its failures.

#include "PowerSearchTest.h"

#include "core/AppGlobals.h"
#include "link/modMain.h"
#include "shared/frmKestrelMessage.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <functional>

using namespace Qt::Literals::StringLiterals;
using testsupport::at;
using testsupport::demoCount;

namespace {

const QString kListSelect =
    u"SELECT cdate(format$(tbltrans.fldtranstime, \"yyyy/mm/dd\")) as [Date], "
    u"cdate(format$(tbltrans.fldtranstime, \"HH:nn:ss\")) as [Time], tbltrans.fldtransregnum as "
    u"[Reg], tblTrans.fldTransQty AS [Qty],tblTrans.fldTransDesc AS [Description],"
    u"tblTrans.fldTransPrice As [Price], lkpActions.fldActionCode AS [Action], "
    u"tblActors.fldActorCode AS [Login], tblActors.fldActorlName & \", \" & "
    u"tblActors.fldActorfName AS [Name] "_s;
const QString kClerkLabel = u"tblactors.fldactorlname & \", \" & tblactors.fldactorfname & "
                            u"\" - \" & tblactors.fldActorCode"_s;
const QString kSums =
    u"count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum] "_s;
const QString kFrom =
    u"From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = "
    u"tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID "_s;
const QString kTime =
    u" tblTrans.fldTransTime between #2003/03/23 00:00:00# AND #2003/03/24 00:00:00# "_s;
const QString kRange = u"Sun 3/23/2003 00:00:00 to Mon 3/24/2003 00:00:00"_s;

class QueryText : public testsupport::PowerSearchTest {
protected:
    void SetUp() override {
        PowerSearchTest::SetUp();
        connectDemo();
        freshCriteria();
        asterisks = 0;
    }

    // No criteria, the switches cleared, the range 23 March 2003 00:00 to 24 March 00:00.
    void freshCriteria() {
        frmPowerSearch& v = view();
        v.subResetCriteria();
        for (QCheckBox* box : {v.chkNotActionCode, v.chkAbsValue, v.chkLimitToCritical})
            box->setChecked(false);
        v.optDateTimeRange_Click(9);
        v.fdtStartTime->setValue(at(2003, 3, 23));
        v.fdtEndTime->setValue(at(2003, 3, 24));
    }

    // Runs the search and returns the view it opened (nullptr when none).
    frmReportOutput* run() {
        const auto before = reports().size();
        view().subRunPowerSearch();
        return reports().size() > before ? reports().last() : nullptr;
    }

    static QString between() { return testsupport::demoBetween(at(2003, 3, 23), at(2003, 3, 24)); }
};

struct Criterion {
    const char* name;
    std::function<void(frmPowerSearch&)> set;
    QString where;
    QString title;
    QString oracle; // the same rows in SQLite's words
};

} // namespace

TEST_F(QueryText, EachSearchTypeHasItsSelectGroupAndOrderParts) {
    frmPowerSearch& v = view();
    const struct {
        int type;
        QString select;
        QString group;
        QString titlePiece;
    } cases[] = {
        {0, kListSelect, u" "_s, QString()},
        {1, u"select "_s + kClerkLabel + u" as [Clerk], "_s + kSums,
         u"group By "_s + kClerkLabel + u" "_s, u"By Clk"_s},
        // The register summary's select ends in two blanks.
        {2, u"select tbltrans.fldtransregnum as [Register], "_s + kSums + u" "_s,
         u"group By fldtransregnum "_s, u"By Reg"_s},
    };
    for (const auto& c : cases) {
        v.optSearchType[c.type]->setChecked(true);
        EXPECT_EQ(v.fncSelectClause(), c.select) << c.type;
        v.mstrSearchTitle.clear();
        EXPECT_EQ(v.fncGroupClause(), c.group) << c.type;
        EXPECT_EQ(v.mstrSearchTitle, c.titlePiece) << c.type;
    }
    EXPECT_EQ(v.fncFromClause(), kFrom);
    v.mstrSearchTitle = u"All"_s;
    EXPECT_EQ(v.fncOrderClause(), u"Order By tblTrans.fldTransTime, idftransid "_s);
    EXPECT_EQ(v.mstrSearchTitle, u"All, List"_s);
}

TEST_F(QueryText, TheItemAndRegisterExampleReadsAndRunsAsWritten) {
    frmPowerSearch& v = view();
    v.cboItem->setEditText(u"CIG%"_s);
    v.cboRegister->setEditText(u"3"_s);
    EXPECT_EQ(
        v.fncWhereClause(),
        u"Where (tbltrans.fldtransdesc like \"CIG%\")  AND tbltrans.fldtransregnum = 3 AND "_s);
    EXPECT_EQ(v.fncTimeCriteria(), kTime);
    EXPECT_EQ(v.mstrSearchTitle, u"CIG%, Reg 3, "_s + kRange);

    frmReportOutput* report = run();
    ASSERT_TRUE(report);
    EXPECT_EQ(report->ReportTitle(), u"CIG%, Reg 3, "_s + kRange + u", List"_s);
    const long long expected =
        demoCount(u"t.fldTransDesc LIKE 'CIG%' AND t.fldtransregnum = 3 AND "_s + between());
    EXPECT_GT(expected, 0);
    EXPECT_EQ(static_cast<long long>(report->Recordset()->recordCount()), expected);
    EXPECT_EQ(report->Recordset()->field(0).name(), u"Date"_s);
    EXPECT_FALSE(v.mblnBusy);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(QueryText, EachCriterionGivesItsConditionAndTitlePieceAndTheSiteAgrees) {
    const QString clerk = vb::cstr(main_->session().grsClerks->valueAt(0, 0));
    const QString clerkText = u"tblactors.fldactorcode  = \""_s + clerk + u"\" "_s;
    auto price = [](int position, const QString& text, bool abs = false) {
        return [=](frmPowerSearch& v) {
            v.cboModifier->setCurrentIndex(position);
            v.txtPrice->setText(text);
            v.chkAbsValue->setChecked(abs);
        };
    };
    const Criterion cases[] = {
        {"nothing", [](frmPowerSearch&) {}, u"Where "_s, u"All"_s, u"1"_s},
        {"percent everywhere",
         [](frmPowerSearch& v) {
             for (QComboBox* box : {v.cboItem, v.cboAction, v.cboClerk, v.cboRegister})
                 box->setEditText(u"%"_s);
         },
         u"Where "_s, u"All"_s, u"1"_s},
        {"action", [](frmPowerSearch& v) { v.cboAction->setEditText(u"V%"_s); },
         u"Where (lkpactions.fldactioncode like 'V%') AND "_s, u"V%"_s,
         u"k.fldActionCode LIKE 'V%'"_s},
        {"everything but the action",
         [](frmPowerSearch& v) {
             v.cboAction->setEditText(u"V%"_s);
             v.chkNotActionCode->setChecked(true);
         },
         u"Where not (lkpactions.fldactioncode like 'V%') AND "_s, u"not V%"_s,
         u"NOT k.fldActionCode LIKE 'V%'"_s},
        {"ALL stands for every code", [](frmPowerSearch& v) { v.cboAction->setEditText(u"ALL"_s); },
         u"Where "_s, u"All"_s, u"1"_s},
        {"Al is a code", [](frmPowerSearch& v) { v.cboAction->setEditText(u"Al%"_s); },
         u"Where (lkpactions.fldactioncode like 'Al%') AND "_s, u"Al%"_s,
         u"k.fldActionCode LIKE 'Al%'"_s},
        {"item and action",
         [](frmPowerSearch& v) {
             v.cboItem->setEditText(u"COLA%"_s);
             v.cboAction->setEditText(u"SALE"_s);
         },
         u"Where (tbltrans.fldtransdesc like \"COLA%\")  AND (lkpactions.fldactioncode like "
         u"'SALE') AND "_s,
         u"COLA%, SALE"_s, u"t.fldTransDesc LIKE 'COLA%' AND k.fldActionCode = 'SALE'"_s},
        {"clerk", [&](frmPowerSearch& v) { v.cboClerk->setEditText(clerk); },
         u"Where "_s + clerkText + u"AND "_s, u"Clk "_s + clerk,
         u"a.fldActorCode = '"_s + clerk + u"'"_s},
        {"register read as a number",
         [](frmPowerSearch& v) { v.cboRegister->setEditText(u"3A"_s); },
         u"Where tbltrans.fldtransregnum = 3 AND "_s, u"Reg 3A"_s, u"t.fldtransregnum = 3"_s},
        {"greater than no price", price(1, QString()), u"Where fldtransprice  > 0 AND "_s, u">"_s,
         u"t.fldTransPrice > 0"_s},
        {"below, ignoring signs", price(2, u"12.50"_s, true),
         u"Where abs(fldtransprice)  < 12.5 AND "_s, u"<12.50, (No '-')"_s,
         u"abs(t.fldTransPrice) < 12.5"_s},
        {"signs ignored without an operator", price(0, u"5"_s, true), u"Where "_s, u"All"_s,
         u"1"_s},
        {"not equal", price(4, u"2.29"_s), u"Where fldtransprice  <> 2.29 AND "_s, u"<>2.29"_s,
         u"t.fldTransPrice <> 2.29"_s},
        {"clerk and a negative price",
         [&](frmPowerSearch& v) {
             v.cboClerk->setEditText(clerk);
             price(3, u"-0.01"_s)(v);
         },
         u"Where "_s + clerkText + u" AND fldtransprice  = -0.01 AND "_s,
         u"Clk "_s + clerk + u", =-0.01"_s,
         u"a.fldActorCode = '"_s + clerk + u"' AND t.fldTransPrice = -0.01"_s},
    };
    frmPowerSearch& v = view();
    for (const Criterion& c : cases) {
        SCOPED_TRACE(c.name);
        freshCriteria();
        c.set(v);
        EXPECT_EQ(v.fncWhereClause(), c.where);
        EXPECT_EQ(v.mstrSearchTitle, c.title);
        frmReportOutput* report = run();
        ASSERT_TRUE(report);
        EXPECT_EQ(static_cast<long long>(report->Recordset()->recordCount()),
                  demoCount(c.oracle + u" AND "_s + between()));
        report->parentWidget()->close();
    }
    EXPECT_EQ(asterisks, 0); // the link reported no error
}

TEST_F(QueryText, SummariesCountEachClerkAndEachRegister) {
    const struct {
        int type;
        QString column;
        QString oracle; // the group's rows, by its value
        QString titleEnd;
    } summaries[] = {
        {2, u"Register"_s, u"t.fldtransregnum = %1"_s, u", By Reg"_s},
        {1, u"Clerk"_s,
         u"a.fldActorlName || ', ' || a.fldActorfName || ' - ' || a.fldActorCode = '%1'"_s,
         u", By Clk"_s},
    };
    for (const auto& summary : summaries) {
        view().optSearchType[summary.type]->setChecked(true);
        frmReportOutput* report = run();
        ASSERT_TRUE(report);
        EXPECT_EQ(report->ReportTitle(), u"All, "_s + kRange + summary.titleEnd);
        rs::Recordset& groups = *report->Recordset();
        long long total = 0;
        for (groups.moveFirst(); !groups.eof(); groups.moveNext()) {
            const QString group = vb::cstr(groups.field(summary.column).value());
            const long long count = vb::clng(groups.field(u"Count").value());
            EXPECT_EQ(count, demoCount(summary.oracle.arg(group) + u" AND "_s + between()))
                << group.toStdString();
            total += count;
        }
        EXPECT_EQ(total, demoCount(between()));
    }
}

TEST_F(QueryText, TransactionsWhoseClerkIsGoneNeverShow) {
    frmReportOutput* report = run();
    ASSERT_TRUE(report);
    const long long joined = demoCount(between());
    const long long stored =
        testsupport::demoScalar(u"SELECT count(*) FROM tblTrans t WHERE "_s + between());
    EXPECT_EQ(static_cast<long long>(report->Recordset()->recordCount()), joined);
    EXPECT_LT(joined, stored);
}

TEST_F(QueryText, ASavedSearchTitlesTheReportUntilACriterionChanges) {
    frmPowerSearch& v = view();
    v.cboReportTitle->addItem(u"Voids"_s, 7);
    v.cboReportTitle->setCurrentIndex(v.cboReportTitle->count() - 1);
    frmReportOutput* report = run();
    ASSERT_TRUE(report);
    EXPECT_EQ(report->ReportTitle(), u"Voids - "_s + kRange);

    v.chkAbsValue->click();
    EXPECT_EQ(v.cboReportTitle->currentText(), u"Saved PowerSearches..."_s);
    report = run();
    ASSERT_TRUE(report);
    EXPECT_EQ(report->ReportTitle(), u"All, "_s + kRange + u", List"_s);
}

TEST_F(QueryText, ARefusedQueryOpensNoViewAndABusyViewRunsNothing) {
    frmPowerSearch& v = view();
    // A quote inside the action ends the literal early: the site refuses the text.
    v.cboAction->setEditText(u"V'%"_s);
    EXPECT_EQ(run(), nullptr);
    EXPECT_EQ(asterisks, 1); // the link's own report
    EXPECT_TRUE(frmKestrelMessage::instance()->isVisible());
    frmKestrelMessage::instance()->close();
    EXPECT_FALSE(v.mblnBusy);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);

    v.cboAction->setEditText(QString());
    v.mblnBusy = true;
    EXPECT_EQ(run(), nullptr);
    v.mblnBusy = false;
    EXPECT_TRUE(run());
}

// On a site of the test's own: the failure is written to its log.
class FailedRun : public testsupport::PowerSearchTest {};

TEST_F(FailedRun, IsLoggedAndLeavesTheViewBusyForGood) {
    modMain::subFullConnect(*main_, sitePath_, 0);
    ASSERT_TRUE(gConnected);
    frmPowerSearch& v = view();
    v.optDateTimeRange_Click(9);
    v.fdtEndTime->setValue(4.0e6); // past the calendar's end: the range text cannot be written
    v.subRunPowerSearch();
    EXPECT_TRUE(v.mblnBusy);
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    const auto log = link().OpenRecordset(u"select * from tblLog"_s);
    ASSERT_TRUE(log);
    ASSERT_EQ(log->recordCount(), 1u);
    EXPECT_EQ(vb::cstr(log->field(u"fldLogModule").value()), u"frmPowerSearch"_s);
    EXPECT_EQ(vb::cstr(log->field(u"fldLogRoutine").value()), u"subRunPowerSearch"_s);

    // Generate Report does nothing any more, on either tab, even with a valid range.
    v.optDateTimeRange_Click(1);
    v.cmdRun->click();
    v.tabReports->setCurrentIndex(0);
    v.lstFixedReports->setCurrentRow(0);
    ASSERT_TRUE(v.lstFixedReports->currentItem());
    v.cmdRun->click();
    EXPECT_TRUE(reports().isEmpty());
}
