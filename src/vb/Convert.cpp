#include "vb/Convert.h"

#include "vb/DateTime.h"
#include "vb/Format.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace vb {

namespace {

constexpr double kMaxSingle = 3.4028234663852886e38;

// A number's digits as the language prints them, and the decimal exponent of the first: 1234.5
// is "12345", 3.
struct Decimal {
    bool negative = false;
    char digits[16] = {}; // a Double prints at most 15
    int count = 0;
    int exponent = 0;
};

// The digit at `index` (1 the second) of the exact decimal expansion of a nonzero finite double,
// whose first digit stands at 10^exponent10. The double is m * 2^q with m odd; its expansion ends
// -q places after the point when q < 0 and at the ones otherwise, so to_chars writes it exactly
// with that many digits.
char exactDigit(double value, int exponent10, int index) {
    int e2 = 0;
    const double fraction = std::frexp(std::fabs(value), &e2);
    const auto m = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
    const int q = e2 - 53 + std::countr_zero(m);
    const int significant = exponent10 + 1 + std::max(0, -q);
    char buf[800]; // the longest expansion, of the smallest subnormal, has 767 significant digits
    std::to_chars(buf, buf + sizeof buf, std::fabs(value), std::chars_format::scientific,
                  std::max(index, significant - 1));
    return buf[index + 1]; // past the point
}

// A nonzero finite value rounded to `precision` significant digits as the runtime prints it,
// halves away from zero: it writes the Single 654322.25, exactly halfway at its eighth digit, as
// "654322.3", where rounding half to even (as C libraries print) gives "654322.2". (Round() is
// another matter: it rounds half to even.)
Decimal roundedDecimal(double value, int precision) {
    // One digit more than kept, correctly rounded: "d.ddd...de+xx".
    char buf[48];
    const char* end = std::to_chars(buf, buf + sizeof buf, std::fabs(value),
                                    std::chars_format::scientific, precision)
                          .ptr;
    Decimal d;
    d.negative = value < 0;
    d.count = precision;
    d.digits[0] = buf[0];
    std::copy(buf + 2, buf + precision + 1, d.digits + 1);
    const char next = buf[precision + 1];
    for (const char* e = buf + precision + 4; e != end; ++e) // past "e" and a sign
        d.exponent = d.exponent * 10 + (*e - '0');
    if (buf[precision + 3] == '-') d.exponent = -d.exponent;
    // That digit settles every case but a 5, which a tail from 4.5 up to 5.5 units rounds to:
    // only a tail below 5, whose exact first digit is a 4, goes down. (Rounding to that digit
    // cannot have carried into the ones kept.)
    const bool up = next > '5' || (next == '5' && exactDigit(value, d.exponent, precision) >= '5');
    for (char* digit = d.digits + d.count; up;) {
        if (digit == d.digits) { // 9.99... became 10.00...
            d.digits[0] = '1';
            ++d.exponent;
            break;
        }
        --digit;
        if (*digit != '9') {
            ++*digit;
            break;
        }
        *digit = '0';
    }
    while (d.count > 1 && d.digits[d.count - 1] == '0')
        --d.count;
    return d;
}

// Lays out digits rounded to `precision` as the language prints numbers: plain notation when it
// needs at most `precision` digits before the point and at most `precision` after it ("895649.9",
// "0.0000234" for a Single), otherwise d.dddE+xx or d.dddE-xx with at least two exponent digits
// ("2.342E-05", "8.94985647372849E+16").
QString layoutDecimal(const Decimal& d, int precision, const QString& point) {
    QString out;
    if (d.negative) out += u'-';
    const auto digits = QString::fromLatin1(d.digits, d.count);
    const qsizetype afterPoint = digits.size() - 1 - d.exponent;
    if (d.exponent >= precision || afterPoint > precision) {
        out += digits.left(1);
        if (digits.size() > 1) out += point + digits.mid(1);
        out += d.exponent < 0 ? u"E-"_s : u"E+"_s;
        out += QString::number(std::abs(d.exponent)).rightJustified(2, u'0');
        return out;
    }
    if (d.exponent < 0) {
        out += u'0' + point + QString(-d.exponent - 1, u'0') + digits;
        return out;
    }
    const qsizetype intDigits = d.exponent + 1;
    if (digits.size() <= intDigits) return out + digits + QString(intDigits - digits.size(), u'0');
    return out + digits.left(intDigits) + point + digits.mid(intDigits);
}

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

// &H and &O numbers: up to 16 bits they are an Integer, up to 32 bits a Long, so "&HFFFF" is -1.
// A trailing & makes them a Long. `pos` is just past the '&'.
std::optional<double> radixNumber(QStringView s, qsizetype& pos) {
    if (pos >= s.size()) return std::nullopt;
    const QChar kind = s[pos].toUpper();
    const int radix = kind == u'H' ? 16 : kind == u'O' ? 8 : 0;
    if (radix == 0) return std::nullopt;
    ++pos;
    std::uint64_t value = 0;
    int count = 0;
    while (pos < s.size()) {
        const int digit = QChar(s[pos]).toLower().unicode() >= u'a' && s[pos].toLower() <= u'f'
                              ? s[pos].toLower().unicode() - u'a' + 10
                              : s[pos].digitValue();
        if (digit < 0 || digit >= radix) break;
        value = value * radix + static_cast<std::uint64_t>(digit);
        if (value > 0xFFFFFFFFull) raise(err::Overflow);
        ++count;
        ++pos;
    }
    if (count == 0) return std::nullopt;
    bool forceLong = pos < s.size() && s[pos] == u'&';
    if (forceLong) ++pos;
    if (value <= 0xFFFF && !forceLong) return static_cast<double>(static_cast<std::int16_t>(value));
    return static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
}

double integralCheck(double value, double lo, double hi) {
    double r = roundHalfEven(value);
    if (!(r >= lo && r <= hi)) raise(err::Overflow);
    return r;
}

} // namespace

