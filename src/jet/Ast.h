#pragma once

// The syntax tree of the site's SQL dialect. One tree serves every engine: the binder annotates
// it against a catalog, and a generator per engine writes it out.

#include "vb/Variant.h"

#include <QString>
#include <memory>
#include <optional>
#include <type_traits>
#include <variant>
#include <vector>

namespace jet {

struct Select;

enum class ExprKind {
    Literal,  // value: a number, 'text', #date#, TRUE/FALSE (Boolean), Null
    Column,   // [table.]name
    Star,     // * or table.* (table may be empty)
    Unary,    // op, args[0]
    Binary,   // op, args[0], args[1]
    Function, // name(args...); count(*) has star set
    Between,  // args[0] [Not] Between args[1] And args[2]
    InList,   // args[0] [Not] In (args[1..])
    InSelect, // args[0] [Not] In (subquery)
    Like,     // args[0] [Not] Like args[1]
    IsNull,   // args[0] Is [Not] Null
    Exists,   // Exists (subquery)
    Subquery, // (subquery) as a value
};

enum class Op {
    // unary
    Negate,
    Plus,
    Not,
    // binary, from tightest to loosest
    Power,
    Multiply,
    Divide,
    IntDivide,
    Mod,
    Add,
    Subtract,
    Concat,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessEqual,
    GreaterEqual,
    And,
    Or,
    Xor,
    Eqv,
    Imp,
};

struct Expr;
using ExprPtr = std::unique_ptr<Expr>;

struct Expr {
    ExprKind kind = ExprKind::Literal;
    int position = 0; // offset of the expression's first character in the query text
    int length = 0;   // characters it spans there, so errors can quote it as written

    vb::Variant value;     // Literal
    QString table;         // Column, Star: the qualifier as written (may be empty)
    QString name;          // Column: the column; Function: the name without "$"
    bool dollar = false;   // Function: written with "$" (format$, ucase$)
    bool star = false;     // Function: count(*)
    bool distinct = false; // Function: count(distinct x)
    bool negated = false;  // Not Between, Not In, Not Like, Is Not Null
    Op op = Op::Plus;      // Unary, Binary
    std::vector<ExprPtr> args;
    std::unique_ptr<Select> subquery; // InSelect, Exists, Subquery
};

enum class JoinKind { Inner, Left, Right };

struct TableRef;
using TableRefPtr = std::unique_ptr<TableRef>;

struct TableRef {
    enum class Kind { Table, Join, Subquery } kind = Kind::Table;
    QString name;  // Table
    QString alias; // Table, Subquery
    JoinKind join = JoinKind::Inner;
    TableRefPtr left, right; // Join
    ExprPtr on;              // Join
    std::unique_ptr<Select> subquery;
};

struct SelectItem {
    ExprPtr expr;
    QString alias; // empty when none was written
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

struct Top {
    double count = 0;
    bool percent = false;
};

// PARAMETERS name type, ...; ahead of a query: the values it asks for, and their types.
struct Parameter {
    QString name;     // as written; the parts of a dotted name ([Forms]![f]![x]) joined by "."
    QString typeName; // upper case, as written: LONG, DATETIME, TEXT, VALUE, ...
    int size = 0;     // Text (n)
};

struct Select {
    std::vector<Parameter> parameters; // a statement's own, never a subquery's
    bool distinct = false;
    bool distinctRow = false;
    std::optional<Top> top;
    std::vector<SelectItem> items;
    QString into;                  // SELECT ... INTO table
    std::vector<TableRefPtr> from; // comma-separated sources
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
    std::vector<OrderItem> orderBy; // on a UNION chain, the first Select holds the final order
    std::unique_ptr<Select> unionNext;
    bool unionAll = false;
};

// TRANSFORM aggregate SELECT ... PIVOT expr [IN (values)]
struct Transform {
    std::vector<Parameter> parameters;
    ExprPtr aggregate;
    std::unique_ptr<Select> select;
    ExprPtr pivot;
    std::vector<ExprPtr> pivotIn;
};

struct Insert {
    std::vector<Parameter> parameters;
    QString table;
    std::vector<QString> columns;   // empty: every column in order
    std::vector<ExprPtr> values;    // INSERT ... VALUES (...)
    std::unique_ptr<Select> select; // INSERT ... SELECT
};

struct Assignment {
    ExprPtr column; // a Column expression
    ExprPtr value;
};

struct Update {
    std::vector<Parameter> parameters;
    std::vector<TableRefPtr> from; // tables or joins; SET may write the columns of any table
    std::vector<Assignment> assignments;
    ExprPtr where;
};

// DELETE [list] FROM sources [WHERE ...]. Whole rows go, so the list only says from which
// tables, and only where the sources are several: those it names as table.*, or failing those,
// the tables of the columns it names (the query designer lists the columns it tests as well).
struct Delete {
    std::vector<Parameter> parameters;
    std::vector<QString> targets;
    std::vector<TableRefPtr> from;
    ExprPtr where;
};

struct ColumnDef {
    QString name;
    QString typeName; // as written, upper case: COUNTER, LONG, TEXT, DATETIME, ...
    int size = 0;     // TEXT(n)
    bool notNull = false;
    bool primaryKey = false;
};

struct CreateTable {
    QString name;
    std::vector<ColumnDef> columns;
};

struct IndexColumn {
    QString name;
    bool descending = false;
};

// CREATE [UNIQUE] INDEX name ON table (col [ASC|DESC], ...) [WITH PRIMARY | DISALLOW NULL |
// IGNORE NULL]
struct CreateIndex {
    QString name;
    QString table;
    std::vector<IndexColumn> columns;
    bool unique = false;
};

struct DropTable {
    QString name;
};

// ALTER TABLE table ADD [COLUMN] definition | DROP [COLUMN] name | ALTER [COLUMN] definition
struct AlterTable {
    enum class Action { AddColumn, DropColumn, AlterColumn };
    QString table;
    Action action = Action::AddColumn;
    ColumnDef column; // DropColumn: the name alone
};

using Statement = std::variant<Select, Transform, Insert, Update, Delete, CreateTable, CreateIndex,
                               DropTable, AlterTable>;

// The PARAMETERS a statement declares; null for the statements that take none.
template <typename S> auto* parametersOf(S& statement) {
    return std::visit(
        [](auto& s) {
            using Declared = std::conditional_t<std::is_const_v<S>, const std::vector<Parameter>,
                                                std::vector<Parameter>>;
            if constexpr (requires { s.parameters; })
                return static_cast<Declared*>(&s.parameters);
            else
                return static_cast<Declared*>(nullptr);
        },
        statement);
}

} // namespace jet
