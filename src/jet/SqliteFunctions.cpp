#include "jet/SqliteFunctions.h"

#include "jet/FunctionRegistry.h"
#include "jet/JetLike.h"
#include "jet/SqliteCall.h"
#include "jet/Storage.h"

#include <QString>
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

// The helpers take a fixed number of arguments and always give the same answer for the same ones.
struct Helper {
    const char* name;
    int args;
    SqliteScalar function;
};

const Helper kHelpers[] = {
    {"jet_concat", 2, directFunction<fnConcat>},
    {"jet_intdiv", 2, valueFunction<fnOperator<vb::intDivide>>},
    {"jet_mod", 2, valueFunction<fnOperator<vb::modulo>>},
    {"jet_pow", 2, valueFunction<fnOperator<vb::power>>},
    {"jet_like", 2, directFunction<fnLike>},
    {"jet_bool", 1, directFunction<fnBool>},

    {"jet_tag_date", 1, directFunction<fnTagDate>},
    {"jet_tag_currency", 1, directFunction<fnTagCurrency>},
    {"jet_tag_bool", 1, directFunction<fnTagBool>},
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

} // namespace

void registerDialectFunctions(sqlite3* db) {
    for (const DialectFunction& f : dialectFunctions()) {
        if (f.sqlite.form != SqliteForm::Body) continue;
        const QByteArray name = sqliteName(f).toUtf8();
        for (int n = f.minArgs; n <= f.maxArgs; ++n)
            registerFunction(db, name, n, f.sqlite);
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
