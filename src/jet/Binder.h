#pragma once

// Resolves the names of a parsed statement against a catalog and gives every expression and
// every output column its type. Generators read what it found; the tree itself is not changed.

#include "jet/Ast.h"
#include "jet/Catalog.h"
#include "jet/Types.h"

#include <QHash>
#include <QString>
#include <vector>

namespace jet {

// A column reference resolved to its source.
struct ResolvedColumn {
    QString source; // the alias or table name to qualify it with in generated SQL
    QString column; // the column's name as the source declares it
    ColumnType type;
    bool outputAlias = false; // a reference to a select-list alias (ORDER BY [Date])
};

struct OutputColumn {
    QString name; // the field name the result set shows
    ColumnType type;
    const Expr* expr = nullptr; // what it shows; for an expanded *, the star expression
    ResolvedColumn starColumn;  // for an expanded *: the column it stands for
};

// A value the statement's PARAMETERS clause asks for, typed as declared there.
struct QueryParameter {
    QString name;
    SqlType type = SqlType::Unknown;
};

class Binding {
public:
    SqlType typeOf(const Expr* e) const { return types_.value(e, SqlType::Unknown); }
    const ResolvedColumn* column(const Expr* e) const {
        auto it = columns_.constFind(e);
        return it == columns_.constEnd() ? nullptr : &*it;
    }
    // The output columns of a Select (with * expanded), in order.
    const std::vector<OutputColumn>& outputs(const Select* s) const { return outputs_[s]; }
    // What the statement declares, in order. A name is one of them where it matches no column.
    const std::vector<QueryParameter>& parameters() const { return parameters_; }

private:
    friend class Binder;
    std::vector<QueryParameter> parameters_;
    QHash<const Expr*, SqlType> types_;
    QHash<const Expr*, ResolvedColumn> columns_;
    mutable QHash<const Select*, std::vector<OutputColumn>> outputs_;
};

// Raises the dialect's errors: 3078 for an unknown table, 3061 for an unknown name that the
// statement does not declare as a parameter, 3079 for an ambiguous one, 3085 for an unknown
// function, 3075 for a call with the wrong number of arguments.
Binding bindSelect(const Select& select, const Catalog& catalog);
Binding bindStatement(const Statement& statement, const Catalog& catalog);

} // namespace jet
