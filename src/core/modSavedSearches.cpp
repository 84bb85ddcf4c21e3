#include "core/modSavedSearches.h"

#include "core/Session.h"
#include "core/modDateRanges.h"
#include "core/modPowerSearch.h"
#include "sitelink/SiteLink.h"
#include "vb/Convert.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

using namespace Qt::Literals::StringLiterals;
using core::SearchCriteria;

namespace modSavedSearches {

namespace {

constexpr int kSearchTypes = 3;
constexpr int kRangeOptions = 10;
const QString kUpperTitleTest = u" from tblPowerSearches where ucase$(fldreporttitle) = '"_s;

// "%" alone, like nothing at all, means any value and is not stored.
bool isAny(const QString& text) {
    return text.isEmpty() || text == u"%"_s;
}

// The price as money, written with a decimal point whatever this computer's forms, read from the
// text as the search reads it.
QString siteMoney(const QString& priceText) {
    const vb::Currency amount = vb::ccur(vb::Variant(modPowerSearch::fncPriceValue(priceText)));
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

vb::Variant stored(const rs::Recordset& records, const char16_t* name) {
    return records.field(QStringView(name)).value();
}

// Empty text for an empty column.
QString columnText(const rs::Recordset& records, const char16_t* name) {
    const vb::Variant value = stored(records, name);
    return value.isNull() ? QString() : vb::cstr(value);
}

// Stored yes/no values tick a box only when they are true (-1); a stored 1 does not.
int checkStateOf(const rs::Recordset& records, const char16_t* name) {
    return vb::compare(stored(records, name), vb::Variant(true)) == 0 ? core::kChecked
                                                                      : core::kUnchecked;
}

// An option outside its group is the language's "Subscript out of range".
std::int16_t optionIndex(std::int16_t index, int count) {
    if (index < 0 || index >= count) vb::raise(vb::err::SubscriptOutOfRange);
    return index;
}

// A stored position the list does not have is the language's "Invalid property value".
int listPosition(const vb::Variant& value, int count) {
    const std::int16_t position = vb::cint(value);
    if (position < 0 || position >= count) vb::raise(vb::err::InvalidPropertyValue);
    return position;
}

std::int16_t searchTypeOf(const rs::Recordset& records) {
    const vb::Variant value = stored(records, u"fldsearchtype");
    if (value.isNull()) return 0;
    const std::int16_t type = vb::cint(value);
    return type < kSearchTypes ? type : 0;
}

} // namespace

std::shared_ptr<rs::Recordset> fncLoadSavedSearches(core::Session& session) {
    return session.TillsightLink().OpenRecordset(
        u"select * from tblPowerSearches order by fldreporttitle"_s,
        u"Retrieving Saved Power Searches"_s);
}

QString fncSaveStatement(const SearchCriteria& criteria, const QString& title) {
    InsertText insert;
    insert.add(u"insert into tblPowerSearches (fldreporttitle, "_s, quoted(title));
    insert.add(u"fldSearchType, "_s, QString::number(criteria.searchType) + u", "_s);
    if (!isAny(criteria.item)) insert.add(u"flddescription, "_s, quoted(criteria.item));
    // Only "AL" itself is left out: the search ignores every code starting with it, yet "ALL"
    // is kept here and comes back on restore.
    if (!isAny(criteria.action) && criteria.action != u"AL"_s)
        insert.add(u"fldAction, "_s, quoted(criteria.action));
    if (!isAny(criteria.registerText))
        insert.add(u"fldRegister, "_s, criteria.registerText + u", "_s);
    insert.add(u"fldModifier, "_s, QString::number(criteria.modifier) + u", "_s);
    insert.add(u"fldNotAction, "_s, QString::number(criteria.notAction) + u", "_s);
    insert.add(u"fldAbsVal, "_s, QString::number(criteria.absValue) + u", "_s);
    if (!criteria.price.isEmpty()) insert.add(u"fldprice, "_s, siteMoney(criteria.price) + u", "_s);
    if (!isAny(criteria.clerk)) insert.add(u"fldClerkCode, "_s, quoted(criteria.clerk));
    insert.add(u"fldInterval "_s, QString::number(criteria.interval));
    if (criteria.interval == modDateRanges::kCustomRange)
        insert.add(u", fldStart, fldEnd "_s,
                   u", #"_s + modDateRanges::fncQueryDate(criteria.start) + u"#, #"_s +
                       modDateRanges::fncQueryDate(criteria.end) + u"# "_s);
    return insert.text();
}

bool fncSaveSearch(core::Session& session, const SearchCriteria& criteria, const QString& title) {
    sitelink::SiteLink& link = session.TillsightLink();
    const QString titleTest = kUpperTitleTest + title.toUpper() + u"'"_s;
    if (rs::fncHasRecords(link.OpenRecordset(u"select *"_s + titleTest))) {
        const int style = core::vbYesNo | core::vbDefaultButton2;
        const QString question = u"A report called "_s + title + u" already exists. Overwrite?"_s;
        const int answer = session.messages()
                               ? session.messages()->messageBox(question, QString(), style)
                               : core::defaultButtonOf(style);
        if (answer == core::vbNo) return false;
        link.Execute(u"Delete *"_s + titleTest);
    }
    link.Execute(fncSaveStatement(criteria, title));
    return true;
}

void subDeleteSearch(core::Session& session, std::int32_t id) {
    session.TillsightLink().Execute(
        id != -1 ? u"delete * from tblPowerSearches where idfreports2id = "_s + QString::number(id)
                 : QString());
}

SearchCriteria fncRestoreSearch(rs::Recordset& search, std::int32_t id, double now,
                                int modifierCount) {
    search.setFilter(u"idfReports2ID = "_s + QString::number(id));
    SearchCriteria criteria;
    criteria.searchType = optionIndex(searchTypeOf(search), kSearchTypes);
    criteria.item = columnText(search, u"flddescription");
    criteria.action = columnText(search, u"fldAction");
    criteria.registerText = columnText(search, u"fldRegister");
    criteria.modifier = listPosition(stored(search, u"fldModifier"), modifierCount);
    criteria.notAction = checkStateOf(search, u"fldNotAction");
    criteria.absValue = checkStateOf(search, u"fldAbsVal");
    criteria.price = columnText(search, u"fldPrice");
    criteria.clerk = columnText(search, u"fldClerkCode");
    criteria.interval = optionIndex(vb::cint(stored(search, u"fldInterval")), kRangeOptions);
    if (const auto range = modDateRanges::fncPresetRange(criteria.interval, now)) {
        criteria.start = range->start;
        criteria.end = range->end;
    } else {
        criteria.start = vb::cdate(stored(search, u"fldStart"));
        criteria.end = vb::cdate(stored(search, u"fldEnd"));
    }
    return criteria;
}

} // namespace modSavedSearches
