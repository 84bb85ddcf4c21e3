#include "jet/FunctionRegistry.h"

#include "jet/Ast.h"
#include "jet/SqliteBodies.h"

#include <QHash>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace jet {

namespace {

using namespace jet::sqlite;
using enum FunctionKind;

constexpr ResultType fixed(SqlType type) {
    return {ResultRule::Fixed, type};
}

constexpr ResultType kDate = fixed(SqlType::Date);
constexpr ResultType kText = fixed(SqlType::Text);
constexpr ResultType kDouble = fixed(SqlType::Double);
constexpr ResultType kLong = fixed(SqlType::Long);
constexpr ResultType kInteger = fixed(SqlType::Integer);
constexpr ResultType kBoolean = fixed(SqlType::Boolean);
constexpr ResultType kFirstArg{ResultRule::FirstArg};
constexpr ResultType kAsNumber{ResultRule::FirstArgAsNumber};
constexpr ResultType kPairedBranches{ResultRule::PairedBranches};

constexpr SqliteHow body(SqliteScalar scalar) {
    return {.scalar = scalar};
}

// The clock's functions give another answer at every call: SQLite must not fold them.
constexpr SqliteHow clockBody(SqliteScalar scalar) {
    return {.scalar = scalar, .deterministic = false};
}

constexpr SqliteHow aggregateBody(SqliteScalar step, SqliteFinal final) {
    return {.step = step, .final = final};
}

// The "$" form of a clock function has its own body.
constexpr SqliteHow clockBody(SqliteScalar scalar, SqliteScalar dollar) {
    return {.scalar = scalar, .dollar = dollar, .deterministic = false};
}

constexpr SqliteHow kNative{.form = SqliteForm::Native};
constexpr SqliteHow kNativeCollated{.form = SqliteForm::NativeCollated};

constexpr PostgresHow pgNative(const char* sql, PostgresArgs args) {
    return {PostgresForm::Native, sql, args};
}
constexpr PostgresHow pgAggregate(const char* name) {
    return {PostgresForm::Aggregate, name};
}
constexpr PostgresHow kClock{PostgresForm::Clock};
constexpr PostgresHow kChoice{PostgresForm::Choice};

using vb::Interval;
using enum DollarForm;

// SQLite's bound on the arguments of one call, which Choose and Switch take as many of as given.
constexpr int kMostArguments = 127;

const DialectFunction kFunctions[] = {
    {"cdate", 1, 1, Scalar, kDate, body(valueFunction<fnCDate>)},
    {"cvdate", 1, 1, Scalar, kDate, body(valueFunction<fnCVDate>)},
    {"cvar", 1, 1, Scalar, kFirstArg, body(directFunction<fnCVar>)},
    {"cdbl", 1, 1, Scalar, kDouble, body(valueFunction<convertedTo<vb::cdbl>>)},
    {"csng", 1, 1, Scalar, fixed(SqlType::Single), body(valueFunction<convertedTo<vb::csng>>)},
    {"clng", 1, 1, Scalar, kLong, body(valueFunction<convertedTo<vb::clng>>)},
    {"cint", 1, 1, Scalar, kInteger, body(valueFunction<convertedTo<vb::cint>>)},
    {"cbyte", 1, 1, Scalar, fixed(SqlType::Byte), body(valueFunction<convertedTo<cbyte>>)},
    {"ccur", 1, 1, Scalar, fixed(SqlType::Currency), body(valueFunction<convertedTo<vb::ccur>>)},
    {"cstr", 1, 1, Scalar, kText, body(valueFunction<convertedTo<vb::cstr>>)},
    {"cbool", 1, 1, Scalar, kBoolean, body(valueFunction<convertedTo<vb::cbool>>)},
    {"format", 1, 4, Scalar, kText, body(directFunction<fnFormat>), NullBlank},
    {"formatnumber", 1, 5, Scalar, kText, body(valueFunction<fnFormatAmount<vb::formatNumber>>)},
    {"formatcurrency", 1, 5, Scalar, kText,
     body(valueFunction<fnFormatAmount<vb::formatCurrency>>)},
    {"formatpercent", 1, 5, Scalar, kText, body(valueFunction<fnFormatAmount<vb::formatPercent>>)},
    {"formatdatetime", 1, 2, Scalar, kText, body(valueFunction<fnFormatDateTime>)},

    {"ucase", 1, 1, Scalar, kText, body(directFunction<changeCase<true>>), NullRaises,
     pgNative("upper(%1)", PostgresArgs::Text)},
    {"lcase", 1, 1, Scalar, kText, body(directFunction<changeCase<false>>), NullRaises,
     pgNative("lower(%1)", PostgresArgs::Text)},
    {"left", 2, 2, Scalar, kText, body(directFunction<fnLeft>), NullRaises},
    {"right", 2, 2, Scalar, kText, body(directFunction<fnRight>), NullRaises},
    {"mid", 2, 3, Scalar, kText, body(directFunction<fnMid>), NullRaises},
    {"len", 1, 1, Scalar, kLong, body(valueFunction<fnLen>), None,
     pgNative("CAST(length(%1) + length(regexp_replace(%1, '[^\\U00010000-\\U0010FFFF]', "
              "'', 'g')) AS integer)",
              PostgresArgs::Text)},
    {"trim", 1, 1, Scalar, kText, body(directFunction<trimBlanks<true, true>>), NullRaises},
    {"ltrim", 1, 1, Scalar, kText, body(directFunction<trimBlanks<true, false>>), NullRaises},
    {"rtrim", 1, 1, Scalar, kText, body(directFunction<trimBlanks<false, true>>), NullRaises},
    {"instr", 2, 4, Scalar, kLong, body(valueFunction<fnInStr>)},
    {"instrrev", 2, 4, Scalar, kLong, body(valueFunction<fnInStrRev>)},
    {"chr", 1, 1, Scalar, kText, body(valueFunction<fnChr>), NullRaises},
    {"asc", 1, 1, Scalar, kInteger, body(valueFunction<fnAsc>)},
    {"chrw", 1, 1, Scalar, kText, body(valueFunction<fnChrW>), NullRaises},
    {"ascw", 1, 1, Scalar, kInteger, body(valueFunction<fnAscW>)},
    {"replace", 3, 6, Scalar, kText, body(valueFunction<fnReplace>)},
    {"space", 1, 1, Scalar, kText, body(directFunction<fnSpace>), NullRaises},
    {"string", 2, 2, Scalar, kText, body(valueFunction<fnString>), NullRaises},
    {"strcomp", 2, 3, Scalar, kInteger, body(valueFunction<fnStrComp>)},
    {"strconv", 2, 3, Scalar, kText, body(valueFunction<fnStrConv>)},
    {"strreverse", 1, 1, Scalar, kText, body(valueFunction<fnStrReverse>)},

    {"abs", 1, 1, Scalar, kAsNumber, body(valueFunction<fnAbs>), None,
     pgNative("abs(%1)", PostgresArgs::Number)},
    {"int", 1, 1, Scalar, kAsNumber, body(valueFunction<fnWholePart<true>>)},
    {"fix", 1, 1, Scalar, kAsNumber, body(valueFunction<fnWholePart<false>>)},
    {"sgn", 1, 1, Scalar, kInteger, body(valueFunction<fnSgn>)},
    {"round", 1, 2, Scalar, kAsNumber, body(valueFunction<fnRound>)},
    {"sqr", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<squareRoot, notNegative>>)},
    {"exp", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<exponential>>)},
    {"log", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<logarithm, positive>>)},
    {"atn", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<arcTangent>>)},
    {"sin", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<sine>>)},
    {"cos", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<cosine>>)},
    {"tan", 1, 1, Scalar, kDouble, body(valueFunction<fnMath<tangent>>)},
    {"hex", 1, 1, Scalar, kText, body(valueFunction<fnRadix<16>>), NullRaises},
    {"oct", 1, 1, Scalar, kText, body(valueFunction<fnRadix<8>>), NullRaises},
    {"val", 1, 1, Scalar, kDouble, body(valueFunction<fnVal>)},
    {"str", 1, 1, Scalar, kText, body(valueFunction<fnStr>), NullRaises},
    {"partition", 4, 4, Scalar, kText, body(valueFunction<fnPartition>)},

    {"iif", 3, 3, Scalar, {ResultRule::Branches}, body(directFunction<fnIif>), None, kChoice},
    {"choose", 2, kMostArguments, Scalar, {ResultRule::Branches}, body(directFunction<fnChoose>)},
    {"switch", 2, kMostArguments - 1, Scalar, kPairedBranches, body(directFunction<fnSwitch>)},
    {"nz", 1, 2, Scalar, kAsNumber, body(directFunction<fnNz>)},
    {"isnull", 1, 1, Scalar, kBoolean, body(directFunction<fnIsNull>), None,
     pgNative("(%1 IS NULL)", PostgresArgs::Any)},
    {"isnumeric", 1, 1, Scalar, kBoolean, body(directFunction<fnIsNumeric>)},
    {"isdate", 1, 1, Scalar, kBoolean, body(directFunction<fnIsDate>)},
    {"isempty", 1, 1, Scalar, kBoolean, body(directFunction<fnIsEmpty>)},

    {"date", 0, 0, Scalar, kDate, clockBody(valueFunction<fnToday>, valueFunction<fnTodayText>),
     Own, kClock},
    {"time", 0, 0, Scalar, kDate,
     clockBody(valueFunction<fnTimeOfDay>, valueFunction<fnTimeOfDayText>), Own, kClock},
    {"now", 0, 0, Scalar, kDate, clockBody(valueFunction<fnNow>), None, kClock},
    {"timer", 0, 0, Scalar, fixed(SqlType::Single), clockBody(valueFunction<fnTimer>), None,
     kClock},
    {"datevalue", 1, 1, Scalar, kDate, body(valueFunction<fnDateOrTimeValue<vb::dateValue>>), None,
     pgNative("date_trunc('day', %1)", PostgresArgs::Date)},
    {"timevalue", 1, 1, Scalar, kDate, body(valueFunction<fnDateOrTimeValue<vb::timeValue>>), None,
     pgNative("(TIMESTAMP '1899-12-30' + (%1 - date_trunc('day', %1)))", PostgresArgs::Date)},
    {"dateserial", 3, 3, Scalar, kDate, body(valueFunction<fnDateSerial>)},
    {"timeserial", 3, 3, Scalar, kDate, body(valueFunction<fnTimeSerial>)},
    {"dateadd", 3, 3, Scalar, kDate, body(valueFunction<fnDateAdd>)},
    {"datediff", 3, 5, Scalar, kLong, body(valueFunction<fnDateDiff>)},
    {"datepart", 2, 4, Scalar, kInteger, body(valueFunction<fnDatePart>)},
    {"year", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Year>>), None,
     pgNative("CAST(extract(year FROM %1) AS smallint)", PostgresArgs::Date)},
    {"month", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Month>>), None,
     pgNative("CAST(extract(month FROM %1) AS smallint)", PostgresArgs::Date)},
    {"day", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Day>>), None,
     pgNative("CAST(extract(day FROM %1) AS smallint)", PostgresArgs::Date)},
    {"hour", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Hour>>), None,
     pgNative("CAST(extract(hour FROM %1) AS smallint)", PostgresArgs::Date)},
    {"minute", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Minute>>), None,
     pgNative("CAST(extract(minute FROM %1) AS smallint)", PostgresArgs::Date)},
    {"second", 1, 1, Scalar, kInteger, body(valueFunction<fnDatePartOf<Interval::Second>>), None,
     pgNative("CAST(floor(extract(second FROM %1)) AS smallint)", PostgresArgs::Date)},
    {"weekday", 1, 2, Scalar, kInteger, body(valueFunction<fnWeekday>)},
    {"weekdayname", 1, 3, Scalar, kText, body(valueFunction<fnWeekdayName>)},
    {"monthname", 1, 2, Scalar, kText, body(valueFunction<fnMonthName>)},

    {"count", 1, 1, Count, kLong, kNative, None, pgAggregate("count")},
    {"sum", 1, 1, Aggregate, {ResultRule::CurrencyOrDouble}, kNative, None, pgAggregate("sum")},
    {"avg", 1, 1, Aggregate, {ResultRule::CurrencyOrDouble}, kNative, None, pgAggregate("avg")},
    {"min", 1, 1, Aggregate, kFirstArg, kNativeCollated, None, pgAggregate("min")},
    {"max", 1, 1, Aggregate, kFirstArg, kNativeCollated, None, pgAggregate("max")},
    {"first", 1, 1, Aggregate, kFirstArg, aggregateBody(stepFirstLast<false>, finalFirstLast), None,
     pgAggregate("jet_first")},
    {"last", 1, 1, Aggregate, kFirstArg, aggregateBody(stepFirstLast<true>, finalFirstLast), None,
     pgAggregate("jet_last")},
    {"stdev", 1, 1, Aggregate, kDouble, aggregateBody(stepSpread, finalSpread<true, true>), None,
     pgAggregate("jet_stdev")},
    {"var", 1, 1, Aggregate, kDouble, aggregateBody(stepSpread, finalSpread<false, true>), None,
     pgAggregate("jet_var")},
    {"stdevp", 1, 1, Aggregate, kDouble, aggregateBody(stepSpread, finalSpread<true, false>), None,
     pgAggregate("jet_stdevp")},
    {"varp", 1, 1, Aggregate, kDouble, aggregateBody(stepSpread, finalSpread<false, false>), None,
     pgAggregate("jet_varp")},
};

} // namespace

