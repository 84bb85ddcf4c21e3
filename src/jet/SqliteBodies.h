#pragma once

// The SQLite bodies of the dialect's functions. The registry (FunctionRegistry.cpp) is the one
// place that names them, and the only file that includes this one.
//
// The functions follow the value runtime (src/vb): the same conversions, formats and errors as
// the client.

#include "jet/JetLike.h"
#include "jet/SqliteCall.h"
#include "jet/Storage.h"
#include "vb/Cp1252.h"
#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/Regional.h"

#include <QTime>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace jet::sqlite {

// ---- argument readers ----
// Numeric arguments go through the language's conversions: Null raises 94, text that reads as
// no number 13.

inline std::int32_t longArg(const Call& c, int i) {
    return vb::clng(c.value(i));
}

inline int intArg(const Call& c, int i, int fallback) {
    return c.has(i) ? vb::cint(c.value(i)) : fallback;
}

// A character count or a length: never negative.
inline std::int32_t lengthArg(const Call& c, int i) {
    const std::int32_t n = longArg(c, i);
    if (n < 0) vb::raise(vb::err::InvalidProcedureCall);
    return n;
}

inline double dateArg(const Call& c, int i) {
    return vb::cdate(c.value(i));
}

// The compare argument of InStr, StrComp and Replace. Left out, text compares ignoring case, as
// the site's queries always have; -1 (the module's option) and 2 (the database's) do too.
inline Qt::CaseSensitivity compareArg(const Call& c, int i) {
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

inline vb::Interval intervalOf(const QString& text) {
    return vb::parseInterval(text);
}

// Rejects a text result longer than the connection allows before building it.
inline void checkLength(const Call& c, std::int64_t length) {
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

inline Variant fnCDate(const Call& c) {
    return Variant::date(vb::cdate(c.value(0)));
}

inline Variant fnCVDate(const Call& c) {
    return vb::cvdate(c.value(0));
}

// CVar hands its argument back as it is, Null included.
inline void fnCVar(const Call& c) {
    c.resultArgument(0);
}

// Format and Format$. A Date with a pattern, the grid-and-report case, skips the Variant.
inline void fnFormat(const Call& c) {
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

// FormatNumber, FormatCurrency and FormatPercent(expression[, numdigitsafterdecimal[,
// includeleadingdigit[, useparensfornegativenumbers[, groupdigits]]]]). The arguments are Longs;
// the tri-states arrive as the numbers -1, 0 and -2.
template <Variant (*Format)(const Variant&, const vb::NumberOptions&)>
Variant fnFormatAmount(const Call& c) {
    const auto optional = [&c](int i, int fallback) { return c.has(i) ? longArg(c, i) : fallback; };
    const vb::NumberOptions options{optional(1, -1), optional(2, vb::kUseDefault),
                                    optional(3, vb::kUseDefault), optional(4, vb::kUseDefault)};
    // Every decimal asked for is written: refuse what the connection could not hold.
    checkLength(c, options.digitsAfterDecimal);
    return Format(c.value(0), options);
}

// FormatDateTime(date[, namedformat]).
inline Variant fnFormatDateTime(const Call& c) {
    return vb::formatDateTime(c.value(0), c.has(1) ? longArg(c, 1) : 0);
}

// ---- text ----

inline void fnLeft(const Call& c) {
    const std::int32_t n = lengthArg(c, 1);
    if (c.isNull(0)) return c.resultNull();
    TextArg(c, 0).resultSlice(c.context(), 0, n);
}

inline void fnRight(const Call& c) {
    const std::int32_t n = lengthArg(c, 1);
    if (c.isNull(0)) return c.resultNull();
    const TextArg text(c, 0);
    text.resultSlice(c.context(), text.size() - n, n);
}

inline void fnMid(const Call& c) {
    const std::int32_t start = longArg(c, 1);
    if (start < 1) vb::raise(vb::err::InvalidProcedureCall);
    const std::int32_t length =
        c.has(2) ? lengthArg(c, 2) : std::numeric_limits<std::int32_t>::max();
    if (c.isNull(0)) return c.resultNull();
    TextArg(c, 0).resultSlice(c.context(), start - 1, length);
}

inline Variant fnLen(const Call& c) {
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

// StrReverse: Null raises 94. A character past the basic plane keeps its two halves in order, so
// the text stays valid when it is stored.
inline Variant fnStrReverse(const Call& c) {
    const QString text = textArg(c, 0);
    QString reversed;
    reversed.reserve(text.size());
    for (qsizetype end = text.size(); end > 0;) {
        const bool pair =
            end >= 2 && text[end - 1].isLowSurrogate() && text[end - 2].isHighSurrogate();
        const qsizetype width = pair ? 2 : 1;
        end -= width;
        reversed += QStringView(text).mid(end, width);
    }
    return Variant(reversed);
}

// The characters StrConv's proper case starts a word after: blanks and control codes 0 and 9-13.
inline bool separatesWords(QChar ch) {
    const char16_t code = ch.unicode();
    return code == u' ' || code == 0 || (code >= 9 && code <= 13);
}

inline QString properCase(const QString& text) {
    QString out = text.toLower();
    bool wordStart = true;
    for (QChar& ch : out) {
        if (wordStart) ch = ch.toUpper();
        wordStart = separatesWords(ch);
    }
    return out;
}

// StrConv(string, conversion[, LCID]) does the case conversions the conversion adds up to: 1
// upper case, 2 lower case, 3 proper case (each word's first letter upper, the rest lower), 0
// none. The language's other conversions raise 5 here: those between character widths and
// scripts are East Asian (the language raises 5 under other regional settings), and those to
// and from byte strings give bytes, which no query column holds. The locale must be a number but
// is not used: the regional forms decide letter case.
inline Variant fnStrConv(const Call& c) {
    const std::int32_t conversion = longArg(c, 1);
    if (c.has(2)) longArg(c, 2);
    if (conversion < 0 || conversion > 3) vb::raise(vb::err::InvalidProcedureCall);
    if (c.isNull(0)) return Variant::null();
    const QString text = textArg(c, 0);
    switch (conversion) {
    case 1:
        return Variant(text.toUpper());
    case 2:
        return Variant(text.toLower());
    case 3:
        return Variant(properCase(text));
    default:
        return Variant(text);
    }
}

// Where needle starts in haystack at or after `from`, or -1.
inline qsizetype findText(const TextArg& haystack, const TextArg& needle, qsizetype from,
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
inline Variant fnInStr(const Call& c) {
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
inline Variant fnInStrRev(const Call& c) {
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

inline Variant fnStrComp(const Call& c) {
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

inline QString replaceText(QStringView text, QStringView find, QStringView with, std::int32_t count,
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
inline Variant fnReplace(const Call& c) {
    const QString text = textArg(c, 0), find = textArg(c, 1), with = textArg(c, 2);
    const std::int32_t start = c.has(3) ? longArg(c, 3) : 1;
    const std::int32_t count = c.has(4) ? longArg(c, 4) : -1;
    const Qt::CaseSensitivity cs = compareArg(c, 5);
    if (start < 1 || count < -1) vb::raise(vb::err::InvalidProcedureCall);
    const QStringView rest = QStringView(text).sliced(std::min<qsizetype>(start - 1, text.size()));
    return Variant(replaceText(rest, find, with, count, cs));
}

inline void fnSpace(const Call& c) {
    const std::int32_t n = lengthArg(c, 0);
    checkLength(c, n);
    const std::string blanks(static_cast<std::size_t>(n), ' ');
    sqlite3_result_text64(c.context(), blanks.data(), blanks.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// String(number, character): the character is a text's first or a character code, taken
// modulo 256.
inline Variant fnString(const Call& c) {
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
inline Variant numericOf(const Variant& v) {
    return v.isString() ? Variant(vb::cdbl(v)) : v;
}

inline bool isNegative(const Variant& number) {
    return vb::compare(number, Variant(std::int32_t{0})).value_or(0) < 0;
}

inline Variant fnAbs(const Call& c) {
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

inline Variant fnSgn(const Call& c) {
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

inline vb::Currency roundCurrency(vb::Currency value, int digits) {
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

inline Variant fnRound(const Call& c) {
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

inline bool anyNumber(double) {
    return true;
}
inline bool notNegative(double x) {
    return x >= 0;
}
inline bool positive(double x) {
    return x > 0;
}
inline double squareRoot(double x) {
    return std::sqrt(x);
}
inline double exponential(double x) {
    return std::exp(x);
}
inline double logarithm(double x) {
    return std::log(x);
}
inline double arcTangent(double x) {
    return std::atan(x);
}
inline double sine(double x) {
    return std::sin(x);
}
inline double cosine(double x) {
    return std::cos(x);
}
inline double tangent(double x) {
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

// Chr and Asc read character codes 0 to 255 in the code page of the language's regional settings
// (Windows-1252, so Chr(128) is the euro sign); Asc gives the first character's code, 63 ("?")
// for a character the code page lacks.
inline Variant fnChr(const Call& c) {
    const std::int32_t code = longArg(c, 0);
    if (code < 0 || code > 255) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(QString(vb::fromCp1252(static_cast<std::uint8_t>(code))));
}

inline Variant fnAsc(const Call& c) {
    const QString text = textArg(c, 0);
    if (text.isEmpty()) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(static_cast<std::int16_t>(vb::toCp1252(text.front())));
}

// ChrW takes UTF-16 codes from -32768 to 65535, a negative code standing for the code + 65536.
inline Variant fnChrW(const Call& c) {
    const std::int32_t code = longArg(c, 0);
    if (code < -32768 || code > 65535) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(QString(QChar(static_cast<char16_t>(code))));
}

// AscW gives the first character's UTF-16 code as the language's Integer holds it: codes past
// 32767 come out negative.
inline Variant fnAscW(const Call& c) {
    const QString text = textArg(c, 0);
    if (text.isEmpty()) vb::raise(vb::err::InvalidProcedureCall);
    return Variant(static_cast<std::int16_t>(text.front().unicode()));
}

inline Variant fnVal(const Call& c) {
    return Variant(vb::val(textArg(c, 0)));
}

inline Variant fnStr(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant(vb::str(c.value(0)));
}

// Partition(number, start, stop, interval): the range of the series from start to stop in steps
// of interval that holds number, as "lower:upper". Each side is padded with blanks to the width
// of stop plus one, so that the texts sort as their ranges do; before start the lower side is
// blank, past stop the upper. Every part is rounded as CLng rounds it, and Null in any gives
// Null. An interval of 1 gives number:number wherever the number lies.
inline Variant fnPartition(const Call& c) {
    for (int i = 0; i < 4; ++i)
        if (c.isNull(i)) return Variant::null();
    const std::int64_t number = longArg(c, 0), start = longArg(c, 1), stop = longArg(c, 2),
                       interval = longArg(c, 3);
    if (start < 0 || stop <= start || interval < 1) vb::raise(vb::err::InvalidProcedureCall);
    std::optional<std::int64_t> lower, upper;
    if (interval == 1) {
        lower = upper = number;
    } else if (number < start) {
        upper = start - 1;
    } else if (number > stop) {
        lower = stop + 1;
    } else {
        lower = start + (number - start) / interval * interval;
        upper = std::min(stop, *lower + interval - 1);
    }
    const qsizetype width = QString::number(stop).size() + 1;
    const auto side = [&](std::optional<std::int64_t> n) {
        return (n ? QString::number(*n) : QString()).rightJustified(width, u' ');
    };
    return Variant(side(lower) + u':' + side(upper));
}

// ---- tests and choices ----

inline void fnIsNull(const Call& c) {
    resultBoolean(c.context(), c.isNull(0));
}

inline void fnIsNumeric(const Call& c) {
    resultBoolean(c.context(), vb::isNumeric(c.value(0)));
}

inline void fnIsDate(const Call& c) {
    resultBoolean(c.context(), vb::isDate(c.value(0)));
}

// Nothing read from SQLite is Empty, not even Null.
inline void fnIsEmpty(const Call& c) {
    resultBoolean(c.context(), false);
}

// A condition of IIf or Switch, read as the language reads a truth: text that is none raises 13,
// and Null counts as false.
inline bool conditionArg(const Call& c, int i) {
    return !c.isNull(i) && vb::cbool(c.value(i));
}

// As with the language's IIf, Choose and Switch, every choice is worked out before the call.
inline void fnIif(const Call& c) {
    c.resultArgument(conditionArg(c, 0) ? 1 : 2);
}

// Choose(index, choice-1, ...): the index is rounded as CInt rounds it (Null raises 94); one
// past either end gives Null.
inline void fnChoose(const Call& c) {
    const std::int16_t index = vb::cint(c.value(0));
    if (index < 1 || index >= c.count()) return c.resultNull();
    c.resultArgument(index);
}

// Switch(expr-1, value-1, ...): the value after the first condition that is true, Null when none
// is. Arguments that do not pair up raise 5.
inline void fnSwitch(const Call& c) {
    if (c.count() % 2 != 0) vb::raise(vb::err::InvalidProcedureCall);
    for (int i = 0; i < c.count(); i += 2)
        if (conditionArg(c, i)) return c.resultArgument(i + 1);
    c.resultNull();
}

// Nz(value[, valueIfNull]): without a replacement, Null becomes the empty text.
inline void fnNz(const Call& c) {
    if (!c.isNull(0)) return c.resultArgument(0);
    if (c.has(1)) return c.resultArgument(1);
    sqlite3_result_text(c.context(), "", 0, SQLITE_STATIC);
}

// ---- dates ----

template <vb::Interval Part> Variant fnDatePartOf(const Call& c) {
    if (c.isNull(0)) return Variant::null();
    return Variant(static_cast<std::int16_t>(vb::datePart(Part, dateArg(c, 0))));
}

inline Variant fnWeekday(const Call& c) {
    const int firstDay = intArg(c, 1, 1);
    if (c.isNull(0)) return Variant::null();
    return Variant(static_cast<std::int16_t>(vb::weekday(dateArg(c, 0), firstDay)));
}

// DatePart(interval, date[, firstdayofweek[, firstweekofyear]]).
inline Variant fnDatePart(const Call& c) {
    const CompiledArg<vb::Interval> interval(c, 0, intervalOf);
    const int firstDay = intArg(c, 2, 1), firstWeek = intArg(c, 3, 1);
    if (c.isNull(1)) return Variant::null();
    return Variant(static_cast<std::int16_t>(
        vb::datePart(interval.get(), dateArg(c, 1), firstDay, firstWeek)));
}

// DateAdd(interval, number, date).
inline Variant fnDateAdd(const Call& c) {
    const CompiledArg<vb::Interval> interval(c, 0, intervalOf);
    const double number = vb::cdbl(c.value(1));
    if (c.isNull(2)) return Variant::null();
    return Variant::date(vb::dateAdd(interval.get(), number, dateArg(c, 2)));
}

// DateDiff(interval, date1, date2[, firstdayofweek[, firstweekofyear]]).
inline Variant fnDateDiff(const Call& c) {
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

inline Variant fnDateSerial(const Call& c) {
    return Variant::date(vb::dateSerial(intArg(c, 0, 0), intArg(c, 1, 0), intArg(c, 2, 0)));
}

inline Variant fnTimeSerial(const Call& c) {
    return Variant::date(vb::timeSerial(intArg(c, 0, 0), intArg(c, 1, 0), intArg(c, 2, 0)));
}

inline Variant fnNow(const Call&) {
    return Variant::date(vb::now());
}

inline Variant fnToday(const Call&) {
    return Variant::date(vb::today());
}

inline Variant fnTimeOfDay(const Call&) {
    return Variant::date(vb::joinSerial(0, vb::splitSerial(vb::now()).second));
}

// Date$ and Time$ write the moment in fixed forms, whatever the regional settings.
inline Variant fnTodayText(const Call&) {
    const vb::DateParts d = vb::splitDate(vb::now());
    return Variant(QString::asprintf("%02d-%02d-%04d", d.month, d.day, d.year));
}

inline Variant fnTimeOfDayText(const Call&) {
    const vb::DateParts d = vb::splitDate(vb::now());
    return Variant(QString::asprintf("%02d:%02d:%02d", d.hour, d.minute, d.second));
}

// Timer: the seconds since midnight, to the hundredth, as a Single.
inline Variant fnTimer(const Call&) {
    const int hundredths = QTime::currentTime().msecsSinceStartOfDay() / 10;
    return Variant(static_cast<float>(hundredths) / 100.0f);
}

// WeekdayName(weekday[, abbreviate[, firstdayofweek]]): weekday counts from firstdayofweek,
// 0 (the default) meaning the system's first day, Sunday.
inline Variant fnWeekdayName(const Call& c) {
    const std::int32_t n = longArg(c, 0);
    const bool abbreviate = c.has(1) && vb::cbool(c.value(1));
    std::int32_t firstDay = c.has(2) ? longArg(c, 2) : 0;
    if (n < 1 || n > 7 || firstDay < 0 || firstDay > 7) vb::raise(vb::err::InvalidProcedureCall);
    if (firstDay == 0) firstDay = 1;
    const auto index = static_cast<std::size_t>((n - 1 + firstDay - 1) % 7);
    const vb::Regional& r = vb::Regional::current();
    return Variant(abbreviate ? r.dayAbbrevs[index] : r.dayNames[index]);
}

inline Variant fnMonthName(const Call& c) {
    const std::int32_t n = longArg(c, 0);
    const bool abbreviate = c.has(1) && vb::cbool(c.value(1));
    if (n < 1 || n > 12) vb::raise(vb::err::InvalidProcedureCall);
    const auto index = static_cast<std::size_t>(n - 1);
    const vb::Regional& r = vb::Regional::current();
    return Variant(abbreviate ? r.monthAbbrevs[index] : r.monthNames[index]);
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

inline void finalFirstLast(sqlite3_context* context) {
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

inline double numberOf(sqlite3_value* value) {
    if (!isNumber(sqlite3_value_type(value))) return vb::cdbl(variantFromSqlite(value));
    const double x = sqlite3_value_double(value);
    return sqlite3_value_subtype(value) == storage::kSubtypeDate ? storage::serialFromLinear(x) : x;
}

inline void stepSpread(sqlite3_context* context, int, sqlite3_value** argv) {
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

} // namespace jet::sqlite