Currency Currency::fromDouble(double value) {
    const double scaled = std::nearbyint(value * kScale);
    if (!(scaled >= -9.2233720368547758e18 && scaled < 9.2233720368547758e18)) raise(err::Overflow);
    return Currency{static_cast<std::int64_t>(scaled)};
}

double roundHalfEven(double value) {
    return std::nearbyint(value);
}

namespace {

QString currencyText(Currency value, const QString& point) {
    const bool negative = value.scaled < 0;
    const std::uint64_t magnitude = negative ? 0 - static_cast<std::uint64_t>(value.scaled)
                                             : static_cast<std::uint64_t>(value.scaled);
    QString out = negative ? QStringLiteral("-") : QString();
    out += QString::number(magnitude / Currency::kScale);
    std::uint64_t fraction = magnitude % Currency::kScale;
    if (fraction != 0) {
        QString f = QString::number(fraction).rightJustified(4, u'0');
        while (f.endsWith(u'0'))
            f.chop(1);
        out += point + f;
    }
    return out;
}

// Infinities and NaNs cannot come from the language's own arithmetic, but a Double read from an
// engine can hold them; they are written the way the runtime prints them.
QString nonFiniteText(double d) {
    if (std::isnan(d)) return u"-1.#IND"_s;
    return d < 0 ? u"-1.#INF"_s : u"1.#INF"_s;
}

// The text of a number kind with the given decimal point (CStr uses the regional one, Str ".").
QString numberText(const Variant& v, const QString& point) {
    if ((v.type() == VarType::Double && !std::isfinite(v.doubleValue())) ||
        (v.type() == VarType::Single && !std::isfinite(v.singleValue())))
        return nonFiniteText(v.type() == VarType::Double ? v.doubleValue() : v.singleValue());
    switch (v.type()) {
    case VarType::Integer:
        return QString::number(v.integerValue());
    case VarType::Long:
        return QString::number(v.longValue());
    case VarType::Single:
        return v.singleValue() == 0 ? u"0"_s
                                    : layoutDecimal(roundedDecimal(v.singleValue(), 7), 7, point);
    case VarType::Double:
        return v.doubleValue() == 0 ? u"0"_s
                                    : layoutDecimal(roundedDecimal(v.doubleValue(), 15), 15, point);
    case VarType::Currency:
        return currencyText(v.currencyValue(), point);
    default:
        return numberText(Variant(cdbl(v)), point);
    }
}

} // namespace

QString doubleToText(double value) {
    return numberText(Variant(value), Regional::current().decimalPoint);
}
QString singleToText(float value) {
    return numberText(Variant(value), Regional::current().decimalPoint);
}
QString currencyToText(Currency value) {
    return currencyText(value, Regional::current().decimalPoint);
}

QString dateToText(double serial) {
    return formatDate(serial, QStringLiteral("General Date"));
}

