// The Power Search's criteria as the controls hold them, the query text built from them by the
// core, and the run that shows the result.

#include "queries/frmPowerSearch.h"

#include "core/Session.h"
#include "core/modError.h"
#include "core/modPowerSearch.h"
#include "queries/DateField.h"
#include "shared/ViewHost.h"
#include "sitelink/SiteLink.h"
#include "vb/VbError.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

template <std::size_t N> std::int16_t checkedIndex(const std::array<QRadioButton*, N>& options) {
    for (std::size_t i = 0; i < N; ++i)
        if (options[i]->isChecked()) return std::int16_t(i);
    return 0;
}

// A check box as the language numbers it: 0 cleared, 1 ticked, 2 greyed.
int checkValue(const QCheckBox* box) {
    switch (box->checkState()) {
    case Qt::Checked:
        return 1;
    case Qt::PartiallyChecked:
        return 2;
    default:
        return 0;
    }
}

Qt::CheckState checkStateOf(int value) {
    return value == core::kChecked ? Qt::Checked : Qt::Unchecked;
}

} // namespace

core::SearchCriteria frmPowerSearch::fncCriteria() const {
    core::SearchCriteria criteria;
    criteria.searchType = checkedIndex(optSearchType);
    criteria.item = cboItem->currentText();
    criteria.action = cboAction->currentText();
    criteria.notAction = checkValue(chkNotActionCode);
    criteria.clerk = cboClerk->currentText();
    criteria.registerText = cboRegister->currentText();
    criteria.modifier = cboModifier->currentIndex();
    criteria.price = txtPrice->text();
    criteria.absValue = checkValue(chkAbsValue);
    criteria.interval = checkedIndex(optDateTimeRange);
    criteria.start = fdtStartTime->value();
    criteria.end = fdtEndTime->value();
    return criteria;
}

void frmPowerSearch::subApplyCriteria(const core::SearchCriteria& criteria) {
    optSearchType.at(std::size_t(criteria.searchType))->setChecked(true);
    cboItem->setCurrentText(criteria.item);
    cboAction->setCurrentText(criteria.action);
    cboRegister->setCurrentText(criteria.registerText);
    cboModifier->setCurrentIndex(criteria.modifier);
    chkNotActionCode->setCheckState(checkStateOf(criteria.notAction));
    chkAbsValue->setCheckState(checkStateOf(criteria.absValue));
    txtPrice->setText(criteria.price);
    cboClerk->setCurrentText(criteria.clerk);
    optDateTimeRange.at(std::size_t(criteria.interval))->setChecked(true);
    optDateTimeRange_Click(criteria.interval);
    fdtStartTime->setValue(criteria.start);
    fdtEndTime->setValue(criteria.end);
}

QString frmPowerSearch::fncSelectClause() const {
    return modPowerSearch::fncSelectClause(fncCriteria());
}

QString frmPowerSearch::fncFromClause() const {
    return modPowerSearch::fncFromClause();
}

QString frmPowerSearch::fncWhereClause() {
    return modPowerSearch::fncWhereClause(fncCriteria(), mstrSearchTitle);
}

QString frmPowerSearch::fncTimeCriteria() {
    return modPowerSearch::fncTimeCriteria(fncCriteria(), mstrSearchTitle);
}

QString frmPowerSearch::fncGroupClause() {
    return modPowerSearch::fncGroupClause(fncCriteria(), mstrSearchTitle);
}

QString frmPowerSearch::fncOrderClause() {
    return modPowerSearch::fncOrderClause(mstrSearchTitle);
}

void frmPowerSearch::subAddToTitle(const QString& piece) {
    modPowerSearch::subAddToTitle(mstrSearchTitle, piece);
}

void frmPowerSearch::subRunPowerSearch() {
    if (mblnBusy) return;
    mblnBusy = true;
    core::Session& session = host_.session();
    session.busy().beginBusy();
    try {
        const core::SearchCriteria criteria = fncCriteria();
        const modPowerSearch::SearchText text = modPowerSearch::fncSearchText(criteria);
        mstrSearchTitle = text.title;
        const int saved = cboReportTitle->currentIndex();
        client::ReportRequest report;
        report.title =
            saved < 0
                ? mstrSearchTitle
                : modPowerSearch::fncSavedSearchTitle(cboReportTitle->itemText(saved), criteria);
        report.records = session.TillsightLink().OpenRecordset(text.query);
        report.reg2Cam = session.grsReg2Cam;
        host_.subShowReport(report);
    } catch (const vb::VbError& error) {
        modError::subLogError(session, error, u"frmPowerSearch"_s, u"subRunPowerSearch"_s);
        // Deliberately still busy, hourglass and all: later runs from this view do nothing.
        return;
    }
    mblnBusy = false;
    session.busy().endBusy();
}
