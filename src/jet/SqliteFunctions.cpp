#include "jet/SqliteFunctions.h"

#include "jet/SqliteBodies.h"

#include <QString>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {

namespace {

using namespace jet::sqlite;

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

template <Variant (*Op)(const Variant&, const Variant&)> Variant fnOperator(const Call& c) {
    return Op(c.value(0), c.value(1));
}

// LIKE: Null on either side gives Null; numbers and dates are matched as CStr writes them.
void fnLike(const Call& c) {
    if (c.isNull(0) || c.isNull(1)) return c.resultNull();
    const CompiledArg<LikePattern> pattern(c, 1, [](const QString& p) { return LikePattern(p); });
    const bool matched = c.type(0) == SQLITE_TEXT ? pattern.get().matchesUtf8(bytesOf(c.raw(0)))
                                                  : pattern.get().matches(textArg(c, 0));
    resultBoolean(c.context(), matched);
}

// A value bound for a Yes/No column: -1 or 0.
void fnBool(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    resultBoolean(c.context(), vb::cbool(c.value(0)));
}

// ---- tags ----
// The generated SQL wraps stored Dates, Currency amounts and Yes/No values in these before they
// reach a function. A text kept in such a column by another program is read as the language
// reads text into that kind.

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

using SqlFunction = void (*)(sqlite3_context*, int, sqlite3_value**);

struct Scalar {
    const char* name;
    int minArgs;
    int maxArgs;
    SqlFunction function;
    bool deterministic = true;
};

using vb::Interval;

const Scalar kScalars[] = {
    {"jet_cdate", 1, 1, valueFunction<fnCDate>},
    {"jet_cvdate", 1, 1, valueFunction<fnCVDate>},
    {"jet_cdbl", 1, 1, valueFunction<convertedTo<vb::cdbl>>},
    {"jet_csng", 1, 1, valueFunction<convertedTo<vb::csng>>},
    {"jet_clng", 1, 1, valueFunction<convertedTo<vb::clng>>},
    {"jet_cint", 1, 1, valueFunction<convertedTo<vb::cint>>},
    {"jet_ccur", 1, 1, valueFunction<convertedTo<vb::ccur>>},
    {"jet_cstr", 1, 1, valueFunction<convertedTo<vb::cstr>>},
    {"jet_cbool", 1, 1, valueFunction<convertedTo<vb::cbool>>},
    {"jet_format", 1, 4, directFunction<fnFormat>},

    {"jet_ucase", 1, 1, directFunction<changeCase<true>>},
    {"jet_lcase", 1, 1, directFunction<changeCase<false>>},
    {"jet_left", 2, 2, directFunction<fnLeft>},
    {"jet_right", 2, 2, directFunction<fnRight>},
    {"jet_mid", 2, 3, directFunction<fnMid>},
    {"jet_len", 1, 1, valueFunction<fnLen>},
    {"jet_trim", 1, 1, directFunction<trimBlanks<true, true>>},
    {"jet_ltrim", 1, 1, directFunction<trimBlanks<true, false>>},
    {"jet_rtrim", 1, 1, directFunction<trimBlanks<false, true>>},
    {"jet_instr", 2, 4, valueFunction<fnInStr>},
    {"jet_instrrev", 2, 4, valueFunction<fnInStrRev>},
    {"jet_chr", 1, 1, valueFunction<fnChr>},
    {"jet_asc", 1, 1, valueFunction<fnAsc>},
    {"jet_replace", 3, 6, valueFunction<fnReplace>},
    {"jet_space", 1, 1, directFunction<fnSpace>},
    {"jet_string", 2, 2, valueFunction<fnString>},
    {"jet_strcomp", 2, 3, valueFunction<fnStrComp>},

    {"jet_abs", 1, 1, valueFunction<fnAbs>},
    {"jet_int", 1, 1, valueFunction<fnWholePart<true>>},
    {"jet_fix", 1, 1, valueFunction<fnWholePart<false>>},
    {"jet_sgn", 1, 1, valueFunction<fnSgn>},
    {"jet_round", 1, 2, valueFunction<fnRound>},
    {"jet_sqr", 1, 1, valueFunction<fnMath<squareRoot, notNegative>>},
    {"jet_exp", 1, 1, valueFunction<fnMath<exponential>>},
    {"jet_log", 1, 1, valueFunction<fnMath<logarithm, positive>>},
    {"jet_atn", 1, 1, valueFunction<fnMath<arcTangent>>},
    {"jet_sin", 1, 1, valueFunction<fnMath<sine>>},
    {"jet_cos", 1, 1, valueFunction<fnMath<cosine>>},
    {"jet_tan", 1, 1, valueFunction<fnMath<tangent>>},
    {"jet_hex", 1, 1, valueFunction<fnRadix<16>>},
    {"jet_oct", 1, 1, valueFunction<fnRadix<8>>},
    {"jet_val", 1, 1, valueFunction<fnVal>},
    {"jet_str", 1, 1, valueFunction<fnStr>},

    {"jet_iif", 3, 3, directFunction<fnIif>},
    {"jet_nz", 1, 2, directFunction<fnNz>},
    {"jet_isnull", 1, 1, directFunction<fnIsNull>},
    {"jet_isnumeric", 1, 1, directFunction<fnIsNumeric>},
    {"jet_isdate", 1, 1, directFunction<fnIsDate>},
    {"jet_isempty", 1, 1, directFunction<fnIsEmpty>},

    {"jet_date", 0, 0, valueFunction<fnToday>, false},
    {"jet_time", 0, 0, valueFunction<fnTimeOfDay>, false},
    {"jet_now", 0, 0, valueFunction<fnNow>, false},
    {"jet_datevalue", 1, 1, valueFunction<fnDateOrTimeValue<vb::dateValue>>},
    {"jet_timevalue", 1, 1, valueFunction<fnDateOrTimeValue<vb::timeValue>>},
    {"jet_dateserial", 3, 3, valueFunction<fnDateSerial>},
    {"jet_timeserial", 3, 3, valueFunction<fnTimeSerial>},
    {"jet_dateadd", 3, 3, valueFunction<fnDateAdd>},
    {"jet_datediff", 3, 5, valueFunction<fnDateDiff>},
    {"jet_datepart", 2, 4, valueFunction<fnDatePart>},
    {"jet_year", 1, 1, valueFunction<fnDatePartOf<Interval::Year>>},
    {"jet_month", 1, 1, valueFunction<fnDatePartOf<Interval::Month>>},
    {"jet_day", 1, 1, valueFunction<fnDatePartOf<Interval::Day>>},
    {"jet_hour", 1, 1, valueFunction<fnDatePartOf<Interval::Hour>>},
    {"jet_minute", 1, 1, valueFunction<fnDatePartOf<Interval::Minute>>},
    {"jet_second", 1, 1, valueFunction<fnDatePartOf<Interval::Second>>},
    {"jet_weekday", 1, 2, valueFunction<fnWeekday>},
    {"jet_weekdayname", 1, 3, valueFunction<fnWeekdayName>},
    {"jet_monthname", 1, 2, valueFunction<fnMonthName>},

    {"jet_concat", 2, 2, directFunction<fnConcat>},
    {"jet_intdiv", 2, 2, valueFunction<fnOperator<vb::intDivide>>},
    {"jet_mod", 2, 2, valueFunction<fnOperator<vb::modulo>>},
    {"jet_pow", 2, 2, valueFunction<fnOperator<vb::power>>},
    {"jet_like", 2, 2, directFunction<fnLike>},
    {"jet_bool", 1, 1, directFunction<fnBool>},

    {"jet_tag_date", 1, 1, directFunction<fnTagDate>},
    {"jet_tag_currency", 1, 1, directFunction<fnTagCurrency>},
    {"jet_tag_bool", 1, 1, directFunction<fnTagBool>},
};

struct Aggregate {
    const char* name;
    SqlFunction step;
    void (*final)(sqlite3_context*);
};

const Aggregate kAggregates[] = {
    {"jet_first", stepFirstLast<false>, finalFirstLast},
    {"jet_last", stepFirstLast<true>, finalFirstLast},
    {"jet_stdev", stepSpread, finalSpread<true, true>},
    {"jet_var", stepSpread, finalSpread<false, true>},
    {"jet_stdevp", stepSpread, finalSpread<true, false>},
    {"jet_varp", stepSpread, finalSpread<false, false>},
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

void check(sqlite3* db, int rc, const char* what) {
    if (rc != SQLITE_OK)
        throw std::runtime_error(std::string("cannot register ") + what + ": " +
                                 sqlite3_errmsg(db));
}

} // namespace

void registerDialectFunctions(sqlite3* db) {
    for (const Scalar& f : kScalars)
        for (int n = f.minArgs; n <= f.maxArgs; ++n)
            check(db,
                  sqlite3_create_function_v2(db, f.name, n, flagsFor(f.deterministic), nullptr,
                                             f.function, nullptr, nullptr, nullptr),
                  f.name);
    for (const Aggregate& a : kAggregates)
        check(db,
              sqlite3_create_function_v2(db, a.name, 1, flagsFor(true), nullptr, nullptr, a.step,
                                         a.final, nullptr),
              a.name);
    check(db,
          sqlite3_create_collation_v2(db, "jet_text", SQLITE_UTF8, nullptr, collateText, nullptr),
          "jet_text");
}

} // namespace jet
