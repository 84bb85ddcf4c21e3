#pragma once

// Writes a bound statement as PostgreSQL SQL over a server site's storage (see PgValue.h): text
// compares, groups and sorts through lower(x) COLLATE "C", as the file engine compares it without
// regard to case; truths are booleans, read as -1 and 0 where they meet numbers; dates are
// timestamps, read as the dialect's serial in arithmetic. A dialect function runs as PostgreSQL's
// own where that is exact, through a function of the site's schema
// (data/postgres_functions.sql), or on this computer with the file engine's bodies: folded into
// a constant when its arguments are constants, else, in a read's select list, over the fetched
// rows. Anything else the server cannot work out exactly is refused with the dialect's number.

#include "jet/Ast.h"
#include "jet/Binder.h"
#include "jet/Catalog.h"
#include "jet/EngineShared.h"
#include "jet/LocalEvaluator.h"
#include "jet/StatementWriter.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <span>

namespace jet {

class PostgresGenerator : public gen::StatementWriter<PostgresGenerator> {
public:
    PostgresGenerator(const Binding& binding, const Catalog& catalog, LocalEvaluator& local)
        : binding_(binding), catalog_(catalog), local_(local) {}

    struct Command {
        QString sql;
        bool counted = true; // whether the rows it changes are the statement's
    };
    using Commands = std::vector<Command>;
    // What a statement with effects runs, in order.
    Commands commands(const Statement& statement) const;

    // A column of a result the engine works out from columns the server sent: an SQLite
    // expression over ?1.., bound to those columns.
    struct LocalColumn {
        QString expression;
        std::vector<int> fetched;
    };
    // A read: the server's SELECT, the dialect types of the columns it sends, and for each result
    // column the server column it is (or -1, and then how the engine works it out).
    struct Read {
        QString sql;
        std::vector<SqlType> fetched;
        std::vector<bool> serials; // fetched as the serial of a Date (date arithmetic)
        std::vector<int> source;
        std::vector<LocalColumn> local;
    };
    Read read(const Select& s) const;
    // A crosstab's first step (its distinct pivot values, texts of one column neighbours), then
    // the query itself.
    QString pivotValues(const Transform& t) const;
    Read crosstab(const Transform& t, const std::vector<PivotColumn>& columns) const;

    static QString quoted(const QString& name);

private:
    friend class gen::StatementWriter<PostgresGenerator>;
    // What the shared writer needs of this engine: the table of rows a write through a join
    // matched, its column of a table's rows, and how a table names its own rows.
    static QString matchesTable();
    static QString matchColumn(std::size_t place);
    static QString rowIdentity();
    static QString declaration(const ColumnType& type);

    QString value(const Expr& e) const;
    QString condition(const Expr& e) const;
    QString number(const Expr& e) const; // as a number: truths -1/0, dates their serial
    QString textOf(const Expr& e) const; // as CStr writes it
    QString key(const QString& valueText) const;
    QString folded(const Expr& e) const; // a constant worked out here
    bool isConstant(const Expr& e) const;
    QString unary(const Expr& e) const;
    QString binary(const Expr& e) const;
    QString arithmetic(const Expr& e) const;
    QString comparison(const Expr& e) const;
    QString columnAgainstText(const Expr& e) const;
    // Date arithmetic as its serial, for a result column: a timestamp would keep only whole
    // microseconds of the language's Double.
    QString serial(const Expr& e) const;
    bool fetchedAsSerial(const OutputColumn& out) const;
    QString predicate(const Expr& e) const;
    QString function(const Expr& e) const;
    QString aggregate(const Expr& e, const struct DialectFunction& f) const;
    QString choice(const Expr& e) const;
    QString typed(const Expr& e, SqlType type) const;
    // The texts of values compared with each other, in the form they compare in.
    QStringList comparable(std::span<const Expr* const> values,
                           std::span<const SqlType> extraTypes = {},
                           QStringList extraTexts = {}) const;

    QString select(const Select& s) const;
    QString selectCore(const Select& s, const QStringList& items,
                       const QStringList& extraColumns = {}) const;
    QStringList items(const Select& s, const Select* typesFrom = nullptr) const;
    QString orderTerms(const Select& s) const;
    QString pivotMatch(const Transform& t, const PivotColumn& column) const;
    QString crosstabCell(const Transform& t, const PivotColumn& column) const;

    QString storedValue(const Expr& e, const ColumnType& target) const;
    QString insertRows(const QString& into, const Select& rows,
                       const std::vector<ColumnType>& targets) const;
    Commands selectInto(const Select& s) const;
    Commands update(const Update& s) const;
    Commands matches(std::span<const TableRefPtr> from, const Expr* where,
                     const std::vector<const TableRef*>& rowsOf, const QStringList& values,
                     bool counted) const;
    Commands schemaChange(const Statement& statement) const;
    QString alterTable(const AlterTable& s) const;

    const Binding& binding_;
    const Catalog& catalog_;
    LocalEvaluator& local_;
    // While a crosstab cell is written: the condition its aggregates filter on.
    mutable QString pivotFilter_;
    // While a grouping select is written: its text groups (printed), which its list shows
    // through min() since they group without regard to case; and how deep in an aggregate's
    // arguments the writing is, where they are not shown so.
    mutable QSet<QString> textGroups_;
    mutable int inAggregate_ = 0;
    mutable bool serialOnly_ = false;
    mutable const Select* serialsOf_ = nullptr; // the read whose date arithmetic is fetched so
};

} // namespace jet
