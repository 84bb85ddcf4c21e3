#pragma once

// The dialect's functions, each described once: what the binder checks and how it types the
// result, and how each engine computes it. The binder, the generators and the engines' function
// registrations all read this table, so no function can be known to one of them and missing
// from another.

#include "jet/Types.h"

#include <QString>
#include <QStringView>
#include <span>

struct sqlite3_context;
struct sqlite3_value;

namespace jet {

struct Select;

enum class FunctionKind {
    Scalar,
    Aggregate,
    Count, // an aggregate that also takes *, and gives 0 rather than Null over no rows
};

// How a function's result type follows from its arguments' types.
enum class ResultRule {
    Fixed,            // always the entry's type
    FirstArg,         // the first argument's type (min, max, first, last)
    FirstArgAsNumber, // the first argument's, a Boolean becoming an Integer (abs, round, nz)
    // IIf and Choose: the type every choice (each argument after the first) shares, the widest
    // of numbers, else none
    Branches,
    PairedBranches,   // Switch: the same over its values, every second argument
    CurrencyOrDouble, // Sum and Avg: Currency stays Currency, anything else gives a Double
};

struct ResultType {
    ResultRule rule = ResultRule::Fixed;
    SqlType type = SqlType::Unknown; // for Fixed
};

using SqliteScalar = void (*)(sqlite3_context*, int, sqlite3_value**);
using SqliteFinal = void (*)(sqlite3_context*);

enum class SqliteForm {
    Body,           // the user function jet_<name>, registered from the entry's body
    Native,         // SQLite's own aggregate of the same name (count, sum, avg)
    NativeCollated, // the same, comparing texts under the jet_text collation (min, max)
};

// The "$" form of a function (Left$, Format$, Date$) always gives text.
enum class DollarForm {
    None,       // there is none: Abs$ is an unknown function
    NullRaises, // the Variant form's text, where its Null raises 94 (Str$(Null))
    NullBlank,  // the Variant form's text, where its Null gives "" (Format$)
    Own,        // a body of its own, as Date$ and Time$ give text where Date and Time give dates
};

struct SqliteHow {
    SqliteForm form = SqliteForm::Body;
    SqliteScalar scalar = nullptr; // a scalar body
    SqliteScalar dollar = nullptr; // the "$" form's body, for DollarForm::Own
    SqliteScalar step = nullptr;   // an aggregate body, with final
    SqliteFinal final = nullptr;
    bool deterministic = true;
};

enum class PostgresForm {
    // Worked out by the engine on the language's own bodies: at once where every argument is a
    // constant (so anywhere in a statement), else over the fetched rows in a select list only.
    Engine,
    Native,    // `sql`, %1.. standing for the arguments, where each argument is of kind `args`
    Aggregate, // the aggregate named `sql` (the site's schema has those PostgreSQL lacks)
    Clock,     // the client's clock, read when the statement is written, as the file engine does
    Choice,    // IIf: a CASE over the condition read as the language reads a truth
};

// The arguments a native form takes; others go the engine's way.
enum class PostgresArgs { Any, Number, Text, Date };

struct PostgresHow {
    PostgresForm form = PostgresForm::Engine;
    const char* sql = nullptr;
    PostgresArgs args = PostgresArgs::Any;
};

struct DialectFunction {
    const char* name; // lower case; looked up without regard to case
    int minArgs;
    int maxArgs; // count(*) counts its * as one argument
    FunctionKind kind;
    ResultType result;
    SqliteHow sqlite;
    DollarForm dollar = DollarForm::None;
    PostgresHow postgres = {};

    bool isAggregate() const { return kind != FunctionKind::Scalar; }
};

std::span<const DialectFunction> dialectFunctions();

// The function of that name (as written, any case, without "$"); null when the dialect has none.
const DialectFunction* findFunction(QStringView name);

bool isAggregateFunction(QStringView name);

// Whether a select folds its rows into groups: it groups by something, or an aggregate stands in
// its list or its HAVING.
bool groupsRows(const Select& s);

// The name SQLite knows a function by: jet_<name> for a body, the dialect's name for a native.
QString sqliteName(const DialectFunction& f);
// The name of the "$" form's own body (DollarForm::Own): jet_<name>$.
QString sqliteDollarName(const DialectFunction& f);

// CDate(Format(d, "yyyy/mm/dd")) and CDate(Format(d, "HH:nn:ss")), the client's way of cutting a
// moment into its day and its time of day, are DateValue(d) and TimeValue(d). Given the outer
// and inner functions' names and the pattern, the function the pair stands for; null for any
// other pair.
const DialectFunction* formattedDatePart(QStringView outer, QStringView inner, QStringView pattern);

} // namespace jet
