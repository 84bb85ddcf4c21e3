#include "vb/FormatPattern.h"
#include "vb/Regional.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace vb::fmt {

namespace {

constexpr int kDoubleDigits = 15;

void trimTrailingZeros(Decimal& d) {
    while (d.count > 0 && d.digits[static_cast<std::size_t>(d.count - 1)] == '0')
        --d.count;
}

// Lays a rounded magnitude into a section's items.
class NumberWriter {
public:
    NumberWriter(const NumberSection& section, const Decimal& value, QString& out)
        : s_(section), v_(value), out_(out), regional_(Regional::current()),
          shownInteger_(std::max(integerDigits(), section.minIntegerDigits)),
          shownFraction_(std::max(fractionDigits(), section.minFractionDigits)) {}

    void write(int exponent) {
        for (const NumberItem& item : s_.items) {
            switch (item.token) {
            case NumberToken::Literal:
                out_ += QStringView(s_.pool).mid(item.text.offset, item.text.length);
                break;
            case NumberToken::IntegerDigit:
                writeInteger(item.position);
                break;
            case NumberToken::FractionDigit:
                if (item.position <= shownFraction_) out_ += QChar(digitAt(-item.position));
                break;
            case NumberToken::Point:
                // Without integer placeholders the whole part still has to go somewhere.
                if (s_.integerPlaceholders == 0) writeDigits(shownInteger_ - 1, 0, false);
                out_ += regional_.decimalPoint;
                break;
            case NumberToken::Exponent:
                writeExponent(exponent);
                break;
            }
        }
    }

private:
    int integerDigits() const { return v_.isZero() ? 0 : std::max(0, v_.pointPos); }
    int fractionDigits() const { return v_.isZero() ? 0 : std::max(0, v_.count - v_.pointPos); }

    // The digit worth 10^position (negative positions are decimals).
    char digitAt(int position) const {
        const int index = v_.pointPos - 1 - position;
        return index >= 0 && index < v_.count ? v_.digits[static_cast<std::size_t>(index)] : '0';
    }

    void writeDigits(int from, int to, bool grouping) {
        for (int p = from; p >= to; --p) {
            out_ += QChar(digitAt(p));
            if (grouping && p > 0 && p % 3 == 0) out_ += regional_.thousandsSeparator;
        }
    }

    // The leftmost placeholder takes every digit the others have no room for.
    void writeInteger(int position) {
        const bool leftmost = position == s_.integerPlaceholders - 1;
        const int from = leftmost ? shownInteger_ - 1 : std::min(position, shownInteger_ - 1);
        writeDigits(from, position, s_.grouping);
    }

    void writeExponent(int exponent) {
        out_ += s_.exponentLetter;
        if (exponent < 0)
            out_ += u'-';
        else if (s_.exponentPlus)
            out_ += u'+';
        char buf[8];
        const auto res = std::to_chars(buf, buf + sizeof buf, std::abs(exponent));
        const auto written = static_cast<int>(res.ptr - buf);
        for (int i = written; i < s_.exponentDigits; ++i)
            out_ += u'0';
        out_ += QLatin1StringView(buf, written);
    }

    const NumberSection& s_;
    const Decimal& v_;
    QString& out_;
    const Regional& regional_;
    int shownInteger_;
    int shownFraction_;
};

// Moves the point so the mantissa has as many integer digits as the section has placeholders,
// rounds it, and gives the exponent that makes up for the move.
int toScientific(Decimal& d, const NumberSection& s) {
    if (d.isZero()) return 0;
    int exponent = d.pointPos - s.integerPlaceholders;
    d.pointPos = s.integerPlaceholders;
    roundDecimal(d, s.fractionPlaceholders);
    if (d.pointPos > s.integerPlaceholders) { // 9.996 became 10.00
        --d.pointPos;
        ++exponent;
    }
    return exponent;
}

// A magnitude as a section shows it: scaled by its % and trailing commas and rounded to its
// decimals, or moved to its mantissa with the exponent that makes up for the move.
struct Shown {
    Decimal digits;
    int exponent = 0;
};

Shown shownIn(const NumberSection& s, Decimal magnitude) {
    if (!magnitude.isZero()) magnitude.pointPos += s.shift;
    Shown shown{magnitude, 0};
    if (s.scientific)
        shown.exponent = toScientific(shown.digits, s);
    else
        roundDecimal(shown.digits, s.fractionPlaceholders);
    return shown;
}

void renderSection(const NumberSection& s, const Shown& shown, bool minus, QString& out) {
    if (minus) out += u'-';
    NumberWriter(s, shown.digits, out).write(shown.exponent);
}

} // namespace

Decimal decimalFromDouble(double magnitude) {
    Decimal d;
    if (magnitude == 0) return d;
    // "d.dddddddddddddde+xx"
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific,
                                   kDoubleDigits - 1);
    const char* p = buf;
    for (; *p != 'e'; ++p)
        if (*p != '.') d.digits[static_cast<std::size_t>(d.count++)] = *p;
    int exponent = 0;
    std::from_chars(p + (p[1] == '+' ? 2 : 1), res.ptr, exponent);
    d.pointPos = exponent + 1;
    trimTrailingZeros(d);
    return d;
}

Decimal decimalFromScaled(std::uint64_t magnitude, int decimals) {
    Decimal d;
    if (magnitude == 0) return d;
    const auto res = std::to_chars(d.digits.data(), d.digits.data() + d.digits.size(), magnitude);
    d.count = static_cast<int>(res.ptr - d.digits.data());
    d.pointPos = d.count - decimals;
    trimTrailingZeros(d);
    return d;
}

void roundDecimal(Decimal& d, int decimals) {
    const int keep = d.pointPos + decimals;
    if (d.isZero() || keep >= d.count) return;
    if (keep < 0) { // every digit lies below half a unit of the last place
        d.count = 0;
        return;
    }
    const bool up = d.digits[static_cast<std::size_t>(keep)] >= '5';
    d.count = keep;
    if (up) {
        int i = keep - 1;
        while (i >= 0 && d.digits[static_cast<std::size_t>(i)] == '9')
            --i;
        if (i < 0) { // 999.5 became 1000
            d.digits[0] = '1';
            d.count = 1;
            ++d.pointPos;
            return;
        }
        ++d.digits[static_cast<std::size_t>(i)];
        d.count = i + 1;
    }
    trimTrailingZeros(d);
}

void renderNumber(const CompiledFormat& format, const NumberValue& value, QString& out) {
    // A negative value takes the second section without a sign of its own; an empty or missing
    // section falls back to the first, where it gets a minus. A value that rounds to zero in the
    // section that would show it counts as zero: the third section shows it, or else the first
    // without a sign, so "-0" never appears.
    const auto usable = [&](std::size_t i) {
        return format.numbers.size() > i && !format.numbers[i].empty;
    };
    const bool negativeSection = value.negative && usable(1);
    const NumberSection& section = format.numbers[negativeSection ? 1 : 0];
    const Shown shown = shownIn(section, value.magnitude);
    if (!shown.digits.isZero())
        return renderSection(section, shown, value.negative && !negativeSection, out);
    renderSection(format.numbers[usable(2) ? 2 : 0], Shown{}, false, out);
}

} // namespace vb::fmt
