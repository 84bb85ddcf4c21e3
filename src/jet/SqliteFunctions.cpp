#include "jet/SqliteFunctions.h"

#include "jet/JetLike.h"
#include "jet/Storage.h"
#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

#include <QString>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet {

namespace {

using vb::Variant;
using vb::VarType;

// The runtime's number for a failure that is none of its own errors.
constexpr int kInternalError = 51;

// ---- calling convention ----

void resultError(sqlite3_context* context, int number, const QString& description,
                 const char* detail = nullptr) noexcept {
    try {
        QString message = QString::number(number) + QStringLiteral(": ") + description;
        if (detail) message += QStringLiteral(": ") + QString::fromUtf8(detail);
        const QByteArray utf8 = message.toUtf8();
        sqlite3_result_error(context, utf8.constData(), static_cast<int>(utf8.size()));
    } catch (...) {
        sqlite3_result_error_nomem(context);
    }
}

// A text result longer than the connection allows.
struct TooBig {};

// Runs a function body: errors become SQLite errors, and nothing unwinds into SQLite's C frames.
template <typename Body> void guarded(sqlite3_context* context, Body&& body) noexcept {
    try {
        body();
    } catch (const TooBig&) {
        sqlite3_result_error_toobig(context);
    } catch (const vb::VbError& e) {
        resultError(context, e.number(), e.description());
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::exception& e) {
        resultError(context, kInternalError, QStringLiteral("Internal error"), e.what());
    } catch (...) {
        resultError(context, kInternalError, QStringLiteral("Internal error"));
    }
}

std::string_view bytesOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {text ? text : "", static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

bool isNumber(int type) {
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

// One call of a function: its arguments and where its result goes.
class Call {
public:
    Call(sqlite3_context* context, int argc, sqlite3_value** argv)
        : context_(context), argc_(argc), argv_(argv) {}

    sqlite3_context* context() const { return context_; }
    int count() const { return argc_; }
    bool has(int i) const { return i < argc_; }
    sqlite3_value* raw(int i) const { return argv_[i]; }
    int type(int i) const { return sqlite3_value_type(argv_[i]); }
    bool isNull(int i) const { return type(i) == SQLITE_NULL; }
    bool isTagged(int i, unsigned subtype) const {
        return isNumber(type(i)) && sqlite3_value_subtype(argv_[i]) == subtype;
    }
    Variant value(int i) const { return variantFromSqlite(argv_[i]); }

    void result(const Variant& v) const { resultFromVariant(context_, v); }
    void resultNull() const { sqlite3_result_null(context_); }
    // Hands an argument back unchanged, its tag included.
    void resultArgument(int i) const {
        sqlite3_result_value(context_, argv_[i]);
        if (const unsigned subtype = sqlite3_value_subtype(argv_[i]))
            sqlite3_result_subtype(context_, subtype);
    }

private:
    sqlite3_context* context_;
    int argc_;
    sqlite3_value** argv_;
};

using SqlFunction = void (*)(sqlite3_context*, int, sqlite3_value**);
using ValueBody = Variant (*)(const Call&);
using DirectBody = void (*)(const Call&);

// Most functions compute a Variant; the hot ones write their result themselves.
template <ValueBody F>
void valueFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    guarded(context, [&] {
        const Call call(context, argc, argv);
        call.result(F(call));
    });
}

template <DirectBody F>
void directFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    guarded(context, [&] { F(Call(context, argc, argv)); });
}

// An argument's compiled form (a LIKE pattern, a Format pattern, a date interval), kept with the
// call in SQLite's auxiliary data so that a constant argument is compiled once per statement
// rather than once per row. The key check covers arguments that change from row to row. A new
// form goes to SQLite only once the call is done with it, as SQLite may destroy it at once.
template <typename T> class CompiledArg {
public:
    template <typename Compile>
    CompiledArg(const Call& call, int arg, Compile&& compile)
        : context_(call.context()), arg_(arg) {
        if (call.type(arg) != SQLITE_TEXT) { // rare enough not to keep
            fresh_.reset(new Entry{{}, compile(vb::cstr(call.value(arg)))});
            value_ = &fresh_->value;
            return;
        }
        const std::string_view key = bytesOf(call.raw(arg));
        if (auto* kept = static_cast<Entry*>(sqlite3_get_auxdata(context_, arg));
            kept && kept->key == key) {
            value_ = &kept->value;
            return;
        }
        fresh_.reset(new Entry{std::string(key), compile(QString::fromUtf8(key))});
        value_ = &fresh_->value;
        keep_ = true;
    }
    ~CompiledArg() {
        if (keep_) sqlite3_set_auxdata(context_, arg_, fresh_.release(), &destroy);
    }
    CompiledArg(const CompiledArg&) = delete;
    CompiledArg& operator=(const CompiledArg&) = delete;

    const T& get() const { return *value_; }

private:
    struct Entry {
        std::string key;
        T value;
    };
    static void destroy(void* entry) { delete static_cast<Entry*>(entry); }

    sqlite3_context* context_;
    int arg_;
    std::unique_ptr<Entry> fresh_;
    const T* value_ = nullptr;
    bool keep_ = false;
};

// ---- argument readers ----
// Numeric arguments go through the language's conversions: Null raises 94, text that reads as
// no number 13.

std::int32_t longArg(const Call& c, int i) {
    return vb::clng(c.value(i));
}

int intArg(const Call& c, int i, int fallback) {
    return c.has(i) ? vb::cint(c.value(i)) : fallback;
}

// A character count or a length: never negative.
std::int32_t lengthArg(const Call& c, int i) {
    const std::int32_t n = longArg(c, i);
    if (n < 0) vb::raise(vb::err::InvalidProcedureCall);
    return n;
}

QString textArg(const Call& c, int i) {
    return vb::cstr(c.value(i));
}

double dateArg(const Call& c, int i) {
    return vb::cdate(c.value(i));
}

// The compare argument of InStr, StrComp and Replace. Left out, text compares ignoring case, as
// the site's queries always have; -1 (the module's option) and 2 (the database's) do too.
Qt::CaseSensitivity compareArg(const Call& c, int i) {
    if (!c.has(i)) return Qt::CaseInsensitive;
    switch (longArg(c, i)) {
    case 0:
        return Qt::CaseSensitive;
    case -1:
    case 1:
    case 2:
        return Qt::CaseInsensitive;
    default:
        vb::raise(vb::err::InvalidProcedureCall);
    }
}

vb::Interval intervalOf(const QString& text) {
    return vb::parseInterval(text);
}

// Rejects a text result longer than the connection allows before building it.
void checkLength(const Call& c, std::int64_t length) {
    sqlite3* db = sqlite3_context_db_handle(c.context());
    if (length > sqlite3_limit(db, SQLITE_LIMIT_LENGTH, -1)) throw TooBig();
}

// A text argument. Text stored as ASCII is used as its bytes (a character is a byte, so counts
// and cuts need no QString); anything else as the language's text of it.
class TextArg {
public:
    TextArg(const Call& c, int i) {
        if (c.type(i) != SQLITE_TEXT) {
            text_ = textArg(c, i);
            return;
        }
        bytes_ = bytesOf(c.raw(i));
        ascii_ = isAscii(bytes_);
        if (!ascii_) text_ = QString::fromUtf8(bytes_);
    }

