#pragma once

// The Power Search's query text, clause by clause, with the report title built beside it. Every
// blank of these texts is what sites and their stored templates were written against, so none may
// change. The title is the caller's own: each builder adds its pieces to the title it is given.

#include "core/SearchCriteria.h"

#include <QString>
#include <QStringList>

namespace modPowerSearch {

// The price modifier list's entries. Position in the list is what a saved search stores and what
// picks the query's operator.
const QStringList& fncModifierCaptions();

QString fncSelectClause(const core::SearchCriteria& criteria);
QString fncFromClause();
// Starts the title afresh ("All" when no criterion is set).
QString fncWhereClause(const core::SearchCriteria& criteria, QString& title);
QString fncTimeCriteria(const core::SearchCriteria& criteria, QString& title);
QString fncGroupClause(const core::SearchCriteria& criteria, QString& title);
QString fncOrderClause(QString& title);
void subAddToTitle(QString& title, const QString& piece);

// The price the search compares with: the leading number of the text ("3A" is 3, "1,234.50" is 1,
// no number is 0). A saved search stores this same value, so it finds what the search found.
double fncPriceValue(const QString& priceText);

// The whole query, clauses in their order (the title reads criteria, then dates, then the type),
// and the title it builds.
struct SearchText {
    QString query;
    QString title;
};
SearchText fncSearchText(const core::SearchCriteria& criteria);

// The title of a run of a saved search: its stored title and the range it covers.
QString fncSavedSearchTitle(const QString& savedTitle, const core::SearchCriteria& criteria);

} // namespace modPowerSearch
