#include "vb/Format.h"

#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/FormatPattern.h"
#include "vb/Regional.h"
#include "vb/VbError.h"

#include <cmath>
#include <cstdlib>
#include <optional>

namespace vb {

namespace {

using fmt::CompiledFormat;
using fmt::DateOptions;
using fmt::Named;
using fmt::NumberValue;

void checkOptions(int firstDayOfWeek, int firstWeekOfYear) {
    if (firstDayOfWeek < 0 || firstDayOfWeek > 7 || firstWeekOfYear < 0 || firstWeekOfYear > 3)
        raise(err::InvalidProcedureCall);
}

std::optional<double> readNumber(const QString& text) {
    try {
        return parseNumber(text);
    } catch (const VbError&) { // too large for a Double: not a number Format can show
        return std::nullopt;
    }
}

bool isNonFinite(const Variant& v) {
    return (v.type() == VarType::Double && !std::isfinite(v.doubleValue())) ||
           (v.type() == VarType::Single && !std::isfinite(v.singleValue()));
}

// CStr, with "" for Null.
QString textOf(const Variant& v) {
    return v.isNull() ? QString() : cstr(v);
}

NumberValue integerValue(std::int64_t v) {
    const std::uint64_t magnitude =
        v < 0 ? 0 - static_cast<std::uint64_t>(v) : static_cast<std::uint64_t>(v);
    return {fmt::decimalFromScaled(magnitude, 0), v < 0};
}

NumberValue doubleValue(double v) {
    return {fmt::decimalFromDouble(std::fabs(v)), v < 0};
}

// The value a number pattern shows; nullopt for text that reads as no number and no date, and
// for infinities and NaNs, which have no digits.
std::optional<NumberValue> numberOf(const Variant& v) {
    if (isNonFinite(v)) return std::nullopt;
    switch (v.type()) {
    case VarType::Boolean:
        return integerValue(v.boolValue() ? -1 : 0);
    case VarType::Integer:
        return integerValue(v.integerValue());
    case VarType::Long:
        return integerValue(v.longValue());
    case VarType::Currency: {
        // Exact: the scaled count, never a Double.
        const std::int64_t scaled = v.currencyValue().scaled;
        NumberValue n = integerValue(scaled);
        n.magnitude.pointPos -= 4;
        return n;
    }
    case VarType::Single:
        return doubleValue(v.singleValue());
    case VarType::Double:
        return doubleValue(v.doubleValue());
    case VarType::Date:
        return doubleValue(v.dateValue());
    case VarType::String:
        if (auto n = readNumber(v.stringValue())) return doubleValue(*n);
        if (auto d = parseDate(v.stringValue())) return doubleValue(*d);
        return std::nullopt;
    default: // Empty
        return integerValue(0);
    }
}

// The serial a date pattern shows; nullopt for text that reads as no date and no number.
// Raises 6 for a number outside the calendar, as converting it to a Date would.
std::optional<double> serialOf(const Variant& v) {
    double serial = 0;
    if (v.isString()) {
        std::optional<double> read = parseDate(v.stringValue());
        if (!read) read = readNumber(v.stringValue());
        if (!read) return std::nullopt;
        serial = *read;
    } else if (!v.isEmpty()) {
        serial = v.isDate() ? v.dateValue() : cdbl(v);
    }
    if (!isValidDateSerial(serial)) raise(err::Overflow);
    return serial;
}

// A pattern without a Null section shows Null as nothing.
QString nullTextOf(const CompiledFormat& f) {
    return f.nullText.value_or(QString());
}

QString formatNumberPattern(const CompiledFormat& f, const Variant& v) {
    if (v.isNull()) return nullTextOf(f);
    const std::optional<NumberValue> n = numberOf(v);
    if (!n) return textOf(v);
    QString out;
    out.reserve(24);
    fmt::renderNumber(f, *n, out);
    return out;
}

QString formatDateValue(const CompiledFormat& f, const Variant& v, const DateOptions& o) {
    if (v.isNull()) return nullTextOf(f);
    const std::optional<double> serial = serialOf(v);
    if (!serial) return v.stringValue();
    QString out;
    out.reserve(32);
    fmt::renderDate(f.date, *serial, o, out);
    return out;
}

// Fills placeholders from the right (from the left after !); the end placeholder on the far
// side takes whatever text is left over, as digits do in number patterns.
void renderTextSection(const fmt::TextSection& s, QStringView text, QString& out) {
    const qsizetype n = s.placeholders;
    const qsizetype len = text.size();
    qsizetype slot = 0;
    for (const fmt::TextItem& item : s.items) {
        if (!item.placeholder) {
            out += QStringView(s.pool).mid(item.text.offset, item.text.length);
            continue;
        }
        qsizetype begin = s.leftToRight ? slot : len - n + slot;
        qsizetype end = begin + 1;
        if (s.leftToRight && slot == n - 1) end = len;
        if (!s.leftToRight && slot == 0) begin = 0;
        begin = std::max<qsizetype>(begin, 0);
        end = std::min(end, len);
        if (begin < end)
            out += text.mid(begin, end - begin);
        else if (item.blankWhenMissing)
            out += u' ';
        ++slot;
    }
    if (n == 0) out += text;
}

// Text patterns (@ & < > !): the second section is for empty text and Null.
QString formatText(const CompiledFormat& f, const Variant& v) {
    const QString text = textOf(v);
    const bool useSecond = text.isEmpty() && f.texts.size() > 1;
    if (v.isNull() && !useSecond) return QString();
    const fmt::TextSection& s = f.texts[useSecond ? 1 : 0];
    QString out;
    renderTextSection(s, text, out);
    if (s.caseForce == fmt::CaseForce::Upper) return out.toUpper();
    if (s.caseForce == fmt::CaseForce::Lower) return out.toLower();
    return out;
}

QString formatCompiled(const CompiledFormat& f, const Variant& v, const DateOptions& o);

QString formatPattern(const QString& pattern, const Variant& v, const DateOptions& o = {}) {
    return formatCompiled(*fmt::compiledFormat(pattern), v, o);
}

// How FormatNumber and its kin lay out an amount, with the regional defaults resolved.
struct AmountLayout {
    int digits = 2;
    bool leadingDigit = true;
    bool parentheses = false;
    bool grouping = true;
};

bool tristate(int value, bool regionalDefault) {
    return value == kUseDefault ? regionalDefault : value != 0;
}

AmountLayout layoutOf(const NumberOptions& o, int regionalDigits, bool regionalParentheses) {
    if (o.digitsAfterDecimal < -1) raise(err::InvalidProcedureCall);
    const Regional& r = Regional::current();
    return {o.digitsAfterDecimal == -1 ? regionalDigits : o.digitsAfterDecimal,
            tristate(o.includeLeadingDigit, r.leadingZero),
            tristate(o.useParensForNegativeNumbers, regionalParentheses),
            tristate(o.groupDigits, r.groupDigits)};
}

// "#,##0.00" and its kin. Without a leading digit ".5" shows no 0, but a whole number still
// shows its units.
QString amountPattern(const AmountLayout& l) {
    QString p = l.grouping ? QStringLiteral("#,##") : QString();
    p += l.leadingDigit || l.digits == 0 ? u'0' : u'#';
    if (l.digits > 0) p += u'.' + QString(l.digits, u'0');
    return p;
}

QString withNegativeSection(const QString& positive, bool parentheses) {
    return positive + u';' + (parentheses ? u'(' + positive + u')' : u'-' + positive);
}

QString currencyPattern(const AmountLayout& l) {
    const Regional& r = Regional::current();
    QString symbol = r.currencySymbol;
    symbol.remove(u'"');
    const QString amount = amountPattern(l);
    // A symbol written after the amount stands apart from it ("1.234,50 €").
    const QString positive = r.currencySymbolFirst ? u'"' + symbol + u'"' + amount
                                                   : amount + QStringLiteral("\" ") + symbol + u'"';
    return withNegativeSection(positive, l.parentheses);
}

AmountLayout regionalCurrencyLayout(const NumberOptions& o = {}) {
    const Regional& r = Regional::current();
    return layoutOf(o, r.currencyDigits, r.currencyNegativeInParentheses);
}

AmountLayout regionalNumberLayout(const NumberOptions& o) {
    const Regional& r = Regional::current();
    return layoutOf(o, r.numberDigits, r.negativeInParentheses);
}

// The number FormatNumber and its kin show: text as CDbl reads it, every other kind as Format
// takes it (Currency exactly, a Date as its serial, True as -1).
Variant amountOf(const Variant& value) {
    return value.isString() ? Variant(cdbl(value)) : value;
}

Variant formatAmount(const Variant& value, const QString& pattern) {
    if (value.isNull()) return Variant::null();
    return Variant(formatPattern(pattern, amountOf(value)));
}

// "General Number": the number as CStr writes it, so without grouping. The value is known to
// be a number (or text that reads as one or as a date).
QString generalNumber(const Variant& v) {
    switch (v.type()) {
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency:
        return textOf(v);
    case VarType::Boolean:
        return cstr(Variant(static_cast<std::int16_t>(v.boolValue() ? -1 : 0)));
    case VarType::Date:
        return cstr(Variant(v.dateValue()));
    case VarType::String: {
        std::optional<double> read = readNumber(v.stringValue());
        if (!read) read = parseDate(v.stringValue());
        return cstr(Variant(read.value_or(0.0)));
    }
    default:
        return QStringLiteral("0");
    }
}

QString formatNamedNumber(Named named, const Variant& v, const DateOptions& o) {
    static const QString kFixed = QStringLiteral("0.00");
    static const QString kStandard = QStringLiteral("#,##0.00");
    static const QString kPercent = QStringLiteral("0.00%");
    static const QString kScientific = QStringLiteral("0.00E+00");
    switch (named) {
    case Named::Currency:
        return formatPattern(currencyPattern(regionalCurrencyLayout()), v, o);
    case Named::Fixed:
        return formatPattern(kFixed, v, o);
    case Named::Standard:
        return formatPattern(kStandard, v, o);
    case Named::Percent:
        return formatPattern(kPercent, v, o);
    case Named::Scientific:
        return formatPattern(kScientific, v, o);
    default:
        break;
    }
    const std::optional<NumberValue> n = numberOf(v);
    if (!n) return textOf(v);
    const bool zero = n->magnitude.isZero();
    switch (named) {
    case Named::YesNo:
        return zero ? QStringLiteral("No") : QStringLiteral("Yes");
    case Named::TrueFalse:
        return zero ? QStringLiteral("False") : QStringLiteral("True");
    case Named::OnOff:
        return zero ? QStringLiteral("Off") : QStringLiteral("On");
    default:
        return generalNumber(v);
    }
}

bool isNamedDate(Named named) {
    return named >= Named::GeneralDate && named <= Named::ShortTime;
}

QString formatNamed(Named named, const Variant& v, const DateOptions& o) {
    if (v.isNull()) return QString();
    if (!isNamedDate(named)) return formatNamedNumber(named, v, o);
    const std::optional<double> serial = serialOf(v);
    if (!serial) return v.stringValue();
    QString out;
    out.reserve(32);
    fmt::renderNamedDate(named, *serial, o, out);
    return out;
}

QString formatCompiled(const CompiledFormat& f, const Variant& v, const DateOptions& o) {
    if (f.named != Named::None) return formatNamed(f.named, v, o);
    switch (f.mode) {
    case fmt::Mode::Date:
        return formatDateValue(f, v, o);
    case fmt::Mode::Text:
        return formatText(f, v);
    case fmt::Mode::Number:
        break;
    }
    return formatNumberPattern(f, v);
}

// Format's result: nullopt for the Null that only a missing pattern gives back.
using Result = std::optional<QString>;

Result formatAny(const Variant& value, const QString& pattern, int firstDayOfWeek,
                 int firstWeekOfYear) {
    checkOptions(firstDayOfWeek, firstWeekOfYear);
    if (pattern.isEmpty()) {
        if (value.isNull()) return std::nullopt;
        return textOf(value);
    }
    return formatPattern(pattern, value, DateOptions{firstDayOfWeek, firstWeekOfYear});
}

} // namespace

QString format(const Variant& value, const QString& pattern, int firstDayOfWeek,
               int firstWeekOfYear) {
    return formatAny(value, pattern, firstDayOfWeek, firstWeekOfYear).value_or(QString());
}

Variant formatVariant(const Variant& value, const QString& pattern, int firstDayOfWeek,
                      int firstWeekOfYear) {
    Result r = formatAny(value, pattern, firstDayOfWeek, firstWeekOfYear);
    return r ? Variant(std::move(*r)) : Variant::null();
}

QString formatDate(double serial, const QString& pattern) {
    // Skips the option checks and the empty-pattern test of format(); a Date Variant holds no
    // text, so making one costs nothing.
    const Variant value = Variant::date(serial);
    if (pattern.isEmpty()) return textOf(value);
    return formatCompiled(*fmt::compiledFormat(pattern), value, DateOptions{});
}

Variant formatNumber(const Variant& value, const NumberOptions& options) {
    const AmountLayout l = regionalNumberLayout(options);
    return formatAmount(value, withNegativeSection(amountPattern(l), l.parentheses));
}

Variant formatCurrency(const Variant& value, const NumberOptions& options) {
    return formatAmount(value, currencyPattern(regionalCurrencyLayout(options)));
}

Variant formatPercent(const Variant& value, const NumberOptions& options) {
    const AmountLayout l = regionalNumberLayout(options);
    return formatAmount(value, withNegativeSection(amountPattern(l) + u'%', l.parentheses));
}

Variant formatDateTime(const Variant& value, int namedFormat) {
    static constexpr Named kNamed[] = {Named::GeneralDate, Named::LongDate, Named::ShortDate,
                                       Named::LongTime, Named::ShortTime};
    if (namedFormat < 0 || namedFormat >= static_cast<int>(std::size(kNamed)))
        raise(err::InvalidProcedureCall);
    if (value.isNull()) return Variant::null();
    const double serial = cdate(value);
    QString out;
    fmt::renderNamedDate(kNamed[namedFormat], serial, DateOptions{}, out);
    return Variant(std::move(out));
}

} // namespace vb
