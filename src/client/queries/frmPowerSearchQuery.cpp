// The Power Search's query text, clause by clause, with the report title built beside it, and
// the run that shows the result. Every blank of these texts is what sites and their stored
// templates were written against, so none may change.

#include "queries/frmPowerSearch.h"

#include "app/frmMain.h"
#include "link/modError.h"
#include "link/modMain.h"
#include "queries/DateField.h"
#include "queries/modFixedReports.h"
#include "reports/frmReportOutput.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

enum SearchType { List = 0, SummaryByClerk = 1, SummaryByRegister = 2 };

struct PriceOperator {
    QString sql;   // between the column and the price
    QString title; // before the price as typed
};

// By cboModifier position; position 0 ("Any Price") sets no condition.
const std::array<PriceOperator, 5> kPriceOperators = {{{QString(), QString()},
                                                       {u" > "_s, u">"_s},
                                                       {u" < "_s, u"<"_s},
                                                       {u" = "_s, u"="_s},
                                                       {u" <> "_s, u"<>"_s}}};

const QString kSummaryColumns =
    u"count(*) as [Count], sum(fldtransqty) as [Qty Sum], sum(fldtransprice) as [Price Sum] "_s;

// "%" alone, like the empty text, means any value.
bool isAny(const QString& text) {
    return text.isEmpty() || text == u"%";
}

// The text's leading number in its shortest form with a decimal point ("3A" gives "3", "12.50"
// gives "12.5", no number gives "0").
QString numberText(const QString& text) {
    return vb::doubleToText(vb::val(text));
}

void addCondition(QString& where, const QString& condition) {
    if (!where.isEmpty()) where += u" AND "_s;
    where += condition;
}

// The shared column expressions as text.
QString expression(const char16_t* text) {
    return QString::fromUtf16(text);
}

SearchType searchTypeOf(const std::array<QRadioButton*, 3>& options) {
    if (options[List]->isChecked()) return List;
    if (options[SummaryByClerk]->isChecked()) return SummaryByClerk;
    return SummaryByRegister;
}

} // namespace

QString frmPowerSearch::fncSelectClause() const {
    switch (searchTypeOf(optSearchType)) {
    case List:
        return u"SELECT "_s + expression(queries::kTransDate) + u" as [Date], "_s +
               expression(queries::kTransTime) + u" as [Time], "_s +
               expression(queries::kRegister) + u" as [Reg], "_s +
               u"tblTrans.fldTransQty AS [Qty],"_s + u"tblTrans.fldTransDesc AS [Description],"_s +
               u"tblTrans.fldTransPrice As [Price], "_s +
               u"lkpActions.fldActionCode AS [Action], "_s +
               u"tblActors.fldActorCode AS [Login], "_s +
               u"tblActors.fldActorlName & \", \" & tblActors.fldActorfName AS [Name] "_s;
    case SummaryByClerk:
        return u"select "_s + expression(queries::kClerkLabel) + u" as [Clerk], "_s +
               kSummaryColumns;
    case SummaryByRegister:
        break;
    }
    return u"select "_s + expression(queries::kRegister) + u" as [Register], "_s + kSummaryColumns +
           u' ';
}

QString frmPowerSearch::fncFromClause() const {
    return expression(queries::kTransJoin);
}