std::optional<double> parseNumber(QStringView text) {
    const Regional& r = Regional::current();
    QStringView s = text.trimmed();
    if (s.isEmpty()) return std::nullopt;
    if (s.front() == u'&') {
        qsizetype pos = 1;
        auto v = radixNumber(s, pos);
        if (v && pos == s.size()) return v;
        return std::nullopt;
    }
    bool negative = false;
    if (s.front() == u'(' && s.back() == u')') {
        negative = true;
        s = s.mid(1, s.size() - 2).trimmed();
    }
    auto stripSymbol = [&](QStringView& v) {
        if (!r.currencySymbol.isEmpty()) {
            if (v.startsWith(r.currencySymbol))
                v = v.mid(r.currencySymbol.size()).trimmed();
            else if (v.endsWith(r.currencySymbol))
                v = v.chopped(r.currencySymbol.size()).trimmed();
        }
    };
    stripSymbol(s);
    if (!s.isEmpty() && (s.front() == u'-' || s.front() == u'+')) {
        if (negative && s.front() == u'-') return std::nullopt;
        negative = negative != (s.front() == u'-');
        s = s.mid(1).trimmed();
    }
    stripSymbol(s);
    // Rebuild a plain C number: digits, one point, an optional exponent; group separators go.
    std::string plain;
    bool sawDigit = false, sawPoint = false, sawExponent = false;
    for (qsizetype i = 0; i < s.size(); ++i) {
        const QChar c = s[i];
        if (c.isDigit()) {
            plain += static_cast<char>('0' + c.digitValue());
            sawDigit = true;
        } else if (!sawExponent && !sawPoint && s.mid(i).startsWith(r.decimalPoint)) {
            plain += '.';
            sawPoint = true;
            i += r.decimalPoint.size() - 1;
        } else if (!sawExponent && !sawPoint && sawDigit && !r.thousandsSeparator.isEmpty() &&
                   s.mid(i).startsWith(r.thousandsSeparator)) {
            i += r.thousandsSeparator.size() - 1;
        } else if (!sawExponent && sawDigit && (c == u'e' || c == u'E' || c == u'd' || c == u'D')) {
            plain += 'e';
            sawExponent = true;
            if (i + 1 < s.size() && (s[i + 1] == u'+' || s[i + 1] == u'-'))
                plain += static_cast<char>(s[++i].unicode());
        } else {
            return std::nullopt;
        }
    }
    if (!sawDigit || plain.back() == 'e' || plain.back() == '+' || plain.back() == '-')
        return std::nullopt;
    double value = 0;
    auto res = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (res.ec == std::errc::result_out_of_range) raise(err::Overflow);
    if (res.ec != std::errc() || res.ptr != plain.data() + plain.size()) return std::nullopt;
    return negative ? -value : value;
}

double val(QStringView text) {
    QString s;
    s.reserve(text.size());
    for (QChar c : text)
        if (!isBlank(c)) s += c;
    qsizetype pos = 0;
    if (s.startsWith(u'&')) {
        pos = 1;
        try {
            return radixNumber(s, pos).value_or(0.0);
        } catch (const VbError&) {
            return 0.0;
        }
    }
    std::string plain;
    if (pos < s.size() && (s[pos] == u'+' || s[pos] == u'-'))
        plain += static_cast<char>(s[pos++].unicode());
    bool point = false;
    std::size_t mantissaDigits = 0;
    for (; pos < s.size(); ++pos) {
        const QChar c = s[pos];
        if (c.isDigit() && c.unicode() < 128) {
            plain += static_cast<char>(c.unicode());
            ++mantissaDigits;
        } else if (c == u'.' && !point) {
            plain += '.';
            point = true;
        } else {
            break;
        }
    }
    if (mantissaDigits == 0) return 0.0;
    if (pos < s.size() && (s[pos] == u'e' || s[pos] == u'E' || s[pos] == u'd' || s[pos] == u'D')) {
        std::string exponent = "e";
        qsizetype p = pos + 1;
        if (p < s.size() && (s[p] == u'+' || s[p] == u'-'))
            exponent += static_cast<char>(s[p++].unicode());
        bool any = false;
        while (p < s.size() && s[p].isDigit() && s[p].unicode() < 128) {
            exponent += static_cast<char>(s[p++].unicode());
            any = true;
        }
        if (any) plain += exponent;
    }
    double value = 0;
    auto res = std::from_chars(plain.data() + (plain[0] == '+' ? 1 : 0),
                               plain.data() + plain.size(), value);
    if (res.ec == std::errc::result_out_of_range) raise(err::Overflow);
    return value;
}

QString cstr(const Variant& v) {
    switch (v.type()) {
    case VarType::Empty:
        return QString();
    case VarType::Null:
        raise(err::InvalidUseOfNull);
    case VarType::Boolean:
        return v.boolValue() ? QStringLiteral("True") : QStringLiteral("False");
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency:
        return numberText(v, Regional::current().decimalPoint);
    case VarType::Date:
        return dateToText(v.dateValue());
    case VarType::String:
        return v.stringValue();
    }
    raise(err::TypeMismatch);
}

double cdbl(const Variant& v) {
    switch (v.type()) {
    case VarType::Empty:
        return 0.0;
    case VarType::Null:
        raise(err::InvalidUseOfNull);
    case VarType::Boolean:
        return v.boolValue() ? -1.0 : 0.0;
    case VarType::Integer:
        return v.integerValue();
    case VarType::Long:
        return v.longValue();
    case VarType::Single:
        return v.singleValue();
    case VarType::Double:
        return v.doubleValue();
    case VarType::Currency:
        return v.currencyValue().toDouble();
    case VarType::Date:
        return v.dateValue();
    case VarType::String:
        if (auto n = parseNumber(v.stringValue())) return *n;
        raise(err::TypeMismatch);
    }
    raise(err::TypeMismatch);
}

