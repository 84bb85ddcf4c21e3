#include "core/modPowerSearch.h"

#include "core/TransactionQuery.h"
#include "core/modDateRanges.h"
#include "vb/Convert.h"

#include <array>

using namespace Qt::Literals::StringLiterals;
using core::SearchCriteria;

namespace modPowerSearch {

namespace {

struct PriceOperator {
    QString sql;   // between the column and the price
    QString title; // before the price as typed
};

// By modifier position; position 0 ("Any Price") sets no condition.
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

// The text's leading number as CStr writes it ("3A" gives "3", "12.50" gives "12.5", no number
// gives "0").
QString numberText(const QString& text) {
    return vb::doubleToText(vb::val(text));
}

void addCondition(QString& where, const QString& condition) {
    if (!where.isEmpty()) where += u" AND "_s;
    where += condition;
}

QString expression(const char16_t* text) {
    return QString::fromUtf16(text);
}

// Anything but the first two types summarises by register.
core::SearchType typeOf(const SearchCriteria& criteria) {
    if (criteria.searchType == core::List || criteria.searchType == core::SummaryByClerk)
        return core::SearchType(criteria.searchType);
    return core::SummaryByRegister;
}

void addPriceCondition(const SearchCriteria& criteria, QString& where, QString& title) {
    const int position = criteria.modifier;
    const bool absolute = criteria.absValue == core::kChecked;
    // The joining AND comes before the operator is known, as it always has.
    if (!where.isEmpty()) where += u" AND "_s;
    if (position >= 1 && position < static_cast<int>(kPriceOperators.size())) {
        const QString column = absolute ? u"abs(fldtransprice) "_s : u"fldtransprice "_s;
        where += column + kPriceOperators[position].sql +
                 vb::doubleToText(fncPriceValue(criteria.price)) + u' ';
        subAddToTitle(title, kPriceOperators[position].title + criteria.price);
    }
    if (absolute) subAddToTitle(title, u"(No '-')"_s);
}

} // namespace

const QStringList& fncModifierCaptions() {
    static const QStringList captions = {u"Any Price"_s, u"(>) Price greater than "_s,
                                         u"(<) Price less than < "_s, u"(=) Price equal to "_s,
                                         u"(<>)Price not equal to "_s};
    return captions;
}

QString fncSelectClause(const SearchCriteria& criteria) {
    switch (typeOf(criteria)) {
    case core::List:
        return u"SELECT "_s + expression(core::kTransDate) + u" as [Date], "_s +
               expression(core::kTransTime) + u" as [Time], "_s + expression(core::kRegister) +
               u" as [Reg], "_s + u"tblTrans.fldTransQty AS [Qty],"_s +
               u"tblTrans.fldTransDesc AS [Description],"_s +
               u"tblTrans.fldTransPrice As [Price], "_s +
               u"lkpActions.fldActionCode AS [Action], "_s +
               u"tblActors.fldActorCode AS [Login], "_s +
               u"tblActors.fldActorlName & \", \" & tblActors.fldActorfName AS [Name] "_s;
    case core::SummaryByClerk:
        return u"select "_s + expression(core::kClerkLabel) + u" as [Clerk], "_s + kSummaryColumns;
    case core::SummaryByRegister:
        break;
    }
    return u"select "_s + expression(core::kRegister) + u" as [Register], "_s + kSummaryColumns +
           u' ';
}

QString fncFromClause() {
    return expression(core::kTransJoin);
}

QString fncWhereClause(const SearchCriteria& criteria, QString& title) {
    title.clear();
    QString where;
    if (!isAny(criteria.item)) {
        where = u"(tbltrans.fldtransdesc like \""_s + criteria.item + u"\") "_s;
        subAddToTitle(title, criteria.item);
    }
    // Codes starting with "AL" stand for all codes; letter case counts.
    const QString& action = criteria.action;
    if (!isAny(action) && !action.startsWith(u"AL")) {
        const QString condition = u"(lkpactions.fldactioncode like '"_s + action + u"') "_s;
        if (criteria.notAction == core::kChecked) {
            addCondition(where, u"not "_s + condition);
            subAddToTitle(title, u"not "_s + action);
        } else {
            addCondition(where, condition);
            subAddToTitle(title, action);
        }
    }
    if (!isAny(criteria.clerk)) {
        addCondition(where, u"tblactors.fldactorcode  = \""_s + criteria.clerk + u"\" "_s);
        subAddToTitle(title, u"Clk "_s + criteria.clerk);
    }
    if (!isAny(criteria.registerText)) {
        addCondition(where,
                     u"tbltrans.fldtransregnum = "_s + numberText(criteria.registerText) + u' ');
        subAddToTitle(title, u"Reg "_s + criteria.registerText);
    }
    if (criteria.modifier != 0) addPriceCondition(criteria, where, title);
    if (title.isEmpty()) title = u"All"_s;
    return where.isEmpty() ? u"Where "_s : u"Where "_s + where + u"AND "_s;
}

QString fncTimeCriteria(const SearchCriteria& criteria, QString& title) {
    const QString criterion = u" tblTrans.fldTransTime between #"_s +
                              modDateRanges::fncQueryDate(criteria.start) + u"# AND #"_s +
                              modDateRanges::fncQueryDate(criteria.end) + u"# "_s;
    subAddToTitle(title, modDateRanges::fncDateRangeText(criteria.start, criteria.end));
    return criterion;
}

QString fncGroupClause(const SearchCriteria& criteria, QString& title) {
    switch (typeOf(criteria)) {
    case core::List:
        return u" "_s;
    case core::SummaryByClerk:
        subAddToTitle(title, u"By Clk"_s);
        return u"group By "_s + expression(core::kClerkLabel) + u' ';
    case core::SummaryByRegister:
        break;
    }
    subAddToTitle(title, u"By Reg"_s);
    return u"group By fldtransregnum "_s;
}

QString fncOrderClause(QString& title) {
    subAddToTitle(title, u"List"_s);
    return u"Order By tblTrans.fldTransTime, idftransid "_s;
}

double fncPriceValue(const QString& priceText) {
    return vb::val(priceText);
}

void subAddToTitle(QString& title, const QString& piece) {
    if (title.isEmpty())
        title = piece;
    else
        title += u", "_s + piece;
}

SearchText fncSearchText(const SearchCriteria& criteria) {
    SearchText text;
    text.query = fncSelectClause(criteria);
    text.query += fncFromClause();
    text.query += fncWhereClause(criteria, text.title);
    text.query += fncTimeCriteria(criteria, text.title);
    text.query += fncGroupClause(criteria, text.title);
    if (typeOf(criteria) == core::List) text.query += fncOrderClause(text.title);
    return text;
}

QString fncSavedSearchTitle(const QString& savedTitle, const SearchCriteria& criteria) {
    return savedTitle + u" - "_s + modDateRanges::fncDateRangeText(criteria.start, criteria.end);
}

} // namespace modPowerSearch
