#include "jet/SqliteFunctions.h"

#include "jet/FunctionRegistry.h"
#include "jet/JetLike.h"
#include "jet/SqliteCall.h"
#include "jet/Storage.h"

#include <QString>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {

namespace {

using namespace jet::sqlite;

// The dialect's functions are registered from the registry, which names their bodies
// (SqliteBodies.h). Here are only the generator's own helpers, which the dialect cannot call by
// name: operators SQLite has no equal of, and the wrappers the generator puts around values.

// ---- operators ----

// &: one Null side counts as empty text, two make Null. Two texts are joined as bytes.
void fnConcat(const Call& c) {
    const int a = c.type(0), b = c.type(1);
    const auto textOrNull = [](int type) { return type == SQLITE_TEXT || type == SQLITE_NULL; };
    if (!textOrNull(a) || !textOrNull(b)) return c.result(vb::concat(c.value(0), c.value(1)));
    if (a == SQLITE_NULL) return b == SQLITE_NULL ? c.resultNull() : c.resultArgument(1);
    if (b == SQLITE_NULL) return c.resultArgument(0);
    thread_local std::string joined;
    joined.assign(bytesOf(c.raw(0)));
    joined.append(bytesOf(c.raw(1)));
    sqlite3_result_text64(c.context(), joined.data(), joined.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// + - * / \ Mod ^ and unary -, where SQLite's own arithmetic is not the dialect's: text read as
// CDbl reads it (13 Type mismatch when it is no number), Null kept, dates, Currency and Yes/No
// values by the language's rules.
template <Variant (*Op)(const Variant&, const Variant&)> Variant fnOperator(const Call& c) {
    return Op(c.value(0), c.value(1));
}

Variant fnNegate(const Call& c) {
    return vb::negate(c.value(0));
}

// LIKE: Null on either side gives Null; numbers and dates are matched as CStr writes them.
void fnLike(const Call& c) {
    if (c.isNull(0) || c.isNull(1)) return c.resultNull();
    const CompiledArg<LikePattern> pattern(c, 1, [](const QString& p) { return LikePattern(p); });
    const bool matched = c.type(0) == SQLITE_TEXT ? pattern.get().matchesUtf8(bytesOf(c.raw(0)))
                                                  : pattern.get().matches(textArg(c, 0));
    resultBoolean(c.context(), matched);
}

// The "$" form of a function whose Variant form may give Null: its text, where Null raises 94.
void fnDollar(const Call& c) {
    if (c.isNull(0)) vb::raise(vb::err::InvalidUseOfNull);
    c.resultArgument(0);
}

// A value bound for a Yes/No column: -1 or 0.
void fnBool(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    resultBoolean(c.context(), vb::cbool(c.value(0)));
}

// ---- values written into typed columns ----
// The generator wraps a value written into a number or date column in the column's conversion,
// so that a value the column's kind cannot hold fails the statement, which SQLite then undoes,
// instead of being kept as text that every later read of the row fails on. A value SQLite
// already holds as that kind goes in as it is; anything else goes through the language's
// conversion (13 Type mismatch, 6 Overflow). Null goes in as Null.

// Ten-thousandths past this are out of Currency's range.
constexpr double kCurrencyLimit = 9.2233720368547758e18;

template <sqlite3_int64 Low, sqlite3_int64 High> bool wholeWithin(sqlite3_value* value) {
    if (sqlite3_value_type(value) != SQLITE_INTEGER) return false;
    const sqlite3_int64 n = sqlite3_value_int64(value);
    return n >= Low && n <= High;
}

// Dates sit on the linear day line, which only their tag tells from a serial (Storage.h).
bool numberNotDate(sqlite3_value* value) {
    return isNumber(sqlite3_value_type(value)) &&
           sqlite3_value_subtype(value) != storage::kSubtypeDate;
}

bool taggedDate(sqlite3_value* value) {
    return isNumber(sqlite3_value_type(value)) &&
           sqlite3_value_subtype(value) == storage::kSubtypeDate;
}

// An amount already in whole ten-thousandths, as a Currency keeps it (prices mostly are).
bool wholeTenThousandths(sqlite3_value* value) {
    if (!numberNotDate(value)) return false;
    const double scaled = sqlite3_value_double(value) * vb::Currency::kScale;
    return std::fabs(scaled) < kCurrencyLimit && scaled == std::nearbyint(scaled);
}

double linearDate(const Variant& v) {
    return storage::linearFromSerial(vb::cdate(v));
}

void resultStored(sqlite3_context* context, std::int32_t n) {
    sqlite3_result_int(context, n);
}

void resultStored(sqlite3_context* context, double x) {
    sqlite3_result_double(context, x);
}

void resultStored(sqlite3_context* context, vb::Currency amount) {
    sqlite3_result_double(context, amount.toDouble());
}

template <bool (*Kept)(sqlite3_value*), auto Convert> void fnStore(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    if (Kept(c.raw(0))) return sqlite3_result_value(c.context(), c.raw(0));
    resultStored(c.context(), Convert(c.value(0)));
}

// The whole numbers a Single holds exactly.
constexpr sqlite3_int64 kSingleWhole = 1 << 24;
using Limits16 = std::numeric_limits<std::int16_t>;
using Limits32 = std::numeric_limits<std::int32_t>;

// ---- tags ----
// The generated SQL wraps stored Dates, Currency amounts, Yes/No values and Singles in these
// before they reach a function. A text kept in such a column by another program is read as the
// language reads text into that kind.

void fnTagDate(const Call& c) {
    const int type = c.type(0);
    if (type == SQLITE_NULL) return c.resultNull();
    if (!isNumber(type)) return resultDate(c.context(), vb::cdate(c.value(0)));
    sqlite3_result_double(c.context(), sqlite3_value_double(c.raw(0)));
    sqlite3_result_subtype(c.context(), storage::kSubtypeDate);
}

void fnTagCurrency(const Call& c) {
    const int type = c.type(0);
    if (type == SQLITE_NULL) return c.resultNull();
    if (!isNumber(type)) return c.result(Variant(vb::ccur(c.value(0))));
    sqlite3_result_double(c.context(), sqlite3_value_double(c.raw(0)));
    sqlite3_result_subtype(c.context(), storage::kSubtypeCurrency);
}

void fnTagBool(const Call& c) {
    const int type = c.type(0);
    if (type == SQLITE_NULL) return c.resultNull();
    if (!isNumber(type)) return resultBoolean(c.context(), vb::cbool(c.value(0)));
    resultBoolean(c.context(), sqlite3_value_double(c.raw(0)) != 0);
}

// A Single column keeps the Single's own value; what SQLite's own arithmetic computed for one is
// narrowed as CSng narrows.
void fnTagSingle(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    resultSingle(c.context(), vb::csng(c.value(0)));
}

// ---- collation ----

int collateText(void*, int lengthA, const void* a, int lengthB, const void* b) noexcept {
    const std::string_view ta(static_cast<const char*>(a), static_cast<std::size_t>(lengthA));
    const std::string_view tb(static_cast<const char*>(b), static_cast<std::size_t>(lengthB));
    try {
        return compareTextIgnoringCase(ta, tb);
    } catch (...) { // no memory for the Unicode comparison: keep some consistent order
        return ta.compare(tb);
    }
}

// ---- registration ----

// The helpers take a fixed number of arguments and always give the same answer for the same ones.
struct Helper {
    const char* name;
    int args;
    SqliteScalar function;
};

const Helper kHelpers[] = {
    {"jet_concat", 2, directFunction<fnConcat>},
    {"jet_add", 2, valueFunction<fnOperator<vb::add>>},
    {"jet_sub", 2, valueFunction<fnOperator<vb::subtract>>},
    {"jet_mul", 2, valueFunction<fnOperator<vb::multiply>>},
    {"jet_div", 2, valueFunction<fnOperator<vb::divide>>},
    {"jet_neg", 1, valueFunction<fnNegate>},
    {"jet_intdiv", 2, valueFunction<fnOperator<vb::intDivide>>},
    {"jet_mod", 2, valueFunction<fnOperator<vb::modulo>>},
    {"jet_pow", 2, valueFunction<fnOperator<vb::power>>},
    {"jet_like", 2, directFunction<fnLike>},
    {"jet_bool", 1, directFunction<fnBool>},
    {"jet_dollar", 1, directFunction<fnDollar>},

    {"jet_to_byte", 1, directFunction<fnStore<wholeWithin<0, 255>, cbyte>>},
    {"jet_to_short", 1,
     directFunction<fnStore<wholeWithin<Limits16::min(), Limits16::max()>, vb::cint>>},
    {"jet_to_long", 1,
     directFunction<fnStore<wholeWithin<Limits32::min(), Limits32::max()>, vb::clng>>},
    {"jet_to_single", 1,
     directFunction<fnStore<wholeWithin<-kSingleWhole, kSingleWhole>, vb::csng>>},
    {"jet_to_double", 1, directFunction<fnStore<numberNotDate, vb::cdbl>>},
    {"jet_to_currency", 1, directFunction<fnStore<wholeTenThousandths, vb::ccur>>},
    {"jet_to_date", 1, directFunction<fnStore<taggedDate, linearDate>>},

    {"jet_tag_date", 1, directFunction<fnTagDate>},
    {"jet_tag_currency", 1, directFunction<fnTagCurrency>},
    {"jet_tag_bool", 1, directFunction<fnTagBool>},
    {"jet_tag_single", 1, directFunction<fnTagSingle>},
};

// Every function reads its arguments' tags (SQLITE_SUBTYPE keeps SQLite from optimisations that
// would drop them) and may tag its result.
int flagsFor(bool deterministic) {
    int flags = SQLITE_UTF8 | SQLITE_INNOCUOUS | SQLITE_SUBTYPE;
#ifdef SQLITE_RESULT_SUBTYPE
    flags |= SQLITE_RESULT_SUBTYPE;
#endif
    return deterministic ? flags | SQLITE_DETERMINISTIC : flags;
}

void check(sqlite3* db, int rc, const QByteArray& what) {
    if (rc != SQLITE_OK)
        throw std::runtime_error("cannot register " + what.toStdString() + ": " +
                                 sqlite3_errmsg(db));
}

void registerFunction(sqlite3* db, const QByteArray& name, int args, const SqliteHow& how) {
    check(db,
          sqlite3_create_function_v2(db, name.constData(), args, flagsFor(how.deterministic),
                                     nullptr, how.scalar, how.step, how.final, nullptr),
          name);
}

// A body under its name for every argument count the function takes.
void registerEveryCount(sqlite3* db, const QString& name, const DialectFunction& f,
                        const SqliteHow& how) {
    const QByteArray utf8 = name.toUtf8();
    for (int n = f.minArgs; n <= f.maxArgs; ++n)
        registerFunction(db, utf8, n, how);
}

} // namespace

void registerDialectFunctions(sqlite3* db) {
    for (const DialectFunction& f : dialectFunctions()) {
        if (f.sqlite.form != SqliteForm::Body) continue;
        registerEveryCount(db, sqliteName(f), f, f.sqlite);
        if (f.dollar == DollarForm::Own)
            registerEveryCount(
                db, sqliteDollarName(f), f,
                {.scalar = f.sqlite.dollar, .deterministic = f.sqlite.deterministic});
    }
    for (const Helper& h : kHelpers)
        registerFunction(db, h.name, h.args, SqliteHow{.scalar = h.function});
    check(db,
          sqlite3_create_collation_v2(db, "jet_text", SQLITE_UTF8, nullptr, collateText, nullptr),
          "jet_text");
}

QStringList sqliteHelperNames() {
    QStringList names;
    for (const Helper& h : kHelpers)
        names << QString::fromLatin1(h.name);
    return names;
}

} // namespace jet
