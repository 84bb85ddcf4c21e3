#pragma once

// What the generators of every engine read alike off a bound statement: the kinds of operators,
// the sources of a join, and when a crosstab cell is Null by itself.

#include "jet/Ast.h"
#include "jet/Catalog.h"
#include "jet/FunctionRegistry.h"
#include "vb/Convert.h"

#include <QString>
#include <span>
#include <utility>
#include <vector>

namespace jet::gen {

using namespace Qt::Literals::StringLiterals;

inline bool isComparison(Op op) {
    switch (op) {
    case Op::Equal:
    case Op::NotEqual:
    case Op::Less:
    case Op::Greater:
    case Op::LessEqual:
    case Op::GreaterEqual:
        return true;
    default:
        return false;
    }
}

inline bool isLogical(Op op) {
    return op == Op::And || op == Op::Or || op == Op::Xor || op == Op::Eqv || op == Op::Imp;
}

inline QString comparisonOperator(Op op) {
    switch (op) {
    case Op::Equal:
        return u"="_s;
    case Op::NotEqual:
        return u"<>"_s;
    case Op::Less:
        return u"<"_s;
    case Op::Greater:
        return u">"_s;
    case Op::LessEqual:
        return u"<="_s;
    default:
        return u">="_s;
    }
}

// A number written in the text that is not zero.
inline bool nonzeroNumber(const Expr& e) {
    return e.kind == ExprKind::Literal && e.value.isNumeric() && !e.value.isDate() &&
           vb::cdbl(e.value) != 0;
}

// A text expression that can never be Null: a text literal, or & with such a side.
inline bool neverNull(const Expr& e) {
    if (e.kind == ExprKind::Literal) return e.value.isString();
    return e.kind == ExprKind::Binary && e.op == Op::Concat &&
           (neverNull(*e.args[0]) || neverNull(*e.args[1]));
}

inline bool isCount(const Expr& e) {
    if (e.kind != ExprKind::Function) return false;
    const DialectFunction* f = findFunction(e.name);
    return f && f->kind == FunctionKind::Count;
}

// Whether a crosstab value is Null by itself when its cell has no rows: aggregates other than
// count are, and arithmetic keeps a Null.
inline bool nullWhenEmpty(const Expr& e) {
    switch (e.kind) {
    case ExprKind::Literal:
        return true;
    case ExprKind::Function:
        return isAggregateFunction(e.name) && !isCount(e);
    case ExprKind::Unary:
        return e.op != Op::Not && nullWhenEmpty(*e.args[0]);
    case ExprKind::Binary:
        return e.op != Op::Concat && !isLogical(e.op) && !isComparison(e.op) &&
               nullWhenEmpty(*e.args[0]) && nullWhenEmpty(*e.args[1]);
    default:
        return false;
    }
}

// A table or subquery of a FROM clause or a join, with whether a row of the join may lack it: it
// lies on the side of an outer join that need not match.
struct JoinedSource {
    const TableRef* ref = nullptr;
    bool optional = false;
};

inline void addJoined(const TableRef& ref, bool optional, std::vector<JoinedSource>& sources) {
    if (ref.kind != TableRef::Kind::Join) {
        sources.push_back({&ref, optional});
        return;
    }
    addJoined(*ref.left, optional || ref.join == JoinKind::Right, sources);
    addJoined(*ref.right, optional || ref.join == JoinKind::Left, sources);
}

// The sources in the order the text names them.
inline std::vector<JoinedSource> joinedSources(std::span<const TableRefPtr> refs) {
    std::vector<JoinedSource> sources;
    for (const TableRefPtr& ref : refs)
        addJoined(*ref, false, sources);
    return sources;
}

// The source a statement calls by this name (its alias, else its table's name); null for none.
inline const JoinedSource* sourceNamed(const std::vector<JoinedSource>& sources,
                                       const QString& name) {
    for (const JoinedSource& s : sources) {
        const QString& called = s.ref->alias.isEmpty() ? s.ref->name : s.ref->alias;
        if (called.compare(name, Qt::CaseInsensitive) == 0) return &s;
    }
    return nullptr;
}

// The dialect writes through a join only where each of its rows stands for rows of tables: not
// through a subquery that groups, removes duplicates or is a union.
inline bool updatable(const JoinedSource& source) {
    const Select* s = source.ref->subquery.get();
    return !s || (!groupsRows(*s) && !s->distinct && !s->unionNext);
}

// A table UPDATE writes, with what it writes there: column and the place of its value.
struct WrittenTable {
    const JoinedSource* source = nullptr;
    const CatalogTable* table = nullptr;
    std::vector<std::pair<QString, int>> columns;

    // A later assignment to the same column replaces the earlier one.
    void set(const QString& column, int value) {
        for (auto& [name, place] : columns)
            if (name == column) {
                place = value;
                return;
            }
        columns.emplace_back(column, value);
    }
};

} // namespace jet::gen