std::span<const DialectFunction> dialectFunctions() {
    return kFunctions;
}

const DialectFunction* findFunction(QStringView name) {
    static const QHash<QString, const DialectFunction*> byName = [] {
        QHash<QString, const DialectFunction*> names;
        for (const DialectFunction& f : kFunctions)
            names.insert(QString::fromLatin1(f.name), &f);
        return names;
    }();
    return byName.value(name.toString().toLower());
}

bool isAggregateFunction(QStringView name) {
    const DialectFunction* f = findFunction(name);
    return f && f->isAggregate();
}

namespace {

bool containsAggregate(const Expr& e) {
    if (e.kind == ExprKind::Function && isAggregateFunction(e.name)) return true;
    for (const ExprPtr& a : e.args)
        if (containsAggregate(*a)) return true;
    return false;
}

} // namespace

bool groupsRows(const Select& s) {
    if (!s.groupBy.empty() || (s.having && containsAggregate(*s.having))) return true;
    return std::any_of(s.items.begin(), s.items.end(),
                       [](const SelectItem& item) { return containsAggregate(*item.expr); });
}

QString sqliteName(const DialectFunction& f) {
    const QString name = QString::fromLatin1(f.name);
    return f.sqlite.form == SqliteForm::Body ? u"jet_"_s + name : name;
}

QString sqliteDollarName(const DialectFunction& f) {
    return u"jet_"_s + QString::fromLatin1(f.name) + u'$';
}

const DialectFunction* formattedDatePart(QStringView outer, QStringView inner,
                                         QStringView pattern) {
    if (outer.compare(u"cdate", Qt::CaseInsensitive) != 0 ||
        inner.compare(u"format", Qt::CaseInsensitive) != 0)
        return nullptr;
    if (pattern.compare(u"yyyy/mm/dd", Qt::CaseInsensitive) == 0) return findFunction(u"datevalue");
    if (pattern.compare(u"hh:nn:ss", Qt::CaseInsensitive) == 0) return findFunction(u"timevalue");
    return nullptr;
}

} // namespace jet