QString frmPowerSearch::fncWhereClause() {
    mstrSearchTitle.clear();
    QString where;
    const QString item = cboItem->currentText();
    if (!isAny(item)) {
        where = u"(tbltrans.fldtransdesc like \""_s + item + u"\") "_s;
        subAddToTitle(item);
    }
    // Codes starting with "AL" stand for all codes; letter case counts.
    const QString action = cboAction->currentText();
    if (!isAny(action) && !action.startsWith(u"AL")) {
        const QString condition = u"(lkpactions.fldactioncode like '"_s + action + u"') "_s;
        if (chkNotActionCode->isChecked()) {
            addCondition(where, u"not "_s + condition);
            subAddToTitle(u"not "_s + action);
        } else {
            addCondition(where, condition);
            subAddToTitle(action);
        }
    }
    const QString clerk = cboClerk->currentText();
    if (!isAny(clerk)) {
        addCondition(where, u"tblactors.fldactorcode  = \""_s + clerk + u"\" "_s);
        subAddToTitle(u"Clk "_s + clerk);
    }
    const QString reg = cboRegister->currentText();
    if (!isAny(reg)) {
        addCondition(where, u"tbltrans.fldtransregnum = "_s + numberText(reg) + u' ');
        subAddToTitle(u"Reg "_s + reg);
    }
    const int position = cboModifier->currentIndex();
    if (position != 0) {
        // The joining AND comes before the operator is known, as it always has.
        if (!where.isEmpty()) where += u" AND "_s;
        if (position >= 1 && position < static_cast<int>(kPriceOperators.size())) {
            const QString column =
                chkAbsValue->isChecked() ? u"abs(fldtransprice) "_s : u"fldtransprice "_s;
            where += column + kPriceOperators[position].sql + numberText(txtPrice->text()) + u' ';
            subAddToTitle(kPriceOperators[position].title + txtPrice->text());
        }
        if (chkAbsValue->isChecked()) subAddToTitle(u"(No '-')"_s);
    }
    if (mstrSearchTitle.isEmpty()) mstrSearchTitle = u"All"_s;
    return where.isEmpty() ? u"Where "_s : u"Where "_s + where + u"AND "_s;
}

QString frmPowerSearch::fncTimeCriteria() {
    const QString criterion = u" tblTrans.fldTransTime between #"_s + fdtStartTime->queryText() +
                              u"# AND #"_s + fdtEndTime->queryText() + u"# "_s;
    subAddToTitle(fncDateRangeText());
    return criterion;
}

QString frmPowerSearch::fncGroupClause() {
    switch (searchTypeOf(optSearchType)) {
    case List:
        return u" "_s;
    case SummaryByClerk:
        subAddToTitle(u"By Clk"_s);
        return u"group By "_s + expression(queries::kClerkLabel) + u' ';
    case SummaryByRegister:
        break;
    }
    subAddToTitle(u"By Reg"_s);
    return u"group By fldtransregnum "_s;
}

QString frmPowerSearch::fncOrderClause() {
    subAddToTitle(u"List"_s);
    return u"Order By tblTrans.fldTransTime, idftransid "_s;
}

void frmPowerSearch::subAddToTitle(const QString& piece) {
    if (mstrSearchTitle.isEmpty())
        mstrSearchTitle = piece;
    else
        mstrSearchTitle += u", "_s + piece;
}

void frmPowerSearch::subRunPowerSearch() {
    if (mblnBusy) return;
    mblnBusy = true;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    try {
        // One clause after the other: the title reads criteria, then dates, then the type.
        QString query = fncSelectClause();
        query += fncFromClause();
        query += fncWhereClause();
        query += fncTimeCriteria();
        query += fncGroupClause();
        if (searchTypeOf(optSearchType) == List) query += fncOrderClause();
        auto view = std::make_unique<frmReportOutput>();
        const int saved = cboReportTitle->currentIndex();
        view->setReportTitle(saved < 0
                                 ? mstrSearchTitle
                                 : cboReportTitle->itemText(saved) + u" - "_s + fncDateRangeText());
        view->setRecordset(frmMain::instance()->TillsightLink().OpenRecordset(query));
        view->setReg2CamTable(grsReg2Cam);
        if (view->Recordset()) frmMain::instance()->showChild(view.release());
    } catch (const vb::VbError& error) {
        modError::subLogError(error, u"frmPowerSearch"_s, u"subRunPowerSearch"_s);
        // Deliberately still busy, hourglass and all: later runs from this view do nothing.
        return;
    }
    mblnBusy = false;
    QApplication::restoreOverrideCursor();
}