float csng(const Variant& v) {
    const double d = cdbl(v);
    if (std::fabs(d) > kMaxSingle) raise(err::Overflow);
    return static_cast<float>(d);
}

std::int32_t clng(const Variant& v) {
    if (v.type() == VarType::Long) return v.longValue();
    if (v.type() == VarType::Currency) {
        // Exact: round the scaled integer half to even without going through a double.
        const std::int64_t s = v.currencyValue().scaled;
        std::int64_t q = s / Currency::kScale;
        const std::int64_t rem = s % Currency::kScale;
        if (2 * std::abs(rem) > Currency::kScale ||
            (2 * std::abs(rem) == Currency::kScale && q % 2 != 0))
            q += s < 0 ? -1 : 1;
        if (q < std::numeric_limits<std::int32_t>::min() ||
            q > std::numeric_limits<std::int32_t>::max())
            raise(err::Overflow);
        return static_cast<std::int32_t>(q);
    }
    return static_cast<std::int32_t>(integralCheck(cdbl(v), -2147483648.0, 2147483647.0));
}

std::int16_t cint(const Variant& v) {
    if (v.type() == VarType::Integer) return v.integerValue();
    const std::int32_t l =
        v.type() == VarType::Currency
            ? clng(v)
            : static_cast<std::int32_t>(integralCheck(cdbl(v), -32768.0, 32767.0));
    if (l < -32768 || l > 32767) raise(err::Overflow);
    return static_cast<std::int16_t>(l);
}

Currency ccur(const Variant& v) {
    switch (v.type()) {
    case VarType::Currency:
        return v.currencyValue();
    case VarType::Integer:
        return Currency{static_cast<std::int64_t>(v.integerValue()) * Currency::kScale};
    case VarType::Long:
        return Currency{static_cast<std::int64_t>(v.longValue()) * Currency::kScale};
    default:
        return Currency::fromDouble(cdbl(v));
    }
}

bool cbool(const Variant& v) {
    switch (v.type()) {
    case VarType::Null:
        raise(err::InvalidUseOfNull);
    case VarType::Boolean:
        return v.boolValue();
    case VarType::String: {
        const QString t = v.stringValue().trimmed();
        if (t.compare(u"True", Qt::CaseInsensitive) == 0) return true;
        if (t.compare(u"False", Qt::CaseInsensitive) == 0) return false;
        if (auto n = parseNumber(t)) return *n != 0;
        raise(err::TypeMismatch);
    }
    case VarType::Currency:
        return v.currencyValue().scaled != 0;
    default:
        return cdbl(v) != 0;
    }
}

double cdate(const Variant& v) {
    switch (v.type()) {
    case VarType::Null:
        raise(err::InvalidUseOfNull);
    case VarType::Date:
        return v.dateValue();
    case VarType::String:
        if (auto d = parseDate(v.stringValue())) return *d;
        raise(err::TypeMismatch);
    default: {
        const double d = cdbl(v);
        if (!isValidDateSerial(d)) raise(err::Overflow);
        return d;
    }
    }
}

Variant cvdate(const Variant& v) {
    return v.isNull() ? Variant::null() : Variant::date(cdate(v));
}

QString str(const Variant& v) {
    if (v.isNull()) raise(err::InvalidUseOfNull);
    if (v.type() == VarType::Boolean) return cstr(v);
    if (v.type() == VarType::Date) return u' ' + cstr(v);
    // Str always writes "." and a blank where a plus sign would go, and no zero before the point.
    const QString text = numberText(v.isEmpty() ? Variant(std::int16_t(0)) : v, u"."_s);
    const bool negative = text.startsWith(u'-');
    QString body = negative ? text.mid(1) : text;
    if (body.startsWith(u"0.")) body.remove(0, 1);
    return (negative ? u"-"_s : u" "_s) + body;
}

bool isNumeric(const Variant& v) {
    switch (v.type()) {
    case VarType::Null:
    case VarType::Date:
        return false;
    case VarType::String:
        try {
            return parseNumber(v.stringValue()).has_value();
        } catch (const VbError&) {
            return false;
        }
    default:
        return true;
    }
}

bool isDate(const Variant& v) {
    if (v.isDate()) return true;
    if (v.isString()) return parseDate(v.stringValue()).has_value();
    return false;
}

double dateValue(const Variant& v) {
    return joinSerial(splitSerial(cdate(v)).day, 0);
}

double timeValue(const Variant& v) {
    return joinSerial(0, splitSerial(cdate(v)).second);
}

} // namespace vb