    bool ascii() const { return ascii_; }
    std::string_view bytes() const { return bytes_; }
    qsizetype size() const { return ascii_ ? static_cast<qsizetype>(bytes_.size()) : text_.size(); }
    bool isSpaceAt(qsizetype i) const {
        return ascii_ ? bytes_[static_cast<std::size_t>(i)] == ' ' : text_[i] == u' ';
    }
    QString toQString() const {
        return ascii_ ? QString::fromLatin1(bytes_.data(), size()) : text_;
    }

    // Characters [start, start + length), clamped to the text.
    void resultSlice(sqlite3_context* context, qsizetype start, qsizetype length) const {
        start = std::clamp<qsizetype>(start, 0, size());
        length = std::clamp<qsizetype>(length, 0, size() - start);
        if (ascii_)
            sqlite3_result_text64(context, bytes_.data() + start,
                                  static_cast<sqlite3_uint64>(length), SQLITE_TRANSIENT,
                                  SQLITE_UTF8);
        else
            resultText(context, QStringView(text_).mid(start, length));
    }

private:
    bool ascii_ = false;
    std::string_view bytes_;
    QString text_;
};

// ---- conversions ----

template <auto Convert> Variant convertedTo(const Call& c) {
    return Variant(Convert(c.value(0)));
}

Variant fnCDate(const Call& c) {
    return Variant::date(vb::cdate(c.value(0)));
}

Variant fnCVDate(const Call& c) {
    return vb::cvdate(c.value(0));
}

// Format and Format$. A Date with a pattern, the grid-and-report case, skips the Variant.
void fnFormat(const Call& c) {
    if (c.count() == 2 && c.isTagged(0, storage::kSubtypeDate) && c.type(1) == SQLITE_TEXT) {
        const CompiledArg<QString> pattern(c, 1, [](QString p) { return p; });
        const double serial = storage::serialFromLinear(sqlite3_value_double(c.raw(0)));
        resultText(c.context(), vb::formatDate(serial, pattern.get()));
        return;
    }
    if (!c.has(1) || c.isNull(1)) {
        c.result(vb::formatVariant(c.value(0)));
        return;
    }
    const CompiledArg<QString> pattern(c, 1, [](QString p) { return p; });
    c.result(vb::formatVariant(c.value(0), pattern.get(), intArg(c, 2, 1), intArg(c, 3, 1)));
}

// ---- text ----

void fnLeft(const Call& c) {
    const std::int32_t n = lengthArg(c, 1);
    if (c.isNull(0)) return c.resultNull();
    TextArg(c, 0).resultSlice(c.context(), 0, n);
}

void fnRight(const Call& c) {
    const std::int32_t n = lengthArg(c, 1);
    if (c.isNull(0)) return c.resultNull();
    const TextArg text(c, 0);
    text.resultSlice(c.context(), text.size() - n, n);
}

void fnMid(const Call& c) {
    const std::int32_t start = longArg(c, 1);
    if (start < 1) vb::raise(vb::err::InvalidProcedureCall);
    const std::int32_t length =
        c.has(2) ? lengthArg(c, 2) : std::numeric_limits<std::int32_t>::max();
    if (c.isNull(0)) return c.resultNull();
    TextArg(c, 0).resultSlice(c.context(), start - 1, length);
}

Variant fnLen(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant(static_cast<std::int32_t>(TextArg(c, 0).size()));
}

template <bool Upper> void changeCase(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    const TextArg text(c, 0);
    if (!text.ascii()) {
        const QString s = text.toQString();
        resultText(c.context(), Upper ? s.toUpper() : s.toLower());
        return;
    }
    thread_local std::string changed;
    changed.assign(text.bytes());
    for (char& ch : changed) {
        if (Upper && ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - ('a' - 'A'));
        if (!Upper && ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch + ('a' - 'A'));
    }
    sqlite3_result_text64(c.context(), changed.data(), changed.size(), SQLITE_TRANSIENT,
                          SQLITE_UTF8);
}

// Trim, LTrim and RTrim take off blanks only, not tabs or line breaks.
template <bool Left, bool Right> void trimBlanks(const Call& c) {
    if (c.isNull(0)) return c.resultNull();
    const TextArg text(c, 0);
    qsizetype begin = 0, end = text.size();
    while (Left && begin < end && text.isSpaceAt(begin))
        ++begin;
    while (Right && end > begin && text.isSpaceAt(end - 1))
        --end;
    text.resultSlice(c.context(), begin, end - begin);
}

// Where needle starts in haystack at or after `from`, or -1.
qsizetype findText(const TextArg& haystack, const TextArg& needle, qsizetype from,
                   Qt::CaseSensitivity cs) {
    if (!haystack.ascii() || !needle.ascii())
        return haystack.toQString().indexOf(needle.toQString(), from, cs);
    const std::string_view hay = haystack.bytes(), sought = needle.bytes();
    if (cs == Qt::CaseSensitive) {
        const std::size_t at = hay.find(sought, static_cast<std::size_t>(from));
        return at == std::string_view::npos ? -1 : static_cast<qsizetype>(at);
    }
    const auto sameLetter = [](char a, char b) {
        return a == b || (((a ^ b) == 0x20) && ((a | 0x20) >= 'a') && ((a | 0x20) <= 'z'));
    };
    const auto at =
        std::search(hay.begin() + from, hay.end(), sought.begin(), sought.end(), sameLetter);
    return at == hay.end() ? -1 : at - hay.begin();
}

// InStr([start, ]string1, string2[, compare]).
Variant fnInStr(const Call& c) {
    const bool withStart = c.count() >= 3;
    const int first = withStart ? 1 : 0;
    const std::int32_t start = withStart ? longArg(c, 0) : 1;
    const Qt::CaseSensitivity cs = compareArg(c, 3);
    if (start < 1) vb::raise(vb::err::InvalidProcedureCall);
    if (c.isNull(first) || c.isNull(first + 1)) return Variant::null();
    const TextArg haystack(c, first), needle(c, first + 1);
    if (haystack.size() == 0 || start > haystack.size()) return Variant(std::int32_t{0});
    if (needle.size() == 0) return Variant(start);
    return Variant(static_cast<std::int32_t>(findText(haystack, needle, start - 1, cs) + 1));
}

// InStrRev(string1, string2[, start[, compare]]): the last match ending at or before start
// (-1, the default, is the end).
Variant fnInStrRev(const Call& c) {
    const std::int32_t start = c.has(2) ? longArg(c, 2) : -1;
    const Qt::CaseSensitivity cs = compareArg(c, 3);
    if (start == 0 || start < -1) vb::raise(vb::err::InvalidProcedureCall);
    if (c.isNull(0) || c.isNull(1)) return Variant::null();
    const QString text = textArg(c, 0), sought = textArg(c, 1);
    const qsizetype end = start == -1 ? text.size() : start;
    if (text.isEmpty() || end > text.size()) return Variant(std::int32_t{0});
    if (sought.isEmpty()) return Variant(static_cast<std::int32_t>(end));
    if (sought.size() > end) return Variant(std::int32_t{0});
    return Variant(
        static_cast<std::int32_t>(text.lastIndexOf(sought, end - sought.size(), cs) + 1));
}

Variant fnStrComp(const Call& c) {
    const Qt::CaseSensitivity cs = compareArg(c, 2);
    if (c.isNull(0) || c.isNull(1)) return Variant::null();
    const TextArg a(c, 0), b(c, 1);
    int order = 0;
    if (a.ascii() && b.ascii())
        order = cs == Qt::CaseInsensitive ? compareTextIgnoringCase(a.bytes(), b.bytes())
                                          : a.bytes().compare(b.bytes());
    else
        order = QString::compare(a.toQString(), b.toQString(), cs);
    return Variant(static_cast<std::int16_t>((order > 0) - (order < 0)));
}

QString replaceText(QStringView text, QStringView find, QStringView with, std::int32_t count,
                    Qt::CaseSensitivity cs) {
    if (find.isEmpty() || count == 0) return text.toString();
    QString out;
    out.reserve(text.size());
    qsizetype done = 0;
    for (std::int32_t made = 0; count < 0 || made < count; ++made) {
        const qsizetype at = text.indexOf(find, done, cs);
        if (at < 0) break;
        out += text.mid(done, at - done);
        out += with;
        done = at + find.size();
    }
    out += text.mid(done);
    return out;
}

// Replace(expression, find, replace[, start[, count[, compare]]]): the result starts at `start`,
// as the language's Replace returns it.
Variant fnReplace(const Call& c) {
    const QString text = textArg(c, 0), find = textArg(c, 1), with = textArg(c, 2);
    const std::int32_t start = c.has(3) ? longArg(c, 3) : 1;
    const std::int32_t count = c.has(4) ? longArg(c, 4) : -1;
    const Qt::CaseSensitivity cs = compareArg(c, 5);
    if (start < 1 || count < -1) vb::raise(vb::err::InvalidProcedureCall);
    const QStringView rest = QStringView(text).sliced(std::min<qsizetype>(start - 1, text.size()));
    return Variant(replaceText(rest, find, with, count, cs));
}

void fnSpace(const Call& c) {
    const std::int32_t n = lengthArg(c, 0);
    checkLength(c, n);
    const std::string blanks(static_cast<std::size_t>(n), ' ');
    sqlite3_result_text64(c.context(), blanks.data(), blanks.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// String(number, character): the character is a text's first or a character code, taken
// modulo 256.
Variant fnString(const Call& c) {
    const std::int32_t n = lengthArg(c, 0);
    if (c.isNull(1)) return Variant::null();
    const Variant v = c.value(1);
    QChar character;
    if (v.isString()) {
        if (v.stringValue().isEmpty()) vb::raise(vb::err::InvalidProcedureCall);
        character = v.stringValue().front();
    } else {
        character = QChar(static_cast<char16_t>(((vb::clng(v) % 256) + 256) % 256));
    }
    checkLength(c, n);
    return Variant(QString(n, character));
}

// ---- numbers ----

// Text in arithmetic is read as a Double.
Variant numericOf(const Variant& v) {
    return v.isString() ? Variant(vb::cdbl(v)) : v;
}

bool isNegative(const Variant& number) {
    return vb::compare(number, Variant(std::int32_t{0})).value_or(0) < 0;
}

Variant fnAbs(const Call& c) {
    const Variant v = numericOf(c.value(0));
    if (v.isNull()) return v;
    if (v.isDate()) return Variant::date(std::fabs(v.dateValue()));
    // Negating widens where needed (-2147483648 becomes a Double) and turns True into 1.
    return isNegative(v) || v.type() == VarType::Boolean ? vb::negate(v) : v;
}

// Int (down) and Fix (toward zero), keeping the kind of the number.
template <bool Down> Variant fnWholePart(const Call& c) {
    const Variant v = numericOf(c.value(0));
    const auto cut = [](double d) { return Down ? std::floor(d) : std::trunc(d); };
    switch (v.type()) {
    case VarType::Boolean:
        return Variant(static_cast<std::int16_t>(v.boolValue() ? -1 : 0));
    case VarType::Single:
        return Variant(static_cast<float>(cut(v.singleValue())));
    case VarType::Double:
        return Variant(cut(v.doubleValue()));
    case VarType::Date:
        return Variant::date(cut(v.dateValue()));
    case VarType::Currency: {
        const std::int64_t scaled = v.currencyValue().scaled;
        std::int64_t whole = scaled / vb::Currency::kScale;
        if (Down && scaled % vb::Currency::kScale < 0) --whole;
        return Variant(vb::Currency{whole * vb::Currency::kScale});
    }
    default: // Null and the whole kinds
        return v;
    }
}

Variant fnSgn(const Call& c) {
    const Variant v = numericOf(c.value(0));
    if (v.isNull()) return v;
    return Variant(static_cast<std::int16_t>(vb::compare(v, Variant(std::int32_t{0})).value_or(0)));
}

// Rounds half to even at `digits` decimals of the number as it is written (its shortest
// round-trip decimal), so Round(2.675, 2) is 2.68 although the Double lies a little below.
template <typename T> T roundDecimal(T x, int digits) {
    if (!std::isfinite(x) || x == 0) return x;
    char buf[64];
    const auto written = std::to_chars(buf, buf + sizeof buf, x, std::chars_format::scientific);
    std::string_view text(buf, static_cast<std::size_t>(written.ptr - buf));
    const bool negative = text.front() == '-';
    if (negative) text.remove_prefix(1);
    const std::size_t e = text.find('e');
    std::string figures;
    for (char ch : text.substr(0, e))
        if (ch != '.') figures += ch;
    int exponent = 0;
    std::from_chars(text.data() + e + (text[e + 1] == '+' ? 2 : 1), text.data() + text.size(),
                    exponent);
    const long keep = static_cast<long>(exponent) + 1 + digits; // figures before the cut
    if (keep >= static_cast<long>(figures.size())) return x;
    if (keep < 0) return T(0);
    const auto cut = static_cast<std::size_t>(keep);
    const bool beyondHalf =
        figures[cut] > '5' ||
        (figures[cut] == '5' && figures.find_first_not_of('0', cut + 1) != std::string::npos);
    const bool halfToOdd = figures[cut] == '5' && cut > 0 && (figures[cut - 1] - '0') % 2 == 1;
    std::uint64_t kept = 0;
    for (std::size_t i = 0; i < cut; ++i)
        kept = kept * 10 + static_cast<std::uint64_t>(figures[i] - '0');
    if (beyondHalf || halfToOdd) ++kept;
    // kept x 10^-digits, read back as the nearest T.
    const std::string scaled = std::to_string(kept) + "e-" + std::to_string(digits);
    T value = 0;
    std::from_chars(scaled.data(), scaled.data() + scaled.size(), value);
    return negative ? -value : value;
}

vb::Currency roundCurrency(vb::Currency value, int digits) {
    if (digits >= 4) return value;
    std::int64_t unit = 1;
    for (int i = digits; i < 4; ++i)
        unit *= 10;
    const std::int64_t scaled = value.scaled;
    std::int64_t q = scaled / unit;
    const std::int64_t twice = 2 * std::abs(scaled % unit);
    if (twice > unit || (twice == unit && q % 2 != 0)) q += scaled < 0 ? -1 : 1;
    // Rounding up the largest amounts can leave the range.
    if (q > std::numeric_limits<std::int64_t>::max() / unit ||
        q < std::numeric_limits<std::int64_t>::min() / unit)
        vb::raise(vb::err::Overflow);
    return vb::Currency{q * unit};
}

Variant fnRound(const Call& c) {
    const std::int32_t digits = c.has(1) ? lengthArg(c, 1) : 0;
    const Variant v = numericOf(c.value(0));
    switch (v.type()) {
    case VarType::Boolean:
        return Variant(static_cast<std::int16_t>(v.boolValue() ? -1 : 0));
    case VarType::Single:
        return Variant(roundDecimal(v.singleValue(), digits));
    case VarType::Double:
        return Variant(roundDecimal(v.doubleValue(), digits));
    case VarType::Date:
        return Variant::date(roundDecimal(v.dateValue(), digits));
    case VarType::Currency:
        return Variant(roundCurrency(v.currencyValue(), digits));
    default: // Null and the whole kinds
        return v;
    }
}

bool anyNumber(double) {
    return true;
}
bool notNegative(double x) {
    return x >= 0;
}
bool positive(double x) {
    return x > 0;
}
double squareRoot(double x) {
    return std::sqrt(x);
}
double exponential(double x) {
    return std::exp(x);
}
double logarithm(double x) {
    return std::log(x);
}
double arcTangent(double x) {
    return std::atan(x);
}
double sine(double x) {
    return std::sin(x);
}
double cosine(double x) {
    return std::cos(x);
}
double tangent(double x) {
    return std::tan(x);
}

// Sqr, Exp, Log and the trigonometry: Null passes through, an argument outside the function's
// domain raises 5 and a result past the Double range 6.
template <double (*F)(double), bool (*InDomain)(double) = anyNumber> Variant fnMath(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    const double x = vb::cdbl(c.value(0));
    if (!InDomain(x)) vb::raise(vb::err::InvalidProcedureCall);
    const double y = F(x);
    if (!std::isfinite(y)) vb::raise(vb::err::Overflow);
    return Variant(y);
}

// Hex and Oct of the number rounded to a Long; negative numbers in 32-bit two's complement.
template <int Base> Variant fnRadix(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    const auto bits = static_cast<std::uint32_t>(vb::clng(c.value(0)));
    return Variant(QString::number(bits, Base).toUpper());
}

// Chr takes character codes 0 to 255 (read as Latin-1); Asc gives the first character's code.
Variant fnChr(const Call& c) {
    const std::int32_t code = longArg(c, 0);
    if (code < 0 || code > 255) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(QString(QChar(static_cast<char16_t>(code))));
}

Variant fnAsc(const Call& c) {
    const QString text = textArg(c, 0);
    if (text.isEmpty()) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(static_cast<std::int32_t>(text.front().unicode()));
}

Variant fnVal(const Call& c) {
    return Variant(vb::val(textArg(c, 0)));
}

Variant fnStr(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant(vb::str(c.value(0)));
}

// ---- tests and choices ----

void fnIsNull(const Call& c) {
    resultBoolean(c.context(), c.isNull(0));
}

void fnIsNumeric(const Call& c) {
    resultBoolean(c.context(), vb::isNumeric(c.value(0)));
}

void fnIsDate(const Call& c) {
    resultBoolean(c.context(), vb::isDate(c.value(0)));
}

// Nothing read from SQLite is Empty, not even Null.
void fnIsEmpty(const Call& c) {
    resultBoolean(c.context(), false);
}

// IIf: a Null condition counts as false.
void fnIif(const Call& c) {
    const bool chosen = !c.isNull(0) && vb::cbool(c.value(0));
    c.resultArgument(chosen ? 1 : 2);
}

// Nz(value[, valueIfNull]): without a replacement, Null becomes the empty text.
void fnNz(const Call& c) {
    if (!c.isNull(0)) return c.resultArgument(0);
    if (c.has(1)) return c.resultArgument(1);
    sqlite3_result_text(c.context(), "", 0, SQLITE_STATIC);
}

// ---- dates ----

template <vb::Interval Part> Variant fnDatePartOf(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant(static_cast<std::int16_t>(vb::datePart(Part, dateArg(c, 0))));
}

Variant fnWeekday(const Call& c) {
    const int firstDay = intArg(c, 1, 1);
    if (c.isNull(0)) return Variant::null();
    return Variant(static_cast<std::int16_t>(vb::weekday(dateArg(c, 0), firstDay)));
}

// DatePart(interval, date[, firstdayofweek[, firstweekofyear]]).
Variant fnDatePart(const Call& c) {
    const CompiledArg<vb::Interval> interval(c, 0, intervalOf);
    const int firstDay = intArg(c, 2, 1), firstWeek = intArg(c, 3, 1);
    if (c.isNull(1)) return Variant::null();
    return Variant(static_cast<std::int16_t>(
        vb::datePart(interval.get(), dateArg(c, 1), firstDay, firstWeek)));
}

// DateAdd(interval, number, date).
Variant fnDateAdd(const Call& c) {
    const CompiledArg<vb::Interval> interval(c, 0, intervalOf);
    const double number = vb::cdbl(c.value(1));
    if (c.isNull(2)) return Variant::null();
    return Variant::date(vb::dateAdd(interval.get(), number, dateArg(c, 2)));
}

// DateDiff(interval, date1, date2[, firstdayofweek[, firstweekofyear]]).
Variant fnDateDiff(const Call& c) {
    const CompiledArg<vb::Interval> interval(c, 0, intervalOf);
    const int firstDay = intArg(c, 3, 1), firstWeek = intArg(c, 4, 1);
    if (c.isNull(1) || c.isNull(2)) return Variant::null();
    const std::int64_t diff =
        vb::dateDiff(interval.get(), dateArg(c, 1), dateArg(c, 2), firstDay, firstWeek);
    if (diff < std::numeric_limits<std::int32_t>::min() ||
        diff > std::numeric_limits<std::int32_t>::max())
        vb::raise(vb::err::Overflow);
    return Variant(static_cast<std::int32_t>(diff));
}

template <double (*Part)(const Variant&)> Variant fnDateOrTimeValue(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant::date(Part(c.value(0)));
}

Variant fnDateSerial(const Call& c) {
    return Variant::date(vb::dateSerial(intArg(c, 0, 0), intArg(c, 1, 0), intArg(c, 2, 0)));
}

Variant fnTimeSerial(const Call& c) {
    return Variant::date(vb::timeSerial(intArg(c, 0, 0), intArg(c, 1, 0), intArg(c, 2, 0)));
}

Variant fnNow(const Call&) {
    return Variant::date(vb::now());
}

Variant fnToday(const Call&) {
    return Variant::date(vb::today());
}

Variant fnTimeOfDay(const Call&) {
    return Variant::date(vb::joinSerial(0, vb::splitSerial(vb::now()).second));
}

// WeekdayName(weekday[, abbreviate[, firstdayofweek]]): weekday counts from firstdayofweek,
// 0 (the default) meaning the system's first day, Sunday.
Variant fnWeekdayName(const Call& c) {
    const std::int32_t n = longArg(c, 0);
    const bool abbreviate = c.has(1) && vb::cbool(c.value(1));
    std::int32_t firstDay = c.has(2) ? longArg(c, 2) : 0;
    if (n < 1 || n > 7 || firstDay < 0 || firstDay > 7) vb::raise(vb::err::InvalidProcedureCall);
    if (firstDay == 0) firstDay = 1;
    const auto index = static_cast<std::size_t>((n - 1 + firstDay - 1) % 7);
    const vb::Regional& r = vb::Regional::current();
    return Variant(abbreviate ? r.dayAbbrevs[index] : r.dayNames[index]);
}

Variant fnMonthName(const Call& c) {
    const std::int32_t n = longArg(c, 0);
    const bool abbreviate = c.has(1) && vb::cbool(c.value(1));
    if (n < 1 || n > 12) vb::raise(vb::err::InvalidProcedureCall);
    const auto index = static_cast<std::size_t>(n - 1);
    const vb::Regional& r = vb::Regional::current();
    return Variant(abbreviate ? r.monthAbbrevs[index] : r.monthNames[index]);
}

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

// ---- aggregates ----

// A copy of an argument that outlives the step that saw it, tag included. Its text buffer is
// reused from row to row.
class HeldValue {
public:
    void hold(sqlite3_value* value) {
        type_ = sqlite3_value_type(value);
        subtype_ = sqlite3_value_subtype(value);
        if (type_ == SQLITE_INTEGER) integer_ = sqlite3_value_int64(value);
        if (type_ == SQLITE_FLOAT) real_ = sqlite3_value_double(value);
        if (type_ == SQLITE_TEXT) bytes_.assign(bytesOf(value));
        if (type_ == SQLITE_BLOB)
            bytes_.assign(static_cast<const char*>(sqlite3_value_blob(value)),
                          static_cast<std::size_t>(sqlite3_value_bytes(value)));
    }

    void result(sqlite3_context* context) const {
        switch (type_) {
        case SQLITE_INTEGER:
            sqlite3_result_int64(context, integer_);
            break;
        case SQLITE_FLOAT:
            sqlite3_result_double(context, real_);
            break;
        case SQLITE_TEXT:
            sqlite3_result_text64(context, bytes_.data(), bytes_.size(), SQLITE_TRANSIENT,
                                  SQLITE_UTF8);
            break;
        case SQLITE_BLOB:
            sqlite3_result_blob64(context, bytes_.data(), bytes_.size(), SQLITE_TRANSIENT);
            break;
        default:
            sqlite3_result_null(context);
            return;
        }
        if (subtype_) sqlite3_result_subtype(context, subtype_);
    }

private:
    int type_ = SQLITE_NULL;
    unsigned subtype_ = 0;
    sqlite3_int64 integer_ = 0;
    double real_ = 0;
    std::string bytes_;
};

// First and Last: the group's first or last row, Null or not.
template <bool Last> void stepFirstLast(sqlite3_context* context, int, sqlite3_value** argv) {
    guarded(context, [&] {
        auto** held = static_cast<HeldValue**>(sqlite3_aggregate_context(context, sizeof(void*)));
        if (!held) throw std::bad_alloc();
        if (!*held) {
            *held = new HeldValue;
            (*held)->hold(argv[0]);
        } else if (Last) {
            (*held)->hold(argv[0]);
        }
    });
}

void finalFirstLast(sqlite3_context* context) {
    guarded(context, [&] {
        auto** slot = static_cast<HeldValue**>(sqlite3_aggregate_context(context, 0));
        const std::unique_ptr<HeldValue> held(slot ? *slot : nullptr);
        if (slot) *slot = nullptr;
        if (held)
            held->result(context);
        else
            sqlite3_result_null(context);
    });
}

// StDev, Var, StDevP and VarP, by Welford's running update (stable where the sum of
// squares would cancel). The context memory starts zeroed, which is the empty state.
struct Spread {
    sqlite3_int64 count;
    double mean;
    double sumSquares;
};

double numberOf(sqlite3_value* value) {
    if (!isNumber(sqlite3_value_type(value))) return vb::cdbl(variantFromSqlite(value));
    const double x = sqlite3_value_double(value);
    return sqlite3_value_subtype(value) == storage::kSubtypeDate ? storage::serialFromLinear(x) : x;
}

void stepSpread(sqlite3_context* context, int, sqlite3_value** argv) {
    guarded(context, [&] {
        if (sqlite3_value_type(argv[0]) == SQLITE_NULL) return;
        const double x = numberOf(argv[0]);
        auto* s = static_cast<Spread*>(sqlite3_aggregate_context(context, sizeof(Spread)));
        if (!s) throw std::bad_alloc();
        ++s->count;
        const double delta = x - s->mean;
        s->mean += delta / static_cast<double>(s->count);
        s->sumSquares += delta * (x - s->mean);
    });
}

// StDev and Var describe a sample (Null below two values), StDevP and VarP the whole population
// (Null without values).
template <bool Root, bool Sample> void finalSpread(sqlite3_context* context) {
    const auto* s = static_cast<const Spread*>(sqlite3_aggregate_context(context, 0));
    const sqlite3_int64 divisor = s ? (Sample ? s->count - 1 : s->count) : 0;
    if (divisor < 1) return sqlite3_result_null(context);
    const double variance = s->sumSquares / static_cast<double>(divisor);
    sqlite3_result_double(context, Root ? std::sqrt(variance) : variance);
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
