#include "vb/Variant.h"

#include "vb/Convert.h"
#include "vb/DateTime.h"
#include "vb/VbError.h"

#include <cmath>
#include <limits>

namespace vb {

namespace {

constexpr double kMaxSingle = 3.4028234663852886e38;

// The order in which arithmetic widens its operands.
enum class Rank { Integer, Long, Single, Double, Currency };

Rank rankOf(const Variant& v) {
    switch (v.type()) {
    case VarType::Long:
        return Rank::Long;
    case VarType::Single:
        return Rank::Single;
    case VarType::Double:
    case VarType::String: // a String in arithmetic is read as a Double
    case VarType::Date:
        return Rank::Double;
    case VarType::Currency:
        return Rank::Currency;
    default: // Empty, Boolean, Integer
        return Rank::Integer;
    }
}

Rank commonRank(const Variant& a, const Variant& b) {
    const Rank ra = rankOf(a), rb = rankOf(b);
    // A Single beside a Long needs a Double to hold every Long exactly.
    if ((ra == Rank::Single && rb == Rank::Long) || (ra == Rank::Long && rb == Rank::Single))
        return Rank::Double;
    return std::max(ra, rb);
}

std::int64_t wholeValue(const Variant& v) {
    switch (v.type()) {
    case VarType::Boolean:
        return v.boolValue() ? -1 : 0;
    case VarType::Integer:
        return v.integerValue();
    case VarType::Long:
        return v.longValue();
    default:
        return 0;
    }
}

// An integer result in the narrowest kind at or above `rank` that holds it; a Double past Long.
Variant fitWhole(std::int64_t r, Rank rank) {
    if (rank == Rank::Integer && r >= std::numeric_limits<std::int16_t>::min() &&
        r <= std::numeric_limits<std::int16_t>::max())
        return Variant(static_cast<std::int16_t>(r));
    if (r >= std::numeric_limits<std::int32_t>::min() &&
        r <= std::numeric_limits<std::int32_t>::max())
        return Variant(static_cast<std::int32_t>(r));
    return Variant(static_cast<double>(r));
}

Variant fitFloating(double r, Rank rank) {
    if (rank == Rank::Single && std::fabs(r) <= kMaxSingle) return Variant(static_cast<float>(r));
    if (!std::isfinite(r)) raise(err::Overflow);
    return Variant(r);
}

Currency currencyOf(const Variant& v) {
    return ccur(v);
}

Variant currencyResult(__int128 scaled) {
    if (scaled > std::numeric_limits<std::int64_t>::max() ||
        scaled < std::numeric_limits<std::int64_t>::min())
        raise(err::Overflow);
    return Variant(Currency{static_cast<std::int64_t>(scaled)});
}

// Divides and rounds half to even (for Currency products).
__int128 divRoundEven(__int128 n, __int128 d) {
    __int128 q = n / d, r = n % d;
    __int128 twice = 2 * (r < 0 ? -r : r);
    if (twice > d || (twice == d && q % 2 != 0)) q += (n < 0) ? -1 : 1;
    return q;
}

Variant asDate(double serial) {
    if (!isValidDateSerial(serial)) raise(err::Overflow);
    return Variant::date(serial);
}

enum class Op { Add, Subtract, Multiply };

Variant arithmetic(Op op, const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    const Rank rank = commonRank(a, b);
    switch (rank) {
    case Rank::Integer:
    case Rank::Long: {
        const std::int64_t x = wholeValue(a), y = wholeValue(b);
        return fitWhole(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y, rank);
    }
    case Rank::Currency: {
        const __int128 x = currencyOf(a).scaled, y = currencyOf(b).scaled;
        if (op == Op::Multiply) return currencyResult(divRoundEven(x * y, Currency::kScale));
        return currencyResult(op == Op::Add ? x + y : x - y);
    }
    default: {
        const double x = cdbl(a), y = cdbl(b);
        return fitFloating(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y, rank);
    }
    }
}

bool isNumberLike(const Variant& v) {
    return v.isNumeric() || v.isDate() || v.isEmpty();
}

} // namespace

bool Variant::isNumeric() const {
    switch (type_) {
    case VarType::Boolean:
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency:
        return true;
    default:
        return false;
    }
}

double Variant::toDouble() const {
    return cdbl(*this);
}
QString Variant::toString() const {
    return cstr(*this);
}

bool operator==(const Variant& a, const Variant& b) {
    if (a.type_ != b.type_) return false;
    switch (a.type_) {
    case VarType::Empty:
    case VarType::Null:
        return true;
    case VarType::Boolean:
        return a.u_.b == b.u_.b;
    case VarType::Integer:
        return a.u_.i == b.u_.i;
    case VarType::Long:
        return a.u_.l == b.u_.l;
    case VarType::Single:
        return a.u_.f == b.u_.f;
    case VarType::Double:
    case VarType::Date:
        return a.u_.d == b.u_.d;
    case VarType::Currency:
        return a.u_.cy == b.u_.cy;
    case VarType::String:
        return a.s_ == b.s_;
    }
    return false;
}

Variant add(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    // + joins two texts (Empty beside a text counts as ""); otherwise it adds.
    if ((a.isString() || a.isEmpty()) && (b.isString() || b.isEmpty()) &&
        (a.isString() || b.isString()))
        return Variant(cstr(a) + cstr(b));
    if (a.isDate() || b.isDate()) return asDate(cdbl(a) + cdbl(b));
    return arithmetic(Op::Add, a, b);
}

Variant subtract(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    if (a.isDate() && b.isDate()) return Variant(a.dateValue() - b.dateValue());
    if (a.isDate() || b.isDate()) return asDate(cdbl(a) - cdbl(b));
    return arithmetic(Op::Subtract, a, b);
}

Variant multiply(const Variant& a, const Variant& b) {
    return arithmetic(Op::Multiply, a, b);
}

Variant divide(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    const double x = cdbl(a), y = cdbl(b);
    if (y == 0) raise(x == 0 ? err::Overflow : err::DivisionByZero);
    // Integers and Singles divide into a Single; everything else into a Double.
    auto small = [](const Variant& v) {
        return v.type() == VarType::Integer || v.type() == VarType::Boolean ||
               v.type() == VarType::Empty || v.type() == VarType::Single;
    };
    return fitFloating(x / y, small(a) && small(b) ? Rank::Single : Rank::Double);
}

namespace {

// Operands of \ and Mod: rounded to whole numbers as CLng does.
struct WholePair {
    std::int64_t x, y;
    Rank rank;
};

WholePair wholeOperands(const Variant& a, const Variant& b) {
    const bool narrow =
        rankOf(a) == Rank::Integer && rankOf(b) == Rank::Integer && !a.isString() && !b.isString();
    WholePair p{clng(a), clng(b), narrow ? Rank::Integer : Rank::Long};
    if (p.y == 0) raise(err::DivisionByZero);
    return p;
}

Variant fitWholeStrict(std::int64_t r, Rank rank) {
    if (rank == Rank::Long && (r < std::numeric_limits<std::int32_t>::min() ||
                               r > std::numeric_limits<std::int32_t>::max()))
        raise(err::Overflow);
    return fitWhole(r, rank);
}

} // namespace

Variant intDivide(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    const WholePair p = wholeOperands(a, b);
    return fitWholeStrict(p.x / p.y, p.rank);
}

Variant modulo(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    const WholePair p = wholeOperands(a, b);
    return fitWholeStrict(p.x % p.y, p.rank);
}

Variant power(const Variant& a, const Variant& b) {
    if (a.isNull() || b.isNull()) return Variant::null();
    const double x = cdbl(a), y = cdbl(b);
    if (x < 0 && y != std::trunc(y)) raise(err::InvalidProcedureCall);
    const double r = std::pow(x, y);
    if (!std::isfinite(r)) raise(x == 0 ? err::DivisionByZero : err::Overflow);
    return Variant(r);
}

Variant negate(const Variant& a) {
    switch (a.type()) {
    case VarType::Null:
        return Variant::null();
    case VarType::Date:
        return asDate(-a.dateValue());
    case VarType::Currency:
        return currencyResult(-static_cast<__int128>(a.currencyValue().scaled));
    case VarType::Single:
        return Variant(-a.singleValue());
    case VarType::Double:
    case VarType::String:
        return Variant(-cdbl(a));
    case VarType::Long:
        return fitWhole(-static_cast<std::int64_t>(a.longValue()), Rank::Long);
    default:
        return fitWhole(-wholeValue(a), Rank::Integer);
    }
}

Variant concat(const Variant& a, const Variant& b) {
    if (a.isNull() && b.isNull()) return Variant::null();
    return Variant((a.isNull() ? QString() : cstr(a)) + (b.isNull() ? QString() : cstr(b)));
}

std::optional<int> compare(const Variant& a, const Variant& b, CompareMode mode) {
    if (a.isNull() || b.isNull()) return std::nullopt;
    const Qt::CaseSensitivity cs =
        mode == CompareMode::Text ? Qt::CaseInsensitive : Qt::CaseSensitive;
    if ((a.isString() || a.isEmpty()) && (b.isString() || b.isEmpty())) {
        const int c = QString::compare(a.isEmpty() ? QString() : a.stringValue(),
                                       b.isEmpty() ? QString() : b.stringValue(), cs);
        return (c > 0) - (c < 0);
    }
    if (a.isString()) return 1; // a number sorts before a text
    if (b.isString()) return -1;
    if (a.type() == VarType::Currency && b.type() == VarType::Currency) {
        const auto x = a.currencyValue().scaled, y = b.currencyValue().scaled;
        return (x > y) - (x < y);
    }
    Q_ASSERT(isNumberLike(a) && isNumberLike(b));
    const double x = cdbl(a), y = cdbl(b);
    return (x > y) - (x < y);
}

} // namespace vb
