// Saved Power Searches: the criteria stored under a title in the site's tblPowerSearches, so
// every client of the site shares them. What is stored is the state of the controls, never query
// text: a restored search builds its query anew.

#include "queries/frmPowerSearch.h"

#include "app/frmMain.h"
#include "app/modShared.h"
#include "queries/DateField.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

#include <QCheckBox>
#include <QComboBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kAfterReload = u"Saved Reports..."_s;
// The last range option: the pickers' own values, stored with the search.
constexpr int kCustomRange = 9;
const QString kUpperTitleTest = u" from tblPowerSearches where ucase$(fldreporttitle) = '"_s;

frmPowerSearch::InputBoxHandler& inputBoxHandler() {
    static frmPowerSearch::InputBoxHandler handler;
    return handler;
}

sitelink::SiteLink& link() {
    return frmMain::instance()->TillsightLink();
}

// "%" alone, like nothing at all, means any value and is not stored.
bool isAny(const QString& text) {
    return text.isEmpty() || text == u"%"_s;
}

template <std::size_t N> int checkedIndex(const std::array<QRadioButton*, N>& options) {
    for (std::size_t i = 0; i < N; ++i)
        if (options[i]->isChecked()) return int(i);
    return 0;
}

// A check box as the language numbers it: 0 cleared, 1 ticked, 2 greyed.
QString checkValue(const QCheckBox* box) {
    switch (box->checkState()) {
    case Qt::Checked:
        return u"1"_s;
    case Qt::PartiallyChecked:
        return u"2"_s;
    default:
        return u"0"_s;
    }
}

// The price as money, written with a decimal point whatever this computer's forms; a text that
// is not a number counts as 0, as it does in the search.
QString siteMoney(const QString& priceText) {
    const vb::Currency amount = vb::ccur(vb::Variant(vb::parseNumber(priceText).value_or(0.0)));
    return vb::currencyToText(amount).replace(vb::Regional::current().decimalPoint, u"."_s);
}

// The column list and the value list of the insert, grown in step.
class InsertText {
public:
    void add(const QString& column, const QString& value) {
        columns_ += column;
        values_ += value;
    }
    QString text() const { return columns_ + u") VALUES ("_s + values_ + u")"_s; }

private:
    QString columns_;
    QString values_;
};

QString quoted(const QString& text) {
    return u"'"_s + text + u"', "_s;
}

// Empty text for an empty column.
QString columnText(const rs::Recordset& records, const char16_t* name) {
    const vb::Variant value = records.field(QStringView(name)).value();
    return value.isNull() ? QString() : vb::cstr(value);
}

// Stored yes/no values tick a box only when they are true (-1); a stored 1 does not.
Qt::CheckState checkStateOf(const rs::Recordset& records, const char16_t* name) {
    const vb::Variant value = records.field(QStringView(name)).value();
    return vb::compare(value, vb::Variant(true)) == 0 ? Qt::Checked : Qt::Unchecked;
}

// An option outside the control array is the language's "Subscript out of range".
template <std::size_t N>
QRadioButton* option(const std::array<QRadioButton*, N>& options, std::int16_t index) {
    if (index < 0 || std::size_t(index) >= N) vb::raise(vb::err::SubscriptOutOfRange);
    return options[std::size_t(index)];
}

// A stored position the list does not have is the language's "Invalid property value".
int listPosition(const QComboBox* box, const vb::Variant& stored) {
    const std::int16_t position = vb::cint(stored);
    if (position < 0 || position >= box->count())
        throw vb::VbError(380, u"Invalid property value"_s);
    return position;
}

std::int16_t searchTypeOf(const rs::Recordset& records) {
    const vb::Variant value = records.field(u"fldsearchtype").value();
    if (value.isNull()) return 0;
    const std::int16_t type = vb::cint(value);
    return type < 3 ? type : 0;
}

// The insert for the view's criteria: a column is written only when its control holds a value.
QString saveStatement(const frmPowerSearch& view, const QString& title) {
    InsertText insert;
    insert.add(u"insert into tblPowerSearches (fldreporttitle, "_s, quoted(title));
    insert.add(u"fldSearchType, "_s, QString::number(checkedIndex(view.optSearchType)) + u", "_s);
    if (!isAny(view.cboItem->currentText()))
        insert.add(u"flddescription, "_s, quoted(view.cboItem->currentText()));
    // Only "AL" itself is left out: the search ignores every code starting with it, yet "ALL"
    // is kept here and comes back on restore.
    if (!isAny(view.cboAction->currentText()) && view.cboAction->currentText() != u"AL"_s)
        insert.add(u"fldAction, "_s, quoted(view.cboAction->currentText()));
    if (!isAny(view.cboRegister->currentText()))
        insert.add(u"fldRegister, "_s, view.cboRegister->currentText() + u", "_s);
    insert.add(u"fldModifier, "_s, QString::number(view.cboModifier->currentIndex()) + u", "_s);
    insert.add(u"fldNotAction, "_s, checkValue(view.chkNotActionCode) + u", "_s);
    insert.add(u"fldAbsVal, "_s, checkValue(view.chkAbsValue) + u", "_s);
    if (!view.txtPrice->text().isEmpty())
        insert.add(u"fldprice, "_s, siteMoney(view.txtPrice->text()) + u", "_s);
    if (!isAny(view.cboClerk->currentText()))
        insert.add(u"fldClerkCode, "_s, quoted(view.cboClerk->currentText()));
    const int interval = checkedIndex(view.optDateTimeRange);
    insert.add(u"fldInterval "_s, QString::number(interval));
    if (interval == kCustomRange)
        insert.add(u", fldStart, fldEnd "_s, u", #"_s + view.fdtStartTime->queryText() + u"#, #"_s +
                                                 view.fdtEndTime->queryText() + u"# "_s);
    return insert.text();
}

} // namespace

