#pragma once

// Writes a bound statement as SQLite SQL over a site file's storage (see Storage.h): dialect
// functions become what the registry (FunctionRegistry.h) says SQLite computes them with, a
// jet_* user function or one of SQLite's own aggregates; text comparisons use the jet_text
// collation, dates are numbers on the linear day line, and Yes/No values are -1 and 0.

#include "jet/Ast.h"
#include "jet/Binder.h"
#include "jet/Catalog.h"
#include "jet/EngineShared.h"
#include "jet/StatementWriter.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <span>

namespace jet {

class SqliteGenerator : public gen::StatementWriter<SqliteGenerator> {
public:
    SqliteGenerator(const Binding& binding, const Catalog& catalog)
        : binding_(binding), catalog_(catalog) {}

    // A SELECT (with its UNION chain), without INTO.
    QString select(const Select& s) const;
    // One SQLite command of a statement with effects. The rows the statement changed are those
    // its counted commands change, not those of a table it keeps for itself while it runs.
    struct Command {
        QString sql;
        bool counted = true;
    };
    using Commands = std::vector<Command>;
    // What a statement with effects runs, in order (SELECT ... INTO becomes CREATE + INSERT).
    Commands commands(const Statement& statement) const;

    using PivotColumn = jet::PivotColumn;

    // The two steps of a crosstab: first the distinct pivot values, ordered so that the texts
    // of one column are neighbours; then, given the columns, the query itself.
    QString pivotValues(const Transform& t) const;
    QString crosstab(const Transform& t, const std::vector<PivotColumn>& columns) const;

    // An expression's text as a value (-1/0 for truths) or as a condition.
    QString value(const Expr& e) const;
    QString condition(const Expr& e) const;

    // Writes `text` (a bound parameter, say) wherever e stands, for the local evaluation of an
    // expression whose other parts another engine computed.
    void substitute(const Expr* e, QString text) { substitutes_.insert(e, std::move(text)); }

    static QString quoted(const QString& name);
    static QString literal(const vb::Variant& v);

private:
    friend class gen::StatementWriter<SqliteGenerator>;
    // What the shared writer needs of this engine: the table of rows a write through a join
    // matched, its column of a table's rows, and how a table names its own rows.
    static QString matchesTable();
    static QString matchColumn(std::size_t place);
    static QString rowIdentity();
    static QString declaration(const ColumnType& type);

    QString selectCore(const Select& s, const QStringList& extraColumns = {}) const;
    QString orderBy(const Select& s) const;
    QString unary(const Expr& e, bool asCondition) const;
    QString binary(const Expr& e, bool asCondition) const;
    QString comparison(const Expr& e) const;
    QString concatenation(const Expr& a, const Expr& b) const;
    QString function(const Expr& e) const;
    QString dateSplit(const Expr& e) const;
    QString pivotMatch(const Transform& t, const PivotColumn& column) const;
    QString crosstabCell(const Transform& t, const PivotColumn& column) const;
    QString argument(const Expr& e) const;  // a value handed to a jet_* function, tagged
    QString collated(const Expr& e) const;  // a value, with the text collation where it is text
    QString predicate(const Expr& e) const; // Between, In, Like, Is Null, Exists as conditions
    Commands update(const Update& s) const;
    Commands updateJoin(const Update& s) const;
    Commands matches(std::span<const TableRefPtr> from, const Expr* where,
                     const std::vector<const TableRef*>& rowsOf, const QStringList& values,
                     bool counted) const;
    QString alterTable(const AlterTable& s) const;
    Commands selectInto(const Select& s) const;
    QString createTable(const QString& name, const QStringList& columns) const;
    QString storedValue(const Expr& e, const ColumnType& target) const;
    QString insertRows(const QString& into, const Select& rows,
                       const std::vector<ColumnType>& targets) const;

    const Binding& binding_;
    const Catalog& catalog_;
    QHash<const Expr*, QString> substitutes_;
    // While a crosstab cell is written: the FILTER clause its aggregates take.
    mutable QString pivotFilter_;
};

} // namespace jet
