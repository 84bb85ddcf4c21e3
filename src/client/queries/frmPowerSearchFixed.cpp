// The Fixed Reports tab: the list of the site's stored reports and running the picked one over
// the shared date range.

#include "queries/frmPowerSearch.h"

#include "core/Session.h"
#include "core/modError.h"
#include "core/modFixedReports.h"
#include "shared/ViewHost.h"
#include "vb/VbError.h"

#include <QCheckBox>
#include <QListWidget>

using namespace Qt::Literals::StringLiterals;

void frmPowerSearch::subLoadFixedReports() {
    core::Session& session = host_.session();
    session.subLoadFixedReports();
    lstFixedReports->clear();
    for (const modFixedReports::ListedReport& report : modFixedReports::fncListedReports(session)) {
        auto* entry = new QListWidgetItem(report.title);
        entry->setData(Qt::UserRole, report.id);
        lstFixedReports->addItem(entry);
    }
}

void frmPowerSearch::subRunFixedReport() {
    const QListWidgetItem* entry = lstFixedReports->currentItem();
    if (mblnBusy || !entry) return;
    core::Session& session = host_.session();
    const core::BusyScope busy(session.busy());
    mblnBusy = true;
    try {
        const std::int32_t number = entry->data(Qt::UserRole).toInt();
        const auto heading = modFixedReports::fncReportHeading(
            session, number, entry->text(), chkLimitToCritical->checkState() == Qt::Checked,
            fncDateRangeText());
        client::ReportRequest report;
        report.title = heading.title;
        report.groupFirstN = heading.groupFirstN;
        const QString criterion = fncTimeCriteria();
        // Any template may use "<Critical>", so the box counts whatever the category; the
        // category only decides the title.
        const bool criticalOnly = chkLimitToCritical->checkState() != Qt::Unchecked;
        report.records = modFixedReports::fncRunFixedReport(session, number, criterion,
                                                            criticalOnly, session.SessionIndex());
        session.fixedReports().setFilter(QString());
        report.reg2Cam = session.grsReg2Cam;
        host_.subShowReport(report);
    } catch (const vb::VbError& error) {
        modError::subLogError(session, error, u"frmPowerSearch"_s, u"subRunFixedReport"_s);
    }
    mblnBusy = false;
}