frmPowerSearch::InputBoxHandler frmPowerSearch::setInputBoxHandler(InputBoxHandler handler) {
    return std::exchange(inputBoxHandler(), std::move(handler));
}

void frmPowerSearch::subLoadSavedSearches() {
    grsPowerSearches =
        link().OpenRecordset(u"select * from tblPowerSearches order by fldreporttitle"_s,
                             u"Retrieving Saved Power Searches"_s);
    {
        // Filling the list is not a pick: nothing may be restored meanwhile.
        const QSignalBlocker quiet(cboReportTitle);
        cboReportTitle->clear();
        if (rs::fncHasRecords(grsPowerSearches)) {
            rs::Recordset& searches = *grsPowerSearches;
            for (searches.moveFirst(); !searches.eof(); searches.moveNext())
                cboReportTitle->addItem(vb::cstr(searches.field(u"fldreporttitle").value()),
                                        vb::clng(searches.field(u"idfReports2ID").value()));
        }
    }
    subSetReportTitleText(kAfterReload);
}

void frmPowerSearch::cmdSaveQuery_Click() {
    const QString prompt = u"Enter Title for report"_s;
    const QString caption = u"Save Power Search"_s;
    const QString title = inputBoxHandler()
                              ? inputBoxHandler()(prompt, caption, cboReportTitle->currentText())
                              : QInputDialog::getText(this, caption, prompt, QLineEdit::Normal,
                                                      cboReportTitle->currentText());
    if (title.isEmpty()) return;

    // Titles are unique without regard to case; the latest save's spelling is the one kept.
    const QString titleTest = kUpperTitleTest + title.toUpper() + u"'"_s;
    if (rs::fncHasRecords(link().OpenRecordset(u"select *"_s + titleTest))) {
        if (modShared::fncMessageBox(
                u"A report called "_s + title + u" already exists. Overwrite?"_s, QString(),
                modShared::vbYesNo | modShared::vbDefaultButton2) == modShared::vbNo)
            return;
        link().Execute(u"Delete *"_s + titleTest);
    }
    link().Execute(saveStatement(*this, title));
    subLoadSavedSearches();
}

void frmPowerSearch::subRestoreSearch(std::int32_t id,
                                      const std::shared_ptr<rs::Recordset>& records) {
    rs::Recordset& search = *records;
    // The filter stays: the current row is the restored search until the next reload.
    search.setFilter(u"idfReports2ID = "_s + QString::number(id));
    option(optSearchType, searchTypeOf(search))->setChecked(true);
    cboItem->setCurrentText(columnText(search, u"flddescription"));
    cboAction->setCurrentText(columnText(search, u"fldAction"));
    cboRegister->setCurrentText(columnText(search, u"fldRegister"));
    cboModifier->setCurrentIndex(listPosition(cboModifier, search.field(u"fldModifier").value()));
    chkNotActionCode->setCheckState(checkStateOf(search, u"fldNotAction"));
    chkAbsValue->setCheckState(checkStateOf(search, u"fldAbsVal"));
    txtPrice->setText(columnText(search, u"fldPrice"));
    cboClerk->setCurrentText(columnText(search, u"fldClerkCode"));
    const std::int16_t interval = vb::cint(search.field(u"fldInterval").value());
    option(optDateTimeRange, interval)->setChecked(true);
    optDateTimeRange_Click(interval);
    if (interval == kCustomRange) {
        fdtStartTime->setValue(vb::cdate(search.field(u"fldStart").value()));
        fdtEndTime->setValue(vb::cdate(search.field(u"fldEnd").value()));
    }
}

void frmPowerSearch::cmdDeleteQuery_Click() {
    const int entry = cboReportTitle->currentIndex();
    if (entry < 0) return;
    if (modShared::fncMessageBox(u"Are you sure you want to delete the query \""_s +
                                     cboReportTitle->itemText(entry) + u"\"?"_s,
                                 QString(),
                                 modShared::vbYesNo | modShared::vbDefaultButton2 |
                                     modShared::vbCritical) != modShared::vbYes)
        return;
    const std::int32_t id = cboReportTitle->itemData(entry).toInt();
    // An entry without a stored id sends an empty statement, which the site refuses.
    link().Execute(id != -1 ? u"delete * from tblPowerSearches where idfreports2id = "_s +
                                  QString::number(id)
                            : QString());
    subLoadSavedSearches();
}
