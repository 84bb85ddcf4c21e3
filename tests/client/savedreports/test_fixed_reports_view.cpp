// Fixed Reports from the view through the real link on a demo site: the list, a run to a report
// view with its title and grouping, the critical-only flag, the two-stage report and the failure
// handlers. Expected figures are counted on the site with query text written here.

#include "SavedReportsTest.h"

#include "core/modFixedReports.h"

#include <QCheckBox>
#include <QListWidget>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kJoin =
    u"From tblActors INNER JOIN (lkpActions INNER JOIN tblTrans ON lkpActions.idfActionID = "
    u"tblTrans.fkyActionID) ON tblActors.idfActorID = tblTrans.fkyActorID "_s;
const QString kRange =
    u" tblTrans.fldTransTime between #2003/03/01 00:00:00# AND #2003/03/28 23:59:59# "_s;

class FixedReports : public testsupport::SavedReportsTest {
protected:
    void SetUp() override {
        SavedReportsTest::SetUp();
        setCustomRange(moment(2003, 3, 1), moment(2003, 3, 28, 23, 59, 59));
    }

    QListWidgetItem* entry(int id) const {
        QListWidget* list = view()->lstFixedReports;
        for (int i = 0; i < list->count(); ++i)
            if (list->item(i)->data(Qt::UserRole).toInt() == id) return list->item(i);
        return nullptr;
    }

    // Picks report `id` in the list and runs it; the report view it opened, if any.
    frmReportOutput* run(int id) {
        view()->lstFixedReports->setCurrentItem(entry(id));
        const qsizetype before = reportViews().size();
        view()->subRunFixedReport();
        return reportViews().size() > before ? reportViews().back() : nullptr;
    }

    QString column(int id, const char* name) const {
        return vb::cstr(value(rows(u"select * from tblfixedreports where idfFixedReportID = "_s +
                                   QString::number(id)),
                              name));
    }
    QString expectedTitle(int id) const {
        return column(id, "fldReportTitle") + u" - "_s + view()->fncDateRangeText();
    }

    // Transactions in the range, counted here rather than by any template.
    double transactions(bool criticalOnly) const {
        const auto count =
            rows(u"select count(*) "_s + kJoin + u"WHERE"_s + kRange +
                 (criticalOnly ? u"AND lkpactions.fldactioncritical = TRUE"_s : QString()));
        return vb::cdbl(count->field(0).value());
    }
    static double sumOf(const std::shared_ptr<rs::Recordset>& records, const QString& name) {
        double sum = 0;
        for (records->moveFirst(); !records->eof(); records->moveNext())
            sum += vb::cdbl(records->field(name).value());
        return sum;
    }

    void addReport(int id, const QString& sql, const QString& rest) {
        link().Execute(u"INSERT INTO tblfixedreports (idfFixedReportID, fldReportTitle, fldSQL, "
                       u"fldCommand, fldsubquery, fldIssubquery, fldCategory, fldGroupFirstN) "
                       u"VALUES ("_s +
                       QString::number(id) + u", 'Report "_s + QString::number(id) + u"', '"_s +
                       sql + u"', "_s + rest + u")"_s);
    }

    // "number|module|routine" of every error logged on the site.
    QStringList logged() const {
        QStringList entries;
        const auto log = rows(u"select * from tblLog"_s);
        for (log->moveFirst(); !log->eof(); log->moveNext())
            entries << vb::cstr(value(log, "fldLogErrNumber")) + u'|' +
                           vb::cstr(value(log, "fldLogModule")) + u'|' +
                           vb::cstr(value(log, "fldLogRoutine"));
        return entries;
    }
};

TEST_F(FixedReports, TheListOffersEveryFirstStageReportWithItsNumber) {
    const auto expected = rows(u"select idfFixedReportID, fldReportTitle from tblfixedreports "
                               u"where fldIssubquery = False order by fldReportTitle"_s);
    QListWidget* list = view()->lstFixedReports;
    ASSERT_EQ(std::size_t(list->count()), expected->recordCount());
    int i = 0;
    for (expected->moveFirst(); !expected->eof(); expected->moveNext(), ++i) {
        EXPECT_EQ(list->item(i)->text(), vb::cstr(expected->field(1).value()));
        EXPECT_EQ(list->item(i)->data(Qt::UserRole).toInt(), vb::clng(expected->field(0).value()));
    }
    EXPECT_TRUE(entry(25) && !entry(26)); // 26 is the second stage of 25

    // A second stage stays unlisted even as a command, and so does a row that does not say.
    addReport(90, u"SELECT 1"_s, u"True, 26, True, 'Sales', 0"_s);
    addReport(91, u"SELECT 1"_s, u"False, Null, Null, 'Sales', 0"_s);
    view()->subLoadFixedReports();
    EXPECT_EQ(std::size_t(list->count()), expected->recordCount());
}

