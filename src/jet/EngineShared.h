#pragma once

// What every engine does alike around its generator: binding a statement to run, the columns a
// result set shows, a crosstab's columns, and the entries of a script.

#include "jet/Ast.h"
#include "jet/Binder.h"
#include "jet/Catalog.h"
#include "vb/Variant.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace jet {

// A crosstab's column: its name and the stored values that fall into it. Values found in the data
// are matched exactly (texts differing only in letter case share a column, each variant listed);
// values of an IN list are matched as the dialect compares.
struct PivotColumn {
    QString name;
    std::vector<vb::Variant> values;
    bool fromInList = false;
};

// A crosstab's column name for a pivot value.
QString pivotColumnName(const vb::Variant& value);

// The columns of an IN list, as given.
std::vector<PivotColumn> pivotColumnsListed(const Transform& t);
// Adds a distinct pivot value found in the data, read in an order that makes the texts of one
// column neighbours: a text differing from the last column's only in letter case joins it.
void addPivotValue(std::vector<PivotColumn>& columns, vb::Variant value);

struct ResultColumn {
    QString name;
    ColumnType type;
};
std::vector<ResultColumn> resultColumns(const std::vector<OutputColumn>& outputs);
// A crosstab's columns: its row headings, then one per pivot column, typed as its cells.
std::vector<ResultColumn> crosstabColumns(const Binding& binding, const Transform& t,
                                          const std::vector<PivotColumn>& pivots);

// No engine is handed parameter values, so a statement that declares parameters cannot run; one
// that uses a name it does not declare has failed in the binder already.
Binding bindToRun(const Statement& statement, const Catalog& catalog);

bool changesSchema(const Statement& statement);

// A read's text with its numbers blanked: another date range, price or register is the same shape,
// and costs about the same per row, which the engines learn to show progress by.
QString shapeOf(const QString& text);

// The entries of a script: separated by lines holding only "--"; lines starting with "-- " are
// comments.
QStringList scriptEntries(const QString& script);

} // namespace jet
