// The Fixed Reports tab: the list of the site's stored reports and running the picked one over
// the shared date range.

#include "queries/frmPowerSearch.h"

#include "app/frmMain.h"
#include "client/queries/modFixedReports.h"
#include "link/modError.h"
#include "link/modMain.h"
#include "reports/frmReportOutput.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

#include <QApplication>
#include <QCheckBox>
#include <QListWidget>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// Reports whose title gains "Critical " when the box limits them to critical codes.
const QString kActionCodesCategory = u"Action Codes"_s;

vb::Variant column(const char16_t* name) {
    return queries::grsFixedReports->field(QStringView(name)).value();
}

// Second stages belong to their first stage and are never offered on their own; an empty flag
// counts as one.
bool isListed() {
    return vb::compare(column(u"fldIssubquery"), vb::Variant(false)) == 0;
}

QListWidgetItem* reportEntry(const vb::Variant& title, const vb::Variant& id) {
    auto* entry = new QListWidgetItem(vb::cstr(title));
    entry->setData(Qt::UserRole, vb::clng(id));
    return entry;
}

} // namespace

void frmPowerSearch::subLoadFixedReports() {
    queries::grsFixedReports.reset();
    queries::grsFixedReports = frmMain::instance()->TillsightLink().OpenRecordset(
        u"select * from tblfixedreports order by fldReporttitle"_s, u"Retrieving Fixed Reports"_s);
    lstFixedReports->clear();
    if (!rs::fncHasRecords(queries::grsFixedReports)) return;
    rs::Recordset& reports = *queries::grsFixedReports;
    for (reports.moveFirst(); !reports.eof(); reports.moveNext())
        if (isListed())
            lstFixedReports->addItem(
                reportEntry(column(u"fldReporttitle"), column(u"idfFixedReportID")));
}

void frmPowerSearch::subRunFixedReport() {
    const QListWidgetItem* entry = lstFixedReports->currentItem();
    if (mblnBusy || !entry) return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    mblnBusy = true;
    try {
        queries::grsFixedReports->setFilter(u"idffixedreportID = "_s +
                                            entry->data(Qt::UserRole).toString());
        auto view = std::make_unique<frmReportOutput>();
        const bool criticalTitle =
            vb::compare(column(u"fldCategory"), vb::Variant(kActionCodesCategory)) == 0 &&
            chkLimitToCritical->checkState() == Qt::Checked;
        view->setReportTitle((criticalTitle ? u"Critical "_s : QString()) + entry->text() +
                             u" - "_s + fncDateRangeText());
        view->setGroupFirstN(vb::cint(column(u"fldGroupFirstN")));
        const std::int32_t number = vb::clng(column(u"idffixedreportID"));
        const QString criterion = fncTimeCriteria();
        // Any template may use "<Critical>", so the box counts whatever the category; the
        // category only decides the title.
        const bool criticalOnly = chkLimitToCritical->checkState() != Qt::Unchecked;
        sitelink::SiteLink& link = frmMain::instance()->TillsightLink();
        view->setRecordset(
            queries::fncRunFixedReport(number, criterion, criticalOnly, link.SessionIndex()));
        queries::grsFixedReports->setFilter(QString());
        view->setReg2CamTable(grsReg2Cam);
        if (view->Recordset()) frmMain::instance()->showChild(view.release());
    } catch (const vb::VbError& error) {
        modError::subLogError(error, u"frmPowerSearch"_s, u"subRunFixedReport"_s);
    }
    mblnBusy = false;
    QApplication::restoreOverrideCursor();
}