TEST_F(FixedReports, ARunOpensAReportViewWithTheTitleTheRangeAndTheGrouping) {
    for (int id : {1, 17}) { // two categories, two groupings
        frmReportOutput* report = run(id);
        ASSERT_TRUE(report) << id;
        EXPECT_TRUE(report->isVisible());
        EXPECT_EQ(report->ReportTitle(), expectedTitle(id));
        EXPECT_EQ(report->GroupFirstN(), vb::cint(column(id, "fldGroupFirstN")));
    }
    EXPECT_EQ(sumOf(reportViews().front()->Recordset(), u"Count"_s), transactions(false));
    EXPECT_TRUE(main_->session().grsFixedReports->filter().isEmpty());
    EXPECT_FALSE(view()->mblnBusy);
}

TEST_F(FixedReports, TheCriticalBoxLimitsEveryTemplateButTitlesOnlyActionCodeReports) {
    ASSERT_EQ(column(1, "fldCategory"), u"Action Codes"_s);
    ASSERT_LT(transactions(true), transactions(false));
    addReport(92, u"SELECT count(*) AS [Count] "_s + kJoin + u"WHERE <Interval> AND <Critical>"_s,
              u"False, Null, False, 'Drawer', 0"_s);
    view()->subLoadFixedReports();
    QCheckBox* box = view()->chkLimitToCritical;
    box->setTristate(true);
    struct Case {
        Qt::CheckState state;
        int report;
        bool criticalTitle;
        bool criticalRows;
    };
    for (const Case& c :
         {Case{Qt::Checked, 1, true, true}, Case{Qt::Checked, 92, false, true},
          Case{Qt::PartiallyChecked, 1, false, true}, Case{Qt::Unchecked, 92, false, false}}) {
        box->setCheckState(c.state);
        frmReportOutput* report = run(c.report);
        ASSERT_TRUE(report) << c.report;
        EXPECT_EQ(report->ReportTitle(),
                  (c.criticalTitle ? u"Critical "_s : QString()) + expectedTitle(c.report));
        EXPECT_EQ(sumOf(report->Recordset(), u"Count"_s), transactions(c.criticalRows))
            << c.report << " " << c.state;
    }
}

TEST_F(FixedReports, ATwoStageReportRunsAgainAndAgainUnderItsSecondStageCaption) {
    const QString firstStage = column(25, "fldReportTitle");
    const QString secondStage = column(vb::clng(column(25, "fldsubquery")), "fldReportTitle");
    QSignalSpy status(&link(), &sitelink::SiteLink::StatusChanged);
    QSignalSpy errors(&link(), &sitelink::SiteLink::LinkError);
    for (int time = 0; time < 2; ++time) {
        frmReportOutput* report = run(25);
        ASSERT_TRUE(report) << "run " << time;
        EXPECT_EQ(report->ReportTitle(), expectedTitle(25));
        EXPECT_GT(report->Recordset()->recordCount(), 0u);
    }
    QStringList captions;
    for (const auto& args : status)
        captions << args.at(0).toString();
    EXPECT_EQ(captions.count(secondStage), 2) << captions.join(u'|').toStdString();
    EXPECT_FALSE(captions.contains(firstStage));
    EXPECT_TRUE(errors.isEmpty()); // the second first stage found its table dropped
    // The session's own table stays after the run.
    EXPECT_TRUE(rs::fncHasRecords(
        rows(u"select * from tblTemp"_s + QString::number(link().SessionIndex()))));

    // The Daily Summary calls the runner itself.
    const auto direct = modFixedReports::fncRunFixedReport(main_->session(), 25, kRange, false,
                                                           link().SessionIndex());
    ASSERT_TRUE(direct);
    EXPECT_EQ(direct->recordCount(), reportViews().back()->Recordset()->recordCount());
}

TEST_F(FixedReports, FailuresAreLoggedAndTheViewStaysUsable) {
    // Too long for the replace routine; no grouping number to read.
    addReport(93, u"SELECT <Critical> AS [N] "_s + QString(33000, u' '),
              u"False, Null, False, 'Sales', 0"_s);
    addReport(94, u"SELECT 1 AS [N]"_s, u"False, Null, False, 'Sales', Null"_s);
    view()->subLoadFixedReports();
    EXPECT_FALSE(run(93));
    EXPECT_FALSE(run(94));
    EXPECT_EQ(logged(), (QStringList{u"6|modFixedReports|fncRunFixedReport"_s,
                                     u"94|frmPowerSearch|subRunFixedReport"_s}));
    EXPECT_TRUE(run(17));

    // Nothing runs while a run is under way, nor without a pick.
    view()->mblnBusy = true;
    EXPECT_FALSE(run(17));
    view()->mblnBusy = false;
    view()->lstFixedReports->setCurrentRow(-1);
    view()->subRunFixedReport();
    EXPECT_EQ(reportViews().size(), 1);
}

} // namespace
