#pragma once

#include <QString>
#include <cstdint>
#include <optional>

namespace vb {

// The kinds a value can have; the numbers are the language's VarType codes.
enum class VarType : std::uint8_t {
    Empty = 0,
    Null = 1,
    Integer = 2, // 16-bit
    Long = 3,    // 32-bit
    Single = 4,
    Double = 5,
    Currency = 6, // 64-bit count of ten-thousandths
    Date = 7,     // days since 1899-12-30, fraction = time of day
    String = 8,
    Boolean = 11,
};

// Money as a scaled 64-bit integer: value = scaled / 10000.
struct Currency {
    std::int64_t scaled = 0;

    static constexpr std::int64_t kScale = 10000;
    // Rounds half to even at the fourth decimal; raises Overflow outside the range.
    static Currency fromDouble(double value);
    double toDouble() const { return static_cast<double>(scaled) / kScale; }
    friend bool operator==(Currency, Currency) = default;
};

class Variant {
public:
    Variant() = default; // Empty
    explicit Variant(bool v) : type_(VarType::Boolean) { u_.b = v; }
    explicit Variant(std::int16_t v) : type_(VarType::Integer) { u_.i = v; }
    explicit Variant(std::int32_t v) : type_(VarType::Long) { u_.l = v; }
    explicit Variant(float v) : type_(VarType::Single) { u_.f = v; }
    explicit Variant(double v) : type_(VarType::Double) { u_.d = v; }
    explicit Variant(Currency v) : type_(VarType::Currency) { u_.cy = v.scaled; }
    Variant(const QString& v) : type_(VarType::String), s_(v) {}
    Variant(QString&& v) : type_(VarType::String), s_(std::move(v)) {}
    Variant(const char* v) : type_(VarType::String), s_(QString::fromUtf8(v)) {}

    static Variant null() {
        Variant v;
        v.type_ = VarType::Null;
        return v;
    }
    static Variant date(double serial) {
        Variant v;
        v.type_ = VarType::Date;
        v.u_.d = serial;
        return v;
    }

    VarType type() const { return type_; }
    bool isEmpty() const { return type_ == VarType::Empty; }
    bool isNull() const { return type_ == VarType::Null; }
    bool isString() const { return type_ == VarType::String; }
    bool isDate() const { return type_ == VarType::Date; }
    // Boolean, Integer, Long, Single, Double and Currency (not Date, not String).
    bool isNumeric() const;

    // Raw payloads: valid only for the matching type.
    bool boolValue() const { return u_.b; }
    std::int16_t integerValue() const { return u_.i; }
    std::int32_t longValue() const { return u_.l; }
    float singleValue() const { return u_.f; }
    double doubleValue() const { return u_.d; }
    Currency currencyValue() const { return Currency{u_.cy}; }
    double dateValue() const { return u_.d; }
    const QString& stringValue() const { return s_; }

    // Conversions with the language's rules; they raise VbError (see Convert.h).
    double toDouble() const;
    QString toString() const;

    // Same type and same payload (Null equals Null here); for tests and containers, not for
    // the language's comparison, which is compare() below.
    friend bool operator==(const Variant& a, const Variant& b);

private:
    VarType type_ = VarType::Empty;
    union {
        bool b;
        std::int16_t i;
        std::int32_t l;
        float f;
        double d;
        std::int64_t cy;
    } u_{.cy = 0};
    QString s_;
};

// How text compares: Binary is ordinal, Text ignores letter case.
enum class CompareMode { Binary, Text };

// The language's operators on Variants. Null propagates through arithmetic; Empty counts as 0
// (or as "" beside a String). Integer and Long results widen instead of overflowing, as Variant
// arithmetic does; Currency overflow raises 6.
Variant add(const Variant& a, const Variant& b);
Variant subtract(const Variant& a, const Variant& b);
Variant multiply(const Variant& a, const Variant& b);
Variant divide(const Variant& a, const Variant& b);
Variant intDivide(const Variant& a, const Variant& b); // the \ operator
Variant modulo(const Variant& a, const Variant& b);
Variant power(const Variant& a, const Variant& b);
Variant negate(const Variant& a);
// &: Null counts as "" unless both sides are Null.
Variant concat(const Variant& a, const Variant& b);

// <0, 0, >0; nullopt when either side is Null. A number sorts before a String that is not a
// number; Empty counts as 0 or "".
std::optional<int> compare(const Variant& a, const Variant& b,
                           CompareMode mode = CompareMode::Binary);

} // namespace vb
